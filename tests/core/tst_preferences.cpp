#include "app/Settings.h"
#include "platform/Platform.h"
#include "preferences/ExclusionList.h"
#include "preferences/ExclusionTableModel.h"
#include "preferences/GeneralPreferences.h"
#include "preferences/PreferencesNotifier.h"
#include "preferences/PreferencesWindowGeometry.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"

#include <QAbstractItemModelTester>
#include <QRegularExpression>
#include <QSignalSpy>
#include <memory>

namespace {

// Remembers what the settings held when each alert came up, so a test can tell whether the
// list was written before or after the user dismissed it.
class RecordingAlerts : public AlertPresenter
{
public:
    explicit RecordingAlerts(Settings* settings) : m_settings(settings) {}
    int runModal(const Alert& alert) override
    {
        alerts.append(alert);
        storedAtAlert.append(m_settings->contains(Settings::kExcludedFolders)
                                 ? m_settings->excludedFolders()
                                 : QStringList{QStringLiteral("<not stored>")});
        return 0;
    }
    QList<Alert> alerts;
    QList<QStringList> storedAtAlert;

private:
    Settings* m_settings;
};

QList<QByteArray> toBytes(const QStringList& paths)
{
    QList<QByteArray> out;
    for (const QString& p : paths)
        out.append(p.toUtf8());
    return out;
}

QString userTrash()
{
    return QString::fromUtf8(Platform::userTrashFolders().first());
}

} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<Settings> m_settings;

private Q_SLOTS:
    void initTestCase() { Settings::registereUserDefaults(); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_store = std::make_unique<QSettings>(m_dir->filePath(QStringLiteral("settings.ini")),
                                              QSettings::IniFormat);
        m_settings = std::make_unique<Settings>(m_store.get());
    }

    void cleanup()
    {
        m_settings.reset();
        m_store.reset();
        m_dir.reset();
    }

    void resizeDuration_data()
    {
        QTest::addColumn<QSizeF>("from");
        QTest::addColumn<QSizeF>("to");
        QTest::addColumn<float>("seconds");
        QTest::newRow("equal sizes") << QSizeF(400, 300) << QSizeF(400, 300) << 0.1f;
        QTest::newRow("600 taller") << QSizeF(400, 200) << QSizeF(400, 800) << 0.3f;
        QTest::newRow("600 shorter") << QSizeF(400, 800) << QSizeF(400, 200) << 0.3f;
        QTest::newRow("200 wider") << QSizeF(300, 300) << QSizeF(500, 300) << 0.1f;
        QTest::newRow("150 either way") << QSizeF(300, 450) << QSizeF(450, 300) << 0.1f;
        QTest::newRow("300 wider") << QSizeF(100, 100) << QSizeF(400, 100) << 0.15f;
        QTest::newRow("larger change wins") << QSizeF(100, 100) << QSizeF(500, 200) << 0.2f;
        QTest::newRow("from no view") << QSizeF(0, 0) << QSizeF(500, 1000) << 0.5f;
    }
    void resizeDuration()
    {
        QFETCH(QSizeF, from);
        QFETCH(QSizeF, to);
        QFETCH(float, seconds);
        QCOMPARE(PreferencesWindowGeometry::resizeAnimationDuration(from, to), seconds);
    }

    void resizeKeepsTopAndCentre_data()
    {
        QTest::addColumn<QRect>("current");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QRect>("expected");
        QTest::newRow("grow") << QRect(100, 50, 400, 300) << QSize(600, 500) << QRect(0, 50, 600, 500);
        QTest::newRow("shrink") << QRect(100, 50, 400, 300) << QSize(200, 100) << QRect(200, 50, 200, 100);
        QTest::newRow("same") << QRect(10, 20, 30, 40) << QSize(30, 40) << QRect(10, 20, 30, 40);
        QTest::newRow("height only") << QRect(10, 20, 300, 40) << QSize(300, 400) << QRect(10, 20, 300, 400);
    }
    void resizeKeepsTopAndCentre()
    {
        QFETCH(QRect, current);
        QFETCH(QSize, size);
        QFETCH(QRect, expected);
        const QRect r = PreferencesWindowGeometry::contentRectKeepingTopAndCentre(current, size);
        QCOMPARE(r, expected);
        QCOMPARE(r.top(), current.top());
        QCOMPARE(r.x() * 2 + r.width(), current.x() * 2 + current.width());
    }

    // Every key of the pane is stored explicitly (also where nothing was stored before), the
    // notification comes once and only after the values are in place, other keys stay.
    void resetWritesEveryKey_data()
    {
        QTest::addColumn<bool>("customizedFirst");
        QTest::newRow("nothing stored before") << false;
        QTest::newRow("every value changed before") << true;
    }
    void resetWritesEveryKey()
    {
        QFETCH(bool, customizedFirst);
        Settings& s = *m_settings;
        s.setValue(Settings::kAppVersion, QStringLiteral("2.5"));
        s.setValue(Settings::kIncludeEditedCopies, true);
        if (customizedFirst) {
            s.setValue(Settings::kDoNotShowConfirmationDialogOnTrash, true);
            s.setValue(Settings::kDoNotShowAutoMarkDialog, true);
            s.setValue(Settings::kAutoSelectOption, 2);
            s.setValue(Settings::kMinimumFileSize, 3);
            s.setValue(Settings::kFileSizeUnit, 1);
            s.setValue(Settings::kAutoMarkPhotos, true);
            s.setExcludedFolders({});
        }

        QSignalSpy spy(&PreferencesNotifier::instance(), &PreferencesNotifier::preferencesResetToDefaults);
        quint64 bytesSeenByReceiver = 0;
        QStringList excludedSeenByReceiver;
        const auto connection = QObject::connect(&PreferencesNotifier::instance(),
                                                 &PreferencesNotifier::preferencesResetToDefaults, [&] {
                                                     bytesSeenByReceiver = s.minimumFileSizeInBytes();
                                                     excludedSeenByReceiver = s.excludedFolders();
                                                 });
        GeneralPreferences::resetDefaultSetiing(s);
        QObject::disconnect(connection);

        QCOMPARE(spy.count(), 1);
        QCOMPARE(bytesSeenByReceiver, quint64(10 * 1024));
        QCOMPARE(excludedSeenByReceiver, Settings::getExcludedFolders());

        // Read back from the file, not from the object's cache.
        QSettings reread(m_store->fileName(), QSettings::IniFormat);
        for (const QString& key :
             {Settings::kDoNotShowConfirmationDialogOnTrash, Settings::kDoNotShowAutoMarkDialog,
              Settings::kAutoSelectOption, Settings::kMinimumFileSize, Settings::kFileSizeUnit,
              Settings::kAutoMarkPhotos, Settings::kExcludedFolders})
            QVERIFY2(reread.contains(key), qPrintable(key));
        Settings fromFile(&reread);
        QCOMPARE(fromFile.doNotShowConfirmationDialogOnTrash(), false);
        QCOMPARE(fromFile.doNotShowAutoMarkDialog(), false);
        QCOMPARE(fromFile.autoSelectOption(), 1);
        QCOMPARE(fromFile.minimumFileSize(), qint64(10));
        QCOMPARE(fromFile.fileSizeUnit(), 0);
        QCOMPARE(fromFile.autoMarkPhotos(), false);
        QCOMPARE(fromFile.excludedFolders(), Settings::getExcludedFolders());
        QCOMPARE(fromFile.value(Settings::kAppVersion).toString(), QStringLiteral("2.5"));
        QCOMPARE(fromFile.value(Settings::kIncludeEditedCopies).toBool(), true);
        QVERIFY(!reread.contains(Settings::kSelectedPreferencesItem));
    }

    void clearCacheRemovesOnlyTheDatabase()
    {
        const QString db = m_dir->filePath(QStringLiteral("Quillon.db"));
        const QString neighbour = m_dir->filePath(QStringLiteral("Quillon.db-journal"));
        for (const QString& name : {db, neighbour}) {
            QFile f(name);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("x");
        }
        QVERIFY(GeneralPreferences::clearCache(QFile::encodeName(db)));
        QVERIFY(!QFile::exists(db));
        QVERIFY(QFile::exists(neighbour));
    }

    void clearCacheFailuresAreOnlyLogged_data()
    {
        QTest::addColumn<bool>("makeFolder");
        QTest::newRow("missing file") << false;
        QTest::newRow("a folder at the path") << true;
    }
    void clearCacheFailuresAreOnlyLogged()
    {
        QFETCH(bool, makeFolder);
        const QString db = m_dir->filePath(QStringLiteral("Quillon.db"));
        if (makeFolder) {
            QVERIFY(QDir().mkpath(db + QStringLiteral("/inside")));
        }
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral(
                                            "^Cannot remove the cache database .*Quillon\\.db: .+")));
        QVERIFY(!GeneralPreferences::clearCache(QFile::encodeName(db)));
        if (makeFolder)
            QVERIFY(QFileInfo(db + QStringLiteral("/inside")).isDir());
    }

    void addFolders_data()
    {
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<QStringList>("scanList");
        QTest::addColumn<QStringList>("selection");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("alertTitle"); // null: no alert
        QTest::addColumn<QString>("alertText");

        const QString noAlert;
        const QString inScan = ExclusionList::kInScanListText;
        const QString dupText = ExclusionList::kAlreadyListedText;
        QTest::newRow("three chosen, one listed")
            << QStringList{"/data/a"} << QStringList{} << QStringList{"/data/b", "/data/a", "/data/c"}
            << QStringList{"/data/a", "/data/b", "/data/c"} << ExclusionList::kAlreadyListedTitle << dupText;
        QTest::newRow("the scanned folder itself")
            << QStringList{} << QStringList{"/home/u/Photos"} << QStringList{"/home/u/Photos"}
            << QStringList{} << ExclusionList::kCannotExcludeTitle << inScan;
        QTest::newRow("scanned folder in other case")
            << QStringList{} << QStringList{"/home/u/Photos"} << QStringList{"/home/u/PHOTOS"}
            << QStringList{} << ExclusionList::kCannotExcludeTitle << inScan;
        QTest::newRow("ancestor in other case")
            << QStringList{} << QStringList{"/srv/x", "/Home/U/Photos"} << QStringList{"/HOME/u"}
            << QStringList{} << ExclusionList::kCannotExcludeTitle << inScan;
        QTest::newRow("subfolder of a scanned folder")
            << QStringList{} << QStringList{"/home/u/Photos"} << QStringList{"/home/u/Photos/Raw"}
            << QStringList{"/home/u/Photos/Raw"} << noAlert << noAlert;
        QTest::newRow("name prefix of a scanned folder")
            << QStringList{} << QStringList{"/x/Documents"} << QStringList{"/x/Doc"} << QStringList{}
            << ExclusionList::kCannotExcludeTitle << inScan;
        QTest::newRow("longer sibling name")
            << QStringList{} << QStringList{"/x/Doc"} << QStringList{"/x/Documents"}
            << QStringList{"/x/Documents"} << noAlert << noAlert;
        QTest::newRow("listed in other case")
            << QStringList{"/data/Music"} << QStringList{} << QStringList{"/data/music"}
            << QStringList{"/data/Music", "/data/music"} << noAlert << noAlert;
        QTest::newRow("both refusals, one added")
            << QStringList{"/e"} << QStringList{"/s"} << QStringList{"/s", "/e", "/new"}
            << QStringList{"/e", "/new"} << ExclusionList::kCannotExcludeBothTitle << inScan;
        QTest::newRow("same folder twice in one choice")
            << QStringList{} << QStringList{} << QStringList{"/n", "/n"} << QStringList{"/n"}
            << ExclusionList::kAlreadyListedTitle << dupText;
        QTest::newRow("trash item first")
            << QStringList{"/keep"} << QStringList{} << QStringList{userTrash() + "/files/old", "/data/fine"}
            << QStringList{"/keep"} << QString("") << QString("");
        QTest::newRow("trash folder itself first")
            << QStringList{} << QStringList{} << QStringList{userTrash()} << QStringList{} << QString("")
            << QString("");
        QTest::newRow("trash item not first")
            << QStringList{} << QStringList{} << QStringList{"/data/fine", userTrash() + "/files/old"}
            << QStringList{"/data/fine", userTrash() + "/files/old"} << noAlert << noAlert;
    }
    void addFolders()
    {
        QFETCH(QStringList, listed);
        QFETCH(QStringList, scanList);
        QFETCH(QStringList, selection);
        QFETCH(QStringList, expected);
        QFETCH(QString, alertTitle);
        QFETCH(QString, alertText);

        m_settings->setExcludedFolders(listed);
        RecordingAlerts alerts(m_settings.get());
        ExclusionList list(*m_settings, alerts, [&] { return toBytes(scanList); });
        QCOMPARE(list.arrExclude(), listed);

        const int added = list.addFolderToExclude(selection);
        const bool trashRefusal = !alertTitle.isNull() && alertTitle.isEmpty();

        QCOMPARE(list.arrExclude(), expected);
        QCOMPARE(added, int(expected.size() - listed.size()));
        if (alertTitle.isNull()) {
            QVERIFY(alerts.alerts.isEmpty());
        } else {
            QCOMPARE(alerts.alerts.size(), 1);
            QCOMPARE(alerts.alerts.first(), (Alert{alertTitle, alertText}));
            if (!trashRefusal) // the list is written only once the alert is gone
                QCOMPARE(alerts.storedAtAlert.first(), listed);
        }
        QSettings reread(m_store->fileName(), QSettings::IniFormat);
        QCOMPARE(Settings(&reread).excludedFolders(), expected);
    }

    // A refused choice still rewrites the list; a Trash refusal and an empty choice do not.
    void addWritesEvenWhenNothingAdded()
    {
        RecordingAlerts alerts(m_settings.get());
        ExclusionList list(*m_settings, alerts, [] { return QList<QByteArray>{"/s"}; });
        QVERIFY(!m_settings->contains(Settings::kExcludedFolders));
        QCOMPARE(list.addFolderToExclude({}), 0);
        QCOMPARE(list.addFolderToExclude({userTrash() + "/files/x"}), 0);
        QVERIFY(!m_settings->contains(Settings::kExcludedFolders));
        QCOMPARE(list.addFolderToExclude({"/s"}), 0);
        QVERIFY(m_settings->contains(Settings::kExcludedFolders));
        QCOMPARE(m_settings->excludedFolders(), Settings::getExcludedFolders());
    }

    void remove_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("no selection") << -1 << QStringList{"/a", "/b", "/c"};
        QTest::newRow("past the end") << 3 << QStringList{"/a", "/b", "/c"};
        QTest::newRow("middle") << 1 << QStringList{"/a", "/c"};
        QTest::newRow("first") << 0 << QStringList{"/b", "/c"};
    }
    void remove()
    {
        QFETCH(int, row);
        QFETCH(QStringList, expected);
        const QStringList initial{"/a", "/b", "/c"};
        m_settings->setExcludedFolders(initial);
        ScriptedAlertPresenter alerts;
        ExclusionList list(*m_settings, alerts, {});
        // With the stored key gone, any rewrite shows.
        m_store->remove(Settings::kExcludedFolders);
        QSignalSpy changed(&list, &ExclusionList::listChanged);

        const bool removed = list.deleteFolderPath(row);
        QCOMPARE(removed, expected != initial);
        QCOMPARE(list.arrExclude(), expected);
        QCOMPARE(changed.count(), removed ? 1 : 0);
        QCOMPARE(m_settings->contains(Settings::kExcludedFolders), removed);
        if (removed)
            QCOMPARE(m_settings->excludedFolders(), expected);
        QVERIFY(alerts.alerts().isEmpty());
    }

    void reloadsOnReset()
    {
        m_settings->setExcludedFolders({"/only"});
        ScriptedAlertPresenter alerts;
        ExclusionList list(*m_settings, alerts, {});
        ExclusionTableModel model(&list);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.rowCount(), 1);

        GeneralPreferences::resetDefaultSetiing(*m_settings);
        QCOMPARE(list.arrExclude(), Settings::getExcludedFolders());
        QCOMPARE(model.rowCount(), int(Settings::getExcludedFolders().size()));
        QCOMPARE(model.index(0, 0).data().toString(), Settings::getExcludedFolders().first());
    }

    void tableShowsFullPaths()
    {
        const QString deep =
            QStringLiteral("/a very/long path/with spaces/and ünïcödé/%1/end").arg(QString(40, 'x'));
        m_settings->setExcludedFolders({"/one", deep});
        ScriptedAlertPresenter alerts;
        ExclusionList list(*m_settings, alerts, {});
        ExclusionTableModel model(&list);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.columnCount(), 1);
        QCOMPARE(model.headerData(0, Qt::Horizontal, ExclusionTableModel::ColumnIdentifierRole).toString(),
                 QStringLiteral("idPath"));
        QCOMPARE(model.index(1, 0).data().toString(), deep);
        list.addFolderToExclude({"/two"});
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(model.index(2, 0).data().toString(), QStringLiteral("/two"));
        list.deleteFolderPath(0);
        QCOMPARE(model.index(0, 0).data().toString(), deep);
    }

    // A reset posted from another thread reaches the list in its own thread.
    void resetFromAnotherThread()
    {
        m_settings->setExcludedFolders({"/only"});
        ScriptedAlertPresenter alerts;
        ExclusionList list(*m_settings, alerts, {});
        QThread* mainThread = QThread::currentThread();
        QThread* seenIn = nullptr;
        connect(&list, &ExclusionList::listChanged, this, [&] { seenIn = QThread::currentThread(); });
        std::unique_ptr<QThread> worker(QThread::create([&] {
            m_settings->setExcludedFolders({"/from", "/worker"});
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
