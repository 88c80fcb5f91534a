#include "platform/Trash.h"

#include "platform/MountTable.h"
#include "platform/Platform.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QFile>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// One directory entry holds at most this many bytes on the file systems Linux uses.
constexpr qsizetype kNameMax = 255;
const QByteArray kInfoSuffix = QByteArrayLiteral(".trashinfo");
// Room left for the clash number (".1234567").
constexpr qsizetype kClashRoom = 8;
constexpr int kMaxClashAttempts = 100000;

QString errorText(int err)
{
    return qt_error_string(err);
}

QString display(const QByteArray& path)
{
    return PathUtils::toDisplay(path);
}

TrashOutcome notMoved(const QByteArray& path, const QString& why)
{
    quillonLog(QStringLiteral("Not moved to the Trash: %1: %2").arg(display(path), why));
    TrashOutcome outcome;
    outcome.errorText = why;
    return outcome;
}

// A real directory (not a symbolic link) owned by uid.
bool isOwnRealDirectory(const QByteArray& path, uint uid)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == uid;
}

// Makes the directory with mode 0700 when it is missing. True when it exists as a directory
// afterwards; `followLink` allows the folder itself to be a link to a directory.
bool ensureDirectory(const QByteArray& path, bool followLink, QString* error)
{
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST) {
        *error = QStringLiteral("Could not make the folder %1: %2").arg(display(path), errorText(errno));
        return false;
    }
    struct stat st;
    const int rc = followLink ? ::stat(path.constData(), &st) : ::lstat(path.constData(), &st);
    if (rc != 0 || !S_ISDIR(st.st_mode)) {
        *error = QStringLiteral("%1 is not a folder").arg(display(path));
        return false;
    }
    return true;
}

// mkdir -p with mode 0700 for every folder it makes (~/.local/share may not exist yet).
bool ensureDirectoryPath(const QByteArray& path, QString* error)
{
    if (!PathUtils::makeFolders(path)) {
        *error = QStringLiteral("Could not make the folder %1: %2").arg(display(path), errorText(errno));
        return false;
    }
    return ensureDirectory(path, true, error);
}

// The device of the path, or of its nearest existing ancestor (the home trash may not exist yet).
quint64 deviceOfNearest(QByteArray path)
{
    struct stat st;
    while (!path.isEmpty()) {
        if (::stat(path.constData(), &st) == 0)
            return quint64(st.st_dev);
        if (path == "/")
            break;
        path = PathUtils::removingLastComponents(path, 1);
    }
    return quint64(-1);
}

std::optional<QByteArray> realPath(const QByteArray& path)
{
    char* resolved = ::realpath(path.constData(), nullptr);
    if (!resolved)
        return std::nullopt;
    QByteArray out(resolved);
    ::free(resolved);
    return out;
}

// rename(2) that never replaces an entry that appeared after the free-name test.
int renameNoReplace(const QByteArray& from, const QByteArray& to)
{
#if defined(RENAME_NOREPLACE)
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
#endif
    return ::rename(from.constData(), to.constData());
}

#ifdef Q_OS_MACOS
class QtTrash : public TrashInterface
{
public:
    TrashOutcome moveToTrash(const QByteArray& path) override
    {
        TrashOutcome outcome;
        QString inTrash;
        if (QFile::moveToTrash(QFile::decodeName(path), &inTrash)) {
            outcome.moved = true;
            outcome.trashedPath = QFile::encodeName(inTrash);
        } else {
            outcome.errorText = QStringLiteral("The item could not be moved to the Trash.");
        }
        return outcome;
    }
};
#endif

} // namespace

QByteArray FreedesktopTrash::homeTrashPath()
{
    QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !dataHome.startsWith('/'))
        dataHome = Platform::homePath() + "/.local/share";
    return PathUtils::join(dataHome, "Trash");
}

QByteArray FreedesktopTrash::topDirectory(const QByteArray& path, quint64 device)
{
    QByteArray current = path;
    while (current != "/" && !current.isEmpty()) {
        const QByteArray parent = PathUtils::removingLastComponents(current, 1);
        struct stat st;
        if (parent.isEmpty() || ::stat(parent.constData(), &st) != 0 || quint64(st.st_dev) != device)
            return current;
        current = parent;
    }
    return QByteArrayLiteral("/");
}

std::optional<QByteArray> FreedesktopTrash::volumeTrashDirectory(const QByteArray& topdir, uint uid,
                                                                 QString* error)
{
    const QByteArray uidText = QByteArray::number(uid);

    // $topdir/.Trash is shared by all users; it is only trusted when it is a real directory with
    // the sticky bit, so nobody can remove or replace another user's folder in it.
    const QByteArray shared = PathUtils::join(topdir, ".Trash");
    struct stat st;
    if (::lstat(shared.constData(), &st) == 0 && S_ISDIR(st.st_mode) && (st.st_mode & S_ISVTX)) {
        const QByteArray own = PathUtils::join(shared, uidText);
        if (::mkdir(own.constData(), 0700) == 0 || errno == EEXIST) {
            if (isOwnRealDirectory(own, uid))
                return own;
        }
    }

    const QByteArray single = PathUtils::join(topdir, ".Trash-" + uidText);
    if (::mkdir(single.constData(), 0700) != 0 && errno != EEXIST) {
        if (error)
            *error = QStringLiteral("No Trash can be made on the volume %1: %2")
                         .arg(display(topdir), errorText(errno));
        return std::nullopt;
    }
    if (!isOwnRealDirectory(single, uid)) {
        if (error)
            *error = QStringLiteral("No Trash can be used on the volume %1: %2 is not a folder of this user")
                         .arg(display(topdir), display(single));
        return std::nullopt;
    }
    return single;
}

QByteArray FreedesktopTrash::trashInfo(const QByteArray& pathValue, const QDateTime& deletionDate)
{
    QByteArray text("[Trash Info]\nPath=");
    text += Platform::percentEncodePath(pathValue);
    text += "\nDeletionDate=";
    text += deletionDate.toLocalTime().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss")).toLatin1();
    text += '\n';
    return text;
}

QByteArray FreedesktopTrash::baseTrashName(const QByteArray& itemName)
{
    const qsizetype limit = kNameMax - kInfoSuffix.size() - kClashRoom;
    if (itemName.size() <= limit)
        return itemName;
    qsizetype cut = limit;
    // Do not split a UTF-8 sequence: step back over continuation bytes to a lead byte.
    while (cut > 1 && (static_cast<unsigned char>(itemName.at(cut)) & 0xC0) == 0x80)
        --cut;
    return itemName.left(cut);
}

TrashOutcome FreedesktopTrash::moveToTrash(const QByteArray& path)
{
    if (path.isEmpty())
        return notMoved(path, QStringLiteral("No item was named."));
    if (path.contains('\0'))
        return notMoved(path, QStringLiteral("The name is not a valid path."));

    QByteArray absolute = Platform::absolutePath(path);
    while (absolute.size() > 1 && absolute.endsWith('/'))
        absolute.chop(1);
    const QByteArray name = PathUtils::lastPathComponent(absolute);
    if (absolute == "/" || name == "." || name == "..")
        return notMoved(path, QStringLiteral("This item cannot be moved to the Trash."));

    struct stat item;
    if (::lstat(absolute.constData(), &item) != 0)
        return notMoved(path, errorText(errno));

    // The parent's real path: the volume walk and the Path= value must not go through links.
    const std::optional<QByteArray> parent = realPath(PathUtils::removingLastComponents(absolute, 1));
    if (!parent)
        return notMoved(path, errorText(errno));
    const QByteArray itemPath = PathUtils::join(*parent, name);

    const QByteArray homeTrash = homeTrashPath();
    if (quint64(item.st_dev) == deviceOfNearest(homeTrash)) {
        QString error;
        if (!ensureDirectoryPath(homeTrash, &error))
            return notMoved(path, error);
        int renameError = 0;
        TrashOutcome outcome = moveInto(homeTrash, itemPath, itemPath, &renameError);
        return renameError == EXDEV ? moveIntoOwnMount(itemPath) : outcome;
    }

    const QByteArray topdir = topDirectory(itemPath, quint64(item.st_dev));
    QString error;
    const std::optional<QByteArray> trashDir = volumeTrashDirectory(topdir, uint(::getuid()), &error);
    if (!trashDir)
        return notMoved(path, error);
    const QByteArray relative = topdir == "/" ? itemPath.mid(1) : itemPath.mid(topdir.size() + 1);
    int renameError = 0;
    TrashOutcome outcome = moveInto(*trashDir, itemPath, relative, &renameError);
    return renameError == EXDEV ? moveIntoOwnMount(itemPath) : outcome;
}

TrashOutcome FreedesktopTrash::moveIntoOwnMount(const QByteArray& itemPath)
{
    const QByteArray mount = MountTable::mountPointOf(itemPath);
    QString error;
    const std::optional<QByteArray> trashDir = volumeTrashDirectory(mount, uint(::getuid()), &error);
    if (!trashDir)
        return notMoved(itemPath, error);
    const QByteArray relative = mount == "/" ? itemPath.mid(1) : itemPath.mid(mount.size() + 1);
    return moveInto(*trashDir, itemPath, relative);
}

TrashOutcome FreedesktopTrash::moveInto(const QByteArray& trashDir, const QByteArray& itemPath,
                                        const QByteArray& pathValue, int* renameError)
{
    const QByteArray filesDir = PathUtils::join(trashDir, "files");
    const QByteArray infoDir = PathUtils::join(trashDir, "info");
    QString error;
    if (!ensureDirectory(filesDir, false, &error) || !ensureDirectory(infoDir, false, &error))
        return notMoved(itemPath, error);

    const QByteArray info = trashInfo(pathValue, QDateTime::currentDateTime());
    const QByteArray base = baseTrashName(PathUtils::lastPathComponent(itemPath));

    for (int n = 1; n <= kMaxClashAttempts; ++n) {
        const QByteArray candidate = n == 1 ? base : base + '.' + QByteArray::number(n);
        const QByteArray infoPath = PathUtils::join(infoDir, candidate + kInfoSuffix);
        const QByteArray target = PathUtils::join(filesDir, candidate);

        // The .trashinfo comes first and is created exclusively: it reserves the name.
        const int fd = ::open(infoPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return notMoved(
                itemPath, QStringLiteral("Could not write %1: %2").arg(display(infoPath), errorText(errno)));
        }
        struct stat st;
        if (::lstat(target.constData(), &st) == 0) {
            ::close(fd);
            ::unlink(infoPath.constData());
            continue;
        }
        // On disk before the item moves: a crash must never leave an entry without its origin.
        const bool written = Platform::writeAll(fd, info.constData(), info.size()) && ::fsync(fd) == 0;
        const int writeErrno = errno;
        if (::close(fd) != 0 || !written) {
            const int err = written ? errno : writeErrno;
            ::unlink(infoPath.constData());
            return notMoved(itemPath,
                            QStringLiteral("Could not write %1: %2").arg(display(infoPath), errorText(err)));
        }

        if (renameNoReplace(itemPath, target) != 0) {
            const int err = errno;
            ::unlink(infoPath.constData());
            if (err == EEXIST)
                continue;
            if (renameError)
                *renameError = err;
            if (err == EXDEV && renameError) {
                TrashOutcome crossed;
                crossed.errorText = errorText(err);
                return crossed;
            }
            return notMoved(itemPath, errorText(err));
        }
        TrashOutcome outcome;
        outcome.moved = true;
        outcome.trashedPath = target;
        outcome.infoPath = infoPath;
        return outcome;
    }
    return notMoved(itemPath, QStringLiteral("No free name was found in the Trash."));
}

PutBackOutcome TrashInterface::putBack(const TrashOutcome& item, const QByteArray& originalPath)
{
    const auto stays = [](const QString& why) { return PutBackOutcome{false, why}; };
    struct stat st;
    if (!item.moved || item.trashedPath.isEmpty() || ::lstat(item.trashedPath.constData(), &st) != 0)
        return stays(QStringLiteral("The item is no longer in the Trash."));
    if (::lstat(originalPath.constData(), &st) == 0)
        return stays(QStringLiteral("Another item now has its place."));
    if (renameNoReplace(item.trashedPath, originalPath) != 0) {
        const int err = errno;
        return stays(err == EEXIST ? QStringLiteral("Another item now has its place.") : errorText(err));
    }
    if (!item.infoPath.isEmpty())
        ::unlink(item.infoPath.constData());
    return {true, {}};
}

std::unique_ptr<TrashInterface> createSystemTrash()
{
#ifdef Q_OS_MACOS
    return std::make_unique<QtTrash>();
#else
    return std::make_unique<FreedesktopTrash>();
#endif
}
