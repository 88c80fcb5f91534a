#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"
#include "review/ReviewModel.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

namespace {

// One file of a group: name, bytes, creation day, library kind ('p' Photos, 'i' iPhoto).
struct FileSpec
{
    QByteArray name;
    quint64 size = 10;
    int day = 1;
    char lib = 0;
};

// A scan result made in memory, handed to a review model.
struct Review
{
    TestSupport::TestTree tree;
    ScanResult scan;
    ScriptedAlertPresenter alerts;
    ReviewModel model{tree.settings(), alerts};

    void group(const QList<FileSpec>& files)
    {
        DuplicateGroup* g = scan.addGroup();
        for (const FileSpec& f : files) {
            FileInfoNode n;
            n.filePath = "/r/" + QByteArray::number(scan.nodeCount) + '/' + f.name;
            n.fileSize = f.size;
            n.createDate = f.day * 86400.0 + 0.75; // the fraction does not count
            n.isiPhotoNode = f.lib == 'i';
            n.isPhotosNode = f.lib == 'p';
            if (n.isPhotosNode)
                n.photosInfo() = std::make_unique<PhotosNode>();
            n.fileCategory = FileInfoNode::categoryForPath(n.filePath, !n.isiPhotoNode);
            FileInfoNode* node = scan.addNode(std::move(n));
            node->parent = g;
            g->children.push_back(node);
            g->filteredChildren.push_back(node);
            g->groupSize += f.size;
        }
    }
    void start()
    {
        model.setArrMainGroup(scan.arrMainGroup);
        model.updateUIComponentsDetailView();
    }
    FileInfoNode* file(int g, int i) const { return scan.arrMainGroup.at(g)->children.at(i); }

    // Five groups: Images (a second name that is not ASCII), Videos (one copy in a Photos
    // library), Archives, an iPhoto zip (Others) and a file without extension (Others).
    void standard()
    {
        group({{"holiday_img_01.jpg", 30}, {"Été.dat", 30}});
        group({{"song.mp4", 15}, {"song.mp4", 15}, {"song.mp4", 15, 1, 'p'}});
        group({{"backup.dmg", 50}, {"backup.dmg", 50}});
        group({{"x.zip", 5, 1, 'i'}, {"x.zip", 5, 1, 'i'}});
        group({{"README", 1}, {"README", 1}, {"README", 1}, {"README", 1}});
        start();
    }
    QStringList shown() const
    {
        QStringList names;
        for (const DuplicateGroup* g : model.arrGroups())
            names << QString::fromUtf8(g->filteredChildren.front()->fileName());
        return names;
    }
};

const QStringList bySize{"backup.dmg", "holiday_img_01.jpg", "song.mp4", "x.zip", "README"};

} // namespace

class TestReview : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { AppGlobals::isPhotosAppInstalled = false; }

    // What the list shows for a category (after Images), a search text and then the sorting items
    // chosen in order; README's first copy is marked. A category is that of a group's first member.
    void shownGroups_data()
    {
        QTest::addColumn<int>("category");
        QTest::addColumn<QString>("search");
        QTest::addColumn<QList<int>>("items");
        QTest::addColumn<QStringList>("shown");
        const auto row = [](const char* tag, int category, const char* search, const QList<int>& items,
                            const QStringList& shown) {
            QTest::newRow(tag) << category << QString(search) << items << shown;
        };
        row("images by the first member", 1, "", {}, {"holiday_img_01.jpg"});
        row("a library zip is in others", 5, "", {}, {"x.zip", "README"});
        row("all blank: every group, largest first", -1, "   ", {}, bySize);
        row("matches keep result order", -1, ".", {},
            {"holiday_img_01.jpg", "song.mp4", "backup.dmg", "x.zip"});
        row("any member, trimmed, not ASCII", -1, " \t ÉTÉ \n", {}, {"holiday_img_01.jpg"});
        row("match outside the category", 1, "dmg", {}, {});
        row("name, descending", -1, "", {2},
            {"x.zip", "song.mp4", "README", "holiday_img_01.jpg", "backup.dmg"});
        row("items 1 and 5 change nothing", -1, "", {2, 6, 1, 5},
            {"backup.dmg", "holiday_img_01.jpg", "README", "song.mp4", "x.zip"});
        row("item 1 still re-sorts", -1, ".", {1}, bySize.mid(0, 4));
        row("count ascending: equal keys reversed", -1, "", {3, 6},
            {"x.zip", "holiday_img_01.jpg", "backup.dmg", "song.mp4", "README"});
        row("marked first", -1, "", {4}, {"README", "backup.dmg", "holiday_img_01.jpg", "song.mp4", "x.zip"});
    }
    void shownGroups()
    {
        QFETCH(int, category);
        QFETCH(QString, search);
        QFETCH(QList<int>, items);
        QFETCH(QStringList, shown);
        Review r;
        r.standard();
        r.model.updateNodeState(r.file(4, 0), true);
        QVERIFY(r.model.selectCategory(1) && r.model.selectCategory(category));
        r.model.runSearchForDuplicates(search);
        for (int item : items)
            r.model.selectSortingType(item);
        QCOMPARE(r.shown(), shown);
    }

    // At least one shown file of a group stays unmarked. Clicks: i checks file i, ~i unchecks it.
    void oneUnmarked_data()
    {
        QTest::addColumn<QList<int>>("clicks");
        QTest::addColumn<QList<int>>("states");
        QTest::addColumn<int>("alerts");
        QTest::newRow("two: the second is refused") << QList<int>{0, 1} << QList<int>{1, 0} << 1;
        QTest::newRow("three: two may go") << QList<int>{0, 1, 2} << QList<int>{1, 1, 0} << 1;
        QTest::newRow("unchecking frees another") << QList<int>{0, ~0, 1} << QList<int>{0, 1} << 0;
    }
    void oneUnmarked()
    {
        QFETCH(QList<int>, clicks);
        QFETCH(QList<int>, states);
        QFETCH(int, alerts);
        Review r;
        r.group(QList<FileSpec>(states.size(), FileSpec{"f.txt"}));
        r.start();
        for (int click : clicks)
            r.model.updateNodeState(r.file(0, click < 0 ? ~click : click), click >= 0);
        for (int i = 0; i < states.size(); ++i)
            QCOMPARE(r.file(0, i)->state, states[i]);
        QCOMPARE(r.alerts.alerts().size(), alerts);
        QCOMPARE(r.model.countMarked(), int(states.count(1)));
    }

    // keepFile: -1 automatic marking by the settings, 0..2 the keep control. photos: 0 no Photos
    // app, 1 Photos app, 2 Photos app and autoMarkPhotos.
    void keepRules_data()
    {
        QTest::addColumn<int>("keepFile");
        QTest::addColumn<int>("autoSelectOption");
        QTest::addColumn<int>("photos");
        QTest::addColumn<QList<FileSpec>>("files");
        QTest::addColumn<QByteArray>("kept");
        const auto row = [](const char* tag, int keepFile, int option, int photos,
                            const QList<FileSpec>& files, const char* kept) {
            QTest::newRow(tag) << keepFile << option << photos << files << QByteArray(kept);
        };
        const QList<FileSpec> days{{"d2", 10, 2}, {"d1", 10, 1}, {"d3", 10, 3}};
        row("option 1 keeps the oldest", -1, 1, 1, days, "d1");
        row("option 0 keeps the newest", -1, 0, 1, days, "d3");
        row("keep control 1 keeps the newest", 1, 1, 1, days, "d3");
        row("keep control 2 keeps the oldest", 2, 0, 1, days, "d1");
        row("keep control 0 only unmarks", 0, 1, 1, days, "");
        row("Photos item kept whatever the dates", -1, 1, 1, {{"plain", 10, 1}, {"lib", 10, 3, 'p'}}, "lib");
        row("autoMarkPhotos keeps the oldest plain file", -1, 1, 2,
            {{"p2", 10, 3}, {"lib", 10, 1, 'p'}, {"p1", 10, 2}}, "p1");
        row("iPhoto item without Photos", -1, 1, 0, {{"plain", 10, 1}, {"ip", 10, 2, 'i'}}, "ip");
        row("iPhoto item is plain with Photos", -1, 1, 1, {{"plain", 10, 1}, {"ip", 10, 2, 'i'}}, "plain");
    }
    void keepRules()
    {
        QFETCH(int, keepFile);
        QFETCH(int, autoSelectOption);
        QFETCH(int, photos);
        QFETCH(QList<FileSpec>, files);
        QFETCH(QByteArray, kept);
        AppGlobals::isPhotosAppInstalled = photos > 0;
        Review r;
        r.tree.settings().setAutoSelectOption(autoSelectOption);
        r.tree.settings().setAutoMarkPhotos(photos == 2);
        r.group(files);
        r.start();
        // A mark by hand first: every rule starts by clearing the group.
        r.model.updateNodeState(r.file(0, 0), true);
        if (keepFile == -1)
            r.model.proceedToautoMarkAllitems();
        else
            r.model.keepFileOption(keepFile);
        for (const FileInfoNode* f : r.scan.arrFileNodes)
            QCOMPARE(f->state, (kept.isEmpty() || f->fileName() == kept) ? 0 : 1);
    }

    // A Trash run as the mover does it on the first shown group: moved files leave the totals,
    // then the groups; a Photos item counts as moved only once it is in the album.
    void afterTrash_data()
    {
        QTest::addColumn<int>("category");
        QTest::addColumn<bool>("inAlbum");
        QTest::addColumn<QString>("dupLine");
        QTest::newRow("a category cleaned out") << 1 << false << "There are no duplicates in this category";
        QTest::newRow("Photos item not in the album stays") << 3 << false << "2 duplicate(s) found 30 bytes";
        QTest::newRow("Photos item in the album leaves") << 3 << true << "1 duplicate(s) found 15 bytes";
    }
    void afterTrash()
    {
        QFETCH(int, category);
        QFETCH(bool, inAlbum);
        QFETCH(QString, dupLine);
        Review r;
        r.standard();
        QVERIFY(r.model.selectCategory(category));
        FileInfoNode* f = r.model.arrGroups().front()->filteredChildren.back();
        r.model.updateNodeState(f, true);
        f->isMoveToTrash = true;
        if (f->isPhotosNode)
            f->photosInfo()->isMovedToTrashAlbum = inAlbum;
        if (!f->isPhotosNode || inAlbum)
            r.model.decrementMarked(f->fileSize);
        r.model.removeMovedRecords();
        r.model.addObjectsToGroupArray();
        QCOMPARE(r.shown(), category == 1 ? QStringList() : QStringList{"song.mp4"});
        QCOMPARE(r.model.summary().lblDupCount, dupLine);
        QCOMPARE(r.model.countMarked(), f->isPhotosNode && !inAlbum ? 1 : 0);
        r.model.showAllGroupItems(); // the other categories are intact
        QCOMPARE(int(r.model.arrGroups().size()), 5 - int(category == 1));
    }
};

QUILLON_TEST_MAIN(TestReview)
#include "tst_review.moc"
