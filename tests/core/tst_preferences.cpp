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

namespace {

using L = QStringList;
using B = QByteArrayList;

// Records each alert and the exclusion list stored when it came up, so a test can tell whether
// the list was written before or after the user dismissed it.
struct RecordingAlerts : AlertPresenter
{
    explicit RecordingAlerts(Settings& settings) : settings(settings) {}
    int runModal(const Alert& alert) override
    {
        alerts.append(alert);
        storedAtAlert.append(settings.excludedFolders());
        return 0;
    }
    Settings& settings;
    QList<Alert> alerts;
    QList<QStringList> storedAtAlert;
};

} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    Settings& settings() const { return m_tree->settings(); }

private Q_SLOTS:
    // A settings file of its own for each case.
    void initTestCase() { Settings::registereUserDefaults(); }
    void init() { m_tree = std::make_unique<TestSupport::TestTree>(); }

    // The window keeps its top edge and horizontal centre; the larger change sets the duration.
    void resizeGeometry()
    {
        using namespace PreferencesWindowGeometry;
        QCOMPARE(resizeAnimationDuration(QSize(400, 200), QSize(400, 800)), 0.3f);
        QCOMPARE(resizeAnimationDuration(QSize(100, 100), QSize(500, 200)), 0.2f);
        QCOMPARE(contentRectKeepingTopAndCentre(QRect(100, 50, 100, 100), QSize(500, 200)),
                 QRect(-100, 50, 500, 200));
        QCOMPARE(contentRectKeepingTopAndCentre(QRect(), QSize(500, 1000)), QRect(-250, 0, 500, 1000));
    }

    // Every key of the pane is stored explicitly, also those never stored before, before the one
    // notification (the exclusion list follows it); other keys stay.
    void resetWritesEveryKey()
    {
        Settings& s = settings();
        s.setValue(Settings::kAppVersion, QStringLiteral("2.5"));
        s.setValue(Settings::kMinimumFileSize, 3);
        QList<quint64> bytesAtNotification;
        QObject receiver;
        connect(&PreferencesNotifier::instance(), &PreferencesNotifier::preferencesResetToDefaults, &receiver,
                [&] { bytesAtNotification << s.minimumFileSizeInBytes(); });
        GeneralPreferences::resetDefaultSetiing(s);
        QCOMPARE(bytesAtNotification, QList<quint64>{10 * 1024});
        for (const QString& key :
             {Settings::kDoNotShowConfirmationDialogOnTrash, Settings::kDoNotShowAutoMarkDialog,
              Settings::kAutoSelectOption, Settings::kMinimumFileSize, Settings::kFileSizeUnit,
              Settings::kAutoMarkPhotos, Settings::kExcludedFolders})
            QVERIFY2(m_tree->storedValue(key).isValid(), qPrintable(key));
        QCOMPARE(m_tree->storedValue(Settings::kAppVersion).toString(), QStringLiteral("2.5"));
    }

    // Only the database file goes; a failure is only logged and leaves a folder in place.
    void clearCache()
    {
        const QByteArray db = m_tree->path("Quillon.db");
        QVERIFY(TestSupport::writeFile(db, "x") && TestSupport::writeFile(db + "-journal", "x"));
        QVERIFY(GeneralPreferences::clearCache(db) && !QFileInfo::exists(db) &&
                QFileInfo::exists(db + "-journal"));
        // A failure is only logged, and never takes a folder at the path.
        QVERIFY(TestSupport::makeDir(db + "/inside"));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression("^Cannot remove the cache database .+: .+"));
        QVERIFY(!GeneralPreferences::clearCache(db) && QFileInfo::exists(db + "/inside"));
    }

    void addFolders_data()
    {
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<B>("scanList");
        QTest::addColumn<QStringList>("selection");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("alert"); // empty: none; "dup", "scan", "both" or "trash"
        const QString trash = QString::fromUtf8(Platform::userTrashFolders().first()) + "/files/old";
        QTest::newRow("one of three listed")
            << L{"/d/a"} << B{} << L{"/d/b", "/d/a", "/d/c"} << L{"/d/a", "/d/b", "/d/c"} << "dup";
        QTest::newRow("ancestor, other case")
            << L{} << B{"/srv/x", "/Home/U/Photos"} << L{"/HOME/u"} << L{} << "scan";
        QTest::newRow("both refusals, one added")
            << L{"/e"} << B{"/s"} << L{"/s", "/e", "/new"} << L{"/e", "/new"} << "both";
        QTest::newRow("trash item first")
            << L{"/keep"} << B{} << L{trash, "/d/fine"} << L{"/keep"} << "trash";
        QTest::newRow("trash item not first")
            << L{} << B{} << L{"/d/fine", trash} << L{"/d/fine", trash} << "";
    }
    void addFolders()
    {
        QFETCH(QStringList, listed);
        QFETCH(QByteArrayList, scanList);
        QFETCH(QStringList, selection);
        QFETCH(QStringList, expected);
        QFETCH(QString, alert);
        const QHash<QString, Alert> alertFor{
            {"dup", {ExclusionList::kAlreadyListedTitle, ExclusionList::kAlreadyListedText}},
            {"scan", {ExclusionList::kCannotExcludeTitle, ExclusionList::kInScanListText}},
            {"both",
             {ExclusionList::kCannotExcludeBothTitle, ExclusionList::kInScanListText}}}; // Trash: empty
        settings().setExcludedFolders(listed);
        RecordingAlerts alerts(settings());
        ExclusionList list(settings(), alerts, [&] { return scanList; });

        QCOMPARE(list.addFolderToExclude(selection), int(expected.size() - listed.size()));
        QCOMPARE(list.arrExclude(), expected);
        QCOMPARE(alerts.alerts, alert.isEmpty() ? QList<Alert>{} : QList<Alert>{alertFor.value(alert)});
        if (!alert.isEmpty() && alert != "trash") // the list is written only once the alert is gone
            QCOMPARE(alerts.storedAtAlert, QList<QStringList>{listed});
        QCOMPARE(m_tree->storedValue(Settings::kExcludedFolders).toStringList(), expected);
    }

    // The table follows additions, removals and a reset posted from another thread, which
    // reaches the list in its own thread.
    void tableFollowsList()
    {
        settings().setExcludedFolders({"/one", "/two"});
        ScriptedAlertPresenter alerts;
        ExclusionList list(settings(), alerts, {});
        ExclusionTableModel model(&list);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.addFolderToExclude({"/three"});
        QVERIFY(list.deleteFolderPath(0) && !list.deleteFolderPath(2) && !list.deleteFolderPath(-1));
        QCOMPARE(model.index(1, 0).data().toString(), QStringLiteral("/three"));
        QThread* seenIn = nullptr;
        connect(&list, &ExclusionList::listChanged, this, [&] { seenIn = QThread::currentThread(); });
        std::unique_ptr<QThread> worker(QThread::create([&] {
            settings().setExcludedFolders({"/from", "/a", "/worker"});
            PreferencesNotifier::instance().postPreferencesResetToDefaults();
        }));
        worker->start();
        QVERIFY(worker->wait(5000));
        QTRY_COMPARE(model.rowCount(), 3);
        QCOMPARE(model.index(0, 0).data().toString(), QStringLiteral("/from"));
        QCOMPARE(seenIn, QThread::currentThread());
    }
};

QUILLON_TEST_MAIN(TestPreferences)
#include "tst_preferences.moc"
