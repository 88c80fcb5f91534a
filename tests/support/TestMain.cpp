#include "support/TestMain.h"

#include <QDir>
#include <cstdlib>
#include <sys/stat.h>

namespace TestSupport {

namespace {
QByteArray g_home;
}

void isolateHome()
{
    QByteArray home = qgetenv("QUILLON_TEST_HOME");
    if (home.isEmpty()) {
        static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/quillon-test-home-XXXXXX"));
        home = QFile::encodeName(dir.path());
    }
    QDir().mkpath(QString::fromUtf8(home));
    // A clean home for every run.
    QDir(QString::fromUtf8(home)).removeRecursively();
    QDir().mkpath(QString::fromUtf8(home));
    g_home = home;
    qputenv("HOME", home);
    qputenv("XDG_CONFIG_HOME", home + "/.config");
    qputenv("XDG_CACHE_HOME", home + "/.cache");
    qputenv("XDG_DATA_HOME", home + "/.local/share");
    qputenv("XDG_RUNTIME_DIR", home + "/.runtime");
    QDir().mkpath(QString::fromUtf8(home + "/.runtime"));
    ::chmod((home + "/.runtime").constData(), 0700);
}

QByteArray testHome()
{
    return g_home;
}

} // namespace TestSupport
