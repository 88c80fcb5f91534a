#include "support/TestMain.h"
#include "util/LinqExtensions.h"

#include <QDateTime>
#include <vector>

namespace LE = LinqExtensions;

namespace {

using Item = QPair<int, int>; // key, id
const auto byKey = [](const Item& it) { return it.first; };

} // namespace

// Only the helpers the review uses are checked: marking relies on the stable descending sort.
class TestLinq : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sortDescIsStableAndNewestFirst()
    {
        const QDateTime base(QDate(2021, 3, 14), QTime(9, 0), Qt::UTC);
        const QList<QDateTime> dates{base, base.addDays(-400), base.addSecs(1), base.addMSecs(-1)};
        QCOMPARE(LE::sortDesc(dates, [](const QDateTime& d) { return d; }),
                 (QList<QDateTime>{base.addSecs(1), base, base.addMSecs(-1), base.addDays(-400)}));
        QCOMPARE(dates.first(), base); // the receiver is unchanged

        QList<Item> many;
        for (int i = 0; i < 500; ++i)
            many.append({(i * 7) % 3, i});
        const QList<Item> sorted = LE::sortDesc(many, byKey);
        for (qsizetype i = 1; i < sorted.size(); ++i) {
            QVERIFY(sorted[i - 1].first >= sorted[i].first);
            QVERIFY2(sorted[i - 1].first != sorted[i].first || sorted[i - 1].second < sorted[i].second,
                     "equal keys changed order");
        }
    }

    void mappingAndFiltering()
    {
        const std::vector<int> values{5, -2, 8, 0, 3};
        const auto positive = [](int v) { return v > 0; };
        QCOMPARE(LE::where(values, positive), (std::vector<int>{5, 8, 3}));
        QCOMPARE(LE::count(values, positive), std::size_t(3));
        QVERIFY(LE::any(values, [](int v) { return v == 0; }));
        QVERIFY(!LE::any(std::vector<int>{}, positive));
        QCOMPARE(LE::reverse(values), (std::vector<int>{3, 0, 8, -2, 5}));
        QCOMPARE(LE::select(values, [](int v) { return QString::number(v * 2); }),
                 (std::vector<QString>{"10", "-4", "16", "0", "6"}));
    }
};

QUILLON_TEST_MAIN(TestLinq)
#include "tst_linq.moc"
