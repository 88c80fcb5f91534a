#include "platform/FileAttributes.h"
#include "platform/FileViewer.h"
#include "platform/Platform.h"
#include "support/TestMain.h"
#include "util/PathUtils.h"

#include <QElapsedTimer>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool writeBytes(const QByteArray& path, const QByteArray& data)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return false;
    const bool ok = ::write(fd, data.constData(), size_t(data.size())) == data.size();
    return ::close(fd) == 0 && ok;
}

// Sets an environment variable for one scope and puts the old value back.
class EnvOverride
{
public:
    EnvOverride(const char* name, const QByteArray& value)
        : m_name(name), m_had(qEnvironmentVariableIsSet(name)), m_old(qgetenv(name))
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~EnvOverride()
    {
        if (m_had)
            qputenv(m_name, m_old);
        else
            qunsetenv(m_name);
    }

private:
    const char* m_name;
    bool m_had;
    QByteArray m_old;
};

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

    QByteArray m_home;
    QByteArray m_work;
    int m_packageRow = 0;

    QByteArray work(const QByteArray& name) const { return PathUtils::join(m_work, name); }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = TestSupport::testHome();
        QCOMPARE(Platform::homePath(), m_home);
        m_work = m_home + "/platform";
        QVERIFY(::mkdir(m_work.constData(), 0755) == 0 || errno == EEXIST);
    }

    void homeFromEnvironment_data()
    {
        QTest::addColumn<QByteArray>("home");
        QTest::addColumn<bool>("fromAccount");
        QTest::newRow("not utf-8") << QByteArray("/srv/h\xe9me") << false;
        QTest::newRow("trailing slash") << QByteArray("/srv/home/") << false;
        QTest::newRow("unset") << QByteArray() << true;
        QTest::newRow("relative") << QByteArray("somewhere") << true;
    }
    void homeFromEnvironment()
    {
        QFETCH(QByteArray, home);
        QFETCH(bool, fromAccount);
        EnvOverride env("HOME", home);
        const QByteArray result = Platform::homePath();
        if (fromAccount) {
            QVERIFY(result.startsWith('/'));
            QVERIFY(result != home);
        } else {
            QCOMPARE(result, home.endsWith('/') ? home.chopped(1) : home);
        }
    }

    void folders_data()
    {
        QTest::addColumn<QByteArray>("cacheHome");
        QTest::addColumn<QByteArray>("dataHome");
        QTest::addColumn<QByteArray>("caches");    // relative to home when it starts with "~"
        QTest::addColumn<QByteArray>("homeTrash"); // likewise
        QTest::newRow("set") << QByteArray("/xdg/cache") << QByteArray("/xdg/data")
                             << QByteArray("/xdg/cache") << QByteArray("/xdg/data/Trash");
        QTest::newRow("unset") << QByteArray() << QByteArray() << QByteArray("~/.cache")
                               << QByteArray("~/.local/share/Trash");
        QTest::newRow("empty") << QByteArray("") << QByteArray("") << QByteArray("~/.cache")
                               << QByteArray("~/.local/share/Trash");
        // Relative values are invalid by the base-directory rules and are ignored.
        QTest::newRow("relative") << QByteArray("rel/cache") << QByteArray("rel/data")
                                  << QByteArray("~/.cache") << QByteArray("~/.local/share/Trash");
    }
    void folders()
    {
        QFETCH(QByteArray, cacheHome);
        QFETCH(QByteArray, dataHome);
        QFETCH(QByteArray, caches);
        QFETCH(QByteArray, homeTrash);
        const auto expand = [this](QByteArray p) { return p.startsWith('~') ? m_home + p.mid(1) : p; };
        EnvOverride cache("XDG_CACHE_HOME", cacheHome);
        EnvOverride data("XDG_DATA_HOME", dataHome);
        QCOMPARE(Platform::cachesFolder(), expand(caches));
        QCOMPARE(Platform::userTrashFolders(), (QList<QByteArray>{expand(homeTrash), m_home + "/.Trash"}));
    }

    void isInUserTrash_data()
    {
        QTest::addColumn<QByteArray>("path"); // relative to home when it starts with "~"
        QTest::addColumn<bool>("inTrash");
        QTest::newRow("trash itself") << QByteArray("~/.local/share/Trash") << true;
        QTest::newRow("trash with slash") << QByteArray("~/.local/share/Trash/") << true;
        QTest::newRow("trashed file") << QByteArray("~/.local/share/Trash/files/a.jpg") << true;
        QTest::newRow("old style") << QByteArray("~/.Trash/a.jpg") << true;
        QTest::newRow("doubled slashes") << QByteArray("~//.local/share//Trash/files/a.jpg") << true;
        QTest::newRow("not utf-8 inside") << QByteArray("~/.local/share/Trash/files/\xff.jpg") << true;
        QTest::newRow("similar name") << QByteArray("~/.local/share/Trashcan/a.jpg") << false;
        QTest::newRow("other case") << QByteArray("~/.local/share/trash/files/a.jpg") << false;
        QTest::newRow("share") << QByteArray("~/.local/share") << false;
        QTest::newRow("home") << QByteArray("~") << false;
        QTest::newRow("root") << QByteArray("/") << false;
        QTest::newRow("other user") << QByteArray("/home/other/.local/share/Trash/x") << false;
    }
    void isInUserTrash()
    {
        QFETCH(QByteArray, path);
        QFETCH(bool, inTrash);
        QCOMPARE(Platform::isInUserTrash(path.startsWith('~') ? m_home + path.mid(1) : path), inTrash);
    }

    void isInUserTrashFollowsDataHome()
    {
        EnvOverride data("XDG_DATA_HOME", "/srv/data");
        QVERIFY(Platform::isInUserTrash("/srv/data/Trash/files/x"));
        QVERIFY(!Platform::isInUserTrash(m_home + "/.local/share/Trash/files/x"));
    }

    void comparablePathIsExact()
    {
        // Case-sensitive file systems: two names that differ in case are two items.
        QCOMPARE(Platform::comparablePath("/Photos/IMG.JPG"), QByteArray("/Photos/IMG.JPG"));
        QVERIFY(Platform::comparablePath("/a/Photo.jpg") != Platform::comparablePath("/a/photo.jpg"));
        QCOMPARE(Platform::comparablePath("/a/\xc9\xff"), QByteArray("/a/\xc9\xff"));
    }

    void isPackage_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("kind"); // "dir", "file" or "none"
        QTest::addColumn<bool>("package");
        QTest::newRow("app folder") << QByteArray("Tool.app") << "dir" << true;
        QTest::newRow("upper case") << QByteArray("Tool.APP") << "dir" << true;
        QTest::newRow("mixed case library") << QByteArray("Lib.PhotosLibrary") << "dir" << true;
        QTest::newRow("migrated library") << QByteArray("Old.migratedphotolibrary") << "dir" << true;
        QTest::newRow("last in list") << QByteArray("Win.pvm") << "dir" << true;
        QTest::newRow("plain file named .app") << QByteArray("x.app") << "file" << false;
        QTest::newRow("missing") << QByteArray("gone.app") << "none" << false;
        QTest::newRow("ordinary folder") << QByteArray("Photos.2019") << "dir" << false;
        QTest::newRow("no extension") << QByteArray("app") << "dir" << false;
        QTest::newRow("dot name") << QByteArray(".app") << "dir" << false;
        QTest::newRow("extension inside name") << QByteArray("x.app.old") << "dir" << false;
    }
    void isPackage()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, kind);
        QFETCH(bool, package);
        // A folder per row, so names that differ only in case never meet.
        const QByteArray path = work("pkg-" + QByteArray::number(++m_packageRow));
        QVERIFY(::mkdir(path.constData(), 0755) == 0 || errno == EEXIST);
        const QByteArray item = path + "/" + name;
        if (kind == "dir")
            QVERIFY(::mkdir(item.constData(), 0755) == 0 || errno == EEXIST);
        else if (kind == "file")
            QVERIFY(writeBytes(item, "x"));
        QCOMPARE(Platform::isPackage(item), package);
    }

    void bookmarks()
    {
        const QByteArray name("Caf\xe9 \xff album");
        const QByteArray path = work(name);
        QVERIFY(::mkdir(path.constData(), 0755) == 0 || errno == EEXIST);

        const QByteArray bookmark = Platform::bookmarkForPath(path);
        QCOMPARE(bookmark, path);
        QCOMPARE(Platform::resolveBookmark(bookmark), std::optional<QByteArray>(path));

        // A relative path is remembered absolute, so it resolves from anywhere.
        const QString previous = QDir::currentPath();
        QVERIFY(::chdir(m_work.constData()) == 0);
        const QByteArray fromRelative = Platform::bookmarkForPath(name);
        QDir::setCurrent(previous);
        QCOMPARE(fromRelative, path);
        QCOMPARE(Platform::resolveBookmark(fromRelative), std::optional<QByteArray>(path));

        QVERIFY(::rmdir(path.constData()) == 0);
        QCOMPARE(Platform::resolveBookmark(bookmark), std::nullopt);
        QCOMPARE(Platform::resolveBookmark(QByteArray()), std::nullopt);
        QCOMPARE(Platform::resolveBookmark("relative/name"), std::nullopt);
        QCOMPARE(Platform::resolveBookmark(QByteArray("/tmp\0/x", 7)), std::nullopt);
    }

    void percentEncoding_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("unreserved") << QByteArray("/AZaz09-._~/") << QByteArray("/AZaz09-._~/");
        QTest::newRow("space") << QByteArray("/a b") << QByteArray("/a%20b");
        QTest::newRow("percent") << QByteArray("/100%") << QByteArray("/100%25");
        QTest::newRow("reserved") << QByteArray("+&=?#:@;,!'()*[]$")
                                  << QByteArray("%2B%26%3D%3F%23%3A%40%3B%2C%21%27%28%29%2A%5B%5D%24");
        QTest::newRow("utf-8") << QByteArray("/\xc3\xa9") << QByteArray("/%C3%A9");
        QTest::newRow("not utf-8") << QByteArray("/\xff\x80") << QByteArray("/%FF%80");
        QTest::newRow("control") << QByteArray("\x01\n\x7f") << QByteArray("%01%0A%7F");
    }
    void percentEncoding()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, encoded);
        QCOMPARE(Platform::percentEncodePath(path), encoded);
        QCOMPARE(QByteArray::fromPercentEncoding(encoded), path);
    }

    void everyByteSurvivesEncoding()
    {
        QByteArray all;
        for (int b = 1; b < 256; ++b)
            all.append(char(b));
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
        QTest::addColumn<QString>("typeName");
        QTest::newRow("file") << "file" << int(FileAttributes::Type::Regular) << "NSFileTypeRegular";
        QTest::newRow("folder") << "dir" << int(FileAttributes::Type::Directory) << "NSFileTypeDirectory";
        QTest::newRow("link to file")
            << "link" << int(FileAttributes::Type::SymbolicLink) << "NSFileTypeSymbolicLink";
        QTest::newRow("dangling link")
            << "dangling" << int(FileAttributes::Type::SymbolicLink) << "NSFileTypeSymbolicLink";
        QTest::newRow("fifo") << "fifo" << int(FileAttributes::Type::Other) << "NSFileTypeUnknown";
    }
    void fileAttributes()
    {
        QFETCH(QString, kind);
        QFETCH(int, type);
        QFETCH(QString, typeName);
        const QByteArray dir = work("attr-" + kind.toUtf8());
        QVERIFY(::mkdir(dir.constData(), 0755) == 0 || errno == EEXIST);
        const QByteArray target = dir + "/data\xff.bin"; // 11 bytes of content
        QVERIFY(writeBytes(target, "hello world"));
        QByteArray item = dir + "/item";
        ::unlink(item.constData());
        ::rmdir(item.constData());
        if (kind == "file")
            item = target;
        else if (kind == "dir")
            QVERIFY(::mkdir(item.constData(), 0755) == 0);
        else if (kind == "link")
            QVERIFY(::symlink(target.constData(), item.constData()) == 0);
        else if (kind == "dangling")
            QVERIFY(::symlink("no-such-target", item.constData()) == 0);
        else if (kind == "fifo")
            QVERIFY(::mkfifo(item.constData(), 0644) == 0);

        // A fixed modification time with a sub-second part, on the item itself (not a link's target).
        const struct timespec times[2] = {{1000000000, 0}, {1234567890, 250000000}};
        QVERIFY(::utimensat(AT_FDCWD, item.constData(), times, AT_SYMLINK_NOFOLLOW) == 0);

        QElapsedTimer timer;
        timer.start();
        const std::optional<FileAttributes> a = FileAttributes::ofItem(item);
        QVERIFY(timer.elapsed() < 1000); // a FIFO is never opened
        QVERIFY(a);
        QCOMPARE(int(a->type), type);
        QCOMPARE(a->typeName(), typeName);
        QCOMPARE(a->isRegular(), kind == "file");
        QCOMPARE(a->isDirectory(), kind == "dir");
        QCOMPARE(a->modDate, 1234567890.25);

        struct stat st;
        QVERIFY(::lstat(item.constData(), &st) == 0);
        QCOMPARE(a->size, quint64(st.st_size));
        if (kind == "file")
            QCOMPARE(a->size, quint64(11));
        if (kind == "link")
            QCOMPARE(a->size, quint64(target.size())); // the link's own size, not the target's 11
        QCOMPARE(a->device, quint64(st.st_dev));
        QCOMPARE(a->inode, quint64(st.st_ino));
        // Birth time (now) or, without one, the earlier of mtime and ctime: never after ctime.
        const double ctime = double(st.st_ctim.tv_sec) + double(st.st_ctim.tv_nsec) / 1e9;
        QVERIFY(a->createDate > 0);
        QVERIFY(a->createDate <= ctime + 1e-6);

        // Relative to an open folder, the same answer.
        const int dirfd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY);
        QVERIFY(dirfd >= 0);
        const std::optional<FileAttributes> e =
            FileAttributes::ofEntry(dirfd, PathUtils::lastPathComponent(item).constData());
        ::close(dirfd);
        QVERIFY(e);
        QCOMPARE(int(e->type), type);
        QCOMPARE(e->inode, a->inode);
        QCOMPARE(e->modDate, a->modDate);
    }

    void fileAttributesOfNothing()
    {
        QVERIFY(!FileAttributes::ofItem(work("no-such-item")));
        QVERIFY(!FileAttributes::ofItem(QByteArray()));
        QVERIFY(!FileAttributes::ofItem(work("no-such-folder/child")));
        QVERIFY(!FileAttributes::ofEntry(AT_FDCWD, ""));
    }

    void runWithInputPassesValuesAsArguments()
    {
        // The script comes on standard input and the value as an argument, so quotes and
        // command text in the value are data, never code.
        const QString value = QStringLiteral("com.example.\"x\"; $(touch pwned) 'y'\nend");
        const std::optional<QByteArray> out = Platform::runWithInput(
            QStringLiteral("/bin/sh"), {QStringLiteral("-s"), QStringLiteral("--"), value},
            "printf '%s' \"$1\"\n", 5000);
        QVERIFY(out);
        QCOMPARE(QString::fromUtf8(*out), value);
        QVERIFY(!QFile::exists(QStringLiteral("pwned")));
    }

    void runWithInputFailures_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("timeoutMs");
        QTest::newRow("error exit") << "/bin/sh" << QByteArray("echo partial; exit 3\n") << 5000;
        QTest::newRow("missing program") << "/nonexistent/osascript" << QByteArray() << 5000;
        QTest::newRow("too slow") << "/bin/sh" << QByteArray("sleep 20\n") << 300;
    }
    void runWithInputFailures()
    {
        QFETCH(QString, program);
        QFETCH(QByteArray, script);
        QFETCH(int, timeoutMs);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(Platform::runWithInput(program, {QStringLiteral("-s")}, script, timeoutMs), std::nullopt);
        QVERIFY(timer.elapsed() < timeoutMs + 3000);
    }

    void xdgOpenViewer_data()
    {
        QTest::addColumn<QByteArrayList>("paths");
        QTest::addColumn<QStringList>("arguments"); // one xdg-open argument per launch
        QTest::addColumn<bool>("result");
        QTest::newRow("one file") << QByteArrayList{"/data/a.jpg"} << QStringList{"/data"} << true;
        QTest::newRow("same folder once")
            << QByteArrayList{"/data/a.jpg", "/data/b.jpg"} << QStringList{"/data"} << true;
        QTest::newRow("two folders") << QByteArrayList{"/x/a", "/y/b/", "/x/c"} << QStringList{"/x", "/y"}
                                     << true;
        QTest::newRow("folder item") << QByteArrayList{"/data/Album/"} << QStringList{"/data"} << true;
        QTest::newRow("top level") << QByteArrayList{"/a.jpg"} << QStringList{"/"} << true;
        QTest::newRow("utf-8 folder")
            << QByteArrayList{"/d/caf\xc3\xa9/a"} << QStringList{QString::fromUtf8("/d/caf\xc3\xa9")} << true;
        QTest::newRow("not utf-8 folder")
            << QByteArrayList{"/d/caf\xe9 1/a"} << QStringList{"file:///d/caf%E9%201"} << true;
        QTest::newRow("nothing") << QByteArrayList{} << QStringList{} << false;
    }
    void xdgOpenViewer()
    {
        QFETCH(QByteArrayList, paths);
        QFETCH(QStringList, arguments);
        QFETCH(bool, result);
        QStringList launched;
        XdgOpenFileViewer viewer([&](const QString& program, const QStringList& args) {
            launched.append(program + ' ' + args.join('|'));
            return true;
        });
        QCOMPARE(viewer.showItems(paths), result);
        QStringList expected;
        for (const QString& a : arguments)
            expected.append(QStringLiteral("xdg-open ") + a);
        QCOMPARE(launched, expected);
    }

    void xdgOpenViewerReportsFailure()
    {
        int calls = 0;
        XdgOpenFileViewer viewer([&](const QString&, const QStringList&) {
            ++calls;
            return false;
        });
        QTest::ignoreMessage(QtInfoMsg, "Could not start xdg-open for /data");
        QVERIFY(!viewer.showItems({"/data/a.jpg"}));
        QCOMPARE(calls, 1);
    }
};

QUILLON_TEST_MAIN(TestPlatform)
#include "tst_platform.moc"
