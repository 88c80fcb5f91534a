#include "review/PhotosAlbum.h"
#include "review/RemovalProof.h"
#include "review/ReviewModel.h"
#include "review/TrashRun.h"
#include "support/FolderTrash.h"
#include "support/ScanGroups.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QSignalSpy>
#include <unistd.h>

namespace {

using TestSupport::addGroup;

using Verdict = RemovalProof::Verdict;

// The well-known pair of distinct 128-byte messages that share one MD5 digest.
const QByteArray kCollisionA = QByteArray::fromHex(
    "d131dd02c5e6eec4693d9a0698aff95c2fcab58712467eab4004583eb8fb7f8955ad340609f4b30283e488832571415a"
    "085125e8f7cdc99fd91dbdf280373c5bd8823e3156348f5bae6dacd436c919c6dd53e2b487da03fd02396306d248cda0"
    "e99f33420f577ee8ce54b67080a80d1ec69821bcb6a8839396f9652b6ff72a70");
const QByteArray kCollisionB = QByteArray::fromHex(
    "d131dd02c5e6eec4693d9a0698aff95c2fcab50712467eab4004583eb8fb7f8955ad340609f4b30283e4888325f1415a"
    "085125e8f7cdc99fd91dbd7280373c5bd8823e3156348f5bae6dacd436c919c6dd53e23487da03fd02396306d248cda0"
    "e99f33420f577ee8ce54b67080280d1ec69821bcb6a8839396f965ab6ff72a70");

bool runToEnd(TrashRun& run, const std::vector<DuplicateGroup*>& groups, int countMarked = 0,
              quint64 size = 0)
{
    QSignalSpy finished(&run, &TrashRun::finished);
    return run.trashMarkedFiles(groups, countMarked, size) && finished.wait(20000);
}

} // namespace

class TestTrashRun : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    QByteArray file(const QByteArray& name, const QByteArray& bytes) { return m_tree->file(name, bytes); }

private Q_SLOTS:
    void init() { m_tree = std::make_unique<TestSupport::TestTree>(); }

    void proof_data()
    {
        QTest::addColumn<QByteArray>("kept");   // contents of the unmarked member; "" none
        QTest::addColumn<QByteArray>("change"); // what happens after the scan
        QTest::addColumn<int>("verdict");
        const QByteArray same(300000, 'q'); // more than one chunk
        const auto row = [](const char* tag, const QByteArray& kept, const char* change, Verdict verdict) {
            QTest::newRow(tag) << kept << QByteArray(change) << int(verdict);
        };
        row("identical copy", same, "", Verdict::Proved);
        row("equal digest, other bytes", kCollisionB, "", Verdict::ContentsDiffer);
        row("marked file edited", same, "edit marked", Verdict::ChangedSinceScan);
        row("marked file replaced", same, "replace marked", Verdict::ChangedSinceScan);
        row("kept copy deleted", same, "delete kept", Verdict::NoCopyWouldRemain);
        row("kept copy is a hard link", same, "link kept", Verdict::NoCopyWouldRemain);
        row("kept copy is marked too", same, "mark kept", Verdict::NoCopyWouldRemain);
        row("first kept differs, second equal", kCollisionB, "add equal", Verdict::Proved);
    }
    void proof()
    {
        QFETCH(QByteArray, kept);
        QFETCH(QByteArray, change);
        QFETCH(int, verdict);
        const QByteArray bytes = kept == kCollisionB ? kCollisionA : kept;
        const QByteArray marked = file("marked", bytes), keptPath = file("kept", kept);
        if (change == "link kept")
            QVERIFY(::unlink(keptPath.constData()) == 0 &&
                    ::link(marked.constData(), keptPath.constData()) == 0);
        QList<QByteArray> paths{marked, keptPath};
        if (change == "add equal")
            paths.append(file("kept2", bytes));
        ScanResult scan;
        DuplicateGroup* group =
            addGroup(scan, paths, change == "mark kept" ? QList<int>{0, 1} : QList<int>{0});

        if (change == "edit marked")
            QVERIFY(TestSupport::writeFile(marked, QByteArray(bytes.size(), 'x')));
        else if (change == "replace marked")
            QVERIFY(::unlink(marked.constData()) == 0 && TestSupport::writeFile(marked, bytes));
        else if (change == "delete kept")
            QVERIFY(::unlink(keptPath.constData()) == 0);

        std::atomic<bool> stop{false};
        std::atomic<quint64> compared{0};
        const RemovalProof::Result result = RemovalProof(stop, compared).check(*group->children[0]);
        QCOMPARE(int(result.verdict), verdict);
        if (verdict == int(Verdict::Proved)) {
            QCOMPARE(result.keptCopy->filePath, paths.last());
            QCOMPARE(compared.load(), quint64(bytes.size()));
        }
    }

    // The walk over the shown groups: what moves, what stays listed, what the counters say.
    void run_data()
    {
        QTest::addColumn<QList<int>>("marked");   // of a group of three equal files
        QTest::addColumn<QList<int>>("refused");  // marked members the Trash refuses
        QTest::addColumn<int>("left");            // members left in the group
        QTest::addColumn<QStringList>("reasons"); // of the files not moved
        QTest::addColumn<bool>("stop");           // Stop pressed after the first move
        QTest::newRow("two of three") << QList<int>{1, 2} << QList<int>{} << 1 << QStringList() << false;
        QTest::newRow("trash refuses one")
            << QList<int>{1, 2} << QList<int>{2} << 2 << QStringList{"refused"} << false;
        QTest::newRow("every copy marked")
            << QList<int>{0, 1, 2} << QList<int>{} << 3 << QStringList(3, "no copy would remain") << false;
        QTest::newRow("stopped after one") << QList<int>{1, 2} << QList<int>{} << 2 << QStringList() << true;
    }
    void run()
    {
        QFETCH(QList<int>, marked);
        QFETCH(QList<int>, refused);
        QFETCH(int, left);
        QFETCH(QStringList, reasons);
        QFETCH(bool, stop);
        const QList<QByteArray> paths{file("a", "same"), file("b", "same"), file("c", "same")};
        ScanResult scan;
        DuplicateGroup* group = addGroup(scan, paths, marked);
        FolderTrash trash(m_tree->dir("trash"));
        for (int i : refused)
            trash.refused.append(paths[i]);
        RecordingAlbum album;
        TrashRun run(trash, album);
        if (stop)
            trash.afterMove = [&] { run.abortCleanning(); };
        QVERIFY(runToEnd(run, scan.arrMainGroup, int(marked.size()), quint64(4 * marked.size())));

        const int moved = 3 - left;
        QCOMPARE(run.countTrashed(), moved);
        QCOMPARE(run.countMarked(), int(marked.size()) - moved);
        QCOMPARE(run.sizeOfMarkedFiles(), quint64(4 * (marked.size() - moved)));
        QCOMPARE(group->groupSize, quint64(4 * left));
        QStringList listed;
        for (const NotTrashedFile& f : run.arrFileNotTrashed())
            listed.append(f.reason);
        QCOMPARE(listed, reasons);
        TrashRun::removeMovedRecords(scan.arrMainGroup);
        QCOMPARE(int(group->children.size()), left);
        QCOMPARE(int(group->filteredChildren.size()), left);
        for (const FileInfoNode* n : group->children)
            QVERIFY(::access(n->filePath.constData(), F_OK) == 0);
    }

    void photosItems_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<bool>("albumApp"); // false: the real album, which cannot be made here
        QTest::addColumn<QList<int>>("batches");
        QTest::newRow("250 items") << 250 << true << QList<int>{100, 100, 50};
        QTest::newRow("one unknown among 101") << 101 << true << QList<int>{100};
        QTest::newRow("no album") << 3 << false << QList<int>{};
    }
    void photosItems()
    {
        QFETCH(int, items);
        QFETCH(bool, albumApp);
        QFETCH(QList<int>, batches);
        ScanResult scan;
        DuplicateGroup* g = scan.addGroup();
        for (int i = 0; i < items; ++i)
            TestSupport::addPhotosItem(
                scan, g, i == 100 && items == 101 ? QStringLiteral("unknown") : QString::number(i), 1);
        FolderTrash trash(m_tree->dir("trash"));
        RecordingAlbum recording;
        PhotosAlbum real(QStringLiteral("Duplicate Marked Photos"));
        if (!albumApp)
            QTest::ignoreMessage(QtInfoMsg, "Error!! We are not able to create the album");
        TrashRun run(trash, albumApp ? static_cast<PhotosAlbumInterface&>(recording) : real);
        QVERIFY(runToEnd(run, scan.arrMainGroup, items, quint64(10 * items)));

        QCOMPARE(recording.batches, batches);
        const int inAlbum = albumApp ? items - (items == 101 ? 1 : 0) : 0;
        QCOMPARE(run.countTrashed(), inAlbum);
        QCOMPARE(run.sizeOfMarkedFiles(), quint64(10 * (items - inAlbum)));
        TrashRun::removeMovedRecords(scan.arrMainGroup);
        QCOMPARE(int(g->children.size()), items - inAlbum);
        QVERIFY(trash.moved.isEmpty());
    }

    // The real Trash (in the test's home) under the review: emptied groups leave and the totals
    // drop; Put Back returns what it can (a place taken meanwhile keeps its item in the Trash)
    // and the review shows the returned records again, unmarked and fit for the proof.
    void realTrashReviewAndPutBack()
    {
        const QByteArray dir = TestSupport::testHome() + "/putback/"; // on the home trash's volume
        ScanResult scan;
        for (const QByteArray name : {"x", "y"}) {
            QList<QByteArray> paths{dir + name + "-keep", dir + name + "-copy", dir + name + "-copy2"};
            for (const QByteArray& path : paths)
                QVERIFY(TestSupport::writeFile(path, name));
            addGroup(scan, paths);
        }
        ScriptedAlertPresenter alerts;
        ReviewModel model(m_tree->settings(), alerts);
        model.setArrMainGroup(scan.arrMainGroup);
        model.updateUIComponentsDetailView();
        for (DuplicateGroup* g : model.arrGroups()) {
            model.updateNodeState(g->filteredChildren[1], true);
            model.updateNodeState(g->filteredChildren[2], true);
        }
        FreedesktopTrash trash;
        RecordingAlbum album;
        TrashRun run(trash, album);
        QVERIFY(runToEnd(run, model.arrGroups(), model.countMarked(), quint64(model.sizeOfMarkedFiles())));
        model.applyTrashRun(run);
        QCOMPARE(run.countTrashed(), 4);
        QVERIFY(model.arrGroups().empty() && model.summary().exhausted);
        QCOMPARE(model.countMarked(), 0);

        const QByteArray taken = dir + "y-copy2";
        QVERIFY(TestSupport::writeFile(taken, "newcomer"));
        const std::vector<NotPutBackFile> stayed = run.putBack();
        QCOMPARE(int(stayed.size()), 1);
        QCOMPARE(stayed[0].node->filePath, taken);
        QVERIFY(::access(stayed[0].trashedPath.constData(), F_OK) == 0);
        const QByteArray info = FreedesktopTrash::homeTrashPath() + "/info/x-copy.trashinfo";
        QVERIFY(::access(info.constData(), F_OK) != 0);
        model.restoreRecords(run.putBackRecords());
        QVERIFY(!model.summary().exhausted);
        QCOMPARE(model.summary().lblDupCount, QStringLiteral("3 duplicate(s) found 3 bytes"));
        QCOMPARE(model.countMarked(), 0);
        FileInfoNode* back = scan.arrFileNodes[1]; // x-copy
        QCOMPARE(back->state, 0);
        model.updateNodeState(back, true);
        std::atomic<bool> stop{false};
        std::atomic<quint64> compared{0};
        QCOMPARE(int(RemovalProof(stop, compared).check(*back).verdict), int(Verdict::Proved));
    }
};

QUILLON_TEST_MAIN(TestTrashRun)
#include "tst_trashrun.moc"
