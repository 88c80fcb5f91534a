#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/CommonFuncs.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>
#include <chrono>
#include <future>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

class TestDigest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QByteArray path(const char* name) const { return QFile::encodeName(m_dir.filePath(QLatin1String(name))); }
private Q_SLOTS:
    // Sizes around the slice and chunk edges, read with several chunk sizes (0: the default).
    void digests_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::addColumn<size_t>("chunk");
        for (qsizetype size : {0, 3, 4095, 4096, 4097, 3 * 4096 + 17, 1024 * 1024 + 1})
            for (size_t chunk : {size_t(0), size_t(1000), size_t(4096), size_t(262144)})
                QTest::addRow("%lld bytes, chunk %zu", qlonglong(size), chunk) << size << chunk;
    }
    void digests()
    {
        QFETCH(qsizetype, size);
        QFETCH(size_t, chunk);
        QByteArray data(size, Qt::Uninitialized);
        for (qsizetype i = 0; i < size; ++i)
            data[i] = char((quint32(i) * 2654435761u) >> 13);
        const QByteArray file = path("data.bin");
        QVERIFY(TestSupport::writeFile(file, data));
        const std::atomic<bool> notAborted{false}; // with and without a flag
        QCOMPARE(FileMD5HashCreateWithPath(file, chunk, size % 2 ? nullptr : &notAborted),
                 QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex());
    }

    // Only regular files are read: a FIFO neither blocks nor yields a digest, a link is not
    // followed, and a folder or a missing path gives nothing.
    void notRegularFiles()
    {
        const QByteArray target = path("target.txt"), link = path("link.txt"), fifo = path("pipe");
        QVERIFY(TestSupport::writeFile(target, "abc"));
        QVERIFY(::symlink(target.constData(), link.constData()) == 0);
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

        for (const QByteArray& p : {link, QFile::encodeName(m_dir.path()), path("missing"), QByteArray()})
            QVERIFY2(FileMD5HashCreateWithPath(p, 0, nullptr).isEmpty(), p.constData());
    }

    // An abort raised while a large file is read stops the digest long before its end.
    void abortWhileReading()
    {
        const QByteArray file = path("sparse.bin");
        // Seconds of hashing if not stopped.
        QVERIFY(TestSupport::writeFile(file, {}) && ::truncate(file.constData(), qint64(4) << 30) == 0);
        std::atomic<bool> abort{false};
        std::thread stopper([&abort] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            abort.store(true);
        });
        QVERIFY(FileMD5HashCreateWithPath(file, 262144, &abort).isEmpty());
        stopper.join();
    }
};

QUILLON_TEST_MAIN(TestDigest)
#include "tst_digest.moc"
