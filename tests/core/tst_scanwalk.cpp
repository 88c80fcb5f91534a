#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "model/ScanResult.h"
#include "scan/ScanEngine.h"
#include "support/ScanRun.h"
#include "support/ScanTestCase.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QFile>
#include <QSignalSpy>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using TestSupport::duplicateGroups;
using TestSupport::Groups;

// Raises or lowers this thread's right to read any file (root only); threads started
// afterwards inherit it.
bool setReadOverride(bool on)
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (::syscall(SYS_capget, &header, data) != 0)
        return false;
    for (const int cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        if (on)
            data[cap / 32].effective |= 1u << (cap % 32);
        else
            data[cap / 32].effective &= ~(1u << (cap % 32));
    }
    return ::syscall(SYS_capset, &header, data) == 0;
}

} // namespace

// The walk of a scan: every file once whatever the paths that reach it, any depth, what could
// not be read said, Stop noticed.
class TestScanWalk : public TestSupport::ScanTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_tree.reset(); }

    void init() { QVERIFY(makeTree()); }

    void oneRecordPerFile_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"hard link", "symbolic-link parent", "same folder twice"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    // A file reached by a second path makes no second record: it is counted as reached again,
    // never grouped with itself.
    void oneRecordPerFile()
    {
        QFETCH(QString, kind);
        const QByteArray a = file("d/a", "same bytes");
        QList<QByteArray> entries{p("d")};
        QByteArray again;
        if (kind == "hard link") {
            QVERIFY(::link(a.constData(), p("d/b").constData()) == 0);
            again = p("d/b");
        } else if (kind == "symbolic-link parent") {
            QVERIFY(::symlink(root().constData(), p("up").constData()) == 0);
            entries << p("up/d");
            again = p("up/d/a");
        } else {
            entries << p("d");
            again = a;
        }
        auto result = scan(entries);
        QVERIFY(result);
        QCOMPARE(result->countScanned, 1u);
        QVERIFY(duplicateGroups(*result).isEmpty());
        QCOMPARE(result->sameFileAgainCount(), size_t(1));
        QCOMPARE(result->sameFileAgain.front().path, a);
        QCOMPARE(result->sameFileAgain.front().others.front(), again);
    }

    // Files below a path over 4096 bytes are walked and hashed, with few descriptors open.
    void deepTree()
    {
        const QByteArray top = file("top", "deep bytes");
        QVERIFY(TestSupport::makeDir(p("d")));
        int fd = ::open(p("d").constData(), O_RDONLY | O_DIRECTORY);
        QByteArray deep = p("d");
        for (int i = 0; i < 80; ++i) {
            const QByteArray name(60, char('a' + i % 26));
            QVERIFY(::mkdirat(fd, name.constData(), 0700) == 0);
            const int next = ::openat(fd, name.constData(), O_RDONLY | O_DIRECTORY);
            ::close(fd);
            fd = next;
            deep += '/' + name;
        }
        for (const char* name : {"x", "y"}) {
            const int f = ::openat(fd, name, O_WRONLY | O_CREAT, 0600);
            QVERIFY(f >= 0 && ::write(f, "deep bytes", 10) == 10);
            ::close(f);
        }
        ::close(fd);
        QVERIFY(deep.size() > 4096);
        struct rlimit saved;
        ::getrlimit(RLIMIT_NOFILE, &saved);
        struct rlimit limited = saved;
        limited.rlim_cur = 64;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &limited), 0);
        auto result = scan({top, p("d")});
        ::setrlimit(RLIMIT_NOFILE, &saved);
        QVERIFY(result);
        QVERIFY(result->skipped.empty());
        QCOMPARE(duplicateGroups(*result), (Groups{{top, deep + "/x", deep + "/y"}}));
    }

    // An item that cannot be read is said with the system's reason.
    void unreadableFolder()
    {
        file("d/a", "same");
        file("d/locked/b", "same");
        QVERIFY(::chmod(p("d/locked").constData(), 0) == 0);
        // Root reads every folder unless this thread (and the scan's, started from it) gives
        // up the right to.
        if (::geteuid() == 0 && !setReadOverride(false))
            QSKIP("root cannot give up reading every folder here");
        auto result = scan({p("d")});
        if (::geteuid() == 0)
            setReadOverride(true);
        ::chmod(p("d/locked").constData(), 0700);
        QVERIFY(result);
        QCOMPARE(result->skipped.size(), size_t(1));
        QCOMPARE(result->skipped.front().path, p("d/locked"));
        QCOMPARE(result->skipped.front().reason, qt_error_string(EACCES));
    }

    // Stop is noticed during the walk: no further folder is entered and the cache steps are
    // skipped.
    void stopDuringWalk()
    {
        for (int i = 0; i < 20; ++i)
            file("d/f" + QByteArray::number(i) + "/a", "same");
        SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            SqliteDBOperations::getCachePath(), SqliteDBOperations::shippedDatabaseResource());
        ScanEngine engine(settings(), &m_alerts);
        ScanOptions options;
        std::atomic<int> entered{0};
        options.folderEntered = [&](const QByteArray&) {
            if (++entered == 4)
                engine.abortScanning();
        };
        engine.setOptions(options);
        QSignalSpy spy(&engine, &ScanEngine::finished);
        QVERIFY(engine.startScanning({FilePathNode::initWithPathForFile(p("d"))}));
        QVERIFY(spy.wait(60000));
        QVERIFY(engine.result()->aborted);
        QCOMPARE(entered.load(), 4);
        QVERIFY(engine.result()->countScanned <= 3);
        QCOMPARE(TestSupport::cacheRows(SqliteDBOperations::getDbPathInLibrary()), 0);
    }
};

QUILLON_TEST_MAIN(TestScanWalk)
#include "tst_scanwalk.moc"
