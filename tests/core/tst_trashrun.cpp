#include "libraries/PhotosNode.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "platform/Trash.h"
#include "review/PhotosAlbum.h"
#include "review/RemovalProof.h"
#include "review/ReviewModel.h"
#include "review/TrashRun.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QSignalSpy>
#include <deque>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Verdict = RemovalProof::Verdict;

// The well-known pair of distinct 128-byte messages that share one MD5 digest.
const QByteArray kCollisionA = QByteArray::fromHex(
    "d131dd02c5e6eec4693d9a0698aff95c2fcab58712467eab4004583eb8fb7f8955ad340609f4b30283e488832571415a"
    "085125e8f7cdc99fd91dbdf280373c5bd8823e3156348f5bae6dacd436c919c6dd53e2b487da03fd02396306d248cda0"
    "e99f33420f577ee8ce54b67080a80d1ec69821bcb6a8839396f9652b6ff72a70");
const QByteArray kCollisionB = QByteArray::fromHex(
    "d131dd02c5e6eec4693d9a0698aff95c2fcab50712467eab4004583eb8fb7f8955ad340609f4b30283e4888325f1415a"
    "085125e8f7cdc99fd91dbd7280373c5bd8823e3156348f5bae6dacd436c919c6dd53e23487da03fd02396306d248cda0"
    "e99f33420f577ee8ce54b67080280d1ec69821bcb6a8839396f965ab6ff72a70");

// A Trash that renames items into a folder of the test and records them; it refuses the
// paths it is told to and can run a hook after each move.
class RecordingTrash : public TrashInterface
{
public:
    explicit RecordingTrash(QByteArray dir) : m_dir(std::move(dir)) {}
    TrashOutcome moveToTrash(const QByteArray& path) override
    {
        TrashOutcome outcome;
        if (refused.contains(path)) {
            outcome.errorText = QStringLiteral("refused");
            return outcome;
        }
        outcome.trashedPath = m_dir + "/" + QByteArray::number(moved.size());
        outcome.moved = ::rename(path.constData(), outcome.trashedPath.constData()) == 0;
        moved.append(path);
        if (afterMove)
            afterMove();
        return outcome;
    }
    QByteArrayList refused, moved;
    std::function<void()> afterMove;

private:
    QByteArray m_dir;
};

class RecordingAlbum : public PhotosAlbumInterface
{
public:
    bool isAlbumCreated() override { return true; }
    bool createDuplicatesMarkedForTrashAlbum() override { return true; }
    QSet<QString> knownMediaItems(const QStringList& uuids) override
    {
        QSet<QString> known(uuids.begin(), uuids.end());
        known.remove(QStringLiteral("unknown"));
        return known;
    }
    void addToAlbum(const QStringList& uuids) override { batches.append(int(uuids.size())); }
    bool quitAndopenNewPhotosLibrary(const QByteArray&) override { return false; }
    QList<int> batches;
};

// Records and groups as a scan leaves them; contents of "" make a Photos item.
struct Scan
{
    std::deque<FileInfoNode> nodes;
    std::deque<DuplicateGroup> groups;

    DuplicateGroup* group(const QList<QByteArray>& paths, const QList<int>& marked = {})
    {
        DuplicateGroup& g = groups.emplace_back();
        for (int i = 0; i < paths.size(); ++i) {
            std::optional<FileInfoNode> read = FileInfoNode::initWithPathForFile(paths[i]);
            FileInfoNode& n = nodes.emplace_back(read ? std::move(*read) : FileInfoNode());
            n.filePath = paths[i];
            n.parent = &g;
            n.state = marked.contains(i) ? 1 : 0;
            g.children.push_back(&n);
            g.groupSize += n.fileSize;
        }
        g.filteredChildren = g.children;
        return &g;
    }
    std::vector<DuplicateGroup*> all()
    {
        std::vector<DuplicateGroup*> out;
        for (DuplicateGroup& g : groups)
            out.push_back(&g);
        return out;
    }
};

bool runToEnd(TrashRun& run, const std::vector<DuplicateGroup*>& groups, int countMarked = 0,
              quint64 size = 0)
{
    QSignalSpy finished(&run, &TrashRun::finished);
    return run.trashMarkedFiles(groups, countMarked, size) && finished.wait(20000);
}

} // namespace

class TestTrashRun : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    QByteArray file(const QByteArray& name, const QByteArray& bytes) { return m_tree->file(name, bytes); }

private Q_SLOTS:
    void init() { m_tree = std::make_unique<TestSupport::TestTree>(); }

    void proof_data()
    {
        QTest::addColumn<QByteArray>("kept");   // contents of the unmarked member; "" none
        QTest::addColumn<QByteArray>("change"); // what happens after the scan
        QTest::addColumn<int>("verdict");
        const QByteArray same(300000, 'q'); // more than one chunk
        QTest::newRow("identical copy") << same << QByteArray() << int(Verdict::Proved);
        QTest::newRow("equal digest, other bytes")
            << kCollisionB << QByteArray() << int(Verdict::ContentsDiffer);
        QTest::newRow("marked file edited")
            << same << QByteArray("edit marked") << int(Verdict::ChangedSinceScan);
        QTest::newRow("marked file replaced")
            << same << QByteArray("replace marked") << int(Verdict::ChangedSinceScan);
        QTest::newRow("kept copy deleted")
            << same << QByteArray("delete kept") << int(Verdict::NoCopyWouldRemain);
        QTest::newRow("kept copy is a hard link")
            << same << QByteArray("link kept") << int(Verdict::NoCopyWouldRemain);
        QTest::newRow("kept copy is marked too")
            << same << QByteArray("mark kept") << int(Verdict::NoCopyWouldRemain);
        QTest::newRow("first kept differs, second equal")
            << kCollisionB << QByteArray("add equal") << int(Verdict::Proved);
    }
    void proof()
    {
        QFETCH(QByteArray, kept);
        QFETCH(QByteArray, change);
        QFETCH(int, verdict);
        const QByteArray bytes = kept == kCollisionB ? kCollisionA : kept;
        const QByteArray marked = file("marked", bytes), keptPath = file("kept", kept);
        if (change == "link kept")
            QVERIFY(::unlink(keptPath.constData()) == 0 &&
                    ::link(marked.constData(), keptPath.constData()) == 0);
        QList<QByteArray> paths{marked, keptPath};
        if (change == "add equal")
            paths.append(file("kept2", bytes));
        Scan scan;
        DuplicateGroup* group = scan.group(paths, change == "mark kept" ? QList<int>{0, 1} : QList<int>{0});

        if (change == "edit marked")
            QVERIFY(TestSupport::writeFile(marked, QByteArray(bytes.size(), 'x')));
        else if (change == "replace marked")
            QVERIFY(::unlink(marked.constData()) == 0 && TestSupport::writeFile(marked, bytes));
        else if (change == "delete kept")
            QVERIFY(::unlink(keptPath.constData()) == 0);

        std::atomic<bool> stop{false};
        std::atomic<quint64> compared{0};
        const RemovalProof::Result result = RemovalProof(stop, compared).check(*group->children[0]);
        QCOMPARE(int(result.verdict), verdict);
        if (verdict == int(Verdict::Proved)) {
            QCOMPARE(result.keptCopy->filePath, paths.last());
            QCOMPARE(compared.load(), quint64(bytes.size()));
        }
    }

    // The walk over the shown groups: what moves, what stays listed, what the counters say.
    void run_data()
    {
        QTest::addColumn<QList<int>>("marked");   // of a group of three equal files
        QTest::addColumn<QList<int>>("refused");  // marked members the Trash refuses
        QTest::addColumn<int>("left");            // members left in the group
        QTest::addColumn<QStringList>("reasons"); // of the files not moved
        QTest::newRow("two of three") << QList<int>{1, 2} << QList<int>{} << 1 << QStringList();
        QTest::newRow("trash refuses one")
            << QList<int>{1, 2} << QList<int>{2} << 2 << QStringList{"refused"};
        QTest::newRow("every copy marked")
            << QList<int>{0, 1, 2} << QList<int>{} << 3 << QStringList(3, "no copy would remain");
    }
    void run()
    {
        QFETCH(QList<int>, marked);
        QFETCH(QList<int>, refused);
        QFETCH(int, left);
        QFETCH(QStringList, reasons);
        const QList<QByteArray> paths{file("a", "same"), file("b", "same"), file("c", "same")};
        Scan scan;
        DuplicateGroup* group = scan.group(paths, marked);
        RecordingTrash trash(m_tree->dir("trash"));
        for (int i : refused)
            trash.refused.append(paths[i]);
        RecordingAlbum album;
        TrashRun run(trash, album);
        QVERIFY(runToEnd(run, scan.all(), int(marked.size()), quint64(4 * marked.size())));

        const int moved = 3 - left;
        QCOMPARE(run.countTrashed(), moved);
        QCOMPARE(run.sizeTrashed(), quint64(4 * moved));
        QCOMPARE(run.countMarked(), int(marked.size()) - moved);
        QCOMPARE(run.sizeOfMarkedFiles(), quint64(4 * (marked.size() - moved)));
        QCOMPARE(group->groupSize, quint64(4 * left));
        QStringList listed;
        for (const NotTrashedFile& f : run.arrFileNotTrashed())
            listed.append(f.reason);
        QCOMPARE(listed, reasons);
        TrashRun::removeMovedRecords(scan.all());
        QCOMPARE(int(group->children.size()), left);
        QCOMPARE(int(group->filteredChildren.size()), left);
        for (const FileInfoNode* n : group->children)
            QVERIFY(::access(n->filePath.constData(), F_OK) == 0);
    }

    void stopPartWay()
    {
        Scan scan;
        for (const char* name : {"1", "2", "3"})
            scan.group({file(name + QByteArray("a"), name), file(name + QByteArray("b"), name)}, {1});
        RecordingTrash trash(m_tree->dir("trash"));
        RecordingAlbum album;
        TrashRun run(trash, album);
        trash.afterMove = [&] { run.abortCleanning(); };
        QVERIFY(runToEnd(run, scan.all(), 3, 3));
        QCOMPARE(trash.moved.size(), 1);
        QCOMPARE(run.countTrashed(), 1);
        QCOMPARE(run.countMarked(), 2);
        QVERIFY(run.arrFileNotTrashed().empty());
        QCOMPARE(scan.groups[1].children[1]->state, 1);
    }

    void photosItems_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<bool>("albumApp"); // false: the real album, which cannot be made here
        QTest::addColumn<QList<int>>("batches");
        QTest::newRow("250 items") << 250 << true << QList<int>{100, 100, 50};
        QTest::newRow("one unknown among 101") << 101 << true << QList<int>{100};
        QTest::newRow("no album") << 3 << false << QList<int>{};
    }
    void photosItems()
    {
        QFETCH(int, items);
        QFETCH(bool, albumApp);
        QFETCH(QList<int>, batches);
        Scan scan;
        DuplicateGroup& g = scan.groups.emplace_back();
        for (int i = 0; i < items; ++i) {
            FileInfoNode& n = scan.nodes.emplace_back();
            n.isPhotosNode = true;
            n.state = 1;
            n.parent = &g;
            n.libraryPath = "/lib.photoslibrary";
            n.photosInfo = std::make_unique<PhotosNode>();
            n.photosInfo->uuIDRkVersion =
                i == 100 && items == 101 ? QStringLiteral("unknown") : QString::number(i);
            n.photosInfo->fileSize = 10;
            g.children.push_back(&n);
        }
        g.filteredChildren = g.children;
        RecordingTrash trash(m_tree->dir("trash"));
        RecordingAlbum recording;
        PhotosAlbum real(QStringLiteral("Duplicate Marked Photos"));
        if (!albumApp)
            QTest::ignoreMessage(QtInfoMsg, "Error!! We are not able to create the album");
        TrashRun run(trash, albumApp ? static_cast<PhotosAlbumInterface&>(recording) : real);
        QVERIFY(runToEnd(run, scan.all(), items, quint64(10 * items)));

        QCOMPARE(recording.batches, batches);
        const int inAlbum = albumApp ? items - (items == 101 ? 1 : 0) : 0;
        QCOMPARE(run.countTrashed(), inAlbum);
        QCOMPARE(run.sizeOfMarkedFiles(), quint64(10 * (items - inAlbum)));
        TrashRun::removeMovedRecords(scan.all());
        QCOMPARE(int(g.children.size()), items - inAlbum);
        QVERIFY(trash.moved.isEmpty());
    }

    // The real Trash in the test's own data folder, and Put Back of the run.
    void freedesktopTrashAndPutBack()
    {
        // On the home volume, so the home trash is the one used.
        const QByteArray dir = TestSupport::testHome() + "/putback/";
        const QByteArray keep = dir + "keep.txt", a = dir + "a.txt", b = dir + "b.txt";
        for (const QByteArray& path : {keep, a, b})
            QVERIFY(TestSupport::writeFile(path, "twin"));
        Scan scan;
        DuplicateGroup* group = scan.group({keep, a, b}, {1, 2});
        FreedesktopTrash trash;
        RecordingAlbum album;
        TrashRun run(trash, album);
        QVERIFY(runToEnd(run, scan.all(), 2, 8));
        QCOMPARE(run.countTrashed(), 2);
        QVERIFY(::access(a.constData(), F_OK) != 0 && ::access(b.constData(), F_OK) != 0);
        TrashRun::removeMovedRecords(scan.all());

        // b's place is taken meanwhile: it stays in the Trash and is listed.
        QVERIFY(TestSupport::writeFile(b, "newcomer"));
        const std::vector<NotPutBackFile> stayed = run.putBack();
        QCOMPARE(int(stayed.size()), 1);
        QCOMPARE(stayed[0].node->filePath, b);
        QVERIFY(::access(stayed[0].trashedPath.constData(), F_OK) == 0);
        QCOMPARE(run.putBackRecords().size(), size_t(1));
        QCOMPARE(group->children.size(), size_t(2));
        QCOMPARE(group->children.back()->state, 0);

        QFile restored(QFile::decodeName(a));
        QVERIFY(restored.open(QIODevice::ReadOnly));
        QCOMPARE(restored.readAll(), QByteArray("twin"));
        const QByteArray info = FreedesktopTrash::homeTrashPath() + "/info/a.txt.trashinfo";
        QVERIFY(::access(info.constData(), F_OK) != 0);
        // The returned record passes the proof again.
        std::atomic<bool> stop{false};
        std::atomic<quint64> compared{0};
        group->children.back()->state = 1;
        QCOMPARE(int(RemovalProof(stop, compared).check(*group->children.back()).verdict),
                 int(Verdict::Proved));
    }

    // The review follows the run: emptied groups leave and the totals drop; Put Back shows them
    // again, unmarked.
    void reviewFollowsRunAndPutBack()
    {
        const QByteArray dir = TestSupport::testHome() + "/review/";
        Scan scan;
        for (const char* name : {"x", "y"}) {
            const QByteArray keep = dir + name + "-keep", copy = dir + name + "-copy";
            QVERIFY(TestSupport::writeFile(keep, name) && TestSupport::writeFile(copy, name));
            scan.group({keep, copy});
        }
        ScriptedAlertPresenter alerts;
        ReviewModel model(m_tree->settings(), alerts);
        model.setArrMainGroup(scan.all());
        model.updateUIComponentsDetailView();
        for (DuplicateGroup* g : model.arrGroups())
            model.updateNodeState(g->filteredChildren.back(), true);
        QCOMPARE(model.countMarked(), 2);

        FreedesktopTrash trash;
        RecordingAlbum album;
        TrashRun run(trash, album);
        QVERIFY(runToEnd(run, model.arrGroups(), model.countMarked(), quint64(model.sizeOfMarkedFiles())));
        model.applyTrashRun(run);
        QVERIFY(model.arrGroups().empty() && model.summary().exhausted);
        QCOMPARE(model.countMarked(), 0);
        QCOMPARE(model.sizeOfMarkedFiles(), 0);

        QVERIFY(run.putBack().empty());
        model.restoreRecords(run.putBackRecords());
        QCOMPARE(model.arrGroups().size(), size_t(2));
        QVERIFY(!model.summary().exhausted);
        QCOMPARE(model.summary().lblDupCount, QStringLiteral("2 duplicate(s) found 2 bytes"));
        for (const DuplicateGroup* g : model.arrGroups())
            QVERIFY(g->filteredChildren.size() == 2 && g->filteredChildren.back()->state == 0);
        QCOMPARE(model.countMarked(), 0);
    }
};

QUILLON_TEST_MAIN(TestTrashRun)
#include "tst_trashrun.moc"
