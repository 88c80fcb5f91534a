#include "scan/ScanListExclusionMatcher.h"

#include "util/Log.h"
#include "util/PathUtils.h"

QString ExclusionMatcher::patternForFolders(const QStringList& excludedFolders)
{
    if (excludedFolders.isEmpty())
        return {};
    QStringList pieces;
    pieces.reserve(excludedFolders.size());
    for (const QString& folder : excludedFolders)
        pieces.append(QStringLiteral("(%1|(%1\\/(.*)))").arg(folder));
    return QLatin1Char('(') + pieces.join(QLatin1Char('|')) + QLatin1Char(')');
}

void ExclusionMatcher::makeRegExDirPath(const QStringList& excludedFolders)
{
    m_regExPathDir.reset();
    const QString pattern = patternForFolders(excludedFolders);
    if (pattern.isEmpty())
        return;
    QRegularExpression re(QRegularExpression::anchoredPattern(pattern),
                          QRegularExpression::CaseInsensitiveOption);
    if (!re.isValid()) {
        // A folder text that is not a valid pattern cannot match anything; say so once.
        quillonLog(QStringLiteral("Exception %1").arg(re.errorString()));
        return;
    }
    re.optimize();
    m_regExPathDir = std::move(re);
}

bool ExclusionMatcher::isPathExcluded(const QByteArray& path) const
{
    if (!m_regExPathDir)
        return false;
    return m_regExPathDir->match(PathUtils::toDisplay(path)).hasMatch();
}
