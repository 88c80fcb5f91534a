#pragma once

#include "scan/ScanOptions.h"

#include <QByteArray>
#include <QString>
#include <atomic>
#include <functional>
#include <vector>

class ScanState;
struct FileInfoNode;
struct ScanResult;

// Groups the records of a scan: by byte size, then by content digest (cached, or computed on
// the hashing threads), into DuplicateGroups keyed by (size, digest). A file that cannot be
// read, or changes while it is examined, is noted in the result's skipped items.
//
// The outcome is what one thread computing every full digest in order would give: the
// candidates are taken bucket by bucket (buckets in order of their first record, records in
// discovery order) and joined to groups in that order, whatever order the hashing threads
// finish in. A file whose first and last 4 KiB differ from those of every other file of its
// size (none of them cached) cannot share a digest, so it is not fully read: no md5 (and
// isMd5Calucaluted stays false). Only groups of two or more are made, in arrMainGroup in the
// order of their first members: the order the full-digest walk gives them.
// Candidates of one size with equal edges are digested as a set (IdenticalSetDigest): one
// MD5 per run of byte-identical files, each member still getting its own full digest.
class DigestGrouper
{
public:
    using BatchWriter = std::function<void(const std::vector<FileInfoNode*>&)>;

    DigestGrouper(ScanResult& result, ScanState& state, const ScanOptions& options,
                  BatchWriter writeHashToFile);

    void filterNodesWithSizeAndMd5();

private:
    ScanResult& m_result;
    ScanState& m_state;
    ScanOptions m_options;
    BatchWriter m_writeHashToFile;
};
