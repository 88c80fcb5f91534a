#include "support/TestMain.h"
#include "util/LinqExtensions.h"

#include <QBuffer>
#include <QDateTime>
#include <map>
#include <optional>
#include <vector>

namespace LE = LinqExtensions;

namespace {

using Item = QPair<int, int>; // key, id
const auto byKey = [](const Item& it) { return it.first; };

} // namespace

class TestLinq : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void emptyInputs()
    {
        const QList<QString> empty;
        const auto yes = [](const QString&) { return true; };
        const auto self = [](const QString& v) { return v; };
        QVERIFY(LE::where(empty, yes).empty());
        QVERIFY(!LE::aggregate(empty, [](const QString&, const QString& running) { return running; }));
        QVERIFY(LE::skip(empty, 3).empty());
        QVERIFY(LE::take(empty, 3).empty());
        QVERIFY(!LE::any(empty, yes));
        QVERIFY(LE::all(empty, [](const QString&) { return false; }));
        QVERIFY(LE::groupBy(empty, self).isEmpty());
        QCOMPARE(LE::count(empty, yes), std::size_t(0));
        QVERIFY(LE::reverse(empty).empty());
    }

    void skipTake_data()
    {
        QTest::addColumn<int>("n");
        QTest::addColumn<QList<int>>("skipped");
        QTest::addColumn<QList<int>>("taken");
        QTest::newRow("zero") << 0 << QList<int>{10, 20, 30} << QList<int>{};
        QTest::newRow("count") << 3 << QList<int>{} << QList<int>{10, 20, 30};
    }
    void skipTake()
    {
        QFETCH(int, n);
        QFETCH(QList<int>, skipped);
        QFETCH(QList<int>, taken);
        const QList<int> list{10, 20, 30};
        QCOMPARE(LE::skip(list, std::size_t(n)), skipped);
        QCOMPARE(LE::take(list, std::size_t(n)), taken);
    }

    // Newest first on dates, equal keys keep their order, the receiver is unchanged.
    void orderings()
    {
        const QDateTime base(QDate(2021, 3, 14), QTime(9, 0), Qt::UTC);
        const QList<QDateTime> dates{base, base.addDays(-400), base.addSecs(1), base.addMSecs(-1)};
        QCOMPARE(LE::sortDesc(dates, [](const QDateTime& d) { return d; }),
                 (QList<QDateTime>{base.addSecs(1), base, base.addMSecs(-1), base.addDays(-400)}));
        QCOMPARE(dates.first(), base);

        QList<Item> many;
        for (int i = 0; i < 500; ++i)
            many.append({(i * 7) % 3, i});
        for (const QList<Item>& sorted : {LE::sort(many, byKey), LE::sortDesc(many, byKey)}) {
            for (qsizetype i = 1; i < sorted.size(); ++i)
                QVERIFY2(sorted[i - 1].first != sorted[i].first || sorted[i - 1].second < sorted[i].second,
                         "equal keys changed order");
        }
        QCOMPARE(LE::sort(std::vector<int>{5, -2, 8, 0}), (std::vector<int>{-2, 0, 5, 8}));
        // Levels are integer parts: 1.7 and 1.2 tie, -0.5 and 0.4 are both level 0.
        QCOMPARE(
            LE::sortByLevels(std::vector<double>{2.9, 1.7, 2.1, 1.2, -0.5, 0.4}, [](double d) { return d; }),
            (std::vector<double>{-0.5, 0.4, 1.7, 1.2, 2.9, 2.1}));
    }

    void distinctKeepsFirstOccurrence()
    {
        const QStringList list{QStringLiteral("dup"), QStringLiteral("other"),
                               QString::fromLatin1("du") + QLatin1Char('p')};
        const QStringList unique = LE::distinct(list);
        QCOMPARE(unique, (QStringList{"dup", "other"}));
        QCOMPARE(unique.first().constData(), list.at(0).constData());
        const QList<Item> items{{1, 0}, {2, 1}, {1, 2}, {3, 3}, {2, 4}};
        QCOMPARE(LE::distinct(items, byKey), (QList<Item>{{1, 0}, {2, 1}, {3, 3}}));
    }

    void aggregateRestartsAfterNil_data()
    {
        QTest::addColumn<QList<int>>("values");
        QTest::addColumn<int>("expected"); // -1: nil
        // A running sum that turns nil at 6 or more.
        QTest::newRow("no nil") << QList<int>{1, 2, 2} << 5;
        QTest::newRow("nil then restart") << QList<int>{1, 2, 3, 4, 1} << 5;
        QTest::newRow("nil at the end") << QList<int>{1, 2, 3} << -1;
        QTest::newRow("large first element kept") << QList<int>{7} << 7;
    }
    void aggregateRestartsAfterNil()
    {
        QFETCH(QList<int>, values);
        QFETCH(int, expected);
        const auto result = LE::aggregate(values, [](int element, int running) -> std::optional<int> {
            return running + element >= 6 ? std::nullopt : std::optional<int>(running + element);
        });
        QCOMPARE(result.value_or(-1), expected);
        // The element comes first, the running value second.
        const QStringList letters{"a", "b", "c"};
        QCOMPARE(LE::aggregate(letters, [](const QString& e, const QString& r) { return e + r; }).value(),
                 QStringLiteral("cba"));
    }

    void mappingAndFiltering()
    {
        const std::vector<int> values{5, -2, 8, 0, 3};
        const auto positive = [](int v) { return v > 0; };
        QCOMPARE(LE::where(values, positive), (std::vector<int>{5, 8, 3}));
        QCOMPARE(LE::count(values, positive), std::size_t(3));
        QVERIFY(LE::any(values, [](int v) { return v == 0; }));
        QVERIFY(!LE::all(values, positive));
        QCOMPARE(LE::reverse(values), (std::vector<int>{3, 0, 8, -2, 5}));
        QCOMPARE(LE::select(values, [](int v) { return QString::number(v * 2); }),
                 (std::vector<QString>{"10", "-4", "16", "0", "6"}));
        int x = 1;
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument,
                                 LE::select(values, [&](int v) -> int* { return v == 0 ? nullptr : &x; }));
        QVERIFY(!LE::firstOrNil(values).has_value());
        QVERIFY(!LE::lastOrNil(values).has_value());

        const std::vector<QList<int>> storage{{1, 2}, {3}};
        const auto listAt = [&](int i) -> const QList<int>* {
            return i < 0 ? nullptr : &storage[std::size_t(i)];
        };
        QCOMPARE(LE::selectMany(std::vector<int>{0, -1, 1}, listAt), (std::vector<int>{1, 2, 3}));

        // Subclasses count; other classes and null pointers do not.
        QObject plain;
        QBuffer buffer;
        const QList<QObject*> objects{&buffer, &plain, nullptr};
        QCOMPARE(LE::ofType<QIODevice>(objects), (QList<QIODevice*>{&buffer}));
    }

    void groupingAndDictionaries()
    {
        const QList<Item> items{{1, 0}, {2, 1}, {1, 2}, {3, 3}, {1, 4}};
        const auto groups = LE::groupBy(items, byKey);
        QCOMPARE(groups.size(), 3);
        QCOMPARE(groups.value(1), (QList<Item>{{1, 0}, {1, 2}, {1, 4}}));
        QCOMPARE(groups.value(2), (QList<Item>{{2, 1}}));
        // A later element with the same key replaces the earlier one, for either map type.
        QCOMPARE(LE::toDictionaryWithKeySelector(items, byKey).value(1).second, 4);
        const auto idByKey =
            LE::toDictionaryWithKeySelector<std::map>(items, byKey, [](const Item& it) { return it.second; });
        QCOMPARE(idByKey.size(), std::size_t(3));
        QCOMPARE(idByKey.at(1), 4);
    }
};

QUILLON_TEST_MAIN(TestLinq)
#include "tst_linq.moc"
