#include "CommandLine.h"

#include <cerrno>
#include <unistd.h>
#include <vector>

namespace {

// The value of an option given as "--name VALUE" or "--name=VALUE".
bool takeValue(const QByteArray& arg, const char* name, int& i, int argc, char** argv, QByteArray& value,
               bool& missing)
{
    const QByteArray option(name);
    if (arg == option) {
        if (i + 1 >= argc) {
            missing = true;
            return true;
        }
        value = QByteArray(argv[++i]);
        return true;
    }
    if (arg.startsWith(option + '=')) {
        value = arg.mid(option.size() + 1);
        return true;
    }
    return false;
}

} // namespace

std::optional<quint64> CommandLine::parseSize(const QByteArray& text)
{
    QByteArray t = text.trimmed();
    qsizetype digits = 0;
    while (digits < t.size() && t.at(digits) >= '0' && t.at(digits) <= '9')
        ++digits;
    if (digits == 0)
        return std::nullopt;
    bool ok = false;
    const quint64 number = t.left(digits).toULongLong(&ok);
    if (!ok)
        return std::nullopt;
    const QByteArray suffix = t.mid(digits).toUpper();
    int shift = 0;
    if (!suffix.isEmpty() && suffix != "B") {
        const char unit = suffix.at(0);
        const QByteArray rest = suffix.mid(1);
        if (rest != "" && rest != "B" && rest != "IB")
            return std::nullopt;
        switch (unit) {
        case 'K':
            shift = 10;
            break;
        case 'M':
            shift = 20;
            break;
        case 'G':
            shift = 30;
            break;
        case 'T':
            shift = 40;
            break;
        default:
            return std::nullopt;
        }
    }
    if (shift > 0 && number > (~quint64(0) >> shift))
        return std::nullopt;
    return number << shift;
}

QByteArray CommandLine::absolutePath(const QByteArray& path)
{
    QByteArray full = path;
    if (!full.startsWith('/')) {
        std::vector<char> cwd(4096);
        while (!::getcwd(cwd.data(), cwd.size()) && errno == ERANGE)
            cwd.resize(cwd.size() * 2);
        full = QByteArray(cwd.data()) + '/' + path;
    }
    QList<QByteArray> parts;
    for (const QByteArray& part : full.split('/')) {
        if (part.isEmpty() || part == ".")
            continue;
        if (part == "..") {
            if (!parts.isEmpty())
                parts.removeLast();
            continue;
        }
        parts << part;
    }
    QByteArray out;
    for (const QByteArray& part : parts)
        out += '/' + part;
    return out.isEmpty() ? QByteArray("/") : out;
}

std::optional<CommandLine> CommandLine::parse(int argc, char** argv, QString& error)
{
    CommandLine cl;
    bool noExclude = false;
    QStringList excludes;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        if (optionsEnded || !arg.startsWith('-') || arg == "-") {
            cl.paths << absolutePath(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        QByteArray value;
        bool missing = false;
        if (arg == "-h" || arg == "--help") {
            cl.help = true;
        } else if (arg == "--version") {
            cl.version = true;
        } else if (arg == "-q" || arg == "--quiet") {
            cl.quiet = true;
        } else if (arg == "--json") {
            cl.json = true;
        } else if (arg == "--no-cache") {
            cl.noCache = true;
        } else if (arg == "--no-exclude") {
            noExclude = true;
        } else if (takeValue(arg, "--min-size", i, argc, argv, value, missing)) {
            if (missing) {
                error = QStringLiteral("option --min-size needs a size");
                return std::nullopt;
            }
            cl.minimumFileSize = parseSize(value);
            if (!cl.minimumFileSize) {
                error = QStringLiteral("invalid size '%1' (examples: 0, 500, 10K, 1M)")
                            .arg(QString::fromUtf8(value));
                return std::nullopt;
            }
        } else if (takeValue(arg, "--exclude", i, argc, argv, value, missing)) {
            if (missing || value.isEmpty()) {
                error = QStringLiteral("option --exclude needs a folder");
                return std::nullopt;
            }
            excludes << QString::fromUtf8(absolutePath(value));
        } else if (arg == "--trash") {
            cl.trash = true;
        } else if (takeValue(arg, "--keep", i, argc, argv, value, missing)) {
            if (missing || (value != "oldest" && value != "newest")) {
                error = QStringLiteral("option --keep needs 'oldest' or 'newest'");
                return std::nullopt;
            }
            cl.keep = value == "oldest" ? KeepRule::Oldest : KeepRule::Newest;
        } else if (takeValue(arg, "--cache", i, argc, argv, value, missing)) {
            if (missing || value.isEmpty()) {
                error = QStringLiteral("option --cache needs a file");
                return std::nullopt;
            }
            cl.cacheFile = absolutePath(value);
        } else {
            error = QStringLiteral("unknown option '%1'").arg(QString::fromUtf8(arg));
            return std::nullopt;
        }
    }
    if (cl.help || cl.version)
        return cl;
    if (noExclude && !excludes.isEmpty()) {
        error = QStringLiteral("--exclude and --no-exclude cannot be used together");
        return std::nullopt;
    }
    if (cl.noCache && cl.cacheFile) {
        error = QStringLiteral("--cache and --no-cache cannot be used together");
        return std::nullopt;
    }
    if (cl.trash && !cl.keep) {
        error = QStringLiteral("--trash needs --keep oldest or --keep newest");
        return std::nullopt;
    }
    if (noExclude)
        cl.excludedFolders = QStringList();
    else if (!excludes.isEmpty())
        cl.excludedFolders = excludes;
    if (cl.paths.isEmpty()) {
        error = QStringLiteral("no path given");
        return std::nullopt;
    }
    return cl;
}

QString CommandLine::helpText()
{
    return QStringLiteral(R"(NAME
    quillon-scan - find files with identical contents

SYNOPSIS
    quillon-scan [options] PATH...
    quillon-scan --keep oldest|newest [--trash] [options] PATH...

DESCRIPTION
    Scans the given folders and files, groups them by exact byte size, then by the MD5
    digest of their contents, and lists every group of two or more identical items. The
    paths are scanned like the ticked entries of Quillon's scan list: a scan needs one
    folder or at least two other items. Hidden files and folders (names beginning with
    "."), symbolic links and special files are skipped; application bundles and other
    packages count as one item each.

    A file reached by more than one path (hard links, bind mounts, a folder given twice)
    counts once: the first path met makes the record, later ones are listed as reached again.
    Digests are kept in Quillon's cache database, so a file whose path, modification date
    and size are unchanged is not read again on the next scan. Nothing is moved unless
    --trash is given, and nothing is ever deleted.

OPTIONS
    --min-size SIZE
        Skip files smaller than SIZE bytes. SIZE is a whole number with an optional suffix
        K, M, G or T (powers of 1,024): 0, 500, 10K, 1M. Default: the minimum file size of
        Quillon's preferences.

    --exclude DIR
        Skip the folder DIR and everything below it (letter case ignored). Repeatable;
        replaces the excluded folders of Quillon's preferences. DIR is a literal folder path;
        one that is empty is skipped. Cannot be used with --no-exclude.

    --no-exclude
        Exclude nothing.

    --cache FILE
        Use FILE as the cache database (created from the empty database when missing).

    --no-cache
        Neither read nor write a cache database: every candidate file is read.

    --keep oldest|newest
        Mark every member of every group but one, as Quillon's automatic marking does:
        "oldest" keeps the file created first, "newest" the one created last (library
        copies are ordered by the "autoMarkPhotos" preference). Without --trash this is a
        dry run: each path is listed with what would become of it and nothing is moved.

    --trash
        With --keep: move the marked files to the Trash (files of an iPhoto library to its
        own trash). Immediately before a file is moved it is checked again: it must still be
        the file that was scanned, and its bytes must equal those of the copy that stays.
        A file that fails is left where it is and listed with the reason. Files can be put
        back from the Trash with the file manager. Ctrl-C stops after the current file.

    --json
        Print the result as one JSON object instead of text.

    -q, --quiet
        No progress display. By default, when standard error is a terminal, a one-line
        progress display is kept up to date there.

    -h, --help
        Show this help.

    --version
        Show the version.

OUTPUT
    Text: each group of identical items, one path per line, groups separated by one blank
    line, the group that frees the most space first (ties by first path). Then a summary on
    standard error: the files scanned and their size, the duplicates and the space that
    removing them would free.

    With --keep, each path line starts with what became of the file: "kept: PATH",
    "would move: PATH" (dry run), "moved: PATH" or "not moved (REASON): PATH"; the path
    is everything after the first ": ". The summary adds the files moved and the space
    recovered (or, in a dry run, what would be moved), and each file not moved is said on
    standard error: "quillon-scan: not moved 'PATH': REASON".

    Each item that could not be read (permission denied, vanished, changed during the scan)
    is said on standard error: "quillon-scan: cannot read 'PATH': REASON".

    JSON: {"scanned", "scannedBytes", "duplicates", "reclaimableBytes", "groups": [{"md5",
    "size", "paths": [...]}], "skipped": [{"path", "reason"}], "sameFileAgain": [{"path",
    "paths": [...]}]}, groups in the same order; "sameFileAgain" lists under a record's path
    the later paths that reached the same file. A path that is valid UTF-8 is a JSON
    string; any other path is an object {"base64": "..."} holding its bytes in base64.

    With --keep, each group also has "outcomes", one per path in the order of "paths":
    "kept", "would move", "moved", "in album" (a Photos item collected into the album
    "Duplicate Marked Photos") or {"notMoved": "REASON"}; and the object ends with "trash":
    {"keep", "dryRun", "marked", "markedBytes", "moved", "movedBytes", "notMoved"}.

EXIT STATUS
    0    the scan completed
    1    fatal error (memory ran out); the scan ended early
    2    bad usage, a path that does not exist, or nothing to compare ("Only one item
         detected in the selected path(s).")
    3    the scan completed, but some items could not be read, or some marked files were
         not moved
    130  interrupted (SIGINT); the groups found so far are printed and the digests
         computed so far are stored in the cache; an interrupted scan marks and moves
         nothing. During --trash the moves stop after the current file, and every outcome
         and the summary are still printed

ENVIRONMENT
    QUILLON_SCAN_LOG
        When set and not empty, the application's log lines are shown on standard error.
    QUILLON_SCAN_REFERENCE
        When set and not empty, every candidate is read and digested on its own by one
        thread: slower, for checking that the faster paths find the same groups.
    QUILLON_MD5_LANES
        scalar, avx2, avx512vl or avx512: the widest SIMD code the digests may use (never
        wider than the processor runs). By default the widest the processor runs.

FILES
    $XDG_CACHE_HOME/Quillon.db (default ~/.cache/Quillon.db)
        the cache database
    $XDG_CONFIG_HOME/Quillon/Quillon.conf (default ~/.config/Quillon/Quillon.conf)
        Quillon's preferences: "minimumFileSize", "fileSizeUnit", "excludedFolders",
        "autoMarkPhotos"
    $XDG_DATA_HOME/Trash (default ~/.local/share/Trash)
        the Trash of the home volume; files on other volumes go to that volume's Trash
)");
}
