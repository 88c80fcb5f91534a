#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>
#include <vector>

struct FileInfoNode;

// The proof that a marked plain file may go: it is still the file the scan saw, its group keeps
// an unmarked copy on another inode, and the two are equal byte for byte. A digest match alone
// is never enough.
class RemovalProof
{
public:
    enum class Verdict {
        Proved,
        ChangedSinceScan,  // "changed since the scan"
        NoCopyWouldRemain, // "no copy would remain"
        ContentsDiffer,    // "contents differ from the kept copy"
        Stopped,           // the stop flag was raised during the comparison
    };

    struct Result
    {
        Verdict verdict = Verdict::Stopped;
        const FileInfoNode* keptCopy = nullptr; // the member that was compared, when proved
    };

    // `stop` is polled during comparisons; `bytesCompared` grows by the bytes of the marked
    // file read so far (the progress line shows it). Both must outlive the proof.
    RemovalProof(const std::atomic<bool>& stop, std::atomic<quint64>& bytesCompared)
        : m_stop(stop), m_bytesCompared(bytesCompared)
    {}

    // Checks the marked record against the file system and its group's unmarked members.
    Result check(const FileInfoNode& marked) const;

    // The reason listed for a file that is not moved; empty for Proved and Stopped.
    static QString reasonText(Verdict verdict);

    // Compares the two open regular files from their start, streamed with a fixed buffer.
    enum class Comparison { Equal, Different, Unreadable, Stopped };
    Comparison compareOpenFiles(int markedFd, int keptFd) const;

private:
    const std::atomic<bool>& m_stop;
    std::atomic<quint64>& m_bytesCompared;
    mutable std::vector<char> m_buffer; // two chunks, made on first use
};
