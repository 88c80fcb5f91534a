#include "scan/PathExclusion.h"

#include "util/Log.h"

void PathExclusion::makeRegExDirPath(const QStringList& excludedFolders)
{
    regExPathDir.reset();
    m_pattern.clear();
    if (excludedFolders.isEmpty())
        return;
    QStringList pieces;
    pieces.reserve(excludedFolders.size());
    for (const QString& folder : excludedFolders)
        pieces << QStringLiteral("(%1|(%1\\/(.*)))").arg(folder);
    m_pattern = QLatin1Char('(') + pieces.join(QLatin1Char('|')) + QLatin1Char(')');
    QRegularExpression re(QRegularExpression::anchoredPattern(m_pattern),
                          QRegularExpression::CaseInsensitiveOption |
                              QRegularExpression::DotMatchesEverythingOption);
    if (!re.isValid()) {
        // A folder text that is not a valid pattern: nothing can be matched against it.
        quillonLog(QStringLiteral("Invalid exclusion pattern %1: %2").arg(m_pattern, re.errorString()));
        return;
    }
    re.optimize();
    regExPathDir = std::move(re);
}

bool PathExclusion::isPathExcluded(const QByteArray& path) const
{
    if (!regExPathDir)
        return false;
    return regExPathDir->match(QString::fromUtf8(path)).hasMatch();
}
