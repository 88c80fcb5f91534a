#include "ScanCliFixture.h"
#include "support/TestMain.h"

#include <QJsonArray>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>

// quillon-scan --keep and --trash: which file stays, the dry run, the move into the temporary
// Trash and the proof that refuses a file.
class TestQuillonScanTrash : public QObject, ScanCliFixture
{
    Q_OBJECT

    QByteArray trashed(const QByteArray& name) const { return root() + "/home/.local/share/Trash/" + name; }

private Q_SLOTS:
    void init() { QVERIFY(makeTree()); }
    void cleanup() { removeTree(); }

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
};

QUILLON_TEST_MAIN(TestQuillonScanTrash)
#include "tst_quillonscan_trash.moc"
