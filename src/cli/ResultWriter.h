#pragma once

#include <QByteArray>
#include <functional>
#include <vector>

class TrashCommand;
struct DuplicateGroup;
struct ScanResult;

// Writes the outcome of a scan as text or JSON; with a TrashCommand, each path with what
// became of it (kept, would move, moved, not moved and why).
class ResultWriter
{
public:
    // The groups of two or more members, the one that frees the most space first, ties by
    // the first path (byte order).
    static std::vector<const DuplicateGroup*> sortedGroups(const ScanResult& result);

    static QByteArray text(const ScanResult& result, const TrashCommand* trash = nullptr);
    static QByteArray json(const ScanResult& result, const TrashCommand* trash = nullptr);
    // The same texts, handed to the sink piece by piece (the concatenation of the pieces).
    using Sink = std::function<void(const QByteArray&)>;
    static void writeText(const ScanResult& result, const Sink& sink, const TrashCommand* trash = nullptr);
    static void writeJson(const ScanResult& result, const Sink& sink, const TrashCommand* trash = nullptr);
    // The summary lines for standard error, sizes in the application's size texts.
    static QByteArray summary(const ScanResult& result);
    static QByteArray summary(const TrashCommand& trash);

    // A path as a JSON value: a string when it is valid UTF-8, else {"base64": "..."}.
    static QByteArray jsonPath(const QByteArray& path);
    static QByteArray jsonString(const QByteArray& utf8);
};
