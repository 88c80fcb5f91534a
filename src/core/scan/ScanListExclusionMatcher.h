#pragma once

#include <QByteArray>
#include <QRegularExpression>
#include <QStringList>
#include <optional>

// The exclusion test shared by the scan list: a path is excluded when it equals one of the
// excluded folders or lies anywhere below one, letter case ignored. The folder texts go into
// the pattern verbatim, so pattern characters in them keep their pattern meaning.
class ExclusionMatcher
{
public:
    // Rebuilds the test from the "excludedFolders" list; an empty list excludes nothing.
    void makeRegExDirPath(const QStringList& excludedFolders);
    bool isPathExcluded(const QByteArray& path) const;

    // "((f1|(f1\/(.*)))|(f2|(f2\/(.*))))"; empty for an empty list.
    static QString patternForFolders(const QStringList& excludedFolders);

private:
    std::optional<QRegularExpression> m_regExPathDir;
};
