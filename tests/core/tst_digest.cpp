#include "support/TestMain.h"
#include "util/CommonFuncs.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <chrono>
#include <future>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

QStringList g_lines;
QtMessageHandler g_previous = nullptr;

void captureHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtInfoMsg)
        g_lines.append(message);
    else if (g_previous)
        g_previous(type, context, message);
}

// Collects the log lines written while it lives.
struct LogCapture
{
    LogCapture()
    {
        g_lines.clear();
        g_previous = qInstallMessageHandler(captureHandler);
    }
    ~LogCapture() { qInstallMessageHandler(g_previous); }
    QStringList lines() const { return g_lines; }
};

bool writeBytes(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QByteArray randomBytes(qsizetype size)
{
    QByteArray data(size, Qt::Uninitialized);
    QRandomGenerator generator(4711);
    for (char& c : data)
        c = char(generator.bounded(256));
    return data;
}

} // namespace

class TestDigest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const char* name) const { return m_dir.filePath(QLatin1String(name)); }
    static QByteArray bytes(const QString& p) { return QFile::encodeName(p); }

private Q_SLOTS:
    void knownVectors_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("md5");
        QTest::newRow("empty") << QByteArray() << QByteArray("d41d8cd98f00b204e9800998ecf8427e");
        QTest::newRow("abc") << QByteArray("abc") << QByteArray("900150983cd24fb0d6963f7d28e17f72");
    }
    void knownVectors()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, md5);
        const QString file = path("vector");
        QVERIFY(writeBytes(file, content));
        QCOMPARE(CommonFuncs::getFileMD5UsingStreamWithAbortFlag(bytes(file), nullptr), md5);
        for (size_t chunk : {size_t(0), size_t(1), size_t(4096), size_t(262144)})
            QCOMPARE(FileMD5HashCreateWithPath(bytes(file), chunk, nullptr), md5);
    }

    // Sizes around the slice and chunk edges, read with several chunk sizes.
    void multiChunk_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::addColumn<size_t>("chunk");
        for (qsizetype size : {qsizetype(4095), qsizetype(4096), qsizetype(4097), qsizetype(3 * 4096 + 17),
                               qsizetype(1024 * 1024 + 1)}) {
            for (size_t chunk : {size_t(0), size_t(1000), size_t(4096), size_t(10000), size_t(262144)}) {
                QTest::addRow("%lld bytes, chunk %zu", qlonglong(size), chunk) << size << chunk;
            }
        }
    }
    void multiChunk()
    {
        QFETCH(qsizetype, size);
        QFETCH(size_t, chunk);
        const QByteArray data = randomBytes(size);
        const QString file = path("random.bin");
        QVERIFY(writeBytes(file, data));
        const QByteArray expected = QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex();
        QCOMPARE(FileMD5HashCreateWithPath(bytes(file), chunk, nullptr), expected);
        const std::atomic<bool> notAborted{false};
        QCOMPARE(FileMD5HashCreateWithPath(bytes(file), chunk, &notAborted), expected);
    }

    // Only regular files are read: a FIFO neither blocks nor yields a digest, a link is not
    // followed, and a folder or a missing path gives nothing.
    void notRegularFiles()
    {
        const QByteArray target = bytes(path("target.txt"));
        QVERIFY(writeBytes(QFile::decodeName(target), "abc"));
        const QByteArray link = bytes(path("link.txt"));
        QVERIFY(::symlink(target.constData(), link.constData()) == 0);
        const QByteArray fifo = bytes(path("pipe"));
        QVERIFY(::mkfifo(fifo.constData(), 0600) == 0);

        // Run where a blocked read cannot hang the test.
        auto promise = std::make_shared<std::promise<QByteArray>>();
        std::future<QByteArray> result = promise->get_future();
        std::thread([promise, fifo] {
            promise->set_value(FileMD5HashCreateWithPath(fifo, 0, nullptr));
        }).detach();
        QVERIFY2(result.wait_for(std::chrono::seconds(10)) == std::future_status::ready,
                 "a FIFO blocked the digest");
        QVERIFY(result.get().isEmpty());

        QVERIFY(FileMD5HashCreateWithPath(link, 0, nullptr).isEmpty());
        QVERIFY(FileMD5HashCreateWithPath(bytes(m_dir.path()), 0, nullptr).isEmpty());
        QVERIFY(FileMD5HashCreateWithPath(bytes(path("missing")), 0, nullptr).isEmpty());
        QVERIFY(FileMD5HashCreateWithPath(QByteArray(), 0, nullptr).isEmpty());
        QCOMPARE(FileMD5HashCreateWithPath(target, 0, nullptr),
                 QByteArray("900150983cd24fb0d6963f7d28e17f72"));

        LogCapture log;
        QVERIFY(CommonFuncs::getFileMD5UsingStreamWithAbortFlag(link, nullptr).isEmpty());
        QCOMPARE(log.lines(),
                 QStringList{QStringLiteral("############# MD5 coming NIL for file: %1 #############")
                                 .arg(QFile::decodeName(link))});
    }

    void abortBeforeStart()
    {
        const QString file = path("abort.bin");
        QVERIFY(writeBytes(file, "abc"));
        const std::atomic<bool> aborted{true};
        QVERIFY(FileMD5HashCreateWithPath(bytes(file), 0, &aborted).isEmpty());

        LogCapture log;
        QVERIFY(CommonFuncs::getFileMD5UsingStreamWithAbortFlag(bytes(file), &aborted).isEmpty());
        const QStringList expected = {
            QStringLiteral("abortFlag true!!"),
            QStringLiteral("############# MD5 coming NIL for file: %1 #############").arg(file),
            QStringLiteral("abortFlag true!!"), QStringLiteral("Aborted!!")};
        QCOMPARE(log.lines(), expected);
    }

    // An abort raised while a large file is read stops the digest long before its end.
    void abortWhileReading()
    {
        const QByteArray file = bytes(path("sparse.bin"));
        {
            QFile f(QFile::decodeName(file));
            QVERIFY(f.open(QIODevice::WriteOnly));
            QVERIFY(f.resize(qint64(4) << 30)); // 4 GiB of holes: minutes of hashing if not stopped
        }
        std::atomic<bool> abort{false};
        QElapsedTimer timer;
        timer.start();
        std::thread stopper([&abort] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            abort.store(true);
        });
        const QByteArray md5 = FileMD5HashCreateWithPath(file, 262144, &abort);
        stopper.join();
        QVERIFY(md5.isEmpty());
        QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    }
};

QUILLON_TEST_MAIN(TestDigest)
#include "tst_digest.moc"
