#include "platform/FileAttributes.h"
#include "platform/FileViewer.h"
#include "platform/Platform.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QScopeGuard>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Sets an environment variable (all those used here are set by the harness) until the guard goes.
auto overrideEnv(const char* name, const QByteArray& value)
{
    const QByteArray old = qgetenv(name);
    qputenv(name, value);
    return qScopeGuard([=] { qputenv(name, old); });
}

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

    const QByteArray m_home = TestSupport::testHome(), m_work = m_home + "/platform";

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestSupport::makeDir(m_work)); }
    // $HOME is taken as bytes without a trailing slash; a relative one gives the account's home.
    void homeFromEnvironment()
    {
        for (const auto& [home, expected] :
             {std::pair<QByteArray, QByteArray>{"/srv/h\xe9me", "/srv/h\xe9me"},
              {"/srv/home/", "/srv/home"},
              {"somewhere", {}}}) {
            const auto restore = overrideEnv("HOME", home);
            const QByteArray result = Platform::homePath();
            QVERIFY2(expected.isEmpty() ? result.startsWith('/') && result != home : result == expected,
                     result);
        }
    }

    // XDG folders are honoured unless relative, which the base-directory rules make invalid.
    void trashFolders()
    {
        for (const QByteArray xdgHome : {"/xdg", "rel"}) {
            const bool honoured = xdgHome.startsWith('/');
            const auto cache = overrideEnv("XDG_CACHE_HOME", xdgHome);
            const auto data = overrideEnv("XDG_DATA_HOME", xdgHome);
            const QByteArray homeTrash = honoured ? xdgHome + "/Trash" : m_home + "/.local/share/Trash";
            QCOMPARE(Platform::cachesFolder(), honoured ? xdgHome : m_home + "/.cache");
            QCOMPARE(Platform::userTrashFolders(), (QList<QByteArray>{homeTrash, m_home + "/.Trash"}));
            QCOMPARE(Platform::isInUserTrash(m_home + "/.local/share/Trash/files/x"), !honoured);
            // Doubled slashes are the same folder; a similar name or other letter case is not.
            QCOMPARE((QList<bool>{Platform::isInUserTrash(homeTrash + "/files/x"),
                                  Platform::isInUserTrash(m_home + "//.Trash//a"),
                                  Platform::isInUserTrash(m_home + "/.Trashcan/a"),
                                  Platform::isInUserTrash(m_home + "/.trash/a")}),
                     (QList<bool>{true, true, false, false}));
        }
    }

    // A folder with a package extension in any letter case; never a plain file.
    void isPackage()
    {
        QVERIFY(TestSupport::makeDir(m_work + "/Lib.PhotosLibrary") &&
                TestSupport::makeDir(m_work + "/x.app.old"));
        QVERIFY(TestSupport::writeFile(m_work + "/x.app", "x"));
        QVERIFY(Platform::isPackage(m_work + "/Lib.PhotosLibrary"));
        QVERIFY(!Platform::isPackage(m_work + "/x.app") && !Platform::isPackage(m_work + "/x.app.old"));
    }

    void fileAttributes_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("type");
        QTest::newRow("file") << "file" << int(FileAttributes::Type::Regular);
        QTest::newRow("link to file") << "link" << int(FileAttributes::Type::SymbolicLink);
        QTest::newRow("fifo") << "fifo" << int(FileAttributes::Type::Other);
    }
    // Read without following a final link and without opening the item.
    void fileAttributes()
    {
        QFETCH(QString, kind);
        QFETCH(int, type);
        const QByteArray dir = m_work, target = dir + "/" + kind.toUtf8() + "\xff.bin";
        const QByteArray item = kind == "file" ? target : dir + "/" + kind.toUtf8();
        QVERIFY(TestSupport::writeFile(target, "hello world"));
        QVERIFY(kind == "file" || (kind == "link" ? ::symlink(target.constData(), item.constData())
                                                  : ::mkfifo(item.constData(), 0644)) == 0);
        const struct timespec times[2] = {{1000000000, 0}, {1234567890, 250000000}};
        QVERIFY(::utimensat(AT_FDCWD, item.constData(), times, AT_SYMLINK_NOFOLLOW) == 0);

        const std::optional<FileAttributes> a = FileAttributes::ofItem(item);
        struct stat st;
        QVERIFY(a && ::lstat(item.constData(), &st) == 0);
        QCOMPARE(int(a->type), type);
        QCOMPARE(a->modDate, 1234567890.25);
        // A link's own size, not the target's 11 bytes.
        QCOMPARE(a->size, quint64(kind == "link" ? target.size() : st.st_size));
        QVERIFY(a->inode == quint64(st.st_ino) && a->device == quint64(st.st_dev));
        // Birth time or, without one, the earlier of mtime and ctime: never after ctime.
        QVERIFY(a->createDate > 0 && a->createDate <= st.st_ctim.tv_sec + st.st_ctim.tv_nsec / 1e9 + 1e-6);

        // Relative to an open folder, the same answer.
        const int dirfd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY);
        const auto e = FileAttributes::ofEntry(dirfd, item.mid(dir.size() + 1).constData());
        ::close(dirfd);
        QVERIFY(e && int(e->type) == type && e->inode == a->inode && e->modDate == a->modDate);
        QVERIFY(!FileAttributes::ofItem(dir + "/none") && !FileAttributes::ofItem(target + "/x"));
    }

    void runWithInput_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("value as argument") << "/bin/sh" << QByteArray("printf '%s' \"$1\"\n");
        QTest::newRow("missing program") << "/nonexistent/osascript" << QByteArray();
        QTest::newRow("too slow") << "/bin/sh" << QByteArray("sleep 20\n");
    }
    // The script comes on standard input and the value as an argument, so quotes and command
    // text in the value come back as data; failures and time-outs give nothing.
    void runWithInput()
    {
        QFETCH(QString, program);
        QFETCH(QByteArray, script);
        const int timeoutMs = QTest::currentDataTag() == QByteArray("too slow") ? 300 : 5000;
        const QString value = QStringLiteral("com.example.\"x\"; $(touch pwned) 'y'\nend");
        const auto out = Platform::runWithInput(program, {"-s", "--", value}, script, timeoutMs);
        QCOMPARE(out.value_or("<none>"),
                 QTest::currentDataTag() == QByteArray("value as argument") ? value.toUtf8() : "<none>");
    }

    // One xdg-open per folder, given as a file URI when not UTF-8; a failed start is logged.
    void xdgOpenViewer_data()
    {
        QTest::addColumn<QByteArrayList>("paths");
        QTest::addColumn<bool>("launches");
        QTest::addColumn<QStringList>("arguments"); // one xdg-open argument per launch
        QTest::newRow("two folders, folder item")
            << QByteArrayList{"/x/a", "/y/b/", "/x/c"} << true << QStringList{"/x", "/y"};
        QTest::newRow("not utf-8 folder")
            << QByteArrayList{"/d/caf\xe9 1/a"} << true << QStringList{"file:///d/caf%E9%201"};
        QTest::newRow("xdg-open fails") << QByteArrayList{"/data/a.jpg"} << false << QStringList{"/data"};
    }
    void xdgOpenViewer()
    {
        QFETCH(QByteArrayList, paths);
        QFETCH(bool, launches);
        QFETCH(QStringList, arguments);
        QStringList launched;
        XdgOpenFileViewer viewer([&](const QString& program, const QStringList& args) {
            launched.append(program == "xdg-open" ? args.join('|') : program);
            return launches;
        });
        if (!launches)
            QTest::ignoreMessage(QtInfoMsg, "Could not start xdg-open for /data");
        QCOMPARE(viewer.showItems(paths), launches && !paths.isEmpty());
        QCOMPARE(launched, arguments);
    }
};

QUILLON_TEST_MAIN(TestPlatform)
#include "tst_platform.moc"
