#include "platform/Trash.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/PathUtils.h"

#include <QDir>
#include <QRegularExpression>
#include <fcntl.h>
#include <ftw.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using TestSupport::makeDir;
using TestSupport::writeFile;

// POSIX helpers: names that are not UTF-8 do not survive a trip through QString.
QByteArray readBytes(const QByteArray& path)
{
    QFile file; // empty when missing: ::open's -1 is refused
    file.open(::open(path.constData(), O_RDONLY), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    return file.readAll();
}

mode_t modeOf(const QByteArray& path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0 ? st.st_mode : 0;
}

int entryCount(const QByteArray& dir)
{
    return int(QDir(QFile::decodeName(dir))
                   .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)
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

} // namespace

class TestTrash : public QObject
{
    Q_OBJECT

    const QByteArray m_home = TestSupport::testHome(), m_work = m_home + "/work";
    const QByteArray m_trash = FreedesktopTrash::homeTrashPath();
    bool m_privateMounts = false;
    QByteArrayList m_mounts;

    QByteArray work(const QByteArray& name) const { return PathUtils::join(m_work, name); }
    // Mounts source (a bind mount) or a fresh tmpfs at point; only possible with the right to mount.
    bool mount(const QByteArray& point, const QByteArray& source = {})
    {
        if (!m_privateMounts || !makeDir(point) || (!source.isEmpty() && !makeDir(source)) ||
            (source.isEmpty()
                 ? ::mount("quillon-test", point.constData(), "tmpfs", 0, "mode=0755")
                 : ::mount(source.constData(), point.constData(), nullptr, MS_BIND, nullptr)) != 0)
            return false;
        m_mounts.append(point);
        return true;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_trash, m_home + "/.local/share/Trash"); // never the machine's own Trash
        // Mounts made in a mount namespace of our own vanish with the process.
        m_privateMounts =
            ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    void init()
    {
        const auto removeOne = [](const char* p, const struct stat*, int, struct FTW*) {
            return ::remove(p);
        };
        for (const QByteArray& dir : {m_home + "/.local", m_work})
            QVERIFY(!modeOf(dir) ||
                    ::nftw(dir.constData(), removeOne, 16, FTW_DEPTH | FTW_PHYS | FTW_MOUNT) == 0);
        QVERIFY(makeDir(m_work));
    }
    void cleanup()
    {
        for (const QByteArray& point : std::as_const(m_mounts))
            ::umount2(point.constData(), MNT_DETACH);
        m_mounts.clear();
    }

    // A folder named with reserved characters, spaces, a newline, UTF-8 and bytes that are not
    // UTF-8, given with a trailing slash, goes whole: the entry keeps the bytes, the .trashinfo
    // holds the path escaped, the trash folders are made private from nothing. A link goes, not
    // its target, and stray entries (files/ without info, info without files/) are never reused.
    void homeTrashKeepsNamesAndPaths()
    {
        const QByteArray name("100% a+b#?\n caf\xc3\xa9 \xff");
        QVERIFY(writeFile(work(name + "/inner/b.jpg"), "B"));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(work(name) + "/");

        QVERIFY2(outcome.moved, qPrintable(outcome.errorText));
        QVERIFY(!modeOf(work(name)));
        QCOMPARE(outcome.trashedPath, m_trash + "/files/" + name);
        QCOMPARE(readBytes(outcome.trashedPath + "/inner/b.jpg"), QByteArray("B"));
        QCOMPARE(infoPathValue(readBytes(outcome.infoPath)),
                 m_work.toPercentEncoding("/") + "/100%25%20a%2Bb%23%3F%0A%20caf%C3%A9%20%FF");
        for (const QByteArray& dir : {m_trash, m_trash + "/files", m_trash + "/info"})
            QCOMPARE(modeOf(dir), mode_t(S_IFDIR | 0700));

        QVERIFY(writeFile(work("target.txt"), "keep me"));
        QVERIFY(::symlink("target.txt", work("link.txt").constData()) == 0);
        QVERIFY(writeFile(m_trash + "/files/link.txt", "A") &&
                writeFile(m_trash + "/info/link.txt.2.trashinfo", "B"));
        const TrashOutcome link = FreedesktopTrash().moveToTrash(work("link.txt"));
        QVERIFY(link.moved && S_ISLNK(modeOf(link.trashedPath)));
        QCOMPARE(link.trashedPath, m_trash + "/files/link.txt.3");
        QCOMPARE(readBytes(work("target.txt")), QByteArray("keep me"));
        QCOMPARE(readBytes(m_trash + "/files/link.txt") + readBytes(m_trash + "/info/link.txt.2.trashinfo"),
                 "AB");
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
            const QByteArray entry = PathUtils::lastPathComponent(outcome.trashedPath);
            QVERIFY(entry.size() + 10 <= 255);
            QCOMPARE(QString::fromUtf8(entry).toUtf8(), entry); // cut on a character boundary
            QVERIFY(name.startsWith(entry.left(entry.size() - 2 * round)));
            QCOMPARE(QByteArray::fromPercentEncoding(infoPathValue(readBytes(outcome.infoPath))), work(name));
        }
    }

    // An unusable home trash leaves the item where it is (a file blocks it: permission bits stop
    // nothing for root).
    void itemStaysWhenTrashUnusable()
    {
        const QByteArray precious = work("precious.txt");
        QVERIFY(writeFile(precious, "precious") && writeFile(m_trash, "blocker"));
        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(precious);
        QVERIFY(!outcome.moved && !outcome.errorText.isEmpty());
        QCOMPARE(readBytes(precious), QByteArray("precious"));
        QCOMPARE(readBytes(m_trash), QByteArray("blocker"));
    }

    // Another volume's file goes to that volume's trash: $top/.Trash/$uid when .Trash is a real
    // sticky folder, else $top/.Trash-$uid; nothing is made through a link or in an untrusted
    // .Trash, and when neither can be used the file stays: never the home trash, never a copy.
    // A bind mount of the home volume shares its device, but the rename into the home trash
    // crosses mounts (EXDEV): the item goes to the trash of its own mount.
    void otherVolumeUsesItsOwnTrash_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected"); // "shared", "single" or "stays"
        QTest::newRow("no trash yet") << QString() << QString("single");
        QTest::newRow("bind mount of the home volume") << QString("bind") << QString("single");
        QTest::newRow("sticky .Trash") << QString("sticky") << QString("shared");
        QTest::newRow(".Trash is a link") << QString("link") << QString("single");
        QTest::newRow("own entry is a link") << QString("sticky,uidlink") << QString("single");
        QTest::newRow(".Trash-uid is a link") << QString("singlelink") << QString("stays");
        QTest::newRow("read-only volume") << QString("readonly") << QString("stays");
    }
    void otherVolumeUsesItsOwnTrash()
    {
        QFETCH(QString, setup);
        QFETCH(QString, expected);
        const QByteArray volume = work("usb"), uid = QByteArray::number(::getuid());
        if (!mount(volume, setup == "bind" ? work("data") : QByteArray()))
            QSKIP("no second volume can be mounted here");
        const QByteArray file = volume + "/Photos 2020/IMG 1.jpg", elsewhere = volume + "/elsewhere";
        const QByteArray shared = volume + "/.Trash", single = volume + "/.Trash-" + uid;
        QVERIFY(writeFile(file, "jpeg") && makeDir(elsewhere, 01777));
        for (const QString& step : setup.split(',', Qt::SkipEmptyParts)) {
            const QHash<QString, QByteArray> links{
                {"link", shared}, {"uidlink", shared + "/" + uid}, {"singlelink", single}};
            if (step == "sticky")
                QVERIFY(makeDir(shared) && ::chmod(shared.constData(), 01777) == 0);
            else if (links.contains(step))
                QVERIFY(::symlink(elsewhere.constData(), links[step].constData()) == 0);
            else if (step == "readonly")
                QVERIFY(::mount(nullptr, volume.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0);
        }

        const TrashOutcome outcome = FreedesktopTrash().moveToTrash(file);
        QCOMPARE(entryCount(m_trash + "/files") + entryCount(m_trash + "/info"), 0);
        QCOMPARE(entryCount(elsewhere), 0);
        QCOMPARE(outcome.moved, expected != "stays");
        if (!outcome.moved) {
            QCOMPARE(readBytes(file), QByteArray("jpeg"));
            return;
        }
        const QByteArray trashDir = expected == "shared" ? shared + "/" + uid : single;
        QCOMPARE(modeOf(trashDir), mode_t(S_IFDIR | 0700));
        QCOMPARE(outcome.trashedPath, trashDir + "/files/IMG 1.jpg");
        // Relative to the volume's top directory.
        QCOMPARE(infoPathValue(readBytes(trashDir + "/info/IMG 1.jpg.trashinfo")),
                 QByteArray("Photos%202020/IMG%201.jpg"));
    }
};

QUILLON_TEST_MAIN(TestTrash)
#include "tst_trash.moc"
