#include "support/TestMain.h"
#include "util/Md5Lanes.h"

#include <QRandomGenerator>
#include <algorithm>
#include <numeric>
#include <openssl/evp.h>

using Md5Lanes::Impl;

class TestMd5Lanes : public QObject
{
    Q_OBJECT

    static QByteArray reference(const QByteArray& bytes)
    {
        unsigned char out[16];
        EVP_Digest(bytes.constData(), size_t(bytes.size()), out, nullptr, EVP_md5(), nullptr);
        return QByteArray(reinterpret_cast<const char*>(out), 16).toHex();
    }
    static QByteArray random(QRandomGenerator& rng, qsizetype size)
    {
        QByteArray bytes(size, Qt::Uninitialized);
        for (char& c : bytes)
            c = char(rng.bounded(256));
        return bytes;
    }

private Q_SLOTS:
    // Lanes of different lengths (padding edges, multi-block, hundreds of KiB, empty) fed in
    // random steps, so lanes start, idle and stop at different blocks; halfway, lane 0 forks
    // into the last lane, which goes on with other bytes. Every digest is OpenSSL's.
    void matchesOpenSsl_data()
    {
        QTest::addColumn<Impl>("impl");
        QTest::addColumn<quint32>("seed");
        const std::pair<Impl, const char*> impls[] = {{Impl::Scalar, "scalar"},
                                                      {Impl::ScalarPair, "pair"},
                                                      {Impl::Avx2, "avx2"},
                                                      {Impl::Avx512Vl, "avx512vl"},
                                                      {Impl::Avx512, "avx512"}};
        for (const auto& [impl, name] : impls)
            for (quint32 seed : {1u, 2u, 3u})
                if (Md5Lanes::supported(impl))
                    QTest::addRow("%s seed %u", name, seed) << impl << seed;
    }
    void matchesOpenSsl()
    {
        QFETCH(Impl, impl);
        QFETCH(quint32, seed);
        QRandomGenerator rng(seed);
        const int lanes = Md5Lanes::width(impl);
        const qsizetype lengths[] = {0, 1, 55, 56, 63, 64, 65, 119, 120, 128, 1000, 4096, 300 * 1024 + 7};
        QList<QByteArray> streams(lanes);
        size_t pos[Md5Lanes::kMaxLanes] = {};
        Md5Lanes::State state;
        for (int l = 0; l < lanes; ++l) {
            streams[l] = random(rng, lengths[rng.bounded(int(std::size(lengths)))]);
            Md5Lanes::init(state, l);
        }
        for (int round = 0;; ++round) {
            if (round == 2 && lanes > 1) {
                streams[lanes - 1] = streams[0].left(qsizetype(pos[0])) + random(rng, rng.bounded(5000));
                pos[lanes - 1] = pos[0];
                Md5Lanes::copy(state, 0, lanes - 1);
            }
            const unsigned char* data[Md5Lanes::kMaxLanes] = {};
            size_t blocks[Md5Lanes::kMaxLanes] = {};
            size_t pending = 0;
            for (int l = 0; l < lanes; ++l) {
                const size_t whole = (size_t(streams[l].size()) - pos[l]) / 64;
                pending += whole;
                blocks[l] = rng.bounded(4) == 0 ? 0 : rng.bounded(quint32(whole) + 1); // some idle
                if (blocks[l])
                    data[l] = reinterpret_cast<const unsigned char*>(streams[l].constData()) + pos[l];
                pos[l] += 64 * blocks[l];
            }
            if (pending == 0 && round > 2)
                break;
            Md5Lanes::compress(impl, state, data, blocks);
        }
        for (int l = 0; l < lanes; ++l) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(streams[l].constData());
            unsigned char out[16];
            Md5Lanes::finish(state, l, bytes + pos[l], size_t(streams[l].size()) - pos[l],
                             uint64_t(streams[l].size()), out);
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(out), 16).toHex(), reference(streams[l]));
            Md5Lanes::digest(bytes, size_t(streams[l].size()), out);
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(out), 16).toHex(), reference(streams[l]));
        }
    }

    // All 16 slots through the chooser: the busy lanes sit at random slots with different block
    // counts per call, so groups mix lengths and paths; idle slots keep the empty stream's state.
    void compressBusy_data()
    {
        QTest::addColumn<Impl>("widest");
        QTest::addColumn<int>("busy");
        const std::pair<Impl, const char*> impls[] = {{Impl::Scalar, "scalar"},
                                                      {Impl::Avx2, "avx2"},
                                                      {Impl::Avx512Vl, "avx512vl"},
                                                      {Impl::Avx512, "avx512"}};
        for (const auto& [impl, name] : impls)
            for (int busy : {1, 2, 3, 8, 11, 16})
                if (Md5Lanes::supported(impl))
                    QTest::addRow("%s, %d busy", name, busy) << impl << busy;
    }
    void compressBusy()
    {
        QFETCH(Impl, widest);
        QFETCH(int, busy);
        QRandomGenerator rng{quint32(busy)};
        int order[Md5Lanes::kMaxLanes];
        std::iota(std::begin(order), std::end(order), 0);
        std::shuffle(std::begin(order), std::end(order), rng);
        QList<QByteArray> streams(Md5Lanes::kMaxLanes);
        size_t pos[Md5Lanes::kMaxLanes] = {};
        Md5Lanes::State state;
        for (int l = 0; l < Md5Lanes::kMaxLanes; ++l)
            Md5Lanes::init(state, l);
        for (int i = 0; i < busy; ++i)
            streams[order[i]] = random(rng, 64 * rng.bounded(1, 60) + rng.bounded(64));
        for (int round = 0; round < 3; ++round) {
            const unsigned char* data[Md5Lanes::kMaxLanes] = {};
            size_t blocks[Md5Lanes::kMaxLanes] = {};
            for (int l = 0; l < Md5Lanes::kMaxLanes; ++l) {
                const size_t whole = (size_t(streams[l].size()) - pos[l]) / 64;
                blocks[l] = round == 2 ? whole : rng.bounded(quint32(whole) + 1);
                data[l] = blocks[l] ? reinterpret_cast<const unsigned char*>(streams[l].constData()) + pos[l]
                                    : nullptr;
                pos[l] += 64 * blocks[l];
            }
            Md5Lanes::compressBusy(widest, state, data, blocks);
        }
        for (int l = 0; l < Md5Lanes::kMaxLanes; ++l) {
            unsigned char out[16];
            Md5Lanes::finish(state, l,
                             reinterpret_cast<const unsigned char*>(streams[l].constData()) + pos[l],
                             size_t(streams[l].size()) - pos[l], uint64_t(streams[l].size()), out);
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(out), 16).toHex(), reference(streams[l]));
        }
    }

    // The variable narrows the choice and never widens it past the CPU.
    void forcedWidth_data()
    {
        QTest::addColumn<QByteArray>("forced");
        QTest::addColumn<Impl>("expected");
        const Impl widest = Md5Lanes::supported(Impl::Avx512) ? Impl::Avx512
                            : Md5Lanes::supported(Impl::Avx2) ? Impl::Avx2
                                                              : Impl::Scalar;
        QTest::newRow("unset") << QByteArray() << widest;
        QTest::newRow("scalar") << QByteArray("scalar") << Impl::Scalar;
        QTest::newRow("avx2") << QByteArray("avx2") << std::min(widest, Impl::Avx2);
        QTest::newRow("avx512vl") << QByteArray("avx512vl")
                                  << (Md5Lanes::supported(Impl::Avx512Vl) ? Impl::Avx512Vl
                                                                          : std::min(widest, Impl::Avx2));
        QTest::newRow("avx512") << QByteArray("avx512") << widest;
    }
    void forcedWidth()
    {
        QFETCH(QByteArray, forced);
        QFETCH(Impl, expected);
        if (forced.isEmpty())
            qunsetenv("QUILLON_MD5_LANES");
        else
            qputenv("QUILLON_MD5_LANES", forced);
        QCOMPARE(Md5Lanes::best(), expected);
        qunsetenv("QUILLON_MD5_LANES");
    }
};

QUILLON_TEST_MAIN(TestMd5Lanes)
#include "tst_md5lanes.moc"
