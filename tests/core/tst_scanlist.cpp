#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "platform/FileViewer.h"
#include "platform/Platform.h"
#include "scan/ScanList.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"
#include "util/PathUtils.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <memory>
#include <sys/stat.h>

namespace {

class RecordingFileViewer : public FileViewer
{
public:
    bool showItems(const QList<QByteArray>& paths) override
    {
        shown += paths;
        return true;
    }
    QList<QByteArray> shown;
};

QList<QByteArray> rowPaths(const ScanList& list)
{
    QList<QByteArray> out;
    for (const FilePathNode& n : list.arrPathNodes())
        out.append(n.filePath);
    return out;
}

} // namespace

class TestScanList : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<Settings> m_settings;
    ScriptedAlertPresenter m_alerts;

    QByteArray root() const { return QFile::encodeName(m_dir->path()); }
    QByteArray p(const QString& name) const { return root() + '/' + QFile::encodeName(name); }
    QByteArray makeDir(const QString& name) const
    {
        QDir().mkpath(m_dir->filePath(name));
        return p(name);
    }
    QByteArray makeFile(const QString& name) const
    {
        QFile f(m_dir->filePath(name));
        f.open(QIODevice::WriteOnly);
        f.write("content");
        return p(name);
    }
    QVariantList savedList() const
    {
        QSettings reread(m_store->fileName(), QSettings::IniFormat);
        return reread.value(Settings::kSavedPaths).toList();
    }
    QList<QByteArray> savedPathsOnDisk() const
    {
        QList<QByteArray> out;
        for (const QVariant& v : savedList())
            out.append(v.toMap().value(QStringLiteral("path")).toByteArray());
        return out;
    }
    // Lets the deferred prompt run, then returns every alert shown so far.
    QList<Alert> settleAlerts()
    {
        QTest::qWait(20);
        return m_alerts.alerts();
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_store = std::make_unique<QSettings>(m_dir->filePath(QStringLiteral("settings.ini")),
                                              QSettings::IniFormat);
        m_settings = std::make_unique<Settings>(m_store.get());
        m_settings->setExcludedFolders({});
        m_alerts.clear();
        AppGlobals::isOSX_7_AndAbove = false;
    }
    void cleanup()
    {
        m_settings.reset();
        m_store.reset();
        m_dir.reset();
        AppGlobals::isOSX_7_AndAbove = false;
    }

    // Adding through the open dialog: each row names folders made in the temporary tree
    // ("x" for a folder to create, "-x" for one already in the list, "!x" for an excluded one).
    void addByDialog_data()
    {
        QTest::addColumn<QStringList>("chosen");
        QTest::addColumn<QStringList>("expectedRows");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("info");
        QTest::addColumn<bool>("preferencesButton");
        const QString present = ScanList::kAlreadyPresentInfo;
        const QString excluded = ScanList::kExcludedInfo;
        QTest::newRow("all new") << QStringList{"a", "b"} << QStringList{"old", "a", "b"} << QString()
                                 << QString() << false;
        QTest::newRow("already present")
            << QStringList{"-old"} << QStringList{"old"} << ScanList::kNoneAddedMessage << present << false;
        QTest::newRow("one new, one present") << QStringList{"a", "-old"} << QStringList{"old", "a"}
                                              << ScanList::kSomeNotAddedMessage << present << false;
        QTest::newRow("excluded only")
            << QStringList{"!ex"} << QStringList{"old"} << ScanList::kNoneAddedMessage << excluded << true;
        QTest::newRow("excluded and new") << QStringList{"!ex", "a"} << QStringList{"old", "a"}
                                          << ScanList::kSomeNotAddedMessage << excluded << true;
        QTest::newRow("below an excluded folder") << QStringList{"!ex/inner"} << QStringList{"old"}
                                                  << ScanList::kNoneAddedMessage << excluded << true;
        QTest::newRow("same folder twice in one choice")
            << QStringList{"a", "a"} << QStringList{"old", "a"} << ScanList::kSomeNotAddedMessage << present
            << false;
    }
    void addByDialog()
    {
        QFETCH(QStringList, chosen);
        QFETCH(QStringList, expectedRows);
        QFETCH(QString, message);
        QFETCH(QString, info);
        QFETCH(bool, preferencesButton);

        m_settings->setExcludedFolders({QString::fromUtf8(p(QStringLiteral("ex")))});
        ScanList list(*m_settings, &m_alerts);
        list.addPathInArrayToScan(makeDir(QStringLiteral("old")));

        QList<QByteArray> paths;
        for (QString name : chosen) {
            if (name.startsWith(QLatin1Char('-')) || name.startsWith(QLatin1Char('!')))
                name.remove(0, 1);
            paths.append(makeDir(name));
        }
        list.selectPathToScan(paths);

        QList<QByteArray> expected;
        for (const QString& name : expectedRows)
            expected.append(p(name));
        QCOMPARE(rowPaths(list), expected);
        QCOMPARE(savedPathsOnDisk(), expected);

        const QList<Alert> alerts = settleAlerts();
        if (message.isEmpty()) {
            QVERIFY(alerts.isEmpty());
            return;
        }
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].messageText, message);
        QCOMPARE(alerts[0].informativeText, info);
        const QStringList buttons =
            preferencesButton ? QStringList{"OK", ScanList::kGoToPreferences} : QStringList{"OK"};
        QCOMPARE(alerts[0].buttons, buttons);
    }

    void dialogStopsAtLibraryRules_data()
    {
        QTest::addColumn<QString>("stopper");
        QTest::addColumn<QString>("message");
        QTest::newRow("migrated library") << "Old.MigratedPhotoLibrary" << ScanList::kMigratedMessage;
        QTest::newRow("second Photos library")
            << "Second.photoslibrary" << ScanList::kOnePhotosLibraryMessage;
    }
    void dialogStopsAtLibraryRules()
    {
        QFETCH(QString, stopper);
        QFETCH(QString, message);
        ScanList list(*m_settings, &m_alerts);
        list.selectPathToScan({makeDir(QStringLiteral("First.photoslibrary"))});
        settleAlerts();
        m_alerts.clear();
        const QList<QByteArray> savedBefore = savedPathsOnDisk();

        list.selectPathToScan({makeDir(QStringLiteral("a")), makeDir(stopper), makeDir(QStringLiteral("b"))});
        // Items before the stopper stay; nothing after it is added and no prompt follows.
        QCOMPARE(rowPaths(list),
                 (QList<QByteArray>{p(QStringLiteral("First.photoslibrary")), p(QStringLiteral("a"))}));
        const QList<Alert> alerts = settleAlerts();
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].messageText, message);
        QCOMPARE(alerts[0].buttons, QStringList{"OK"});
        QCOMPARE(savedPathsOnDisk(), savedBefore);
    }

    void trashAndRoot()
    {
        const QByteArray trash = Platform::userTrashFolders().first() + "/files";
        QVERIFY(QDir().mkpath(QFile::decodeName(trash + "/Old")));
        const QByteArray inTrash = trash + "/Old";
        ScanList list(*m_settings, &m_alerts);

        // From the dialog, the Trash is tested on the first chosen item only.
        list.selectPathToScan({inTrash, makeDir(QStringLiteral("a"))});
        QCOMPARE(list.count(), 0);
        QList<Alert> alerts = settleAlerts();
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].messageText, ScanList::kTrashMessage);
        m_alerts.clear();
        list.selectPathToScan({makeDir(QStringLiteral("a")), inTrash});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{p(QStringLiteral("a")), inTrash}));

        // A drop is never tested against the Trash.
        ScanList dropped(*m_settings, &m_alerts);
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
        dropped.handleFileDragDropNotification({inTrash});
        QCOMPARE(rowPaths(dropped), QList<QByteArray>{inTrash});

        // "/" stands for the home folder, by dialog and by drop.
        ScanList rooted(*m_settings, &m_alerts);
        rooted.selectPathToScan({"/"});
        QCOMPARE(rowPaths(rooted), QList<QByteArray>{Platform::homePath()});
        QTest::ignoreMessage(QtInfoMsg, "path dropped: /");
        m_alerts.clear();
        rooted.handleFileDragDropNotification({"/"});
        alerts = settleAlerts();
        QCOMPARE(rooted.count(), 1);
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].messageText, ScanList::kNoneAddedMessage);
    }

    void dropRules()
    {
        m_settings->setExcludedFolders({QString::fromUtf8(p(QStringLiteral("ex")))});
        ScanList list(*m_settings, &m_alerts);
        const QByteArray a = makeDir(QStringLiteral("a"));
        const QByteArray file = makeFile(QStringLiteral("notes.txt"));
        const QByteArray migrated = makeDir(QStringLiteral("Old.migratedphotolibrary"));
        const QByteArray ex = makeDir(QStringLiteral("ex"));

        QTest::ignoreMessage(QtInfoMsg, QStringLiteral("path dropped: %1, %2")
                                            .arg(QString::fromUtf8(a), QString::fromUtf8(file))
                                            .toUtf8()
                                            .constData());
        list.handleFileDragDropNotification({a, file});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{a, file}));
        QVERIFY(settleAlerts().isEmpty());
        QCOMPARE(savedPathsOnDisk(), (QList<QByteArray>{a, file}));

        // A migrated library is skipped without its own message; an excluded folder prompts.
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
        list.handleFileDragDropNotification({migrated, ex, makeDir(QStringLiteral("b"))});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{a, file, p(QStringLiteral("b"))}));
        QList<Alert> alerts = settleAlerts();
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].messageText, ScanList::kSomeNotAddedMessage);
        QCOMPARE(alerts[0].informativeText, ScanList::kExcludedInfo);
    }

    void onePhotosLibrary()
    {
        ScanList list(*m_settings, &m_alerts);
        const QByteArray first = makeDir(QStringLiteral("First.photoslibrary"));
        const QByteArray second = makeDir(QStringLiteral("Second.PhotosLibrary"));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
        list.handleFileDragDropNotification({first});
        QVERIFY(list.isPhotosLibraryPathAdded());

        // By drop: refused with its own alert instead of the prompt, the list still saved.
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
        list.handleFileDragDropNotification({second, makeDir(QStringLiteral("a"))});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{first, p(QStringLiteral("a"))}));
        QCOMPARE(savedPathsOnDisk(), (QList<QByteArray>{first, p(QStringLiteral("a"))}));
        QList<Alert> alerts = settleAlerts();
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].messageText, ScanList::kOnePhotosLibraryMessage);

        // After the first is removed with its remove button, another is accepted.
        list.deletePathFromTable(0);
        QVERIFY(!list.isPhotosLibraryPathAdded());
        list.selectPathToScan({second});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{p(QStringLiteral("a")), second}));
        QVERIFY(list.isPhotosLibraryPathAdded());

        // The row menu's remove tests the extension exactly, so this one keeps the flag set.
        list.showFileInFinder(ScanList::RemoveRow, 1);
        QCOMPARE(rowPaths(list), QList<QByteArray>{p(QStringLiteral("a"))});
        QVERIFY(list.isPhotosLibraryPathAdded());
        list.showFileInFinder(ScanList::RemoveAll, -1);
        QVERIFY(!list.isPhotosLibraryPathAdded());
    }

    void promptTable_data()
    {
        QTest::addColumn<bool>("exclude");
        QTest::addColumn<bool>("fileAdded");
        QTest::addColumn<bool>("allAdded");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("info");
        QTest::newRow("all added") << false << true << true << QString() << QString();
        QTest::newRow("some present")
            << false << true << false << ScanList::kSomeNotAddedMessage << ScanList::kAlreadyPresentInfo;
        QTest::newRow("none added") << false << false << false << ScanList::kNoneAddedMessage
                                    << ScanList::kAlreadyPresentInfo;
        QTest::newRow("none added, all flag")
            << false << false << true << ScanList::kNoneAddedMessage << ScanList::kAlreadyPresentInfo;
        QTest::newRow("excluded, some added")
            << true << true << true << ScanList::kSomeNotAddedMessage << ScanList::kExcludedInfo;
        QTest::newRow("excluded, none added")
            << true << false << false << ScanList::kNoneAddedMessage << ScanList::kExcludedInfo;
    }
    void promptTable()
    {
        QFETCH(bool, exclude);
        QFETCH(bool, fileAdded);
        QFETCH(bool, allAdded);
        QFETCH(QString, message);
        QFETCH(QString, info);
        ScanList list(*m_settings, &m_alerts);
        QSignalSpy preferences(&list, &ScanList::goToPreferencesRequested);
        const ScanPrompt prompt{exclude, allAdded, fileAdded};

        m_alerts.enqueueAnswer(1);
        list.checkAndShowPrompt_mainThread(prompt);
        if (message.isEmpty()) {
            QVERIFY(m_alerts.alerts().isEmpty());
            return;
        }
        QCOMPARE(m_alerts.alerts().size(), 1);
        const Alert alert = m_alerts.alerts().first();
        QCOMPARE(alert.messageText, message);
        QCOMPARE(alert.informativeText, info);
        QCOMPARE(alert.buttons.size(), exclude ? 2 : 1);
        // The second button of the exclusion prompt leads to the preferences; OK does not.
        QCOMPARE(preferences.count(), exclude ? 1 : 0);
        m_alerts.enqueueAnswer(0);
        list.checkAndShowPrompt_mainThread(prompt);
        QCOMPARE(preferences.count(), exclude ? 1 : 0);
    }

    void ticksAndRowMenu()
    {
        ScanList list(*m_settings, &m_alerts);
        RecordingFileViewer viewer;
        const QList<QByteArray>& shown = viewer.shown;
        list.setFileViewer(&viewer);
        QSignalSpy enabled(&list, &ScanList::scanNowEnabledChanged);
        QVERIFY(!list.isScanNowEnabled());
        const QByteArray a = makeDir(QStringLiteral("a"));
        const QByteArray b = makeDir(QStringLiteral("b"));
        list.selectPathToScan({a, b});
        QVERIFY(list.isScanNowEnabled());

        // Unticking every row by its box disables Scan and saves each change.
        list.selectDeselectPath(0);
        QCOMPARE(savedList().at(0).toMap().value(QStringLiteral("state")).toInt(), 0);
        QVERIFY(list.isScanNowEnabled());
        list.selectDeselectPath(1);
        QVERIFY(!list.isScanNowEnabled());
        list.selectDeselectPath(1);
        QVERIFY(list.isScanNowEnabled());
        QCOMPARE(list.arrPathNodes()[1].state, 1);

        // Tick all / untick all change the rows but are saved only with the next change.
        list.showFileInFinder(ScanList::DeselectAll, -1);
        QCOMPARE(list.tickedCount(), 0);
        QCOMPARE(savedList().at(1).toMap().value(QStringLiteral("state")).toInt(), 1);
        list.showFileInFinder(ScanList::SelectAll, -1);
        QCOMPARE(list.tickedCount(), 2);
        QCOMPARE(savedList().at(0).toMap().value(QStringLiteral("state")).toInt(), 0);

        // Show in the file viewer needs a clicked row.
        QSignalSpy reloads(&list, &ScanList::statesChanged);
        list.showFileInFinder(ScanList::ShowInFileViewer, 1);
        QCOMPARE(shown, QList<QByteArray>{b});
        QCOMPARE(reloads.count(), 0);
        list.showFileInFinder(ScanList::ShowInFileViewer, -1);
        QCOMPARE(shown.size(), 1);
        list.showFileInFinder(42, 0);
        QCOMPARE(list.count(), 2);

        // Removing: no clicked row removes nothing; the last removal disables Scan.
        list.showFileInFinder(ScanList::RemoveRow, -1);
        QCOMPARE(list.count(), 2);
        list.showFileInFinder(ScanList::RemoveRow, 0);
        QCOMPARE(rowPaths(list), QList<QByteArray>{b});
        QCOMPARE(savedPathsOnDisk(), QList<QByteArray>{b});
        QVERIFY(!list.containsPath(a));
        list.selectPathToScan({a});
        QCOMPARE(list.count(), 2);
        list.deletePathFromTable(1);
        list.deletePathFromTable(0);
        QCOMPARE(list.count(), 0);
        QVERIFY(!list.isScanNowEnabled());
        QVERIFY(savedList().isEmpty());
        QVERIFY(enabled.count() >= 4);
    }

    void saveAndRestore()
    {
        const QByteArray a = makeDir(QStringLiteral("a"));
        const QByteArray odd = makeDir(QStringLiteral("x")) + "/caf\xe9";
        QVERIFY(::mkdir(odd.constData(), 0700) == 0 || PathUtils::exists(odd));
        const QByteArray vanishing = makeDir(QStringLiteral("gone"));
        const QByteArray library = makeDir(QStringLiteral("Lib.photoslibrary"));
        {
            ScanList list(*m_settings, &m_alerts);
            list.selectPathToScan({a, odd, vanishing, library});
            list.selectDeselectPath(0);
        }
        QCOMPARE(savedPathsOnDisk(), (QList<QByteArray>{a, odd, vanishing, library}));
        QVERIFY(QDir(QFile::decodeName(vanishing)).removeRecursively());

        ScanList restored(*m_settings, &m_alerts);
        restored.loadFromBookmarkPaths();
        QCOMPARE(rowPaths(restored), (QList<QByteArray>{a, odd, library}));
        QCOMPARE(restored.arrPathNodes()[0].state, 0);
        QCOMPARE(restored.arrPathNodes()[1].state, 1);
        QVERIFY(restored.isPhotosLibraryPathAdded());
        QVERIFY(restored.isScanNowEnabled());
        QVERIFY(restored.containsPath(odd));
        // The vanished row is gone from the saved list too.
        QCOMPARE(savedPathsOnDisk(), (QList<QByteArray>{a, odd, library}));
        QVERIFY(settleAlerts().isEmpty());

        // Only unticked rows: restored, but Scan stays disabled.
        restored.selectDeselectPath(1);
        restored.selectDeselectPath(2);
        ScanList unticked(*m_settings, &m_alerts);
        unticked.loadFromBookmarkPaths();
        QCOMPARE(unticked.count(), 3);
        QVERIFY(!unticked.isScanNowEnabled());
        // QTemporaryDir cannot remove a name that is not valid UTF-8 itself.
        ::rmdir(odd.constData());
    }

    void oldSystemNeitherSavesNorRestores()
    {
        const QByteArray a = makeDir(QStringLiteral("a"));
        {
            ScanList list(*m_settings, &m_alerts);
            list.selectPathToScan({a});
        }
        AppGlobals::isOSX_7_AndAbove = true;
        ScanList list(*m_settings, &m_alerts);
        list.loadFromBookmarkPaths();
        QCOMPARE(list.count(), 0);
        list.selectPathToScan({makeDir(QStringLiteral("b"))});
        QCOMPARE(savedPathsOnDisk(), QList<QByteArray>{a});
    }

    void restoreDropsTrashAndBrokenEntries()
    {
        const QByteArray trash = Platform::userTrashFolders().first() + "/files/Old";
        QVERIFY(QDir().mkpath(QFile::decodeName(trash)));
        const QByteArray a = makeDir(QStringLiteral("a"));
        QVariantList saved;
        for (const QByteArray& path : {trash, QByteArray("relative/path"), a}) {
            QVariantMap entry;
            entry.insert(QStringLiteral("path"), path);
            entry.insert(QStringLiteral("state"), 1);
            saved.append(entry);
        }
        saved.append(QVariantMap{{QStringLiteral("state"), 1}});
        m_settings->setValue(Settings::kSavedPaths, saved);
        ScanList list(*m_settings, &m_alerts);
        list.loadFromBookmarkPaths();
        QCOMPARE(rowPaths(list), QList<QByteArray>{a});
        QCOMPARE(savedPathsOnDisk(), QList<QByteArray>{a});
    }
};

QUILLON_TEST_MAIN(TestScanList)
#include "tst_scanlist.moc"
