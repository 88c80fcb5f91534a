#include "scan/ScanWorker.h"
#include "support/ScanTestCase.h"
#include "support/TestMain.h"

#include <cerrno>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Raises or lowers this thread's right to read any file (root only); threads started
// afterwards inherit it. True when a folder's permissions now apply to this thread.
bool permissionsApply(bool apply)
{
    if (::geteuid() != 0)
        return true;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (::syscall(SYS_capget, &header, data) != 0)
        return false;
    for (const int cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        if (apply)
            data[cap / 32].effective &= ~(1u << (cap % 32));
        else
            data[cap / 32].effective |= 1u << (cap % 32);
    }
    return ::syscall(SYS_capset, &header, data) == 0;
}

// Records, skipped items and files reached again, in their order, one line each.
QList<QByteArray> outcome(const ScanResult& result)
{
    QList<QByteArray> lines;
    for (const FileInfoNode* node : result.arrFileNodes)
        lines << "record " + node->filePath;
    for (const SkippedItem& item : result.skipped)
        lines << "skipped " + item.path + ": " + item.reason.toUtf8();
    for (const SameFileAgain& again : result.sameFileAgain)
        for (const QByteArray& other : again.others)
            lines << "again " + again.path + " " + other;
    return lines;
}

ScanOptions listingAhead(bool ahead)
{
    ScanOptions options = TestSupport::noCache();
    options.listAhead = ahead;
    return options;
}

} // namespace

// Folders read ahead on a second thread: the walk gives what it gives when it reads every
// folder itself, in the same order, whatever the timing.
class TestScanWalkAhead : public TestSupport::ScanTestCase
{
    Q_OBJECT

    QList<QByteArray> m_locked;

    // Sets a folder's mode until the end of the case.
    void lock(const QByteArray& dir, mode_t mode)
    {
        QVERIFY(::chmod(p(dir).constData(), mode) == 0);
        m_locked << p(dir);
    }
    // A folder that can be listed, but nothing in it examined or opened.
    void lockedFolder(const QByteArray& dir)
    {
        file(dir + "/f1", "x");
        file(dir + "/g/f", "x");
        file(dir + "/h.x/f", "x");
        lock(dir, 0400);
    }

private Q_SLOTS:
    void init() { QVERIFY(makeTree()); }
    void cleanup()
    {
        permissionsApply(false);
        for (const QByteArray& dir : std::as_const(m_locked))
            ::chmod(dir.constData(), 0700);
        m_locked.clear();
        m_tree.reset();
    }

    void sameAsPlainWalk_data()
    {
        QTest::addColumn<QString>("shape");
        for (const char* shape : {"wide", "deep with unreadable entries"})
            QTest::newRow(shape) << QString::fromLatin1(shape);
    }

    void sameAsPlainWalk()
    {
        QFETCH(QString, shape);
        QList<QByteArray> expectedSkips;
        if (shape == "wide") {
            for (int i = 0; i < 12; ++i)
                for (int j = 0; j < 8; ++j) {
                    const QByteArray dir = "d/a" + QByteArray::number(i) + "/b" + QByteArray::number(j);
                    file(dir + "/f", QByteArray::number((i * j) % 5));
                    file(dir + (j % 3 ? "/v1.2/f" : "/x.app/f"), QByteArray::number(j));
                    if (j == 2)
                        QVERIFY(::link(p(dir + "/f").constData(), p(dir + "/../hard").constData()) == 0);
                }
            file("d/.hidden/f", "0");
            QVERIFY(::symlink(p("d/a0").constData(), p("d/a1/link").constData()) == 0);
        } else {
            // Upper and deeper levels say what they could not examine in their own orders.
            lockedFolder("d/a");
            QByteArray dir = "d";
            for (int i = 0; i < 30; ++i) {
                dir += "/l" + QByteArray::number(i);
                file(dir + "/f", QByteArray::number(i % 4));
                file(dir + "/s/f", QByteArray::number(i % 3));
            }
            lockedFolder(dir + "/r");
            for (const char* name : {"/r/f1", "/r/g", "/r/h.x"})
                expectedSkips << "d/a" + QByteArray(name).mid(2);
            for (const char* name : {"/r/f1", "/r/h.x", "/r/g"})
                expectedSkips << dir + name;
            if (!permissionsApply(true))
                QSKIP("root cannot give up reading every folder here");
        }
        const auto plain = scan({p("d")}, listingAhead(false));
        const auto ahead = scan({p("d")}, listingAhead(true));
        QVERIFY(plain && ahead);
        QVERIFY(plain->countScanned >= 60);
        QCOMPARE(outcome(*ahead), outcome(*plain));
        QList<QByteArray> skipped;
        for (const SkippedItem& item : ahead->skipped)
            skipped << item.path.mid(root().size() + 1);
        QCOMPARE(skipped, expectedSkips);
    }

    // Subfolders that vanish or lock after their parent was read are skipped with the system's
    // reason, in walk order, whichever thread reads them.
    void changedAfterParentRead_data()
    {
        QTest::addColumn<bool>("ahead");
        QTest::newRow("read ahead") << true;
        QTest::newRow("plain") << false;
    }

    void changedAfterParentRead()
    {
        QFETCH(bool, ahead);
        for (const char* name : {"a", "b", "c", "e"})
            file("d/" + QByteArray(name) + "/x", name);
        for (int i = 0; i < 40; ++i)
            file("d/n" + QByteArray::number(i) + "/x", "n");
        if (!permissionsApply(true))
            QSKIP("root cannot give up reading every folder here");
        ScanOptions options = listingAhead(ahead);
        m_locked << p("d/b");
        options.folderEntered = [this](const QByteArray& path) {
            if (path != p("d"))
                return;
            ::chmod(p("d/b").constData(), 0);
            ::unlink(p("d/c/x").constData());
            ::rmdir(p("d/c").constData());
            ::unlink(p("d/n7/x").constData());
            ::rmdir(p("d/n7").constData());
        };
        const auto result = scan({p("d")}, options);
        QVERIFY(result);
        const QList<QByteArray> lines = outcome(*result);
        QCOMPARE(lines.size(), 41 + 3);
        QCOMPARE(lines.at(1), "record " + p("d/e/x"));
        QCOMPARE(lines.at(2), "record " + p("d/n0/x"));
        QCOMPARE(lines.mid(41),
                 (QList<QByteArray>{"skipped " + p("d/b") + ": " + qt_error_string(EACCES).toUtf8(),
                                    "skipped " + p("d/c") + ": " + qt_error_string(ENOENT).toUtf8(),
                                    "skipped " + p("d/n7") + ": " + qt_error_string(ENOENT).toUtf8()}));
    }
};

QUILLON_TEST_MAIN(TestScanWalkAhead)
#include "tst_scanwalkahead.moc"
