#include "app/Settings.h"
#include "platform/Platform.h"
#include "preferences/ExclusionList.h"
#include "preferences/ExclusionTableModel.h"
#include "preferences/GeneralPreferences.h"
#include "preferences/PreferencesNotifier.h"
#include "preferences/PreferencesWindowGeometry.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QAbstractItemModelTester>
#include <QRegularExpression>
#include <QSignalSpy>
#include <memory>

namespace {

using L = QStringList;

// Records each alert and what the settings held when it came up, so a test can tell whether
// the list was written before or after the user dismissed it.
class RecordingAlerts : public AlertPresenter
{
public:
    explicit RecordingAlerts(Settings& settings) : m_settings(settings) {}
    int runModal(const Alert& alert) override
    {
        alerts.append(alert);
        storedAtAlert.append(m_settings.contains(Settings::kExcludedFolders) ? m_settings.excludedFolders()
                                                                             : L{"<not stored>"});
        return 0;
    }
    QList<Alert> alerts;
    QList<QStringList> storedAtAlert;

private:
    Settings& m_settings;
};

QString userTrash()
{
    return QString::fromUtf8(Platform::userTrashFolders().first());
}

} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    Settings& settings() const { return m_tree->settings(); }

private Q_SLOTS:
    void initTestCase() { Settings::registereUserDefaults(); }

    // A settings file of its own for each case.
    void init() { m_tree = std::make_unique<TestSupport::TestTree>(); }

    void resizeGeometry_data()
    {
        QTest::addColumn<QRect>("current");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<float>("seconds");
        QTest::addColumn<QRect>("expected"); // keeps the top edge and the horizontal centre
        QTest::newRow("equal sizes") << QRect(10, 20, 400, 300) << QSize(400, 300) << 0.1f
                                     << QRect(10, 20, 400, 300);
        QTest::newRow("600 taller") << QRect(100, 50, 400, 200) << QSize(400, 800) << 0.3f
                                    << QRect(100, 50, 400, 800);
        QTest::newRow("600 shorter") << QRect(100, 50, 400, 800) << QSize(400, 200) << 0.3f
                                     << QRect(100, 50, 400, 200);
        QTest::newRow("larger change wins")
            << QRect(100, 50, 100, 100) << QSize(500, 200) << 0.2f << QRect(-100, 50, 500, 200);
        QTest::newRow("from no view")
            << QRect(0, 0, 0, 0) << QSize(500, 1000) << 0.5f << QRect(-250, 0, 500, 1000);
    }
    void resizeGeometry()
    {
        QFETCH(QRect, current);
        QFETCH(QSize, size);
        QFETCH(float, seconds);
        QFETCH(QRect, expected);
        QCOMPARE(PreferencesWindowGeometry::resizeAnimationDuration(current.size(), size), seconds);
        QCOMPARE(PreferencesWindowGeometry::contentRectKeepingTopAndCentre(current, size), expected);
    }

    // Every key of the pane is stored explicitly, also the ones never stored before; the
    // notification comes once and only after the values are in place; other keys stay.
    void resetWritesEveryKey()
    {
        Settings& s = settings();
        s.setValue(Settings::kAppVersion, QStringLiteral("2.5"));
        s.setValue(Settings::kDoNotShowConfirmationDialogOnTrash, true);
        s.setValue(Settings::kAutoSelectOption, 2);
        s.setValue(Settings::kMinimumFileSize, 3);
        s.setValue(Settings::kFileSizeUnit, 1);
        s.setExcludedFolders({});
        // Whatever follows the notification (the exclusion list, see below) sees the new values.
        QList<quint64> bytesAtNotification;
        QObject receiver;
        connect(&PreferencesNotifier::instance(), &PreferencesNotifier::preferencesResetToDefaults, &receiver,
                [&] { bytesAtNotification << s.minimumFileSizeInBytes(); });
        GeneralPreferences::resetDefaultSetiing(s);
        QCOMPARE(bytesAtNotification, QList<quint64>{10 * 1024});

        // Read back from the file, not from the object's cache.
        QSettings reread(m_tree->store().fileName(), QSettings::IniFormat);
        const Settings fromFile(&reread);
        for (const QString& key :
             {Settings::kDoNotShowConfirmationDialogOnTrash, Settings::kDoNotShowAutoMarkDialog,
              Settings::kAutoSelectOption, Settings::kMinimumFileSize, Settings::kFileSizeUnit,
              Settings::kAutoMarkPhotos, Settings::kExcludedFolders}) {
            QVERIFY2(reread.contains(key), qPrintable(key));
            QCOMPARE(fromFile.value(key), Settings::registeredDefaults().value(key));
        }
        QCOMPARE(fromFile.value(Settings::kAppVersion).toString(), QStringLiteral("2.5"));
    }

    // Only the database file goes; a failure is only logged and leaves a folder in place.
    void clearCache_data()
    {
        QTest::addColumn<QString>("present"); // "file", "folder" or nothing
        QTest::newRow("database file") << "file";
        QTest::newRow("missing file") << "";
        QTest::newRow("a folder at the path") << "folder";
    }
    void clearCache()
    {
        QFETCH(QString, present);
        QTemporaryDir dir;
        const QString db = dir.filePath(QStringLiteral("Quillon.db"));
        const QString neighbour = dir.filePath(QStringLiteral("Quillon.db-journal"));
        const auto touch = [](const QString& name) { return QFile(name).open(QIODevice::WriteOnly); };
        QVERIFY(touch(neighbour));
        if (present == "file")
            QVERIFY(touch(db));
        if (present == "folder")
            QVERIFY(QDir().mkpath(db + QStringLiteral("/inside")));
        if (present != "file")
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral(
                                                "^Cannot remove the cache database .*Quillon\\.db: .+")));
        QCOMPARE(GeneralPreferences::clearCache(QFile::encodeName(db)), present == "file");
        QCOMPARE(QFileInfo::exists(db), present == "folder");
        QVERIFY(QFile::exists(neighbour));
    }

    void addFolders_data()
    {
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<QStringList>("scanList");
        QTest::addColumn<QStringList>("selection");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("alert"); // empty: none; "dup", "scan", "both" or "trash"
        const QString trash = userTrash() + "/files/old";
        QTest::newRow("three chosen, one listed") << L{"/data/a"} << L{} << L{"/data/b", "/data/a", "/data/c"}
                                                  << L{"/data/a", "/data/b", "/data/c"} << "dup";
        QTest::newRow("ancestor in other case")
            << L{} << L{"/srv/x", "/Home/U/Photos"} << L{"/HOME/u"} << L{} << "scan";
        QTest::newRow("subfolder of a scanned folder")
            << L{} << L{"/home/u/Photos"} << L{"/home/u/Photos/Raw"} << L{"/home/u/Photos/Raw"} << "";
        QTest::newRow("name prefix of a scanned folder")
            << L{} << L{"/x/Documents"} << L{"/x/Doc"} << L{} << "scan";
        QTest::newRow("longer sibling name")
            << L{} << L{"/x/Doc"} << L{"/x/Documents"} << L{"/x/Documents"} << "";
        QTest::newRow("listed in other case")
            << L{"/data/Music"} << L{} << L{"/data/music"} << L{"/data/Music", "/data/music"} << "";
        QTest::newRow("both refusals, one added")
            << L{"/e"} << L{"/s"} << L{"/s", "/e", "/new"} << L{"/e", "/new"} << "both";
        QTest::newRow("same folder twice in one choice") << L{} << L{} << L{"/n", "/n"} << L{"/n"} << "dup";
        QTest::newRow("trash item first")
            << L{"/keep"} << L{} << L{trash, "/data/fine"} << L{"/keep"} << "trash";
        QTest::newRow("trash item not first")
            << L{} << L{} << L{"/data/fine", trash} << L{"/data/fine", trash} << "";
    }
    void addFolders()
    {
        QFETCH(QStringList, listed);
        QFETCH(QStringList, scanList);
        QFETCH(QStringList, selection);
        QFETCH(QStringList, expected);
        QFETCH(QString, alert);
        const QHash<QString, Alert> alertFor{
            {"dup", {ExclusionList::kAlreadyListedTitle, ExclusionList::kAlreadyListedText}},
            {"scan", {ExclusionList::kCannotExcludeTitle, ExclusionList::kInScanListText}},
            {"both", {ExclusionList::kCannotExcludeBothTitle, ExclusionList::kInScanListText}},
            {"trash", {QString(), QString()}}};
        settings().setExcludedFolders(listed);
        RecordingAlerts alerts(settings());
        QList<QByteArray> scanPaths;
        for (const QString& path : scanList)
            scanPaths << path.toUtf8();
        ExclusionList list(settings(), alerts, [&] { return scanPaths; });

        QCOMPARE(list.addFolderToExclude(selection), int(expected.size() - listed.size()));
        QCOMPARE(list.arrExclude(), expected);
        QCOMPARE(alerts.alerts, alert.isEmpty() ? QList<Alert>{} : QList<Alert>{alertFor.value(alert)});
        if (!alert.isEmpty() && alert != "trash") // the list is written only once the alert is gone
            QCOMPARE(alerts.storedAtAlert, QList<QStringList>{listed});
        QSettings reread(m_tree->store().fileName(), QSettings::IniFormat);
        QCOMPARE(Settings(&reread).excludedFolders(), expected);
    }

    // A refused choice still rewrites the list; a Trash refusal and an empty choice do not.
    void addWritesEvenWhenNothingAdded()
    {
        RecordingAlerts alerts(settings());
        ExclusionList list(settings(), alerts, [] { return QList<QByteArray>{"/s"}; });
        QCOMPARE(list.addFolderToExclude({}), 0);
        QCOMPARE(list.addFolderToExclude({userTrash() + "/files/x"}), 0);
        QVERIFY(!settings().contains(Settings::kExcludedFolders));
        QCOMPARE(list.addFolderToExclude({"/s"}), 0);
        QVERIFY(settings().contains(Settings::kExcludedFolders));
        QCOMPARE(settings().excludedFolders(), Settings::getExcludedFolders());
    }

    void remove_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QStringList>("expected"); // empty: nothing removed
        QTest::newRow("no selection") << -1 << L{};
        QTest::newRow("past the end") << 3 << L{};
        QTest::newRow("middle") << 1 << L{"/a", "/c"};
    }
    void remove()
    {
        QFETCH(int, row);
        QFETCH(QStringList, expected);
        settings().setExcludedFolders({"/a", "/b", "/c"});
        ScriptedAlertPresenter alerts;
        ExclusionList list(settings(), alerts, {});
        m_tree->store().remove(Settings::kExcludedFolders); // so that any rewrite shows
        QSignalSpy changed(&list, &ExclusionList::listChanged);

        const bool removed = !expected.isEmpty();
        QCOMPARE(list.deleteFolderPath(row), removed);
        QCOMPARE(list.arrExclude(), removed ? expected : (L{"/a", "/b", "/c"}));
        QCOMPARE(changed.count(), removed ? 1 : 0);
        QCOMPARE(settings().contains(Settings::kExcludedFolders), removed);
        if (removed)
            QCOMPARE(settings().excludedFolders(), expected);
    }

    // The table shows full paths and follows additions, removals and a reset.
    void tableFollowsList()
    {
        const QString deep = QStringLiteral("/a very/long path/ünïcödé/%1/end").arg(QString(40, 'x'));
        settings().setExcludedFolders({"/one", deep});
        ScriptedAlertPresenter alerts;
        ExclusionList list(settings(), alerts, {});
        ExclusionTableModel model(&list);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.index(1, 0).data().toString(), deep);
        list.addFolderToExclude({"/two"});
        QCOMPARE(model.index(2, 0).data().toString(), QStringLiteral("/two"));
        list.deleteFolderPath(0);
        QCOMPARE(model.index(0, 0).data().toString(), deep);

        GeneralPreferences::resetDefaultSetiing(settings());
        QCOMPARE(list.arrExclude(), Settings::getExcludedFolders());
        QCOMPARE(model.rowCount(), int(Settings::getExcludedFolders().size()));
        QCOMPARE(model.index(0, 0).data().toString(), Settings::getExcludedFolders().first());
    }

    // A reset posted from another thread reaches the list in its own thread.
    void resetFromAnotherThread()
    {
        settings().setExcludedFolders({"/only"});
        ScriptedAlertPresenter alerts;
        ExclusionList list(settings(), alerts, {});
        QThread* mainThread = QThread::currentThread();
        QThread* seenIn = nullptr;
        connect(&list, &ExclusionList::listChanged, this, [&] { seenIn = QThread::currentThread(); });
        std::unique_ptr<QThread> worker(QThread::create([&] {
            settings().setExcludedFolders({"/from", "/worker"});
            PreferencesNotifier::instance().postPreferencesResetToDefaults();
        }));
        worker->start();
        QVERIFY(worker->wait(5000));
        QTRY_COMPARE(list.arrExclude(), (QStringList{"/from", "/worker"}));
        QCOMPARE(seenIn, mainThread);
    }
};

QUILLON_TEST_MAIN(TestPreferences)
#include "tst_preferences.moc"
