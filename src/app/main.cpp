#include "app/DesktopApplication.h"
#include "app/Settings.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <malloc.h>

namespace {

constexpr char kHelpText[] = R"(Usage: quillon [OPTION]... [PATH]...
Find files with identical contents and move the copies you do not need to the Trash.

Each PATH (a folder, file or photo library) is added to the scan list, as when it is dropped
on the window, with the same checks and messages.

Options:
  --scan         also start the scan of the scan list at once
  -h, --help     show this help and exit
  --version      show the version and exit
  Qt's own options (such as -platform NAME or -style NAME) are accepted too.

Files:
  $XDG_CONFIG_HOME/Quillon/Quillon.conf  preferences (default ~/.config/Quillon/Quillon.conf)
  $XDG_CACHE_HOME/Quillon.db             digest cache (default ~/.cache/Quillon.db)
  $XDG_DATA_HOME/Trash                   where removed files go (default ~/.local/share/Trash)

Exit status: 0 when Quillon is quit normally.
The command-line scanner is quillon-scan; see quillon-scan --help.
)";

// --help and --version are answered before the window system is opened, so both work
// without a display.
bool answerInformationOption(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0)
            return false;
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(kHelpText, stdout);
            return true;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::fputs("quillon " QUILLON_VERSION "\n", stdout);
            return true;
        }
    }
    return false;
}

struct OpenRequest
{
    QList<QByteArray> paths;
    bool scan = false;
};

// What is left of the command line once Qt has taken its own options.
OpenRequest parseOpenRequest(const QStringList& arguments)
{
    OpenRequest request;
    bool optionsEnded = false;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (!optionsEnded && argument == QLatin1String("--"))
            optionsEnded = true;
        else if (!optionsEnded && argument == QLatin1String("--scan"))
            request.scan = true;
        else if (!argument.isEmpty())
            request.paths.append(QFile::encodeName(QFileInfo(argument).absoluteFilePath()));
    }
    return request;
}

} // namespace

int main(int argc, char* argv[])
{
    // One malloc arena: the hashing threads' small allocations (digests) would otherwise
    // spread over arenas of their own and hold on to their free space (about 70 bytes per
    // scanned file at 200,000 files).
    mallopt(M_ARENA_MAX, 1);
    if (answerInformationOption(argc, argv))
        return 0;
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillon"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLON_VERSION));
    // Ties the windows to the installed desktop entry and icon of the same name.
    QGuiApplication::setDesktopFileName(QStringLiteral(QUILLON_APP_ID));

    DesktopApplication quillon(Settings::standard());
    quillon.show();
    const OpenRequest request = parseOpenRequest(QCoreApplication::arguments());
    if (!request.paths.isEmpty() || request.scan)
        QTimer::singleShot(0, &quillon,
                           [&quillon, request] { quillon.openPaths(request.paths, request.scan); });
    return app.exec();
}
