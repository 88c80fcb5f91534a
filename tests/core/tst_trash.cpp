#include "platform/Trash.h"
#include "support/TestMain.h"
#include "util/PathUtils.h"

#include <QDir>
#include <QRegularExpression>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray readBytes(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_RDONLY);
    if (fd < 0)
        return QByteArray("<unreadable>");
    QByteArray out;
    char buf[4096];
    ssize_t n;
    while ((n = ::read(fd, buf, sizeof buf)) > 0)
        out.append(buf, n);
    ::close(fd);
    return out;
}

bool writeBytes(const QByteArray& path, const QByteArray& data)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return false;
    const bool ok = ::write(fd, data.constData(), size_t(data.size())) == data.size();
    return ::close(fd) == 0 && ok;
}

bool makeDir(const QByteArray& path, mode_t mode = 0755)
{
    return ::mkdir(path.constData(), mode) == 0;
}

bool lexists(const QByteArray& path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

mode_t modeOf(const QByteArray& path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0 ? st.st_mode : 0;
}

// QDir::removeRecursively goes through QString and cannot remove names that are not UTF-8.
bool removeTree(const QByteArray& path)
{
    if (!lexists(path))
        return true;
    const auto removeOne = [](const char* p, const struct stat*, int, struct FTW*) { return ::remove(p); };
    return ::nftw(path.constData(), removeOne, 16, FTW_DEPTH | FTW_PHYS | FTW_MOUNT) == 0;
}

QByteArrayList entries(const QByteArray& dir)
{
    QByteArrayList out;
    DIR* d = ::opendir(dir.constData());
    if (!d)
        return out;
    while (const dirent* e = ::readdir(d)) {
        const QByteArray name(e->d_name);
        if (name != "." && name != "..")
            out.append(name);
    }
    ::closedir(d);
    return out;
}

// The fields of a .trashinfo, checked for its fixed layout.
struct TrashInfo
{
    bool wellFormed = false;
    QByteArray encodedPath;
    QByteArray decodedPath;
    QDateTime deletionDate;
};

TrashInfo parseInfo(const QByteArray& text)
{
    TrashInfo info;
    static const QRegularExpression layout(QStringLiteral(
        "^\\[Trash Info\\]\\nPath=([^\\n]*)\\nDeletionDate=(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d)\\n$"));
    const QRegularExpressionMatch m = layout.match(QString::fromLatin1(text));
    if (!m.hasMatch())
        return info;
    info.wellFormed = true;
    info.encodedPath = m.captured(1).toLatin1();
    info.decodedPath = QByteArray::fromPercentEncoding(info.encodedPath);
    info.deletionDate = QDateTime::fromString(m.captured(2), QStringLiteral("yyyy-MM-dd'T'HH:mm:ss"));
    return info;
}

// Only unreserved characters, "/" and %XX escapes may appear in Path=.
bool isStrictlyEncoded(const QByteArray& encoded)
{
    static const QRegularExpression allowed(QStringLiteral("^(?:[A-Za-z0-9\\-._~/]|%[0-9A-F]{2})*$"));
    return allowed.match(QString::fromLatin1(encoded)).hasMatch();
}

} // namespace

class TestTrash : public QObject
{
    Q_OBJECT

    QByteArray m_home;
    QByteArray m_work;
    QByteArray m_trash;
    bool m_privateMounts = false;
    QByteArrayList m_mounts;

    QByteArray work(const QByteArray& name) const { return PathUtils::join(m_work, name); }

    // A fresh tmpfs as a second volume; only possible with the right to mount (root).
    QByteArray mountVolume(const QByteArray& name)
    {
        const QByteArray point = work(name);
        if (!m_privateMounts || !makeDir(point))
            return {};
        if (::mount("quillon-test", point.constData(), "tmpfs", 0, "mode=0755") != 0)
            return {};
        m_mounts.append(point);
        return point;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = TestSupport::testHome();
        QVERIFY(!m_home.isEmpty());
        m_trash = FreedesktopTrash::homeTrashPath();
        // Never the machine's own Trash.
        QVERIFY2(m_trash.startsWith(m_home + "/"), m_trash.constData());
        QCOMPARE(m_trash, m_home + "/.local/share/Trash");
        m_work = m_home + "/work";
        // Mounts made in a mount namespace of our own vanish with the process.
        m_privateMounts =
            ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    void init()
    {
        QVERIFY(removeTree(m_home + "/.local"));
        QVERIFY(removeTree(m_work));
        QVERIFY(makeDir(m_work));
        QVERIFY(!lexists(m_home + "/.local"));
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

    void homeTrashKeepsNamesAndPaths_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("encodedName");
        QTest::newRow("plain") << QByteArray("plain.txt") << QByteArray("plain.txt");
        QTest::newRow("spaces") << QByteArray("my notes 2.txt") << QByteArray("my%20notes%202.txt");
        QTest::newRow("percent") << QByteArray("100% sure.txt") << QByteArray("100%25%20sure.txt");
        QTest::newRow("reserved") << QByteArray("a+b&c=d#e?f;g.txt")
                                  << QByteArray("a%2Bb%26c%3Dd%23e%3Ff%3Bg.txt");
        QTest::newRow("non-ascii") << QByteArray("caf\xc3\xa9 \xe6\x97\xa5.jpg")
                                   << QByteArray("caf%C3%A9%20%E6%97%A5.jpg");
        QTest::newRow("not utf-8") << QByteArray("bad\xff\xfe name\xe9.bin")
                                   << QByteArray("bad%FF%FE%20name%E9.bin");
        QTest::newRow("newline") << QByteArray("two\nlines") << QByteArray("two%0Alines");
    }
    void homeTrashKeepsNamesAndPaths()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, encodedName);
        const QByteArray original = work(name);
        QVERIFY(writeBytes(original, "content of " + name));

        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        FreedesktopTrash trash;
        const TrashOutcome outcome = trash.moveToTrash(original);
        const QDateTime after = QDateTime::currentDateTime().addSecs(1);

        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QVERIFY(outcome.errorText.isEmpty());
        QVERIFY(!lexists(original));
        QCOMPARE(outcome.trashedPath, m_trash + "/files/" + name);
        QCOMPARE(outcome.infoPath, m_trash + "/info/" + name + ".trashinfo");
        QCOMPARE(readBytes(outcome.trashedPath), "content of " + name);

        const TrashInfo info = parseInfo(readBytes(outcome.infoPath));
        QVERIFY2(info.wellFormed, readBytes(outcome.infoPath).constData());
        QVERIFY2(isStrictlyEncoded(info.encodedPath), info.encodedPath.constData());
        QVERIFY(info.encodedPath.endsWith("/" + encodedName));
        QCOMPARE(info.decodedPath, original);
        QVERIFY(info.deletionDate.isValid());
        QVERIFY(info.deletionDate >= before.addMSecs(-before.time().msec()) && info.deletionDate <= after);

        // The folders were made from nothing (~/.local/share did not exist) and are private.
        for (const QByteArray& dir : {m_trash, m_trash + "/files", m_trash + "/info"}) {
            QVERIFY2(S_ISDIR(modeOf(dir)), dir.constData());
            QCOMPARE(modeOf(dir) & 07777, mode_t(0700));
        }
    }

    void relativePathIsStoredAbsolute()
    {
        QVERIFY(writeBytes(work("rel.txt"), "r"));
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(QFile::decodeName(m_work)));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash("rel.txt");
        QDir::setCurrent(previous);
        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QCOMPARE(parseInfo(readBytes(outcome.infoPath)).decodedPath, work("rel.txt"));
    }

    void sameNamesGetDistinctEntries()
    {
        FreedesktopTrash trash;
        QByteArrayList trashed;
        for (const QByteArray folder : {"one", "two", "three"}) {
            QVERIFY(makeDir(work(folder)));
            const QByteArray path = work(folder + "/report.pdf");
            QVERIFY(writeBytes(path, "from " + folder));
            const TrashOutcome outcome = trash.moveToTrash(path);
            QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
            QVERIFY(!trashed.contains(outcome.trashedPath));
            QCOMPARE(readBytes(outcome.trashedPath), "from " + folder);
            QCOMPARE(parseInfo(readBytes(outcome.infoPath)).decodedPath, path);
            // Each entry's info file carries the entry's name.
            QCOMPARE(PathUtils::lastPathComponent(outcome.infoPath),
                     PathUtils::lastPathComponent(outcome.trashedPath) + ".trashinfo");
            trashed.append(outcome.trashedPath);
        }
        QCOMPARE(entries(m_trash + "/files").size(), 3);
        QCOMPARE(entries(m_trash + "/info").size(), 3);
    }

    void clashesWithStrayEntriesAreAvoided()
    {
        // An entry in files/ without its info file, and an info file without its entry: neither
        // may be overwritten or reused.
        QVERIFY(QDir().mkpath(QFile::decodeName(m_trash + "/files")));
        QVERIFY(QDir().mkpath(QFile::decodeName(m_trash + "/info")));
        QVERIFY(writeBytes(m_trash + "/files/a.txt", "orphan entry"));
        QVERIFY(writeBytes(m_trash + "/info/a.txt.2.trashinfo", "orphan info"));

        QVERIFY(writeBytes(work("a.txt"), "new"));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(work("a.txt"));
        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QCOMPARE(readBytes(m_trash + "/files/a.txt"), QByteArray("orphan entry"));
        QCOMPARE(readBytes(m_trash + "/info/a.txt.2.trashinfo"), QByteArray("orphan info"));
        QVERIFY(outcome.trashedPath != m_trash + "/files/a.txt");
        QVERIFY(outcome.trashedPath != m_trash + "/files/a.txt.2");
        QCOMPARE(readBytes(outcome.trashedPath), QByteArray("new"));
        // No info file was left for the name that was given up.
        QVERIFY(!lexists(m_trash + "/info/a.txt.trashinfo"));
    }

    void folderGoesWhole()
    {
        const QByteArray folder = work("Album 2019");
        QVERIFY(makeDir(folder));
        QVERIFY(makeDir(folder + "/inner"));
        QVERIFY(writeBytes(folder + "/a.jpg", "A"));
        QVERIFY(writeBytes(folder + "/inner/b.jpg", "B"));
        QVERIFY(::symlink("a.jpg", (folder + "/link").constData()) == 0);

        // Given with a trailing slash, as a folder often is.
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(folder + "/");
        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QVERIFY(!lexists(folder));
        QCOMPARE(outcome.trashedPath, m_trash + "/files/Album 2019");
        QCOMPARE(readBytes(outcome.trashedPath + "/a.jpg"), QByteArray("A"));
        QCOMPARE(readBytes(outcome.trashedPath + "/inner/b.jpg"), QByteArray("B"));
        QVERIFY(S_ISLNK(modeOf(outcome.trashedPath + "/link")));
        QCOMPARE(parseInfo(readBytes(outcome.infoPath)).decodedPath, folder);
    }

    void symbolicLinkGoesNotItsTarget()
    {
        QVERIFY(writeBytes(work("target.txt"), "keep me"));
        QVERIFY(::symlink("target.txt", work("link.txt").constData()) == 0);
        QVERIFY(::symlink("nowhere", work("dangling").constData()) == 0);

        FreedesktopTrash trash;
        const TrashOutcome link = trash.moveToTrash(work("link.txt"));
        QVERIFY2(link.moved, qPrintable(link.errorText));
        QVERIFY(S_ISLNK(modeOf(link.trashedPath)));
        QCOMPARE(readBytes(work("target.txt")), QByteArray("keep me"));

        const TrashOutcome dangling = trash.moveToTrash(work("dangling"));
        QVERIFY2(dangling.moved, qPrintable(dangling.errorText));
        QVERIFY(!lexists(work("dangling")));
    }

    void missingItemIsNotMoved_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("missing file") << QByteArray("gone.txt");
        QTest::newRow("missing folder") << QByteArray("no/such/file.txt");
        QTest::newRow("empty") << QByteArray();
    }
    void missingItemIsNotMoved()
    {
        QFETCH(QByteArray, path);
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(path.isEmpty() ? path : work(path));
        QVERIFY(!outcome.moved);
        QVERIFY(!outcome.errorText.isEmpty());
        QVERIFY(outcome.trashedPath.isEmpty());
        QVERIFY(entries(m_trash + "/info").isEmpty());
    }

    // Tests may run as root, where permission bits stop nothing: the trash location is
    // blocked by a regular file instead.
    void unusableHomeTrashLeavesFile_data()
    {
        QTest::addColumn<QByteArray>("blocker");
        QTest::addColumn<QByteArrayList>("folders");
        QTest::newRow("share is a file") << QByteArray(".local/share") << QByteArrayList{".local"};
        QTest::newRow("Trash is a file")
            << QByteArray(".local/share/Trash") << QByteArrayList{".local", ".local/share"};
        QTest::newRow("files is a file") << QByteArray(".local/share/Trash/files")
                                         << QByteArrayList{".local", ".local/share", ".local/share/Trash"};
        QTest::newRow("info is a file") << QByteArray(".local/share/Trash/info")
                                        << QByteArrayList{".local", ".local/share", ".local/share/Trash"};
    }
    void unusableHomeTrashLeavesFile()
    {
        QFETCH(QByteArray, blocker);
        QFETCH(QByteArrayList, folders);
        for (const QByteArray& f : folders)
            QVERIFY(makeDir(m_home + "/" + f));
        QVERIFY(writeBytes(m_home + "/" + blocker, "blocker"));
        QVERIFY(writeBytes(work("precious.txt"), "precious"));

        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(work("precious.txt"));
        QVERIFY(!outcome.moved);
        QVERIFY(!outcome.errorText.isEmpty());
        QCOMPARE(readBytes(work("precious.txt")), QByteArray("precious"));
        QCOMPARE(readBytes(m_home + "/" + blocker), QByteArray("blocker"));
        // Nothing was dropped in the working directory either.
        QVERIFY(!lexists("precious.txt"));
        if (S_ISDIR(modeOf(m_trash + "/info")))
            QVERIFY(entries(m_trash + "/info").isEmpty());
    }

    void failedRenameRemovesItsInfo()
    {
        // The folder that holds the Trash cannot be moved into it; the reserved info must go.
        QVERIFY(QDir().mkpath(QFile::decodeName(m_trash + "/files")));
        QVERIFY(QDir().mkpath(QFile::decodeName(m_trash + "/info")));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(m_home + "/.local");
        QVERIFY(!outcome.moved);
        QVERIFY(!outcome.errorText.isEmpty());
        QVERIFY(S_ISDIR(modeOf(m_trash + "/info")));
        QVERIFY(entries(m_trash + "/info").isEmpty());
        QVERIFY(entries(m_trash + "/files").isEmpty());
    }

    void longNameIsShortenedInTrashOnly()
    {
        // 250 bytes fit in a folder, but not with ".trashinfo" appended.
        const QByteArray name = QByteArray(120, 'x') + QByteArray("\xc3\xa9").repeated(60) + "Z.txt";
        QVERIFY(name.size() > 240 && name.size() <= 255);
        QVERIFY(writeBytes(work(name), "long"));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(work(name));
        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        const QByteArray entry = PathUtils::lastPathComponent(outcome.trashedPath);
        QVERIFY(entry.size() + 10 <= 255);
        // Cut on a character boundary, so the entry is still valid text.
        QCOMPARE(QString::fromUtf8(entry).toUtf8(), entry);
        QVERIFY(name.startsWith(entry));
        QCOMPARE(parseInfo(readBytes(outcome.infoPath)).decodedPath, work(name));
        QCOMPARE(FreedesktopTrash::baseTrashName("short.txt"), QByteArray("short.txt"));
    }

    void infoTextLayout()
    {
        const QDateTime when(QDate(2024, 3, 5), QTime(7, 8, 9));
        QCOMPARE(FreedesktopTrash::trashInfo("/a b/c%\xff", when),
                 QByteArray("[Trash Info]\nPath=/a%20b/c%25%FF\nDeletionDate=2024-03-05T07:08:09\n"));
        QCOMPARE(FreedesktopTrash::trashInfo("Photos/x.jpg", when),
                 QByteArray("[Trash Info]\nPath=Photos/x.jpg\nDeletionDate=2024-03-05T07:08:09\n"));
    }

    void volumeTrashSelection_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected"); // "shared", "single" or "none"
        QTest::newRow("nothing there") << ""
                                       << "single";
        QTest::newRow("sticky .Trash") << "sticky"
                                       << "shared";
        QTest::newRow(".Trash not sticky") << "plain"
                                           << "single";
        QTest::newRow(".Trash is a link") << "link"
                                          << "single";
        QTest::newRow("own entry is a file") << "sticky,uidfile"
                                             << "single";
        QTest::newRow("own entry is a link") << "sticky,uidlink"
                                             << "single";
        QTest::newRow("own entry of another user") << "sticky,uidforeign"
                                                   << "single";
        QTest::newRow("existing .Trash-uid") << "singledir"
                                             << "single";
        QTest::newRow(".Trash-uid is a file") << "singlefile"
                                              << "none";
        QTest::newRow(".Trash-uid is a link") << "singlelink"
                                              << "none";
        QTest::newRow("nothing usable") << "plain,singlefile"
                                        << "none";
    }
    void volumeTrashSelection()
    {
        QFETCH(QString, setup);
        QFETCH(QString, expected);
        const uint uid = uint(::getuid());
        const QByteArray uidText = QByteArray::number(uid);
        const QByteArray top = work("volume");
        const QByteArray elsewhere = work("elsewhere");
        QVERIFY(makeDir(top));
        QVERIFY(makeDir(elsewhere, 01777));
        QVERIFY(::chmod(elsewhere.constData(), 01777) == 0);
        const QByteArray shared = top + "/.Trash";
        const QByteArray own = shared + "/" + uidText;
        const QByteArray single = top + "/.Trash-" + uidText;

        const QStringList steps = setup.split(',', Qt::SkipEmptyParts);
        for (const QString& step : steps) {
            if (step == "sticky" || step == "plain") {
                QVERIFY(makeDir(shared));
                QVERIFY(::chmod(shared.constData(), step == "sticky" ? 01777 : 0777) == 0);
            } else if (step == "link") {
                QVERIFY(::symlink(elsewhere.constData(), shared.constData()) == 0);
            } else if (step == "uidfile") {
                QVERIFY(writeBytes(own, "x"));
            } else if (step == "uidlink") {
                QVERIFY(::symlink(elsewhere.constData(), own.constData()) == 0);
            } else if (step == "uidforeign") {
                QVERIFY(makeDir(own, 0700));
                if (::chown(own.constData(), uid + 1, gid_t(-1)) != 0)
                    QSKIP("changing a folder's owner needs root");
            } else if (step == "singledir") {
                QVERIFY(makeDir(single, 0700));
                QVERIFY(writeBytes(single + "/marker", "m"));
            } else if (step == "singlefile") {
                QVERIFY(writeBytes(single, "x"));
            } else if (step == "singlelink") {
                QVERIFY(::symlink(elsewhere.constData(), single.constData()) == 0);
            }
        }

        QString error;
        const std::optional<QByteArray> chosen = FreedesktopTrash::volumeTrashDirectory(top, uid, &error);
        if (expected == "none") {
            QVERIFY(!chosen);
            QVERIFY(!error.isEmpty());
        } else {
            QVERIFY2(chosen, qPrintable(error));
            QCOMPARE(*chosen, expected == "shared" ? own : single);
            QVERIFY(S_ISDIR(modeOf(*chosen)));
            if (steps.contains("singledir"))
                QCOMPARE(readBytes(single + "/marker"), QByteArray("m"));
            else
                QCOMPARE(modeOf(*chosen) & 07777, mode_t(0700));
        }
        // Nothing is ever made through a link or in a .Trash that is not trusted.
        QVERIFY(entries(elsewhere).isEmpty());
        if (steps.contains("plain"))
            QVERIFY(entries(shared).isEmpty());
    }

    void topDirectoryIsTheMountPoint()
    {
        QVERIFY(makeDir(work("deep")));
        QVERIFY(writeBytes(work("deep/f"), "f"));
        struct stat st;
        QVERIFY(::lstat(work("deep/f").constData(), &st) == 0);
        const QByteArray real =
            QFile::encodeName(QFileInfo(QFile::decodeName(work("deep"))).canonicalFilePath()) + "/f";
        const QByteArray top = FreedesktopTrash::topDirectory(real, quint64(st.st_dev));
        QVERIFY(real.startsWith(top == "/" ? top : top + "/"));
        struct stat topSt;
        QVERIFY(::stat(top.constData(), &topSt) == 0);
        QCOMPARE(topSt.st_dev, st.st_dev);
        if (top != "/") {
            struct stat parentSt;
            QVERIFY(::stat(PathUtils::removingLastComponents(top, 1).constData(), &parentSt) == 0);
            QVERIFY(parentSt.st_dev != st.st_dev);
        }

        const QByteArray volume = mountVolume("mnt");
        if (volume.isEmpty())
            QSKIP("no second volume can be mounted here");
        QVERIFY(makeDir(volume + "/a"));
        QVERIFY(writeBytes(volume + "/a/f", "f"));
        QVERIFY(::lstat((volume + "/a/f").constData(), &st) == 0);
        const QByteArray realVolume =
            QFile::encodeName(QFileInfo(QFile::decodeName(volume)).canonicalFilePath());
        QCOMPARE(FreedesktopTrash::topDirectory(realVolume + "/a/f", quint64(st.st_dev)), realVolume);
    }

    void otherVolumeUsesItsOwnTrash_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected"); // "shared", "single" or "stays"
        QTest::newRow("no trash yet") << ""
                                      << "single";
        QTest::newRow("sticky .Trash") << "sticky"
                                       << "shared";
        QTest::newRow("trash blocked") << "blocked"
                                       << "stays";
        QTest::newRow("read-only volume") << "readonly"
                                          << "stays";
    }
    void otherVolumeUsesItsOwnTrash()
    {
        QFETCH(QString, setup);
        QFETCH(QString, expected);
        const QByteArray volume = mountVolume("usb");
        if (volume.isEmpty())
            QSKIP("no second volume can be mounted here; the choice of trash is covered by "
                  "volumeTrashSelection");
        const QByteArray uidText = QByteArray::number(::getuid());
        QVERIFY(makeDir(volume + "/Photos 2020"));
        const QByteArray file = volume + "/Photos 2020/IMG 1.jpg";
        QVERIFY(writeBytes(file, "jpeg"));
        if (setup == "sticky") {
            QVERIFY(makeDir(volume + "/.Trash"));
            QVERIFY(::chmod((volume + "/.Trash").constData(), 01777) == 0);
        } else if (setup == "blocked") {
            QVERIFY(writeBytes(volume + "/.Trash-" + uidText, "not a folder"));
        } else if (setup == "readonly") {
            QVERIFY(::mount(nullptr, volume.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0);
        }

        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(file);
        // The home trash is never used for another volume's file, not even as a fallback.
        QVERIFY(!lexists(m_trash + "/files"));

        if (expected == "stays") {
            QVERIFY(!outcome.moved);
            QVERIFY(!outcome.errorText.isEmpty());
            QCOMPARE(readBytes(file), QByteArray("jpeg"));
            return;
        }
        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QVERIFY(!lexists(file));
        const QByteArray trashDir =
            expected == "shared" ? volume + "/.Trash/" + uidText : volume + "/.Trash-" + uidText;
        QCOMPARE(outcome.trashedPath, trashDir + "/files/IMG 1.jpg");
        QCOMPARE(readBytes(outcome.trashedPath), QByteArray("jpeg"));
        const TrashInfo info = parseInfo(readBytes(trashDir + "/info/IMG 1.jpg.trashinfo"));
        QVERIFY(info.wellFormed);
        // Relative to the volume's top directory.
        QCOMPARE(info.encodedPath, QByteArray("Photos%202020/IMG%201.jpg"));
    }
};

QUILLON_TEST_MAIN(TestTrash)
#include "tst_trash.moc"
