#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QUrl>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

} // namespace

class TestQuillonScan : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QByteArray root() const { return QFile::encodeName(m_dir->path()); }
    QByteArray p(const QByteArray& relative) const { return root() + "/tree/" + relative; }
    QByteArray file(const QByteArray& relative, const QByteArray& contents) const
    {
        const QByteArray path = p(relative);
        if (!TestSupport::writeFile(path, contents))
            qWarning("cannot write %s", path.constData());
        return path;
    }
    QByteArray defaultCache() const { return root() + "/home/.cache/Quillon.db"; }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        const QString home = m_dir->filePath(QStringLiteral("home"));
        env.insert(QStringLiteral("HOME"), home);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/.cache"));
        env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/.local/share"));
        env.remove(QStringLiteral("QUILLON_SCAN_LOG"));
        return env;
    }

    // The user's settings as the scanner reads them.
    std::unique_ptr<QSettings> userSettings() const
    {
        return std::make_unique<QSettings>(
            m_dir->filePath(QStringLiteral("home/.config/Quillon/Quillon.conf")), QSettings::IniFormat);
    }

    QStringList m_wrapper; // a command that runs quillon-scan, when set

    void startProcess(QProcess& process, const QList<QByteArray>& args, bool withLog = false) const
    {
        QProcessEnvironment env = environment();
        if (withLog)
            env.insert(QStringLiteral("QUILLON_SCAN_LOG"), QStringLiteral("1"));
        process.setProcessEnvironment(env);
        QStringList list = m_wrapper;
        process.setProgram(list.isEmpty() ? QStringLiteral(QUILLON_SCAN_BINARY) : list.takeFirst());
        if (!m_wrapper.isEmpty())
            list << QStringLiteral(QUILLON_SCAN_BINARY);
        // Arguments travel as bytes: a name that is not UTF-8 is given as the file system has it.
        for (const QByteArray& a : args)
            list << QFile::decodeName(a);
        process.setArguments(list);
        process.start();
    }

    Run run(const QList<QByteArray>& args) const
    {
        QProcess process;
        startProcess(process, args);
        Run r;
        if (!process.waitForFinished(120000))
            return r;
        r.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        r.out = process.readAllStandardOutput();
        r.err = process.readAllStandardError();
        return r;
    }

    QJsonObject runJson(const QList<QByteArray>& args) const
    {
        const Run r = run(QList<QByteArray>{"--json", "--quiet"} + args);
        if (r.exitCode != 0)
            qWarning("exit %d: %s", r.exitCode, r.err.constData());
        return QJsonDocument::fromJson(r.out).object();
    }

private Q_SLOTS:
    void cleanup()
    {
        // Names that are not UTF-8 need removal by their bytes.
        std::error_code ignored;
        std::filesystem::remove_all(std::filesystem::path(root().toStdString()), ignored);
        m_dir.reset();
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QDir().mkpath(m_dir->filePath(QStringLiteral("home/.cache")));
        auto settings = userSettings();
        settings->setValue(QStringLiteral("minimumFileSize"), 0);
        settings->setValue(QStringLiteral("excludedFolders"), QStringList());
    }

    void textOutput()
    {
        const QByteArray three = QByteArray(100, 't');
        const QByteArray two = QByteArray(300, 'w');
        file("b/t2", three);
        file("a/t1", three);
        file("c/t3", three);
        file("a/w1", two);
        file("c/w2", two);
        file("a/single", QByteArray(300, 'x'));
        const Run r = run({"--quiet", p("")});
        QCOMPARE(r.exitCode, 0);
        // 300 bytes reclaimable before 200; members in walk order.
        QCOMPARE(r.out, p("a/w1") + '\n' + p("c/w2") + "\n\n" + p("a/t1") + '\n' + p("b/t2") + '\n' +
                            p("c/t3") + '\n');
        QVERIFY2(r.err.contains("Scanned: 6 files, 1.20 KB"), r.err.constData());
        QVERIFY2(r.err.contains("Duplicates: 3 files, 500 bytes reclaimable"), r.err.constData());
    }

    void jsonOutputAndPathRoundTrip()
    {
        const QList<QByteArray> names = {"plain", "not-utf8-\xff\xfe", "new\nline \"quoted\"",
                                         "-dash", "caf\xc3\xa9",       "surrogate-\xed\xa0\x80"};
        for (const QByteArray& name : names)
            file("d/" + name, "same bytes");
        file("d/other", "othr bytes");
        const QJsonObject json = runJson({p("d")});
        QCOMPARE(json.value(QStringLiteral("scanned")).toInt(), 7);
        QCOMPARE(json.value(QStringLiteral("scannedBytes")).toInteger(), 70);
        QCOMPARE(json.value(QStringLiteral("duplicates")).toInt(), 5);
        QCOMPARE(json.value(QStringLiteral("reclaimableBytes")).toInteger(), 50);
        const QJsonArray groups = json.value(QStringLiteral("groups")).toArray();
        QCOMPARE(groups.size(), 1);
        const QJsonObject group = groups.first().toObject();
        QCOMPARE(group.value(QStringLiteral("md5")).toString(),
                 QStringLiteral("%1").arg(
                     QLatin1String(QCryptographicHash::hash("same bytes", QCryptographicHash::Md5).toHex())));
        QCOMPARE(group.value(QStringLiteral("size")).toInt(), 10);
        QList<QByteArray> decoded;
        for (const QJsonValue& v : group.value(QStringLiteral("paths")).toArray()) {
            if (v.isString()) {
                decoded << v.toString().toUtf8();
            } else {
                const QString b64 = v.toObject().value(QStringLiteral("base64")).toString();
                QVERIFY(!b64.isEmpty());
                decoded << QByteArray::fromBase64(b64.toLatin1());
            }
        }
        QList<QByteArray> expected;
        for (const QByteArray& name : names)
            expected << p("d/" + name);
        std::sort(expected.begin(), expected.end());
        QCOMPARE(decoded, expected);
        // Only the names that are not UTF-8 use the base64 form.
        int objects = 0;
        for (const QJsonValue& v : group.value(QStringLiteral("paths")).toArray())
            objects += v.isObject();
        QCOMPARE(objects, 2);
    }

    // Unreadable items are said (stderr, JSON) and make exit status 3; a hard link is listed
    // as the same file reached again.
    void skippedAndSameFileAgain()
    {
        const QByteArray a = file("d/a", "same bytes");
        QVERIFY(::link(a.constData(), p("d/b").constData()) == 0);
        file("d/locked/c", "same bytes");
        QVERIFY(::chmod(p("d/locked").constData(), 0) == 0);
        // Root reads every folder unless it gives up the right to.
        if (::geteuid() == 0)
            m_wrapper = QStringList{QStringLiteral("setpriv"),
                                    QStringLiteral("--bounding-set=-dac_override,-dac_read_search")};
        const Run r = run({"--json", "--quiet", p("d")});
        m_wrapper.clear();
        ::chmod(p("d/locked").constData(), 0700);
        const QJsonObject json = QJsonDocument::fromJson(r.out).object();
        QCOMPARE(r.exitCode, 3);
        const QString reason = qt_error_string(EACCES);
        QVERIFY2(r.err.contains("cannot read '" + p("d/locked") + "': " + reason.toUtf8()),
                 r.err.constData());
        QCOMPARE(json.value(QStringLiteral("skipped")).toArray(),
                 QJsonArray({QJsonObject{{QStringLiteral("path"), QString::fromUtf8(p("d/locked"))},
                                         {QStringLiteral("reason"), reason}}}));
        QCOMPARE(
            json.value(QStringLiteral("sameFileAgain")).toArray(),
            QJsonArray({QJsonObject{{QStringLiteral("path"), QString::fromUtf8(a)},
                                    {QStringLiteral("paths"), QJsonArray{QString::fromUtf8(p("d/b"))}}}}));
    }

    void usageErrors_data()
    {
        QTest::addColumn<QList<QByteArray>>("args");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("no path") << QList<QByteArray>{} << QByteArray("no path given");
        QTest::newRow("unknown option")
            << QList<QByteArray>{"--frobnicate", "TREE"} << QByteArray("unknown option");
        QTest::newRow("bad size") << QList<QByteArray>{"--min-size", "12Q", "TREE"}
                                  << QByteArray("invalid size");
        QTest::newRow("negative size")
            << QList<QByteArray>{"--min-size=-1", "TREE"} << QByteArray("invalid size");
        QTest::newRow("size overflow")
            << QList<QByteArray>{"--min-size", "99999999999999T", "TREE"} << QByteArray("invalid size");
        QTest::newRow("missing value")
            << QList<QByteArray>{"TREE", "--exclude"} << QByteArray("--exclude needs");
        QTest::newRow("missing path") << QList<QByteArray>{"TREE/nowhere"} << QByteArray("No such file");
        QTest::newRow("not a folder on the way")
            << QList<QByteArray>{"TREE/a/one/x"} << QByteArray("Not a directory");
        QTest::newRow("one item") << QList<QByteArray>{"TREE/a/one"}
                                  << QByteArray("Only one item detected in the selected path(s).");
        QTest::newRow("trash without keep")
            << QList<QByteArray>{"--trash", "TREE"} << QByteArray("--trash needs --keep");
        QTest::newRow("keep what") << QList<QByteArray>{"--keep", "largest", "--trash", "TREE"}
                                   << QByteArray("--keep needs 'oldest' or 'newest'");
        QTest::newRow("cache and no cache") << QList<QByteArray>{"--cache", "x.db", "--no-cache", "TREE"}
                                            << QByteArray("cannot be used together");
    }

    void usageErrors()
    {
        QFETCH(QList<QByteArray>, args);
        QFETCH(QByteArray, message);
        file("a/one", "1");
        for (QByteArray& a : args)
            a.replace("TREE", p("").chopped(1));
        const Run r = run(args);
        QCOMPARE(r.exitCode, 2);
        QVERIFY2(r.err.contains(message), r.err.constData());
        QVERIFY(r.out.isEmpty());
    }

    void help()
    {
        const Run r = run({"--help"});
        QCOMPARE(r.exitCode, 0);
        for (const char* section :
             {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "OUTPUT", "EXIT STATUS", "FILES"})
            QVERIFY2(r.out.contains(QByteArray("\n") + section + '\n') || r.out.startsWith(section), section);
    }

    void minimumSize_data()
    {
        QTest::addColumn<QByteArray>("size");
        QTest::addColumn<int>("scanned");
        QTest::newRow("0") << QByteArray("0") << 6;
        QTest::newRow("bytes") << QByteArray("500") << 4;
        QTest::newRow("10K") << QByteArray("10K") << 2;
        QTest::newRow("10k lower case") << QByteArray("10k") << 2;
        QTest::newRow("10KiB") << QByteArray("10KiB") << 2;
        QTest::newRow("one byte over") << QByteArray("10241") << 0;
        QTest::newRow("1M") << QByteArray("1M") << 0;
    }

    void minimumSize()
    {
        QFETCH(QByteArray, size);
        QFETCH(int, scanned);
        for (const char* n : {"e1", "e2"})
            file(QByteArray("s/") + n, "");
        for (const char* n : {"b1", "b2"})
            file(QByteArray("s/") + n, QByteArray(500, 'b'));
        for (const char* n : {"k1", "k2"})
            file(QByteArray("s/") + n, QByteArray(10240, 'k'));
        // The user's setting (in KB) is replaced by the option.
        userSettings()->setValue(QStringLiteral("minimumFileSize"), 100);
        const QJsonObject json = runJson({"--min-size", size, p("s")});
        QCOMPARE(json.value(QStringLiteral("scanned")).toInt(), scanned);
    }

    // The user's list applies unless an option replaces it; names compare without case.
    void exclusions_data()
    {
        QTest::addColumn<QList<QByteArray>>("options");
        QTest::addColumn<int>("scanned");
        QTest::newRow("user's list") << QList<QByteArray>{} << 2;
        QTest::newRow("--no-exclude") << QList<QByteArray>{"--no-exclude"} << 3;
        QTest::newRow("option replaces the list") << QList<QByteArray>{"--exclude", "TREE/y"} << 2;
        QTest::newRow("both forms, other case")
            << QList<QByteArray>{"--exclude", "TREE/y", "--exclude=TREE/Z"} << 1;
    }
    void exclusions()
    {
        QFETCH(QList<QByteArray>, options);
        QFETCH(int, scanned);
        file("x/a", "same");
        file("y/b", "same");
        file("z/c", "same");
        userSettings()->setValue(QStringLiteral("excludedFolders"), QStringList{QFile::decodeName(p("x"))});
        for (QByteArray& a : options)
            a.replace("TREE", p("").chopped(1));
        QCOMPARE(runJson(options + QList<QByteArray>{p("")}).value(QStringLiteral("scanned")).toInt(),
                 scanned);
    }

    void cacheOptions()
    {
        file("c/a", "cached");
        file("c/b", "cached");
        const QByteArray own = root() + "/own.db";
        QCOMPARE(runJson({"--cache", own, p("c")}).value(QStringLiteral("duplicates")).toInt(), 1);
        QCOMPARE(TestSupport::cacheRows(own), 2);
        QVERIFY(!QFile::exists(QFile::decodeName(defaultCache())));

        QCOMPARE(runJson({"--no-cache", p("c")}).value(QStringLiteral("duplicates")).toInt(), 1);
        QVERIFY(!QFile::exists(QFile::decodeName(defaultCache())));

        QCOMPARE(runJson({p("c")}).value(QStringLiteral("duplicates")).toInt(), 1);
        QCOMPARE(TestSupport::cacheRows(defaultCache()), 2);
    }

    QByteArray trashed(const QByteArray& name) const { return root() + "/home/.local/share/Trash/" + name; }

    // The keep rule decides which file stays: z is made a second before (oldest) or after
    // (newest) a and m. The dry run moves nothing; --trash moves a and m into the Trash.
    void keepAndTrash_data()
    {
        QTest::addColumn<QByteArray>("keep");
        QTest::newRow("oldest") << QByteArray("oldest");
        QTest::newRow("newest") << QByteArray("newest");
    }
    void keepAndTrash()
    {
        QFETCH(QByteArray, keep);
        const QByteArray same(300, 's');
        // Creation dates count in whole seconds.
        if (keep == "oldest") {
            file("k/z", same);
            QThread::msleep(1100);
        }
        file("k/a", same);
        file("k/m", same);
        if (keep == "newest") {
            QThread::msleep(1100);
            file("k/z", same);
        }

        const Run dry = run({"--quiet", "--keep", keep, p("k")});
        QCOMPARE(dry.exitCode, 0);
        QCOMPARE(dry.out,
                 "would move: " + p("k/a") + "\nwould move: " + p("k/m") + "\nkept: " + p("k/z") + '\n');
        QVERIFY2(dry.err.contains("Would move to the Trash: 2 files, 600 bytes"), dry.err.constData());
        QVERIFY(QFile::exists(QFile::decodeName(p("k/a"))) && QFile::exists(QFile::decodeName(p("k/m"))));
        QVERIFY(!QFile::exists(QFile::decodeName(trashed(""))));

        const Run moved = run({"--json", "--quiet", "--keep", keep, "--trash", p("k")});
        QCOMPARE(moved.exitCode, 0);
        const QJsonObject json = QJsonDocument::fromJson(moved.out).object();
        const QJsonObject group = json.value(QStringLiteral("groups")).toArray().first().toObject();
        QCOMPARE(group.value(QStringLiteral("outcomes")).toArray(),
                 QJsonArray({QStringLiteral("moved"), QStringLiteral("moved"), QStringLiteral("kept")}));
        QCOMPARE(json.value(QStringLiteral("trash")).toObject().value(QStringLiteral("movedBytes")).toInt(),
                 600);
        QVERIFY2(moved.err.contains("Moved to the Trash: 2 files, 600 bytes recovered"),
                 moved.err.constData());
        QVERIFY(QFile::exists(QFile::decodeName(p("k/z"))));
        for (const QByteArray name : {"a", "m"}) {
            QVERIFY(!QFile::exists(QFile::decodeName(p("k/" + name))));
            QFile moved(QFile::decodeName(trashed("files/" + name)));
            QVERIFY(moved.open(QIODevice::ReadOnly));
            QCOMPARE(moved.readAll(), same);
            QFile info(QFile::decodeName(trashed("info/" + name + ".trashinfo")));
            QVERIFY(info.open(QIODevice::ReadOnly));
            QVERIFY(info.readAll().contains("Path=" +
                                            QUrl::toPercentEncoding(QFile::decodeName(p("k/" + name)), "/")));
        }
    }

    // A cache row left stale by an edit that kept the modification time groups two different
    // files: the byte comparison refuses the move, the file stays and the exit status is 3.
    void proofKeepsAChangedFile()
    {
        const QByteArray a = file("c/a", "same bytes");
        const QByteArray b = file("c/b", "same bytes");
        const QByteArray own = root() + "/own.db";
        QCOMPARE(runJson({"--cache", own, p("c")}).value(QStringLiteral("duplicates")).toInt(), 1);
        struct stat before;
        QVERIFY(::stat(b.constData(), &before) == 0);
        QVERIFY(TestSupport::writeFile(b, "diff bytes"));
        const struct timespec times[2] = {before.st_atim, before.st_mtim};
        QVERIFY(::utimensat(AT_FDCWD, b.constData(), times, 0) == 0);

        const Run r = run({"--json", "--quiet", "--cache", own, "--keep", "oldest", "--trash", p("c")});
        QCOMPARE(r.exitCode, 3);
        const QJsonArray outcomes = QJsonDocument::fromJson(r.out)
                                        .object()
                                        .value(QStringLiteral("groups"))
                                        .toArray()
                                        .first()
                                        .toObject()
                                        .value(QStringLiteral("outcomes"))
                                        .toArray();
        const QString reason = QStringLiteral("contents differ from the kept copy");
        QVERIFY2(outcomes.contains(QJsonObject{{QStringLiteral("notMoved"), reason}}), r.out.constData());
        QVERIFY2(r.err.contains("': " + reason.toUtf8()) && r.err.contains("Not moved: 1 file\n"),
                 r.err.constData());
        QVERIFY(QFile::exists(QFile::decodeName(a)) && QFile::exists(QFile::decodeName(b)));
        QVERIFY(!QFile::exists(QFile::decodeName(trashed("files"))) ||
                QDir(QFile::decodeName(trashed("files"))).isEmpty());
    }

    void interruptedBySigint()
    {
        file("i/a1", "pair");
        file("i/a2", "pair");
        for (const char* n : {"i/z1", "i/z2"}) {
            QVERIFY(TestSupport::writeFile(p(n), ""));
            QVERIFY(::truncate(p(n).constData(), qint64(8) << 30) == 0);
        }
        const QByteArray own = root() + "/own.db";
        QProcess process;
        process.setReadChannel(QProcess::StandardError);
        startProcess(process, {"--json", "--quiet", "--cache", own, p("i")}, true);
        QVERIFY(process.waitForStarted());
        // The log line that ends the size stage: the digests are being computed after it.
        QByteArray err;
        while (!err.contains("Time Calculation in grouping with size") && process.waitForReadyRead(30000))
            err += process.readAllStandardError();
        QVERIFY2(err.contains("Time Calculation in grouping with size"), err.constData());
        QThread::msleep(300);
        QCOMPARE(process.state(), QProcess::Running);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 130);
        const QJsonObject json = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        // The pair grouped before the stop stands, and the cache was still written.
        QCOMPARE(json.value(QStringLiteral("duplicates")).toInt(), 1);
        QCOMPARE(TestSupport::cacheRows(own), 2);
    }
};

QUILLON_TEST_MAIN(TestQuillonScan)
#include "tst_quillonscan.moc"
