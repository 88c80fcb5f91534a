#include "scan/PathExclusion.h"

#include "util/Log.h"

void PathExclusion::makeRegExDirPath(const QStringList& excludedFolders)
{
    regExPathDir.reset();
    m_pattern.clear();
    QStringList pieces;
    pieces.reserve(excludedFolders.size());
    for (const QString& folder : excludedFolders) {
        // Only absolute folders can be compared with the walk's paths.
        if (!folder.startsWith(QLatin1Char('/'))) {
            quillonLog(QStringLiteral("Excluded folder skipped, not an absolute path: \"%1\"").arg(folder));
            continue;
        }
        // Each folder is a literal path: "a+b" excludes that folder only.
        pieces << QStringLiteral("(%1|(%1\\/(.*)))").arg(QRegularExpression::escape(folder));
    }
    if (pieces.isEmpty())
        return;
    m_pattern = QLatin1Char('(') + pieces.join(QLatin1Char('|')) + QLatin1Char(')');
    QRegularExpression re(QRegularExpression::anchoredPattern(m_pattern),
                          QRegularExpression::CaseInsensitiveOption |
                              QRegularExpression::DotMatchesEverythingOption);
    re.optimize();
    regExPathDir = std::move(re);
}

bool PathExclusion::isPathExcluded(const QByteArray& path) const
{
    if (!regExPathDir)
        return false;
    return regExPathDir->match(QString::fromUtf8(path)).hasMatch();
}
