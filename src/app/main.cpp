#include "app/DesktopApplication.h"
#include "app/Settings.h"

#include <QApplication>

#include <cstdio>
#include <cstring>
#include <malloc.h>

namespace {

constexpr char kHelpText[] = R"(Usage: quillon [OPTION]...
Find files with identical contents and move the copies you do not need to the Trash.

Options:
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
    return app.exec();
}
