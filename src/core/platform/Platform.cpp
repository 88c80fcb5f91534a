#include "platform/Platform.h"

#include "util/PathUtils.h"

#include <QDir>
#include <QSet>
#include <QStandardPaths>
#include <QtGlobal>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform {

QByteArray homePath()
{
    return QFile::encodeName(QDir::homePath());
}

QString userShortName()
{
    if (const passwd* pw = ::getpwuid(::geteuid()); pw && pw->pw_name)
        return QString::fromLocal8Bit(pw->pw_name);
    return qEnvironmentVariable("USER");
}

QByteArray cachesFolder()
{
#ifdef Q_OS_MACOS
    return homePath() + "/Library/Caches";
#else
    const QByteArray xdg = qgetenv("XDG_CACHE_HOME");
    if (!xdg.isEmpty() && xdg.startsWith('/'))
        return xdg;
    return homePath() + "/.cache";
#endif
}

QList<QByteArray> userTrashFolders()
{
#ifdef Q_OS_MACOS
    return {homePath() + "/.Trash"};
#else
    QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !dataHome.startsWith('/'))
        dataHome = homePath() + "/.local/share";
    return {dataHome + "/Trash", homePath() + "/.Trash"};
#endif
}

bool isInUserTrash(const QByteArray& path)
{
    const QByteArray p = comparablePath(path);
    for (const QByteArray& trash : userTrashFolders()) {
        const QByteArray t = comparablePath(trash);
        if (p == t || p.startsWith(t + '/'))
            return true;
    }
    return false;
}

QByteArray comparablePath(const QByteArray& path)
{
#ifdef Q_OS_MACOS
    return QString::fromUtf8(path).toLower().toUtf8();
#else
    return path;
#endif
}

bool isPackageExtension(const QString& lowerExtension)
{
    static const QSet<QString> extensions = {
        QStringLiteral("app"), QStringLiteral("appex"), QStringLiteral("bundle"), QStringLiteral("framework"),
        QStringLiteral("plugin"), QStringLiteral("kext"), QStringLiteral("xpc"), QStringLiteral("qlgenerator"),
        QStringLiteral("mdimporter"), QStringLiteral("prefpane"), QStringLiteral("saver"), QStringLiteral("wdgt"),
        QStringLiteral("xctest"), QStringLiteral("dsym"), QStringLiteral("photoslibrary"),
        QStringLiteral("photolibrary"), QStringLiteral("migratedphotolibrary"), QStringLiteral("aplibrary"),
        QStringLiteral("migratedaplibrary"), QStringLiteral("imovielibrary"), QStringLiteral("fcpbundle"),
        QStringLiteral("logicx"), QStringLiteral("band"), QStringLiteral("rtfd"), QStringLiteral("pages"),
        QStringLiteral("numbers"), QStringLiteral("key"), QStringLiteral("sparsebundle"),
        QStringLiteral("xcodeproj"), QStringLiteral("xcworkspace"), QStringLiteral("xcarchive"),
        QStringLiteral("playground"), QStringLiteral("docset"), QStringLiteral("pkg"), QStringLiteral("mpkg"),
        QStringLiteral("scptd"), QStringLiteral("vmwarevm"), QStringLiteral("pvm")};
    return extensions.contains(lowerExtension);
}

bool isPackage(const QByteArray& path)
{
    const QString ext = PathUtils::lowerExtension(path);
    return !ext.isEmpty() && isPackageExtension(ext) && PathUtils::isDirectory(path);
}

} // namespace Platform
