#include <QApplication>

#include "platform/DBusFileViewer.h"
#include "support/TestMain.h"

#include <QDBusContext>
#include <QElapsedTimer>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>

namespace {

// Stands in for xdg-open and records what it was asked to show.
class RecordingViewer : public FileViewer
{
public:
    explicit RecordingViewer(bool answer) : answer(answer) {}
    bool showItems(const QList<QByteArray>& paths) override { return calls.append(paths), answer; }
    QList<QList<QByteArray>> calls;
    bool answer;
};

// A file manager on a private bus: answers, fails or never answers.
class FakeFileManager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    enum Mode { NoBus = -2, Absent = -1, Answer, Fail, Silent };
    Mode mode = Answer;
    QList<QStringList> received;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&)
    {
        received.append(uris);
        if (mode == Fail)
            sendErrorReply(QDBusError::Failed, QStringLiteral("cannot show"));
        else if (mode == Silent)
            setDelayedReply(true); // and never reply
    }
};

} // namespace

class TestFileViewer : public QObject
{
    Q_OBJECT

    QProcess m_daemon;
    QString m_address;
    int m_connections = 0;

    QDBusConnection connect()
    {
        return QDBusConnection::connectToBus(m_address, QStringLiteral("conn%1").arg(++m_connections));
    }

private Q_SLOTS:
    // Never the desktop's own bus or file manager: a private bus with no service directories,
    // so nothing can be activated on it.
    void initTestCase()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DBUS_STARTER_ADDRESS");
        qunsetenv("DISPLAY");
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        const QString config = QFile::decodeName(TestSupport::testHome()) + QStringLiteral("/bus.conf");
        QFile f(config);
        if (daemon.isEmpty() || !f.open(QIODevice::WriteOnly))
            return;
        f.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\"\n"
                " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
                "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        f.close();
        m_daemon.start(daemon, {"--config-file=" + config, "--nofork", "--print-address=1"});
        for (int i = 0; i < 25 && m_daemon.waitForStarted(5000) && !m_daemon.canReadLine(); ++i)
            m_daemon.waitForReadyRead(200);
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    void cleanupTestCase()
    {
        m_daemon.kill();
        m_daemon.waitForFinished(3000);
    }

    // Each URI decodes back to exactly the path's bytes; a relative path is made absolute and
    // an empty one dropped.
    void itemUris()
    {
        const QList<QByteArray> paths{"/d/My #1 50%.jpg", "/d/caf\xe9 \xc3\xa9.jpg", "rel/x.jpg", {}};
        const QStringList uris = DBusFileViewer::itemUris(paths);
        QCOMPARE(uris.size(), 3);
        QCOMPARE(uris.mid(0, 2),
                 QStringList({"file:///d/My%20%231%2050%25.jpg", "file:///d/caf%E9%20%C3%A9.jpg"}));
        QVERIFY(uris[2].startsWith("file:///") && uris[2].endsWith("/rel/x.jpg"));
    }

    void showItems_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("fallbackWorks");
        QTest::addColumn<int>("minMs");
        QTest::newRow("file manager shows them") << int(FakeFileManager::Answer) << true << 0;
        QTest::newRow("no session bus") << int(FakeFileManager::NoBus) << true << 0;
        QTest::newRow("no file manager") << int(FakeFileManager::Absent) << true << 0;
        QTest::newRow("file manager fails") << int(FakeFileManager::Fail) << true << 0;
        QTest::newRow("file manager never answers")
            << int(FakeFileManager::Silent) << true << DBusFileViewer::kTimeoutMs - 200;
        QTest::newRow("no session bus, fallback fails") << int(FakeFileManager::NoBus) << false << 0;
        QTest::newRow("file manager fails, fallback too") << int(FakeFileManager::Fail) << false << 0;
    }
    // The caller (the window) never waits for the bus; whenever the file manager does not take
    // the request, the fallback shows the same paths, once. When neither shows them, the caller
    // hears so once.
    void showItems()
    {
        QFETCH(int, mode);
        QFETCH(bool, fallbackWorks);
        QFETCH(int, minMs);
        const bool onBus = mode != FakeFileManager::NoBus, shown = mode == FakeFileManager::Answer;
        if (onBus && m_address.isEmpty())
            QSKIP("no private D-Bus daemon");
        FakeFileManager manager;
        manager.mode = FakeFileManager::Mode(mode);
        QDBusConnection service = onBus ? connect() : QDBusConnection(QString());
        // Disconnecting gives up the service name for the next row.
        const auto disconnect = qScopeGuard([&] { QDBusConnection::disconnectFromBus(service.name()); });
        if (mode >= 0)
            QVERIFY(service.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                           QDBusConnection::ExportAllSlots) &&
                    service.registerService(QStringLiteral("org.freedesktop.FileManager1")));
        auto fallback = std::make_unique<RecordingViewer>(fallbackWorks);
        RecordingViewer* seen = fallback.get();
        QVERIFY(onBus || !QDBusConnection::sessionBus().isConnected());
        DBusFileViewer viewer(onBus ? connect() : QDBusConnection::sessionBus(), std::move(fallback));
        QSignalSpy finished(&viewer, &DBusFileViewer::requestFinished);
        int failures = 0;
        QVERIFY(!viewer.showItemsReportingFailure({}, [&failures] { ++failures; }) && failures == 1);

        const QList<QByteArray> paths{"/data/caf\xe9 1.jpg", "/data/Album"};
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(viewer.showItemsReportingFailure(paths, [&failures] { ++failures; }),
                 onBus || fallbackWorks);
        QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
        // Without a bus the fallback runs at once; on a bus only when the answer is known.
        QCOMPARE(seen->calls.isEmpty(), onBus);
        if (onBus)
            QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, DBusFileViewer::kTimeoutMs + 3000);
        QVERIFY(timer.elapsed() >= minMs);
        QCOMPARE(seen->calls, shown ? QList<QList<QByteArray>>() : QList<QList<QByteArray>>{paths});
        QTest::qWait(20);
        QCOMPARE(failures, fallbackWorks ? 1 : 2);
        if (mode >= 0)
            QCOMPARE(manager.received,
                     QList<QStringList>({{"file:///data/caf%E9%201.jpg", "file:///data/Album"}}));
    }
};

QUILLON_GUI_TEST_MAIN(TestFileViewer)
#include "tst_fileviewer.moc"
