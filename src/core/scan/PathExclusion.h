#pragma once

#include <QByteArray>
#include <QRegularExpression>
#include <QStringList>
#include <optional>

// The exclusion test of a scan: a path is excluded when it equals an excluded folder or lies
// anywhere below it, letter case ignored. Each folder is escaped before it enters the one
// pattern, so "a.c" never matches "abc"; empty or relative entries are skipped (logged).
class PathExclusion
{
public:
    // Builds the pattern from the folders; an empty list excludes nothing.
    void makeRegExDirPath(const QStringList& excludedFolders);
    bool isPathExcluded(const QByteArray& path) const;

    // The pattern text, "((F1|(F1\/(.*)))|(F2|(F2\/(.*))))" with each folder escaped; empty
    // when nothing is excluded.
    QString pattern() const { return m_pattern; }

private:
    QString m_pattern;
    std::optional<QRegularExpression> regExPathDir;
};
