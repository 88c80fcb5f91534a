#include "support/TestMain.h"

#include <QDir>
#include <cstdlib>
#include <filesystem>
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
    // A clean home for every run; std::filesystem works on the path bytes, so names that are
    // not valid UTF-8 are removed too.
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(home.toStdString()), ignored);
    std::filesystem::create_directories(std::filesystem::path(home.toStdString()), ignored);
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
