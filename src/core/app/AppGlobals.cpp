#include "app/AppGlobals.h"

#include "app/Settings.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QDir>
#include <QOperatingSystemVersion>
#include <QSysInfo>
#include <mutex>

QHash<QByteArray, CachedDigest> AppGlobals::dictDataBaseFilesMd5;

// The lists are kept exactly as the categories define them, oddities included ("ICNS", the
// second "xls", entries with blanks): other parts of the program compare against them.
const QStringList& AppGlobals::arrMuiscExt()
{
    static const QStringList list = {QStringLiteral("mp3"),         QStringLiteral("wav"),
                                     QStringLiteral("aiff"),        QStringLiteral("aifc"),
                                     QStringLiteral("aac"),         QStringLiteral("au"),
                                     QStringLiteral("audio cd"),    QStringLiteral("snd"),
                                     QStringLiteral("qdesign"),     QStringLiteral("quicktime audio"),
                                     QStringLiteral("m4a"),         QStringLiteral("m4b"),
                                     QStringLiteral("m4p"),         QStringLiteral("caf"),
                                     QStringLiteral("sd2"),         QStringLiteral("amr"),
                                     QStringLiteral("audible.com"), QStringLiteral("aif"),
                                     QStringLiteral("wma")};
    return list;
}

const QStringList& AppGlobals::arrPictureExt()
{
    static const QStringList list = {
        QStringLiteral("jpg"),     QStringLiteral("jpeg"), QStringLiteral("gif"), QStringLiteral("png"),
        QStringLiteral("ai"),      QStringLiteral("bmp"),  QStringLiteral("dng"), QStringLiteral("dae"),
        QStringLiteral("eps"),     QStringLiteral("fax"),  QStringLiteral("fpx"), QStringLiteral("hdr"),
        QStringLiteral("icns"),    QStringLiteral("ICNS"), QStringLiteral("ico"), QStringLiteral("jpeg 2000"),
        QStringLiteral("openexr"), QStringLiteral("ps"),   QStringLiteral("psd"), QStringLiteral("pict"),
        QStringLiteral("pntg"),    QStringLiteral("qtif"), QStringLiteral("rad"), QStringLiteral("raw"),
        QStringLiteral("sgi"),     QStringLiteral("tga"),  QStringLiteral("tif"), QStringLiteral("tiff"),
        QStringLiteral("xbm"),     QStringLiteral("pic"),  QStringLiteral("pct"), QStringLiteral("jpe")};
    return list;
}

const QStringList& AppGlobals::arrVideoExt()
{
    static const QStringList list = {
        QStringLiteral("mpeg"), QStringLiteral("mp4"),    QStringLiteral("divx"),   QStringLiteral("mov"),
        QStringLiteral("xvid"), QStringLiteral("mpg"),    QStringLiteral("avi"),    QStringLiteral("webm"),
        QStringLiteral("dv"),   QStringLiteral("3gp"),    QStringLiteral("m4v"),    QStringLiteral("3gpp"),
        QStringLiteral("3pp2"), QStringLiteral("mpeg-2"), QStringLiteral("mpeg-1"), QStringLiteral("mpa"),
        QStringLiteral("flv"),  QStringLiteral("wmx")};
    return list;
}

const QStringList& AppGlobals::arrDocumentExt()
{
    static const QStringList list = {
        QStringLiteral("pdf"),  QStringLiteral("doc"), QStringLiteral("docx"),  QStringLiteral("xls"),
        QStringLiteral("ppt"),  QStringLiteral("odt"), QStringLiteral("rtf"),   QStringLiteral("txt"),
        QStringLiteral("pptx"), QStringLiteral("htm"), QStringLiteral("html"),  QStringLiteral("log"),
        QStringLiteral("csv"),  QStringLiteral("dot"), QStringLiteral("dotx"),  QStringLiteral("docm"),
        QStringLiteral("dotm"), QStringLiteral("xml"), QStringLiteral("mht"),   QStringLiteral("dic"),
        QStringLiteral("xlsx"), QStringLiteral("msg"), QStringLiteral("mhtml"), QStringLiteral("pps"),
        QStringLiteral("xls")};
    return list;
}

const QStringList& AppGlobals::arrArchiveExt()
{
    static const QStringList list = {QStringLiteral("zip"), QStringLiteral("rar"), QStringLiteral("7z"),
                                     QStringLiteral("dmg"), QStringLiteral("pkg")};
    return list;
}

void AppGlobals::setOSVersionFlags(const QString& majorMinor)
{
    isOSX_7_AndAbove = false;
    isOSX_8_AndAbove = false;
    isOSX_9_AndAbove = false;
    isOSX_10_AndAbove = false;
    isOSX_13_AndAbove = false;
    isPhotosAppInstalled = PathUtils::exists(QByteArrayLiteral("/Applications/Photos.app"));

    quillonLog(QStringLiteral("OS Version: %1").arg(majorMinor));
    // Exactly one flag, by the exact text: the flags do not accumulate, and every version
    // not named here (10.10 to 10.12, 10.14, 11 and later, other systems) counts as "10".
    if (majorMinor == QLatin1String("10.7")) {
        isOSX_7_AndAbove = true;
    } else if (majorMinor == QLatin1String("10.8")) {
        isOSX_8_AndAbove = true;
    } else if (majorMinor == QLatin1String("10.9")) {
        isOSX_9_AndAbove = true;
    } else if (majorMinor == QLatin1String("10.13")) {
        quillonLog(QStringLiteral("OSX 13 detected"));
        isOSX_13_AndAbove = true;
    } else {
        isOSX_10_AndAbove = true;
    }
}

QString AppGlobals::currentOSVersionText()
{
    const QOperatingSystemVersion os = QOperatingSystemVersion::current();
    if (os.type() != QOperatingSystemVersion::Unknown && os.majorVersion() >= 0)
        return QStringLiteral("%1.%2").arg(os.majorVersion()).arg(qMax(0, os.minorVersion()));
    // Elsewhere (Linux) the kernel's "major.minor" stands in; it never reads as a 10.x system.
    const QStringList parts = QSysInfo::kernelVersion().split(QLatin1Char('.'));
    bool okMajor = false;
    bool okMinor = false;
    const int major = parts.value(0).toInt(&okMajor);
    int minor = 0;
    if (parts.size() > 1) {
        QString digits = parts.at(1);
        qsizetype n = 0;
        while (n < digits.size() && digits.at(n).isDigit())
            ++n;
        minor = digits.left(n).toInt(&okMinor);
    }
    return QStringLiteral("%1.%2").arg(okMajor ? major : 0).arg(okMinor ? minor : 0);
}

void AppGlobals::initialize()
{
    static std::once_flag once;
    std::call_once(once, [] {
        quillonLog(QStringLiteral("initialize"));
        Settings::registereUserDefaults();
#ifdef Q_OS_MACOS
        // The platform must never restore windows of a previous run.
        const QString bundleId = qEnvironmentVariable("__CFBundleIdentifier");
        if (!bundleId.isEmpty()) {
            QDir(QDir::homePath() +
                 QStringLiteral("/Library/Saved Application State/%1.savedState").arg(bundleId))
                .removeRecursively();
        }
#endif
        setOSVersionFlags(currentOSVersionText());
    });
}
