#include "app/Settings.h"
#include "platform/FileViewer.h"
#include "platform/Platform.h"
#include "scan/ScanList.h"
#include "support/RecordingFileViewer.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"
#include "util/PathUtils.h"

#include <QFile>
#include <QScopeGuard>
#include <QSignalSpy>
#include <memory>
#include <sys/stat.h>

namespace {

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

    std::unique_ptr<TestSupport::TestTree> m_tree;
    Settings& settings() const { return m_tree->settings(); }
    ScriptedAlertPresenter m_alerts;

    QByteArray p(const QString& name) const { return m_tree->path(QFile::encodeName(name)); }
    QByteArray makeDir(const QString& name) const { return m_tree->dir(QFile::encodeName(name)); }
    QVariantList savedList() const { return m_tree->storedValue(Settings::kSavedPaths).toList(); }
    QList<QByteArray> savedPaths() const
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
    // The messages of the alerts shown since the last call.
    QStringList messagesShown()
    {
        QStringList out;
        for (const Alert& alert : settleAlerts())
            out.append(alert.messageText);
        m_alerts.clear();
        return out;
    }
    void expectDropLog()
    {
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
    }

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        settings().setExcludedFolders({QString::fromUtf8(p("ex"))});
        m_alerts.clear();
    }
    void cleanup() { m_tree.reset(); }

    // Adding by dialog or by drop to a list holding "old"; "ex" is excluded.
    void add_data()
    {
        QTest::addColumn<bool>("byDrop");
        QTest::addColumn<QStringList>("offered");
        QTest::addColumn<QStringList>("expectedRows");
        QTest::addColumn<QString>("message"); // empty: no prompt
        QTest::addColumn<QString>("info");
        QTest::addColumn<int>("answer"); // the button chosen in the prompt
        const QString present = QStringLiteral("Item(s) already present in scan list");
        const QString excluded =
            QStringLiteral("Item(s) already excluded from scanning.\n\nHint: Go to Preferences > "
                           "Exclusions to remove item(s) from Exclusion list");
        const QString none = QStringLiteral("Item(s) cannot be added!");
        const QString some = QStringLiteral("One or more items cannot be added!");
        for (const bool byDrop : {false, true}) {
            const auto row = [byDrop](const char* tag) {
                return &(QTest::addRow("%s %s", byDrop ? "drop:" : "dialog:", tag) << byDrop);
            };
            *row("all new") << QStringList{"a", "b"} << QStringList{"old", "a", "b"} << QString() << QString()
                            << 1;
            *row("already present") << QStringList{"old"} << QStringList{"old"} << none << present << 1;
            *row("other spelling of a listed folder")
                << QStringList{"a/../old/", "./old"} << QStringList{"old"} << none << present << 1;
            *row("same folder twice")
                << QStringList{"a", "x/../a"} << QStringList{"old", "a"} << some << present << 1;
            *row("excluded and new") << QStringList{"ex", "a"} << QStringList{"old", "a"} << some << excluded
                                     << 1;
            *row("below an excluded folder, OK")
                << QStringList{"ex/inner"} << QStringList{"old"} << none << excluded << 0;
        }
    }
    void add()
    {
        QFETCH(bool, byDrop);
        QFETCH(QStringList, offered);
        QFETCH(QStringList, expectedRows);
        QFETCH(QString, message);
        QFETCH(QString, info);
        QFETCH(int, answer);
        ScanList list(settings(), &m_alerts);
        QSignalSpy preferences(&list, &ScanList::goToPreferencesRequested);
        list.addPathInArrayToScan(makeDir("old"));
        QList<QByteArray> paths, expected;
        for (const QString& name : offered)
            paths.append(name.endsWith('/') ? p(name) : makeDir(name));
        for (const QString& name : expectedRows)
            expected.append(p(name));
        m_alerts.enqueueAnswer(answer);
        if (byDrop) {
            expectDropLog();
            list.handleFileDragDropNotification(paths);
        } else {
            list.selectPathToScan(paths);
        }
        QCOMPARE(rowPaths(list), expected);
        QCOMPARE(savedPaths(), expected);

        const QList<Alert> alerts = settleAlerts();
        QCOMPARE(alerts.size(), message.isEmpty() ? 0 : 1);
        if (message.isEmpty())
            return;
        QCOMPARE(alerts[0].messageText, message);
        QCOMPARE(alerts[0].informativeText, info);
        // Only the exclusion prompt has a second button, and only that button leads to the preferences.
        const bool isExcluded = info.startsWith(QStringLiteral("Item(s) already excluded"));
        QCOMPARE(alerts[0].buttons,
                 (isExcluded ? QStringList{"OK", "Go To Preferences"} : QStringList{"OK"}));
        QCOMPARE(preferences.count(), isExcluded && answer == 1 ? 1 : 0);
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
        ScanList list(settings(), &m_alerts);
        const QByteArray first = makeDir("First.photoslibrary");
        list.selectPathToScan({first});
        // Items before the stopper stay; nothing after it is added, nothing saved and no prompt follows.
        list.selectPathToScan({makeDir("a"), makeDir(stopper), makeDir("b")});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{first, p("a")}));
        QCOMPARE(messagesShown(), QStringList{message});
        QCOMPARE(savedPaths(), QList<QByteArray>{first});
    }

    void trashAndRoot()
    {
        const QByteArray inTrash = Platform::userTrashFolders().first() + "/files/Old";
        QVERIFY(QDir().mkpath(QFile::decodeName(inTrash)));
        ScanList list(settings(), &m_alerts);
        // From the dialog, the Trash is tested on the first chosen item only, however spelled.
        const QByteArray trash = Platform::userTrashFolders().first();
        const qsizetype cut = trash.lastIndexOf('/');
        list.selectPathToScan({trash.left(cut) + "/x/.." + trash.mid(cut) + "/files/Old", makeDir("a")});
        QCOMPARE(list.count(), 0);
        QCOMPARE(messagesShown(), QStringList{"Photos cannot be added form Trash."});
        list.selectPathToScan({makeDir("a"), inTrash});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{p("a"), inTrash}));
        // A drop is never tested against the Trash.
        ScanList dropped(settings(), &m_alerts);
        expectDropLog();
        dropped.handleFileDragDropNotification({inTrash});
        QCOMPARE(rowPaths(dropped), QList<QByteArray>{inTrash});

        // "/" stands for the home folder, by dialog and by drop.
        ScanList rooted(settings(), &m_alerts);
        rooted.selectPathToScan({"/"});
        QCOMPARE(rowPaths(rooted), QList<QByteArray>{Platform::homePath()});
        QTest::ignoreMessage(QtInfoMsg, "path dropped: /");
        rooted.handleFileDragDropNotification({"/"});
        QCOMPARE(rooted.count(), 1);
        QCOMPARE(messagesShown(), QStringList{ScanList::kNoneAddedMessage});
    }

    // A dropped migrated library is skipped without a message of its own; files are taken too.
    void dropSkipsMigratedLibrary()
    {
        ScanList list(settings(), &m_alerts);
        const QByteArray migrated = makeDir("Old.migratedphotolibrary");
        const QByteArray file = m_tree->file("notes.txt", "x");
        QTest::ignoreMessage(QtInfoMsg, "path dropped: " + migrated + ", " + file);
        list.handleFileDragDropNotification({migrated, file});
        QCOMPARE(rowPaths(list), QList<QByteArray>{file});
        QCOMPARE(messagesShown(), QStringList{ScanList::kSomeNotAddedMessage});
    }

    void onePhotosLibrary()
    {
        ScanList list(settings(), &m_alerts);
        const QByteArray first = makeDir("First.photoslibrary");
        const QByteArray second = makeDir("Second.PhotosLibrary");
        const QByteArray a = makeDir("a");
        expectDropLog();
        list.handleFileDragDropNotification({first});
        QVERIFY(list.isPhotosLibraryPathAdded());

        // By drop: refused with its own alert instead of the prompt, the list still saved.
        expectDropLog();
        list.handleFileDragDropNotification({second, a});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{first, a}));
        QCOMPARE(savedPaths(), (QList<QByteArray>{first, a}));
        QCOMPARE(messagesShown(), QStringList{ScanList::kOnePhotosLibraryMessage});

        // After the first is removed with its remove button, another is accepted.
        list.deletePathFromTable(0);
        QVERIFY(!list.isPhotosLibraryPathAdded());
        list.selectPathToScan({second});
        QCOMPARE(rowPaths(list), (QList<QByteArray>{a, second}));
        // The row menu's remove tests the extension exactly, so this one keeps the flag set.
        list.showFileInFinder(ScanList::RemoveRow, 1);
        QCOMPARE(rowPaths(list), QList<QByteArray>{a});
        QVERIFY(list.isPhotosLibraryPathAdded());
        list.showFileInFinder(ScanList::RemoveAll, -1);
        QVERIFY(!list.isPhotosLibraryPathAdded());
    }

    void ticksAndRowMenu()
    {
        ScanList list(settings(), &m_alerts);
        RecordingFileViewer viewer;
        list.setFileViewer(&viewer);
        const QByteArray a = makeDir("a");
        const QByteArray b = makeDir("b");
        const auto savedState = [this](int row) {
            return savedList().at(row).toMap().value("state").toInt();
        };
        list.selectPathToScan({a, b});
        QVERIFY(list.isScanNowEnabled());

        // Unticking every row by its box disables Scan and saves each change.
        list.selectDeselectPath(0);
        QCOMPARE(savedState(0), 0);
        QVERIFY(list.isScanNowEnabled());
        list.selectDeselectPath(1);
        QVERIFY(!list.isScanNowEnabled());

        // Tick all / untick all change the rows but are saved only with the next change.
        list.showFileInFinder(ScanList::SelectAll, -1);
        QCOMPARE(list.tickedCount(), 2);
        QCOMPARE(savedState(0), 0);
        list.showFileInFinder(ScanList::DeselectAll, -1);
        QCOMPARE(list.tickedCount(), 0);
        list.showFileInFinder(ScanList::SelectAll, -1);

        // Show in the file viewer and remove need a clicked row; an unknown command does nothing.
        list.showFileInFinder(ScanList::ShowInFileViewer, 1);
        list.showFileInFinder(ScanList::ShowInFileViewer, -1);
        QCOMPARE(viewer.shown, QList<QByteArray>{b});
        list.showFileInFinder(ScanList::RemoveRow, -1);
        QCOMPARE(list.count(), 2);
        list.showFileInFinder(ScanList::RemoveRow, 0);
        QCOMPARE(rowPaths(list), QList<QByteArray>{b});
        QCOMPARE(savedPaths(), QList<QByteArray>{b});
        QVERIFY(!list.containsPath(a));
        // The last removal disables Scan.
        list.deletePathFromTable(0);
        QCOMPARE(list.count(), 0);
        QVERIFY(!list.isScanNowEnabled());
        QVERIFY(savedList().isEmpty());
    }

    void saveAndRestore()
    {
        const QByteArray a = makeDir("a");
        const QByteArray odd = makeDir("x") + "/caf\xe9";
        QVERIFY(::mkdir(odd.constData(), 0700) == 0);
        const auto removeOdd = qScopeGuard([&] { ::rmdir(odd.constData()); }); // not a UTF-8 name
        const QByteArray vanishing = makeDir("gone");
        const QByteArray library = makeDir("Lib.photoslibrary");
        {
            ScanList list(settings(), &m_alerts);
            list.selectPathToScan({a, odd, vanishing, library});
            list.selectDeselectPath(0);
        }
        QVERIFY(QDir(QFile::decodeName(vanishing)).removeRecursively());
        // Entries in the Trash, relative or without a path are dropped too.
        const QByteArray trash = Platform::userTrashFolders().first() + "/files/Old";
        QVERIFY(QDir().mkpath(QFile::decodeName(trash)));
        QVariantList saved = savedList();
        for (const QByteArray& path : {trash, QByteArray("relative/path"), QByteArray()})
            saved.append(QVariantMap{{QStringLiteral("path"), path}, {QStringLiteral("state"), 1}});
        settings().setValue(Settings::kSavedPaths, saved);

        ScanList restored(settings(), &m_alerts);
        restored.loadFromBookmarkPaths();
        QCOMPARE(rowPaths(restored), (QList<QByteArray>{a, odd, library}));
        QCOMPARE(restored.arrPathNodes()[0].state, 0);
        QCOMPARE(restored.arrPathNodes()[1].state, 1);
        QVERIFY(restored.isPhotosLibraryPathAdded());
        QVERIFY(restored.isScanNowEnabled());
        // The vanished row is gone from the saved list too.
        QCOMPARE(savedPaths(), (QList<QByteArray>{a, odd, library}));
        QCOMPARE(messagesShown(), QStringList());

        // Only unticked rows: restored, but Scan stays disabled.
        restored.selectDeselectPath(1);
        restored.selectDeselectPath(2);
        ScanList unticked(settings(), &m_alerts);
        unticked.loadFromBookmarkPaths();
        QCOMPARE(unticked.count(), 3);
        QVERIFY(!unticked.isScanNowEnabled());
    }
};

QUILLON_TEST_MAIN(TestScanList)
#include "tst_scanlist.moc"
