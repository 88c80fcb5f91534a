#include <QApplication>

#include "platform/DBusFileViewer.h"
#include "platform/Platform.h"
#include "support/TestMain.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QUrl>

namespace {

// Stands in for xdg-open and records what it was asked to show.
class RecordingViewer : public FileViewer
{
public:
    bool showItems(const QList<QByteArray>& paths) override
    {
        calls.append(paths);
        return true;
    }
    QList<QList<QByteArray>> calls;
};

// A file manager on a private bus: answers, fails or never answers.
class FakeFileManager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    enum class Mode { Answer, Fail, Silent };
    Mode mode = Mode::Answer;
    QList<QStringList> received;
    QStringList startupIds;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& startupId)
    {
        received.append(uris);
        startupIds.append(startupId);
        if (mode == Mode::Fail)
            sendErrorReply(QDBusError::Failed, QStringLiteral("cannot show"));
        else if (mode == Mode::Silent)
            setDelayedReply(true); // and never reply
    }
};

// No service directories: nothing can be activated on this bus.
const QByteArray kBusConfig =
    "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\"\n"
    " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
    "<busconfig>\n"
    "  <type>session</type>\n"
    "  <listen>unix:tmpdir=/tmp</listen>\n"
    "  <auth>EXTERNAL</auth>\n"
    "  <policy context=\"default\">\n"
    "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
    "    <allow eavesdrop=\"true\"/>\n"
    "    <allow own=\"*\"/>\n"
    "  </policy>\n"
    "</busconfig>\n";

} // namespace

class TestFileViewer : public QObject
{
    Q_OBJECT

    QProcess m_daemon;
    QString m_address;
    int m_connections = 0;

    // A private bus with no service activation, so no real file manager can ever start.
    bool startPrivateBus()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty())
            return false;
        const QString config = QFile::decodeName(TestSupport::testHome()) + QStringLiteral("/bus.conf");
        QFile f(config);
        if (!f.open(QIODevice::WriteOnly) || f.write(kBusConfig) != kBusConfig.size())
            return false;
        f.close();
        m_daemon.start(daemon, {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                                QStringLiteral("--print-address=1")});
        if (!m_daemon.waitForStarted(5000))
            return false;
        QElapsedTimer timer;
        timer.start();
        while (!m_daemon.canReadLine() && timer.elapsed() < 5000)
            m_daemon.waitForReadyRead(200);
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        return !m_address.isEmpty();
    }

    QDBusConnection connect()
    {
        return QDBusConnection::connectToBus(m_address, QStringLiteral("conn%1").arg(++m_connections));
    }

    struct Setup
    {
        std::unique_ptr<FakeFileManager> manager;
        QDBusConnection service{QString()};
        RecordingViewer* fallback = nullptr;
        std::unique_ptr<DBusFileViewer> viewer;
    };
    Setup m_s;

    // The viewer on one connection, the fake file manager (when given) on another.
    Setup* setUp(std::optional<FakeFileManager::Mode> managerMode)
    {
        if (m_address.isEmpty())
            return nullptr;
        Setup& s = m_s;
        if (managerMode) {
            s.service = connect();
            s.manager = std::make_unique<FakeFileManager>();
            s.manager->mode = *managerMode;
            if (!s.service.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), s.manager.get(),
                                          QDBusConnection::ExportAllSlots) ||
                !s.service.registerService(QStringLiteral("org.freedesktop.FileManager1")))
                return nullptr;
        }
        auto fallback = std::make_unique<RecordingViewer>();
        s.fallback = fallback.get();
        const QDBusConnection client = connect();
        if (!client.isConnected())
            return nullptr;
        s.viewer = std::make_unique<DBusFileViewer>(client, std::move(fallback));
        return &s;
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Never the desktop's own bus or file manager: the bus tests run on a private daemon.
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DBUS_STARTER_ADDRESS");
        qunsetenv("DISPLAY");
        if (!startPrivateBus())
            qWarning("no private D-Bus daemon; the bus tests are skipped");
    }

    void cleanup()
    {
        if (m_s.manager) {
            m_s.service.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
            m_s.service.unregisterObject(QStringLiteral("/org/freedesktop/FileManager1"));
            QDBusConnection::disconnectFromBus(m_s.service.name());
        }
        m_s = Setup();
    }

    void cleanupTestCase()
    {
        if (m_daemon.state() != QProcess::NotRunning) {
            m_daemon.terminate();
            if (!m_daemon.waitForFinished(3000))
                m_daemon.kill();
        }
    }

    void itemUris_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QString>("uri");
        QTest::newRow("plain") << QByteArray("/home/u/a.jpg") << "file:///home/u/a.jpg";
        QTest::newRow("space and hash")
            << QByteArray("/d/My #1 photo.jpg") << "file:///d/My%20%231%20photo.jpg";
        QTest::newRow("utf-8") << QByteArray("/d/caf\xc3\xa9.jpg") << "file:///d/caf%C3%A9.jpg";
        QTest::newRow("not utf-8") << QByteArray("/d/caf\xe9.jpg") << "file:///d/caf%E9.jpg";
        QTest::newRow("percent") << QByteArray("/d/50%.txt") << "file:///d/50%25.txt";
    }
    void itemUris()
    {
        QFETCH(QByteArray, path);
        QFETCH(QString, uri);
        QCOMPARE(DBusFileViewer::itemUris({path}), QStringList{uri});
        // The file manager decodes it back to exactly the same bytes.
        QVERIFY(QUrl(uri, QUrl::StrictMode).isValid());
        QVERIFY(QUrl(uri).fragment().isEmpty() && QUrl(uri).query().isEmpty());
        QCOMPARE(QByteArray::fromPercentEncoding(QUrl(uri).path(QUrl::FullyEncoded).toLatin1()), path);
    }

    void relativeAndEmptyPaths()
    {
        const QStringList uris = DBusFileViewer::itemUris({"rel/x.jpg", QByteArray()});
        QCOMPARE(uris.size(), 1);
        QVERIFY(uris.first().startsWith(QStringLiteral("file:///")));
        QVERIFY(uris.first().endsWith(QStringLiteral("/rel/x.jpg")));

        auto fallback = std::make_unique<RecordingViewer>();
        RecordingViewer* seen = fallback.get();
        DBusFileViewer viewer(QDBusConnection(QStringLiteral("never-connected")), std::move(fallback));
        QVERIFY(!viewer.showItems({}));
        QVERIFY(seen->calls.isEmpty());
    }

    void withoutSessionBusFallsBackAtOnce()
    {
        auto fallback = std::make_unique<RecordingViewer>();
        RecordingViewer* seen = fallback.get();
        QElapsedTimer timer;
        timer.start();
        DBusFileViewer viewer(QDBusConnection::sessionBus(), std::move(fallback));
        QSignalSpy finished(&viewer, &DBusFileViewer::requestFinished);
        QVERIFY(!QDBusConnection::sessionBus().isConnected());
        const QList<QByteArray> paths{"/data/a \xff.jpg", "/data/b.jpg"};
        QVERIFY(viewer.showItems(paths));
        QVERIFY2(timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(seen->calls, QList<QList<QByteArray>>{paths});
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first().first().toBool(), false);
    }

    void fileManagerShowsItems()
    {
        Setup* s = setUp(FakeFileManager::Mode::Answer);
        if (!s)
            QSKIP("no private D-Bus daemon");
        QSignalSpy finished(s->viewer.get(), &DBusFileViewer::requestFinished);
        QVERIFY(s->viewer->showItems({"/data/caf\xe9 1.jpg", "/data/Album"}));
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(finished.first().first().toBool(), true);
        const QStringList expected{QStringLiteral("file:///data/caf%E9%201.jpg"),
                                   QStringLiteral("file:///data/Album")};
        QCOMPARE(s->manager->received, QList<QStringList>{expected});
        QCOMPARE(s->manager->startupIds, QStringList{QString()});
        QVERIFY(s->fallback->calls.isEmpty());
    }

    void failuresFallBack_data()
    {
        QTest::addColumn<int>("mode"); // -1: no file manager on the bus
        QTest::addColumn<int>("minMs");
        QTest::newRow("no file manager") << -1 << 0;
        QTest::newRow("file manager fails") << int(FakeFileManager::Mode::Fail) << 0;
        QTest::newRow("file manager never answers")
            << int(FakeFileManager::Mode::Silent) << DBusFileViewer::kTimeoutMs - 200;
    }
    void failuresFallBack()
    {
        QFETCH(int, mode);
        QFETCH(int, minMs);
        Setup* s = setUp(mode < 0 ? std::nullopt
                                  : std::optional<FakeFileManager::Mode>(FakeFileManager::Mode(mode)));
        if (!s)
            QSKIP("no private D-Bus daemon");
        QSignalSpy finished(s->viewer.get(), &DBusFileViewer::requestFinished);
        const QList<QByteArray> paths{"/data/x.jpg"};
        QElapsedTimer timer;
        timer.start();
        QVERIFY(s->viewer->showItems(paths));
        // The caller (the window) never waits for the bus.
        QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(s->fallback->calls.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, DBusFileViewer::kTimeoutMs + 3000);
        QVERIFY(timer.elapsed() >= minMs);
        QCOMPARE(finished.first().first().toBool(), false);
        QCOMPARE(s->fallback->calls, QList<QList<QByteArray>>{paths});
    }
};

QUILLON_GUI_TEST_MAIN(TestFileViewer)
#include "tst_fileviewer.moc"
