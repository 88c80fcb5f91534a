#include "ScanCliFixture.h"
#include "support/TestMain.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

class TestQuillonScan : public QObject, ScanCliFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(makeTree()); }
    void cleanup() { removeTree(); }

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
        QCOMPARE(json.value(QStringLiteral("reclaimableBytes")).toInteger(), 50);
        const QJsonArray groups = json.value(QStringLiteral("groups")).toArray();
        QCOMPARE(groups.size(), 1);
        const QJsonObject group = groups.first().toObject();
        QList<QByteArray> decoded;
        int objects = 0; // only the names that are not UTF-8 use the base64 form
        for (const QJsonValue& v : group.value(QStringLiteral("paths")).toArray()) {
            objects += v.isObject();
            decoded << (v.isString()
                            ? v.toString().toUtf8()
                            : QByteArray::fromBase64(
                                  v.toObject().value(QStringLiteral("base64")).toString().toLatin1()));
        }
        QList<QByteArray> expected;
        for (const QByteArray& name : names)
            expected << p("d/" + name);
        std::sort(expected.begin(), expected.end());
        QCOMPARE(decoded, expected);
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
        QTest::newRow("missing path") << QList<QByteArray>{"TREE/nowhere"} << QByteArray("No such file");
        QTest::newRow("one item") << QList<QByteArray>{"TREE/a/one"}
                                  << QByteArray("Only one item detected in the selected path(s).");
        QTest::newRow("exclude and no-exclude")
            << QList<QByteArray>{"--exclude", "TREE/a", "--no-exclude", "TREE"}
            << QByteArray("cannot be used together");
        QTest::newRow("trash without keep")
            << QList<QByteArray>{"--trash", "TREE"} << QByteArray("--trash needs --keep");
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

    // The option replaces the user's minimum size (in KB) and folder list; names compare
    // without case.
    void scanOptions_data()
    {
        QTest::addColumn<QList<QByteArray>>("options");
        QTest::addColumn<int>("scanned");
        QTest::newRow("bytes") << QList<QByteArray>{"--min-size", "500", "--no-exclude"} << 4;
        QTest::newRow("10K") << QList<QByteArray>{"--min-size", "10K"} << 2;
        QTest::newRow("10KiB") << QList<QByteArray>{"--min-size", "10KiB"} << 2;
        QTest::newRow("one byte over") << QList<QByteArray>{"--min-size", "10241"} << 0;
        QTest::newRow("user's list") << QList<QByteArray>{"--min-size", "0"} << 6;
        QTest::newRow("--no-exclude") << QList<QByteArray>{"--min-size", "0", "--no-exclude"} << 7;
        QTest::newRow("both forms, other case")
            << QList<QByteArray>{"--min-size", "0", "--exclude", "TREE/y", "--exclude=TREE/Z"} << 5;
    }
    void scanOptions()
    {
        QFETCH(QList<QByteArray>, options);
        QFETCH(int, scanned);
        for (const char* n : {"x/a", "y/b", "z/c"})
            file(n, "same");
        for (const char* n : {"s/b1", "s/b2"})
            file(n, QByteArray(500, 'b'));
        for (const char* n : {"s/k1", "s/k2"})
            file(n, QByteArray(10240, 'k'));
        userSettings()->setValue(QStringLiteral("minimumFileSize"), 100);
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
        runJson({"--no-cache", p("c")});
        QVERIFY(!QFile::exists(QFile::decodeName(defaultCache())));

        QCOMPARE(runJson({p("c")}).value(QStringLiteral("duplicates")).toInt(), 1);
        QCOMPARE(TestSupport::cacheRows(defaultCache()), 2);
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
        QCOMPARE(process.exitCode(), 130);
        const QJsonObject json = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        // The pair grouped before the stop stands, and the cache was still written.
        QCOMPARE(json.value(QStringLiteral("duplicates")).toInt(), 1);
        QCOMPARE(TestSupport::cacheRows(own), 2);
    }
};

QUILLON_TEST_MAIN(TestQuillonScan)
#include "tst_quillonscan.moc"
