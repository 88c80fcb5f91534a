// Times the removal proof over prepared pairs: <dir>/m/<n> (marked) and <dir>/k/<n> (kept).
// Prints files, seconds, time per file and byte-comparison throughput.
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/RemovalProof.h"

#include <QDir>
#include <chrono>
#include <cstdio>
#include <deque>

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const QByteArray root(argv[1]);
    const QStringList names = QDir(QString::fromLocal8Bit(root + "/m")).entryList(QDir::Files, QDir::Name);
    std::deque<FileInfoNode> nodes;
    std::deque<DuplicateGroup> groups;
    for (const QString& name : names) {
        DuplicateGroup& group = groups.emplace_back();
        for (const char* side : {"/m/", "/k/"}) {
            auto node = FileInfoNode::initWithPathForFile(root + side + name.toLocal8Bit());
            if (!node)
                return 1;
            FileInfoNode& n = nodes.emplace_back(std::move(*node));
            n.parent = &group;
            n.state = side[1] == 'm' ? 1 : 0;
            group.children.push_back(&n);
        }
    }

    std::atomic<bool> stop{false};
    std::atomic<quint64> compared{0};
    const RemovalProof proof(stop, compared);
    int proved = 0;
    const auto start = std::chrono::steady_clock::now();
    for (const DuplicateGroup& group : groups)
        proved += proof.check(*group.children[0]).verdict == RemovalProof::Verdict::Proved;
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("proof: %d files (%d proved), %.3f s, %.1f us/file, %.0f MB/s compared\n", int(groups.size()),
                proved, secs, secs * 1e6 / double(groups.size()), double(compared.load()) / secs / 1e6);
    return proved == int(groups.size()) ? 0 : 1;
}
