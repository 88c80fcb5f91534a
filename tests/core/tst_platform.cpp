#include "platform/FileAttributes.h"
#include "platform/FileViewer.h"
#include "platform/Platform.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/PathUtils.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Sets (or, for a null value, unsets) an environment variable until the guard goes.
auto overrideEnv(const char* name, const QByteArray& value)
{
    const bool had = qEnvironmentVariableIsSet(name);
    const QByteArray old = qgetenv(name);
    value.isNull() ? qunsetenv(name) : qputenv(name, value);
    return qScopeGuard([=] { had ? qputenv(name, old) : qunsetenv(name); });
}

bool makeItem(const QByteArray& path, const QString& kind)
{
    if (kind == "dir")
        return TestSupport::makeDir(path);
    return kind != "file" || TestSupport::writeFile(path, "hello world");
}

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

    QByteArray m_home, m_work;
    int m_row = 0;

    QByteArray expand(const QByteArray& p) const { return p.startsWith('~') ? m_home + p.mid(1) : p; }
    // A fresh folder per data row, so names that differ only in case never meet.
    QByteArray rowFolder()
    {
        const QByteArray path = m_work + "/row-" + QByteArray::number(++m_row);
        return makeItem(path, "dir") ? path : QByteArray();
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = TestSupport::testHome();
        QCOMPARE(Platform::homePath(), m_home);
        m_work = m_home + "/platform";
        QVERIFY(makeItem(m_work, "dir"));
    }

    void homeFromEnvironment_data()
    {
        QTest::addColumn<QByteArray>("home");
        QTest::addColumn<QByteArray>("expected"); // empty: the account's home, never $HOME
        QTest::newRow("not utf-8") << QByteArray("/srv/h\xe9me") << QByteArray("/srv/h\xe9me");
        QTest::newRow("trailing slash") << QByteArray("/srv/home/") << QByteArray("/srv/home");
        QTest::newRow("relative") << QByteArray("somewhere") << QByteArray();
    }
    void homeFromEnvironment()
    {
        QFETCH(QByteArray, home);
        QFETCH(QByteArray, expected);
        const auto restore = overrideEnv("HOME", home);
        const QByteArray result = Platform::homePath();
        if (!expected.isEmpty())
            QCOMPARE(result, expected);
        else
            QVERIFY(result.startsWith('/') && result != home);
    }

    void folders_data()
    {
        QTest::addColumn<QByteArray>("xdgHome"); // for both XDG_CACHE_HOME and XDG_DATA_HOME
        QTest::addColumn<bool>("honoured");
        QTest::newRow("set") << QByteArray("/xdg") << true;
        // Relative values are invalid by the base-directory rules and are ignored.
        QTest::newRow("relative") << QByteArray("rel") << false;
    }
    void folders()
    {
        QFETCH(QByteArray, xdgHome);
        QFETCH(bool, honoured);
        const auto cache = overrideEnv("XDG_CACHE_HOME", xdgHome);
        const auto data = overrideEnv("XDG_DATA_HOME", xdgHome);
        const QByteArray homeTrash = honoured ? xdgHome + "/Trash" : m_home + "/.local/share/Trash";
        QCOMPARE(Platform::cachesFolder(), honoured ? xdgHome : m_home + "/.cache");
        QCOMPARE(Platform::userTrashFolders(), (QList<QByteArray>{homeTrash, m_home + "/.Trash"}));
        QVERIFY(Platform::isInUserTrash(homeTrash + "/files/x"));
        QCOMPARE(Platform::isInUserTrash(m_home + "/.local/share/Trash/files/x"), !honoured);
    }

    void isInUserTrash_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<bool>("inTrash");
        QTest::newRow("old style") << QByteArray("~/.Trash/a.jpg") << true;
        QTest::newRow("doubled slashes") << QByteArray("~//.local/share//Trash/files/a.jpg") << true;
        QTest::newRow("similar name") << QByteArray("~/.local/share/Trashcan/a.jpg") << false;
        QTest::newRow("other case") << QByteArray("~/.local/share/trash/files/a.jpg") << false;
    }
    void isInUserTrash()
    {
        QFETCH(QByteArray, path);
        QFETCH(bool, inTrash);
        QCOMPARE(Platform::isInUserTrash(expand(path)), inTrash);
    }

    void isPackage_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("kind"); // "dir", "file" or "none"
        QTest::addColumn<bool>("package");
        QTest::newRow("mixed case library") << QByteArray("Lib.PhotosLibrary") << "dir" << true;
        QTest::newRow("plain file named .app") << QByteArray("x.app") << "file" << false;
        QTest::newRow("extension inside name") << QByteArray("x.app.old") << "dir" << false;
    }
    void isPackage()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, kind);
        QFETCH(bool, package);
        const QByteArray item = rowFolder() + "/" + name;
        QVERIFY(makeItem(item, kind));
        QCOMPARE(Platform::isPackage(item), package);
    }

    void bookmarks()
    {
        const QByteArray name("Caf\xe9 \xff album");
        const QByteArray path = m_work + "/" + name;
        QVERIFY(makeItem(path, "dir"));
        QCOMPARE(Platform::bookmarkForPath(path), path);
        QCOMPARE(Platform::resolveBookmark(path), std::optional<QByteArray>(path));
        // A relative path is remembered absolute, so it resolves from anywhere.
        const QString previous = QDir::currentPath();
        QVERIFY(::chdir(m_work.constData()) == 0);
        const QByteArray fromRelative = Platform::bookmarkForPath(name);
        QDir::setCurrent(previous);
        QCOMPARE(fromRelative, path);

        QVERIFY(::rmdir(path.constData()) == 0);
        for (const QByteArray& gone :
             {path, QByteArray(), QByteArray("relative/name"), QByteArray("/tmp\0/x", 7)})
            QCOMPARE(Platform::resolveBookmark(gone), std::nullopt);
    }

    void everyByteSurvivesEncoding()
    {
        QByteArray all;
        for (int b = 1; b < 256; ++b)
            all.append(char(b));
        QCOMPARE(Platform::percentEncodePath("/AZaz09-._~ %+#'\xc3\xa9\xff\n"),
                 QByteArray("/AZaz09-._~%20%25%2B%23%27%C3%A9%FF%0A"));
        const QByteArray encoded = Platform::percentEncodePath(all);
        QCOMPARE(QByteArray::fromPercentEncoding(encoded), all);
        // Only printable ASCII remains, so the text survives any encoding of the file.
        for (const char c : encoded)
            QVERIFY(uchar(c) > 0x20 && uchar(c) < 0x7f);
    }

    void fileAttributes_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("type");
        using T = FileAttributes::Type;
        QTest::newRow("file") << "file" << int(T::Regular);
        QTest::newRow("link to file") << "link" << int(T::SymbolicLink);
        QTest::newRow("dangling link") << "dangling" << int(T::SymbolicLink);
        QTest::newRow("fifo") << "fifo" << int(T::Other);
    }
    // Read without following a final link and without opening the item.
    void fileAttributes()
    {
        QFETCH(QString, kind);
        QFETCH(int, type);
        const QByteArray dir = rowFolder();
        const QByteArray target = dir + "/data\xff.bin";
        QByteArray item = dir + "/item";
        QVERIFY(makeItem(target, "file"));
        if (kind == "file")
            item = target;
        else if (kind == "link" || kind == "dangling")
            QVERIFY(::symlink(kind == "link" ? target.constData() : "nowhere", item.constData()) == 0);
        else if (kind == "fifo")
            QVERIFY(::mkfifo(item.constData(), 0644) == 0);
        const struct timespec times[2] = {{1000000000, 0}, {1234567890, 250000000}};
        QVERIFY(::utimensat(AT_FDCWD, item.constData(), times, AT_SYMLINK_NOFOLLOW) == 0);

        const std::optional<FileAttributes> a = FileAttributes::ofItem(item);
        QVERIFY(a);
        QCOMPARE(int(a->type), type);
        QCOMPARE(a->modDate, 1234567890.25);
        struct stat st;
        QVERIFY(::lstat(item.constData(), &st) == 0);
        // The link's own size, not the target's 11 bytes.
        QCOMPARE(a->size, kind == "file"   ? quint64(11)
                          : kind == "link" ? quint64(target.size())
                                           : quint64(st.st_size));
        QCOMPARE(a->inode, quint64(st.st_ino));
        QCOMPARE(a->device, quint64(st.st_dev));
        // Birth time or, without one, the earlier of mtime and ctime: never after ctime.
        QVERIFY(a->createDate > 0 && a->createDate <= st.st_ctim.tv_sec + st.st_ctim.tv_nsec / 1e9 + 1e-6);

        // Relative to an open folder, the same answer.
        const int dirfd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY);
        const std::optional<FileAttributes> e =
            FileAttributes::ofEntry(dirfd, PathUtils::lastPathComponent(item).constData());
        ::close(dirfd);
        QVERIFY(e && int(e->type) == type && e->inode == a->inode && e->modDate == a->modDate);
        QVERIFY(!FileAttributes::ofItem(dir + "/none") && !FileAttributes::ofItem(target + "/x") &&
                !FileAttributes::ofItem({}));
    }

    void runWithInput_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("timeoutMs");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("value as argument") << "/bin/sh" << QByteArray("printf '%s' \"$1\"\n") << 5000 << true;
        QTest::newRow("error exit") << "/bin/sh" << QByteArray("echo partial; exit 3\n") << 5000 << false;
        QTest::newRow("missing program") << "/nonexistent/osascript" << QByteArray() << 5000 << false;
        QTest::newRow("too slow") << "/bin/sh" << QByteArray("sleep 20\n") << 300 << false;
    }
    // The script comes on standard input and the value as an argument, so quotes and command
    // text in the value are data, never code; failures and time-outs give nothing.
    void runWithInput()
    {
        QFETCH(QString, program);
        QFETCH(QByteArray, script);
        QFETCH(int, timeoutMs);
        QFETCH(bool, succeeds);
        const QString value = QStringLiteral("com.example.\"x\"; $(touch pwned) 'y'\nend");
        QElapsedTimer timer;
        timer.start();
        const auto out = Platform::runWithInput(program, {"-s", "--", value}, script, timeoutMs);
        QVERIFY(timer.elapsed() < timeoutMs + 3000);
        QCOMPARE(out, succeeds ? std::optional<QByteArray>(value.toUtf8()) : std::nullopt);
        QVERIFY(!QFile::exists(QStringLiteral("pwned")));
    }

    void xdgOpenViewer_data()
    {
        QTest::addColumn<QByteArrayList>("paths");
        QTest::addColumn<bool>("launches");
        QTest::addColumn<QStringList>("arguments"); // one xdg-open argument per launch
        QTest::addColumn<bool>("result");
        QTest::newRow("two folders, folder item")
            << QByteArrayList{"/x/a", "/y/b/", "/x/c"} << true << QStringList{"/x", "/y"} << true;
        QTest::newRow("not utf-8 folder")
            << QByteArrayList{"/d/caf\xe9 1/a"} << true << QStringList{"file:///d/caf%E9%201"} << true;
        QTest::newRow("nothing") << QByteArrayList{} << true << QStringList{} << false;
        QTest::newRow("xdg-open fails")
            << QByteArrayList{"/data/a.jpg"} << false << QStringList{"/data"} << false;
    }
    void xdgOpenViewer()
    {
        QFETCH(QByteArrayList, paths);
        QFETCH(bool, launches);
        QFETCH(QStringList, arguments);
        QFETCH(bool, result);
        QStringList launched;
        XdgOpenFileViewer viewer([&](const QString& program, const QStringList& args) {
            launched.append(program + ' ' + args.join('|'));
            return launches;
        });
        if (!launches)
            QTest::ignoreMessage(QtInfoMsg, "Could not start xdg-open for /data");
        QCOMPARE(viewer.showItems(paths), result);
        for (QString& a : arguments)
            a.prepend("xdg-open ");
        QCOMPARE(launched, arguments);
    }
};

QUILLON_TEST_MAIN(TestPlatform)
#include "tst_platform.moc"
