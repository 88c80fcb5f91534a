#include "platform/MountTable.h"
#include "platform/Trash.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/PathUtils.h"

#include <QDir>
#include <QRegularExpression>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// POSIX helpers: names that are not UTF-8 do not survive a trip through QString.
QByteArray readBytes(const QByteArray& path)
{
    QByteArray out;
    const int fd = ::open(path.constData(), O_RDONLY);
    char buf[4096];
    for (ssize_t n; fd >= 0 && (n = ::read(fd, buf, sizeof buf)) > 0;)
        out.append(buf, n);
    return fd >= 0 && ::close(fd) == 0 ? out : QByteArray("<unreadable>");
}

using TestSupport::makeDir;
using TestSupport::writeFile;

mode_t modeOf(const QByteArray& path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0 ? st.st_mode : 0;
}

bool removeTree(const QByteArray& path)
{
    const auto removeOne = [](const char* p, const struct stat*, int, struct FTW*) { return ::remove(p); };
    return !modeOf(path) || ::nftw(path.constData(), removeOne, 16, FTW_DEPTH | FTW_PHYS | FTW_MOUNT) == 0;
}

int entryCount(const QByteArray& dir)
{
    return int(QDir(QFile::decodeName(dir))
                   .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)
                   .size());
}

// The Path= value of a .trashinfo with the fixed layout and strict encoding (only unreserved
// characters, "/" and %XX escapes); "<malformed>" otherwise.
QByteArray infoPathValue(const QByteArray& text)
{
    static const QRegularExpression layout(
        QStringLiteral("^\\[Trash Info\\]\\nPath=((?:[A-Za-z0-9\\-._~/]|%[0-9A-F]{2})*)\\n"
                       "DeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\n$"));
    const QRegularExpressionMatch m = layout.match(QString::fromLatin1(text));
    return m.hasMatch() ? m.captured(1).toLatin1() : QByteArray("<malformed>");
}

QByteArray trashedFrom(const TrashOutcome& outcome)
{
    return QByteArray::fromPercentEncoding(infoPathValue(readBytes(outcome.infoPath)));
}

} // namespace

class TestTrash : public QObject
{
    Q_OBJECT

    QByteArray m_home, m_work, m_trash;
    bool m_privateMounts = false;
    QByteArrayList m_mounts;

    QByteArray work(const QByteArray& name) const { return PathUtils::join(m_work, name); }

    // A fresh tmpfs as a second volume; only possible with the right to mount.
    QByteArray mountVolume(const QByteArray& name)
    {
        const QByteArray point = work(name);
        if (!m_privateMounts || !makeDir(point) ||
            ::mount("quillon-test", point.constData(), "tmpfs", 0, "mode=0755") != 0)
            return {};
        m_mounts.append(point);
        return point;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = TestSupport::testHome();
        m_trash = FreedesktopTrash::homeTrashPath();
        // Never the machine's own Trash.
        QCOMPARE(m_trash, m_home + "/.local/share/Trash");
        m_work = m_home + "/work";
        // Mounts made in a mount namespace of our own vanish with the process.
        m_privateMounts =
            ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    void init()
    {
        QVERIFY(removeTree(m_home + "/.local") && removeTree(m_work));
        QVERIFY(makeDir(m_work));
    }
    void cleanup()
    {
        for (const QByteArray& point : std::as_const(m_mounts))
            ::umount2(point.constData(), MNT_DETACH);
        m_mounts.clear();
    }
    void cleanupTestCase()
    {
        removeTree(m_home + "/.local");
        removeTree(m_work);
    }

    void homeTrashKeepsNamesAndPaths()
    {
        // Reserved characters, spaces, a newline, UTF-8 and bytes that are not UTF-8.
        const QByteArray name("100% a+b#?\n caf\xc3\xa9 \xff.txt");
        const QByteArray encodedName("100%25%20a%2Bb%23%3F%0A%20caf%C3%A9%20%FF.txt");
        const QByteArray original = work(name);
        QVERIFY(writeFile(original, "content of " + name));
        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(original);
        const QDateTime after = QDateTime::currentDateTime().addSecs(1);

        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QVERIFY(!modeOf(original));
        QCOMPARE(outcome.trashedPath, m_trash + "/files/" + name);
        QCOMPARE(outcome.infoPath, m_trash + "/info/" + name + ".trashinfo");
        QCOMPARE(readBytes(outcome.trashedPath), "content of " + name);
        const QByteArray info = readBytes(outcome.infoPath);
        QVERIFY2(infoPathValue(info).endsWith("/" + encodedName), info.constData());
        QCOMPARE(trashedFrom(outcome), original);
        const QDateTime deleted =
            QDateTime::fromString(QString::fromLatin1(info.mid(info.lastIndexOf('=') + 1, 19)),
                                  QStringLiteral("yyyy-MM-dd'T'HH:mm:ss"));
        QVERIFY(deleted >= before.addMSecs(-before.time().msec()) && deleted <= after);
        // The folders were made from nothing (~/.local/share did not exist) and are private.
        for (const QByteArray& dir : {m_trash, m_trash + "/files", m_trash + "/info"})
            QCOMPARE(modeOf(dir), mode_t(S_IFDIR | 0700));
    }

    // A relative path is stored absolute; a folder (given with a trailing slash) goes whole
    // with its links; a link goes, not its target, even when dangling.
    void itemKinds()
    {
        const QByteArray folder = work("Album 2019");
        QVERIFY(makeDir(folder) && makeDir(folder + "/inner"));
        QVERIFY(writeFile(folder + "/inner/b.jpg", "B"));
        QVERIFY(::symlink("inner/b.jpg", (folder + "/link").constData()) == 0);
        QVERIFY(writeFile(work("target.txt"), "keep me"));
        QVERIFY(::symlink("target.txt", work("link.txt").constData()) == 0);
        QVERIFY(::symlink("nowhere", work("dangling").constData()) == 0);

        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(QFile::decodeName(m_work)));
        const TrashOutcome relative = FreedesktopTrash().moveToTrash("link.txt");
        QDir::setCurrent(previous);
        QVERIFY2(relative.moved, qPrintable(relative.errorText));
        QCOMPARE(trashedFrom(relative), work("link.txt"));
        QVERIFY(S_ISLNK(modeOf(relative.trashedPath)));
        QCOMPARE(readBytes(work("target.txt")), QByteArray("keep me"));

        const TrashOutcome album = FreedesktopTrash().moveToTrash(folder + "/");
        QVERIFY2(album.moved, qPrintable(album.errorText));
        QVERIFY(!modeOf(folder));
        QCOMPARE(album.trashedPath, m_trash + "/files/Album 2019");
        QCOMPARE(readBytes(album.trashedPath + "/inner/b.jpg"), QByteArray("B"));
        QVERIFY(S_ISLNK(modeOf(album.trashedPath + "/link")));
        QCOMPARE(trashedFrom(album), folder);

        QVERIFY(FreedesktopTrash().moveToTrash(work("dangling")).moved);
        QVERIFY(!modeOf(work("dangling")));
    }

    // Equal names get distinct entries; stray entries (files/ without info, info without
    // files/) are never overwritten or reused.
    void nameClashes()
    {
        QVERIFY(writeFile(m_trash + "/files/a.txt", "orphan entry")); // makes the folders
        QVERIFY(writeFile(m_trash + "/info/a.txt.2.trashinfo", "orphan info"));
        QByteArrayList trashed;
        for (const QByteArray folder : {"one", "two", "three"}) {
            const QByteArray path = work(folder + "/a.txt");
            QVERIFY(makeDir(work(folder)) && writeFile(path, "from " + folder));
            const TrashOutcome outcome = FreedesktopTrash().moveToTrash(path);
            QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
            QVERIFY(!trashed.contains(outcome.trashedPath));
            QCOMPARE(readBytes(outcome.trashedPath), "from " + folder);
            QCOMPARE(trashedFrom(outcome), path);
            QCOMPARE(PathUtils::lastPathComponent(outcome.infoPath),
                     PathUtils::lastPathComponent(outcome.trashedPath) + ".trashinfo");
            trashed.append(outcome.trashedPath);
        }
        QCOMPARE(readBytes(m_trash + "/files/a.txt"), QByteArray("orphan entry"));
        QCOMPARE(readBytes(m_trash + "/info/a.txt.2.trashinfo"), QByteArray("orphan info"));
        QVERIFY(!trashed.contains(m_trash + "/files/a.txt.2"));
        QCOMPARE(entryCount(m_trash + "/files") + entryCount(m_trash + "/info"), 8);
    }

    void longNameIsShortenedInTrashOnly_data()
    {
        QTest::addColumn<int>("twoByteCharacters"); // after 120 x and before "Z.txt"
        for (int n : {60, 61, 63, 65})
            QTest::newRow(qPrintable(QString::number(125 + 2 * n) + " bytes")) << n;
    }
    // Names that fit in a folder, but not with ".trashinfo" appended; also when clashing.
    void longNameIsShortenedInTrashOnly()
    {
        QFETCH(int, twoByteCharacters);
        const QByteArray name =
            QByteArray(120, 'x') + QByteArray("\xc3\xa9").repeated(twoByteCharacters) + "Z.txt";
        for (int round = 0; round < 2; ++round) {
            QVERIFY(writeFile(work(name), "long"));
            const TrashOutcome outcome = FreedesktopTrash().moveToTrash(work(name));
            QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
            const QByteArray entry = PathUtils::lastPathComponent(outcome.trashedPath);
            QVERIFY(entry.size() + 10 <= 255);
            // Cut on a character boundary.
            QCOMPARE(QString::fromUtf8(entry).toUtf8(), entry);
            QVERIFY(name.startsWith(entry.left(entry.size() - 2 * round)));
            QCOMPARE(trashedFrom(outcome), work(name));
        }
    }

    // Permission bits stop nothing for root, so the trash is blocked by a regular file.
    void itemStaysWhenNotMovable_data()
    {
        QTest::addColumn<QByteArrayList>("folders"); // made under home
        QTest::addColumn<QByteArray>("blocker");     // a regular file made under home
        QTest::addColumn<QByteArray>("item");        // under home; made as a file unless "gone"
        const QByteArray file("work/precious.txt");
        const QByteArray trash(".local/share/Trash");
        QTest::newRow("missing file") << QByteArrayList() << QByteArray() << QByteArray("work/gone/x.txt");
        QTest::newRow("empty path") << QByteArrayList() << QByteArray() << QByteArray();
        QTest::newRow("share is a file") << QByteArrayList{".local"} << QByteArray(".local/share") << file;
        QTest::newRow("Trash is a file") << QByteArrayList{".local/share"} << trash << file;
        QTest::newRow("files is a file") << QByteArrayList{trash} << trash + "/files" << file;
        QTest::newRow("info is a file") << QByteArrayList{trash + "/files"} << trash + "/info" << file;
        // The folder that holds the Trash cannot go into it; its reserved info must go.
        QTest::newRow("the trash's own folder")
            << QByteArrayList{trash + "/files", trash + "/info"} << QByteArray() << QByteArray(".local");
    }
    void itemStaysWhenNotMovable()
    {
        QFETCH(QByteArrayList, folders);
        QFETCH(QByteArray, blocker);
        QFETCH(QByteArray, item);
        for (const QByteArray& folder : folders)
            QVERIFY(makeDir(m_home + "/" + folder));
        if (!blocker.isEmpty())
            QVERIFY(writeFile(m_home + "/" + blocker, "blocker"));
        const QByteArray path = item.isEmpty() ? item : m_home + "/" + item;
        if (item.endsWith("precious.txt"))
            QVERIFY(writeFile(path, "precious"));

        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(path);
        QVERIFY(!outcome.moved);
        QVERIFY(!outcome.errorText.isEmpty());
        QVERIFY(outcome.trashedPath.isEmpty());
        if (item.endsWith("precious.txt"))
            QCOMPARE(readBytes(path), QByteArray("precious"));
        if (!blocker.isEmpty())
            QCOMPARE(readBytes(m_home + "/" + blocker), QByteArray("blocker"));
        QVERIFY(!modeOf("precious.txt"));
        QVERIFY(entryCount(m_trash + "/info") + entryCount(m_trash + "/files") == 0);
        QVERIFY(item != ".local" || S_ISDIR(modeOf(m_trash + "/info")));
    }

    void volumeTrashSelection_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected"); // "shared", "single" or "none"
        const auto row = [](const char* tag, const char* setup, const char* expected) {
            QTest::newRow(tag) << QString(setup) << QString(expected);
        };
        row("nothing there", "", "single");
        row("sticky .Trash", "sticky", "shared");
        row(".Trash not sticky", "plain", "single");
        row(".Trash is a link", "link", "single");
        row("own entry is a file", "sticky,uidfile", "single");
        row("own entry is a link", "sticky,uidlink", "single");
        row("own entry of another user", "sticky,uidforeign", "single");
        row("existing .Trash-uid", "singledir", "single");
        row(".Trash-uid is a file", "singlefile", "none");
        row(".Trash-uid is a link", "singlelink", "none");
        row("nothing usable", "plain,singlefile", "none");
    }
    void volumeTrashSelection()
    {
        QFETCH(QString, setup);
        QFETCH(QString, expected);
        const uint uid = uint(::getuid());
        const QByteArray top = work("volume"), elsewhere = work("elsewhere");
        QVERIFY(makeDir(top) && makeDir(elsewhere) && ::chmod(elsewhere.constData(), 01777) == 0);
        const QByteArray shared = top + "/.Trash";
        const QByteArray own = shared + "/" + QByteArray::number(uid);
        const QByteArray single = top + "/.Trash-" + QByteArray::number(uid);
        const QStringList steps = setup.split(',', Qt::SkipEmptyParts);
        const QHash<QString, QByteArray> links{{"link", shared}, {"uidlink", own}, {"singlelink", single}};
        for (const QString& step : steps) {
            bool ok = true;
            if (step == "sticky" || step == "plain")
                ok = makeDir(shared) && ::chmod(shared.constData(), step == "sticky" ? 01777 : 0777) == 0;
            else if (links.contains(step))
                ok = ::symlink(elsewhere.constData(), links[step].constData()) == 0;
            else if (step == "uidfile" || step == "singlefile")
                ok = writeFile(step == "uidfile" ? own : single, "x");
            else if (step == "singledir")
                ok = makeDir(single, 0700) && writeFile(single + "/marker", "m");
            else if (step == "uidforeign" &&
                     (!makeDir(own, 0700) || ::chown(own.constData(), uid + 1, gid_t(-1)) != 0))
                QSKIP("changing a folder's owner needs root");
            QVERIFY2(ok, qPrintable(step));
        }

        QString error;
        const std::optional<QByteArray> chosen = FreedesktopTrash::volumeTrashDirectory(top, uid, &error);
        if (expected == "none") {
            QVERIFY(!chosen);
            QVERIFY(!error.isEmpty());
        } else {
            QVERIFY2(chosen, qPrintable(error));
            QCOMPARE(*chosen, expected == "shared" ? own : single);
            QCOMPARE(modeOf(*chosen), mode_t(S_IFDIR | 0700));
            QVERIFY(!steps.contains("singledir") || readBytes(single + "/marker") == "m");
        }
        // Nothing is ever made through a link or in a .Trash that is not trusted.
        QVERIFY(entryCount(elsewhere) == 0);
        QVERIFY(!steps.contains("plain") || entryCount(shared) == 0);
    }

    // A bind mount of the home volume shares its device; the rename into the home trash crosses
    // mounts, so the item goes to the trash of its own mount.
    void bindMountUsesItsOwnTrash()
    {
        const QByteArray source = work("data"), point = work("bound");
        if (!m_privateMounts || !makeDir(source) || !makeDir(point) ||
            ::mount(source.constData(), point.constData(), nullptr, MS_BIND, nullptr) != 0)
            QSKIP("no bind mount can be made here");
        m_mounts.append(point);
        QVERIFY(writeFile(point + "/a b.txt", "bound"));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(point + "/a b.txt");
        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        const QByteArray trashDir = point + "/.Trash-" + QByteArray::number(::getuid());
        QCOMPARE(outcome.trashedPath, trashDir + "/files/a b.txt");
        QCOMPARE(infoPathValue(readBytes(outcome.infoPath)), QByteArray("a%20b.txt"));
        QCOMPARE(entryCount(m_trash + "/info"), 0);
    }

    void mountPoints_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("mountPoint");
        QTest::newRow("root") << QByteArray("/etc/x") << QByteArray("/");
        QTest::newRow("escaped name") << QByteArray("/mnt/my disk/a") << QByteArray("/mnt/my disk");
        QTest::newRow("longest wins") << QByteArray("/mnt/my disk/in/b") << QByteArray("/mnt/my disk/in");
        QTest::newRow("prefix only by name") << QByteArray("/mnt/my diskette") << QByteArray("/");
    }
    void mountPoints()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, mountPoint);
        const QByteArray table = "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                 "30 22 8:2 / /mnt/my\\040disk rw - ext4 /dev/sdb1 rw\n"
                                 "31 30 8:2 /x /mnt/my\\040disk/in rw - ext4 /dev/sdb1 rw\n";
        QCOMPARE(MountTable::mountPointOf(path, MountTable::mountPoints(table)), mountPoint);
    }

    void otherVolumeUsesItsOwnTrash_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected"); // "shared", "single" or "stays"
        const auto row = [](const char* tag, const char* setup, const char* expected) {
            QTest::newRow(tag) << QString(setup) << QString(expected);
        };
        row("no trash yet", "", "single");
        row("sticky .Trash", "sticky", "shared");
        row("trash blocked", "blocked", "stays");
        row("read-only volume", "readonly", "stays");
    }
    void otherVolumeUsesItsOwnTrash()
    {
        QFETCH(QString, setup);
        QFETCH(QString, expected);
        const QByteArray volume = mountVolume("usb");
        if (volume.isEmpty())
            QSKIP("no second volume can be mounted here");
        const QByteArray uidText = QByteArray::number(::getuid());
        const QByteArray file = volume + "/Photos 2020/IMG 1.jpg";
        QVERIFY(makeDir(volume + "/Photos 2020") && writeFile(file, "jpeg"));
        if (setup == "sticky")
            QVERIFY(makeDir(volume + "/.Trash") && ::chmod((volume + "/.Trash").constData(), 01777) == 0);
        else if (setup == "blocked")
            QVERIFY(writeFile(volume + "/.Trash-" + uidText, "not a folder"));
        else if (setup == "readonly")
            QVERIFY(::mount(nullptr, volume.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0);

        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(file);
        // The home trash is never used for another volume's file, not even as a fallback.
        QVERIFY(!modeOf(m_trash + "/files"));
        QCOMPARE(outcome.moved, expected != "stays");
        if (!outcome.moved) {
            QVERIFY(!outcome.errorText.isEmpty());
            QCOMPARE(readBytes(file), QByteArray("jpeg"));
            return;
        }
        const QByteArray trashDir = volume + (expected == "shared" ? "/.Trash/" : "/.Trash-") + uidText;
        QCOMPARE(outcome.trashedPath, trashDir + "/files/IMG 1.jpg");
        QCOMPARE(readBytes(outcome.trashedPath), QByteArray("jpeg"));
        // Relative to the volume's top directory.
        QCOMPARE(infoPathValue(readBytes(trashDir + "/info/IMG 1.jpg.trashinfo")),
                 QByteArray("Photos%202020/IMG%201.jpg"));
    }
};

QUILLON_TEST_MAIN(TestTrash)
#include "tst_trash.moc"
