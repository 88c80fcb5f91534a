#include "ResultWriter.h"

#include "TrashCommand.h"
#include "model/ScanResult.h"
#include "util/CommonFuncs.h"

#include <QByteArrayView>
#include <algorithm>
#include <cstdio>

namespace {

quint64 reclaimable(const DuplicateGroup& group)
{
    // Keeping one member frees the rest. Counted from the members, not groupSize, which a
    // Trash run reduces: the order stays that of the scan.
    return group.children.front()->fileSize * (group.children.size() - 1);
}

QByteArray outcomeLabel(const FileOutcome& outcome)
{
    switch (outcome.kind) {
    case FileOutcome::Kind::Kept:
        return "kept";
    case FileOutcome::Kind::WouldMove:
        return "would move";
    case FileOutcome::Kind::Moved:
        return "moved";
    case FileOutcome::Kind::InAlbum:
        return "in album";
    case FileOutcome::Kind::NotMoved:
        break;
    }
    return "not moved";
}

QByteArray outcomeJson(const FileOutcome& outcome)
{
    if (outcome.kind == FileOutcome::Kind::NotMoved)
        return "{\"notMoved\": " + ResultWriter::jsonString(outcome.reason.toUtf8()) + '}';
    return '"' + outcomeLabel(outcome) + '"';
}

QByteArray files(quint64 count)
{
    return QByteArray::number(count) + (count == 1 ? " file" : " files");
}

// Collects output and hands it to the sink in pieces of about kPiece bytes, so that a large
// result is never held whole in memory.
class PieceBuffer
{
public:
    explicit PieceBuffer(const ResultWriter::Sink& sink) : m_sink(sink) { m_buffer.reserve(kPiece + 4096); }

    template <typename T> PieceBuffer& operator+=(const T& text)
    {
        m_buffer += text;
        return *this;
    }

    void flushIfFull()
    {
        if (m_buffer.size() >= kPiece)
            flush();
    }

    void flush()
    {
        if (m_buffer.isEmpty())
            return;
        m_sink(m_buffer);
        m_buffer.resize(0);
    }

private:
    static constexpr qsizetype kPiece = 64 * 1024;
    const ResultWriter::Sink& m_sink;
    QByteArray m_buffer;
};

} // namespace

std::vector<const DuplicateGroup*> ResultWriter::sortedGroups(const ScanResult& result)
{
    std::vector<const DuplicateGroup*> groups;
    for (const DuplicateGroup* group : result.arrMainGroup)
        if (group->children.size() >= 2)
            groups.push_back(group);
    std::stable_sort(groups.begin(), groups.end(), [](const DuplicateGroup* a, const DuplicateGroup* b) {
        const quint64 ra = reclaimable(*a), rb = reclaimable(*b);
        if (ra != rb)
            return ra > rb;
        return a->children.front()->filePath < b->children.front()->filePath;
    });
    return groups;
}

QByteArray ResultWriter::text(const ScanResult& result, const TrashCommand* trash)
{
    QByteArray out;
    writeText(
        result, [&out](const QByteArray& piece) { out += piece; }, trash);
    return out;
}

void ResultWriter::writeText(const ScanResult& result, const Sink& sink, const TrashCommand* trash)
{
    PieceBuffer out(sink);
    bool first = true;
    for (const DuplicateGroup* group : sortedGroups(result)) {
        if (!first)
            out += '\n';
        first = false;
        for (const FileInfoNode* node : group->children) {
            if (trash) {
                // "LABEL: PATH" or "not moved (REASON): PATH": the path is all after the first ": ".
                const FileOutcome outcome = trash->outcome(node);
                out += outcomeLabel(outcome);
                if (outcome.kind == FileOutcome::Kind::NotMoved)
                    out += " (" + outcome.reason.toUtf8() + ')';
                out += ": ";
            }
            out += node->filePath;
            out += '\n';
        }
        out.flushIfFull();
    }
    out.flush();
}

QByteArray ResultWriter::jsonString(const QByteArray& utf8)
{
    QByteArray out;
    out.reserve(utf8.size() + 2);
    out += '"';
    for (const char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        default:
            if (c < 0x20 || c == 0x7F) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                out += escaped;
            } else {
                out += ch;
            }
        }
    }
    out += '"';
    return out;
}

QByteArray ResultWriter::jsonPath(const QByteArray& path)
{
    // Qt's test rejects overlong forms, UTF-16 surrogates and values past U+10FFFF.
    if (QByteArrayView(path).isValidUtf8())
        return jsonString(path);
    return "{\"base64\": \"" + path.toBase64() + "\"}";
}

QByteArray ResultWriter::json(const ScanResult& result, const TrashCommand* trash)
{
    QByteArray out;
    writeJson(
        result, [&out](const QByteArray& piece) { out += piece; }, trash);
    return out;
}

void ResultWriter::writeJson(const ScanResult& result, const Sink& sink, const TrashCommand* trash)
{
    PieceBuffer out(sink);
    out += "{\n  \"scanned\": " + QByteArray::number(result.countScanned);
    out += ",\n  \"scannedBytes\": " + QByteArray::number(result.totSizeScanned);
    out += ",\n  \"duplicates\": " + QByteArray::number(result.countDup);
    out += ",\n  \"reclaimableBytes\": " + QByteArray::number(result.sizeDup);
    out += ",\n  \"groups\": [";
    bool firstGroup = true;
    for (const DuplicateGroup* group : sortedGroups(result)) {
        out += firstGroup ? "\n" : ",\n";
        firstGroup = false;
        out += "    {\"md5\": " + jsonString(group->children.front()->md5);
        out += ", \"size\": " + QByteArray::number(group->children.front()->fileSize);
        out += ", \"paths\": [";
        bool firstPath = true;
        for (const FileInfoNode* node : group->children) {
            out += firstPath ? "" : ", ";
            firstPath = false;
            out += jsonPath(node->filePath);
        }
        out += "]";
        if (trash) {
            // One outcome per path, in the order of "paths".
            out += ", \"outcomes\": [";
            for (size_t i = 0; i < group->children.size(); ++i)
                out += (i ? ", " : "") + outcomeJson(trash->outcome(group->children[i]));
            out += "]";
        }
        out += "}";
        out.flushIfFull();
    }
    out += firstGroup ? "]" : "\n  ]";
    out += ",\n  \"skipped\": [";
    bool firstSkipped = true;
    for (const SkippedItem& item : result.skipped) {
        out += firstSkipped ? "\n" : ",\n";
        firstSkipped = false;
        out += "    {\"path\": " + jsonPath(item.path) + ", \"reason\": " + jsonString(item.reason.toUtf8()) +
               "}";
        out.flushIfFull();
    }
    out += firstSkipped ? "]" : "\n  ]";
    out += ",\n  \"sameFileAgain\": [";
    bool firstSame = true;
    for (const SameFileAgain& same : result.sameFileAgain) {
        out += firstSame ? "\n" : ",\n";
        firstSame = false;
        out += "    {\"path\": " + jsonPath(same.path) + ", \"paths\": [";
        for (size_t i = 0; i < same.others.size(); ++i)
            out += (i ? ", " : "") + jsonPath(same.others[i]);
        out += "]}";
        out.flushIfFull();
    }
    out += firstSame ? "]" : "\n  ]";
    if (trash) {
        out += ",\n  \"trash\": {\"keep\": ";
        out += trash->keep() == KeepRule::Oldest ? "\"oldest\"" : "\"newest\"";
        out += ", \"dryRun\": ";
        out += trash->isDryRun() ? "true" : "false";
        out += ", \"marked\": " + QByteArray::number(trash->countMarked());
        out += ", \"markedBytes\": " + QByteArray::number(trash->sizeOfMarkedFiles());
        out += ", \"moved\": " + QByteArray::number(trash->countMoved());
        out += ", \"movedBytes\": " + QByteArray::number(trash->sizeMoved());
        out += ", \"notMoved\": " + QByteArray::number(trash->notMoved().size()) + "}";
    }
    out += "\n}\n";
    out.flush();
}

QByteArray ResultWriter::summary(const ScanResult& result)
{
    QByteArray out;
    out += "Scanned: " + QByteArray::number(result.countScanned) + " files, " +
           CommonFuncs::getSizeInUnits(result.totSizeScanned).toUtf8() + '\n';
    out += "Duplicates: " + QByteArray::number(result.countDup) + " files, " +
           CommonFuncs::getSizeInUnits(result.sizeDup).toUtf8() + " reclaimable\n";
    return out;
}

QByteArray ResultWriter::summary(const TrashCommand& trash)
{
    if (trash.isDryRun())
        return "Would move to the Trash: " + files(quint64(trash.countMarked())) + ", " +
               CommonFuncs::getSizeInUnits(trash.sizeOfMarkedFiles()).toUtf8() +
               " (nothing moved; add --trash to move them)\n";
    QByteArray out = "Moved to the Trash: " + files(quint64(trash.countMoved())) + ", " +
                     CommonFuncs::getSizeInUnits(trash.sizeMoved()).toUtf8() + " recovered\n";
    if (!trash.notMoved().empty())
        out += "Not moved: " + files(trash.notMoved().size()) +
               (trash.countStopped()
                    ? ", " + QByteArray::number(trash.countStopped()) + " not reached after the stop\n"
                    : QByteArray("\n"));
    return out;
}
