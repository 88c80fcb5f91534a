#include "app/Settings.h"
#include "platform/Platform.h"
#include "scan/ScanList.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QScopeGuard>
#include <sys/stat.h>

using L = QStringList;

class TestScanList : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;
    Settings& settings() const { return m_tree->settings(); }

    QByteArray p(const QString& name) const { return m_tree->path(QFile::encodeName(name)); }
    QByteArray makeDir(const QString& name) const { return m_tree->dir(QFile::encodeName(name)); }
    // One field ("path" or "state") of every entry of the saved list, as read from the file.
    QVariantList saved(const char* field = "path") const
    {
        QVariantList out;
        for (const QVariant& v : m_tree->storedValue(Settings::kSavedPaths).toList())
            out.append(v.toMap().value(QLatin1String(field)));
        return out;
    }
    // Lets the deferred prompt run, then returns and forgets the alerts shown so far: their
    // messages, or with details "message|info|buttons".
    QStringList shown(bool details = false)
    {
        QTest::qWait(20);
        QStringList out;
        for (const Alert& a : m_alerts.alerts())
            out << (details ? QStringList{a.messageText, a.informativeText, a.buttons.join('|')}.join('|')
                            : a.messageText);
        m_alerts.clear();
        return out;
    }
    void drop(ScanList& list, const QList<QByteArray>& paths)
    {
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
        list.handleFileDragDropNotification(paths);
    }

private Q_SLOTS:
    void init() { m_tree = std::make_unique<TestSupport::TestTree>(); }

    // Adding by dialog or by drop to a list holding "old"; "ex" is excluded. Other spellings of
    // a folder ("..", ".", a trailing slash) are the same folder.
    void add_data()
    {
        QTest::addColumn<bool>("byDrop");
        QTest::addColumn<QStringList>("offered");
        QTest::addColumn<QStringList>("expectedRows");
        QTest::addColumn<QString>("prompt"); // "message|info"; empty: none
        const QString none = ScanList::kNoneAddedMessage + '|', some = ScanList::kSomeNotAddedMessage + '|';
        for (const bool byDrop : {false, true}) {
            const auto row = [byDrop](const char* tag) {
                return &(QTest::addRow("%s %s", byDrop ? "drop:" : "dialog:", tag) << byDrop);
            };
            *row("all new") << L{"a", "b"} << L{"old", "a", "b"} << QString();
            *row("other spelling of a listed folder")
                << L{"a/../old/", "./old"} << L{"old"} << none + ScanList::kAlreadyPresentInfo;
            *row("excluded and new") << L{"ex", "a"} << L{"old", "a"} << some + ScanList::kExcludedInfo;
            *row("below an excluded folder, OK")
                << L{"ex/inner"} << L{"old"} << none + ScanList::kExcludedInfo;
        }
    }
    void add()
    {
        QFETCH(bool, byDrop);
        QFETCH(QStringList, offered);
        QFETCH(QStringList, expectedRows);
        QFETCH(QString, prompt);
        settings().setExcludedFolders({QString::fromUtf8(p("ex"))});
        ScanList list(settings(), &m_alerts);
        list.addPathInArrayToScan(makeDir("old"));
        QList<QByteArray> paths, expected;
        for (const QString& name : offered)
            paths.append(name.endsWith('/') ? p(name) : makeDir(name));
        for (const QString& name : expectedRows)
            expected.append(p(name));
        byDrop ? drop(list, paths) : list.selectPathToScan(paths);
        QCOMPARE(saved(), QVariantList(expected.begin(), expected.end()));
        // Only the exclusion prompt offers the preferences.
        const bool excluded = prompt.endsWith(ScanList::kExcludedInfo);
        QCOMPARE(shown(true),
                 prompt.isEmpty() ? L{} : L{prompt + (excluded ? "|OK|Go To Preferences" : "|OK")});
    }

    // One Photos library at a time, and no migrated one. From the dialog such an item stops the
    // choice: items before it stay, nothing is saved and no prompt follows. A drop skips it and
    // adds the rest. The remove button frees the place; the row menu's remove tests the
    // extension exactly, so it keeps the place taken; Remove All frees it.
    void libraryRules()
    {
        ScanList list(settings(), &m_alerts);
        const QByteArray first = makeDir("First.photoslibrary"), second = makeDir("Second.PhotosLibrary");
        const QByteArray migrated = makeDir("Old.MigratedPhotoLibrary"), a = makeDir("a");
        list.selectPathToScan({first});
        list.selectPathToScan({a, migrated, makeDir("b")});
        list.selectPathToScan({second, makeDir("b")});
        QCOMPARE(shown(), (L{ScanList::kMigratedMessage, ScanList::kOnePhotosLibraryMessage}));
        QVERIFY(list.count() == 2 && list.containsPath(a));
        QCOMPARE(saved(), QVariantList{first});
        drop(list, {second, m_tree->file("notes.txt", "x")});
        QCOMPARE(shown(), L{ScanList::kOnePhotosLibraryMessage});
        drop(list, {migrated, makeDir("c")});
        QCOMPARE(shown(), L{ScanList::kSomeNotAddedMessage});
        QCOMPARE(saved(), (QVariantList{first, a, p("notes.txt"), p("c")}));

        list.deletePathFromTable(0);
        list.selectPathToScan({second});
        list.showFileInFinder(ScanList::RemoveRow, 3);
        QCOMPARE(saved(), (QVariantList{a, p("notes.txt"), p("c")}));
        QVERIFY(list.isPhotosLibraryPathAdded());
        list.showFileInFinder(ScanList::RemoveAll, -1);
        QVERIFY(!list.isPhotosLibraryPathAdded());
    }

    // From the dialog only the first chosen item is tested against the Trash, however spelled; a
    // drop never is. "/" stands for the home folder, by dialog and by drop.
    void trashAndRoot()
    {
        const QByteArray trash = Platform::userTrashFolders().first(), inTrash = trash + "/files/Old";
        QVERIFY(TestSupport::makeDir(inTrash));
        settings().setExcludedFolders({}); // the default list holds the Trash
        ScanList list(settings(), &m_alerts);
        list.selectPathToScan({trash + "/../Trash/files/Old", makeDir("a")});
        QCOMPARE(list.count(), 0);
        QCOMPARE(shown(), QStringList{"Photos cannot be added form Trash."});
        list.selectPathToScan({makeDir("a"), inTrash});
        QVERIFY(list.count() == 2 && list.containsPath(inTrash));
        ScanList dropped(settings(), &m_alerts);
        drop(dropped, {inTrash});
        QVERIFY(dropped.containsPath(inTrash));

        ScanList rooted(settings(), &m_alerts);
        rooted.selectPathToScan({"/"});
        drop(rooted, {"/"});
        QCOMPARE(saved(), QVariantList{Platform::homePath()});
        QCOMPARE(shown(), QStringList{ScanList::kNoneAddedMessage});
    }

    // A box change is saved at once, Tick All / Untick All only with the next change; no ticked
    // row disables Scan. Remove needs a clicked row.
    void ticksAndRowMenu()
    {
        ScanList list(settings(), &m_alerts);
        const QByteArray a = makeDir("a"), b = makeDir("b");
        list.selectPathToScan({a, b});
        list.selectDeselectPath(0);
        list.selectDeselectPath(1);
        QVERIFY(!list.isScanNowEnabled());
        list.showFileInFinder(ScanList::SelectAll, -1);
        QCOMPARE(list.tickedCount(), 2);
        QCOMPARE(saved("state"), (QVariantList{0, 0}));
        list.showFileInFinder(ScanList::DeselectAll, -1);
        QCOMPARE(list.tickedCount(), 0);
        list.showFileInFinder(ScanList::RemoveRow, -1);
        list.showFileInFinder(ScanList::RemoveRow, 0);
        QCOMPARE(saved(), QVariantList{b});
        list.deletePathFromTable(0);
        QVERIFY(list.count() == 0 && saved().isEmpty());
    }

    // Rows come back with their ticks, names that are not UTF-8 included; vanished folders and
    // entries in the Trash, relative or without a path are dropped, from the saved list too.
    void saveAndRestore()
    {
        const QByteArray a = makeDir("a"), odd = makeDir("x") + "/caf\xe9";
        QVERIFY(::mkdir(odd.constData(), 0700) == 0);
        const auto removeOdd = qScopeGuard([&] { ::rmdir(odd.constData()); }); // text names cannot spell it
        const QByteArray vanishing = makeDir("gone"), library = makeDir("Lib.photoslibrary");
        {
            ScanList list(settings(), &m_alerts);
            list.selectPathToScan({a, odd, vanishing, library});
            list.selectDeselectPath(0);
        }
        QVERIFY(QDir(QFile::decodeName(vanishing)).removeRecursively());
        const QByteArray trash = Platform::userTrashFolders().first() + "/files/Old";
        QVERIFY(TestSupport::makeDir(trash));
        QVariantList entries = m_tree->storedValue(Settings::kSavedPaths).toList();
        for (const QByteArray& path : {trash, QByteArray("relative/path"), QByteArray()})
            entries.append(QVariantMap{{QStringLiteral("path"), path}, {QStringLiteral("state"), 1}});
        settings().setValue(Settings::kSavedPaths, entries);

        ScanList restored(settings(), &m_alerts);
        restored.loadFromBookmarkPaths();
        QCOMPARE(saved(), (QVariantList{a, odd, library}));
        QCOMPARE(saved("state"), (QVariantList{0, 1, 1}));
        QVERIFY(restored.isPhotosLibraryPathAdded() && restored.isScanNowEnabled() && shown().isEmpty());
    }
};

QUILLON_TEST_MAIN(TestScanList)
#include "tst_scanlist.moc"
