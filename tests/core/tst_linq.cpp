#include "support/TestMain.h"
#include "util/LinqExtensions.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace LE = LinqExtensions;

namespace {

struct Item
{
    int key = 0;
    int id = 0;
    bool operator==(const Item&) const = default;
};

QList<int> ids(const std::vector<Item>& items)
{
    QList<int> out;
    for (const Item& item : items)
        out.append(item.id);
    return out;
}

struct Shape
{
    virtual ~Shape() = default;
};
struct Polygon : Shape
{};
struct Square : Polygon
{};

// Every operation on an empty range of the given kind.
template <class Range> void checkEmpty()
{
    using T = typename Range::value_type;
    const Range empty;
    const auto yes = [](const T&) { return true; };
    const auto self = [](const T& v) { return v; };

    QVERIFY(LE::where(empty, yes).empty());
    QVERIFY(LE::select(empty, self).empty());
    QVERIFY(LE::selectMany(empty, [](const T& v) { return Range{v, v}; }).empty());
    QVERIFY(LE::sort(empty, self).empty());
    QVERIFY(LE::sortDesc(empty, self).empty());
    QVERIFY(LE::sortByLevels(empty, [](const T&) { return 1.5; }).empty());
    QVERIFY(LE::sort(empty).empty());
    QVERIFY(LE::distinct(empty).empty());
    QVERIFY(LE::distinct(empty, self).empty());
    QVERIFY(!LE::aggregate(empty, [](const T&, const T& running) { return running; }).has_value());
    QVERIFY(LE::skip(empty, 3).empty());
    QVERIFY(LE::take(empty, 3).empty());
    QVERIFY(!LE::any(empty, yes));
    QVERIFY(LE::all(empty, [](const T&) { return false; }));
    QVERIFY(LE::groupBy(empty, self).isEmpty());
    QVERIFY(LE::toDictionaryWithKeySelector(empty, self).isEmpty());
    QVERIFY(LE::toDictionaryWithKeySelector(empty, self, self).isEmpty());
    QCOMPARE(LE::count(empty, yes), std::size_t(0));
    QVERIFY(LE::concat(empty, empty).empty());
    QVERIFY(LE::reverse(empty).empty());
}

} // namespace

class TestLinq : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void emptyInputs()
    {
        checkEmpty<std::vector<int>>();
        checkEmpty<QList<QString>>();
    }

    void skipTake_data()
    {
        QTest::addColumn<int>("n");
        QTest::addColumn<QList<int>>("skipped");
        QTest::addColumn<QList<int>>("taken");
        QTest::newRow("zero") << 0 << QList<int>{10, 20, 30} << QList<int>{};
        QTest::newRow("one") << 1 << QList<int>{20, 30} << QList<int>{10};
        QTest::newRow("count minus one") << 2 << QList<int>{30} << QList<int>{10, 20};
        QTest::newRow("count") << 3 << QList<int>{} << QList<int>{10, 20, 30};
        QTest::newRow("above count") << 4 << QList<int>{} << QList<int>{10, 20, 30};
        QTest::newRow("huge") << 1'000'000 << QList<int>{} << QList<int>{10, 20, 30};
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

    void sortDescOnDatesNewestFirst()
    {
        const QDateTime base(QDate(2021, 3, 14), QTime(9, 0), Qt::UTC);
        struct File
        {
            QString name;
            QDateTime modified;
        };
        const QList<File> files{{"middle", base},
                                {"oldest", base.addDays(-400)},
                                {"newest", base.addSecs(1)},
                                {"older", base.addMSecs(-1)}};
        const auto sorted = LE::sortDesc(files, [](const File& f) { return f.modified; });
        QStringList names;
        for (const File& f : sorted)
            names << f.name;
        QCOMPARE(names, (QStringList{"newest", "middle", "older", "oldest"}));
        // The receiver is unchanged.
        QCOMPARE(files.first().name, QStringLiteral("middle"));
    }

    void sortKeepsEqualKeysInOrder()
    {
        // Enough elements with few keys that an unstable sort would move equal ones.
        std::vector<Item> items;
        for (int i = 0; i < 500; ++i)
            items.push_back({(i * 7) % 3, i});
        const auto key = [](const Item& it) { return it.key; };
        for (bool descending : {false, true}) {
            const auto sorted = descending ? LE::sortDesc(items, key) : LE::sort(items, key);
            for (std::size_t i = 1; i < sorted.size(); ++i) {
                const Item& a = sorted[i - 1];
                const Item& b = sorted[i];
                QVERIFY(descending ? a.key >= b.key : a.key <= b.key);
                if (a.key == b.key)
                    QVERIFY2(a.id < b.id, "equal keys changed order");
            }
        }
    }

    void sortByLevelsComparesIntegerParts()
    {
        struct Level
        {
            double level;
            QString name;
        };
        const QList<Level> levels{{2.9, "a"}, {1.7, "b"}, {2.1, "c"}, {1.2, "d"}, {-0.5, "e"}, {0.4, "f"}};
        const auto sorted = LE::sortByLevels(levels, [](const Level& l) { return l.level; });
        QStringList names;
        for (const Level& l : sorted)
            names << l.name;
        // 1.7 and 1.2 are both level 1 and keep their order; -0.5 and 0.4 are both level 0.
        QCOMPARE(names, (QStringList{"e", "f", "b", "d", "a", "c"}));
    }

    void distinctKeepsFirstOccurrence()
    {
        // Equal strings built separately: distinct objects with equal contents.
        QString first = QStringLiteral("dup");
        QString second = QString::fromLatin1("du") + QLatin1Char('p');
        QVERIFY(first.constData() != second.constData());
        const QStringList list{first, QStringLiteral("other"), second, QStringLiteral("other")};
        const QStringList unique = LE::distinct(list);
        QCOMPARE(unique, (QStringList{"dup", "other"}));
        QCOMPARE(unique.first().constData(), list.at(0).constData());

        // By key: the first element of each key wins, in the receiver's order.
        const std::vector<Item> items{{1, 0}, {2, 1}, {1, 2}, {3, 3}, {2, 4}};
        QCOMPARE(ids(LE::distinct(items, [](const Item& it) { return it.key; })), (QList<int>{0, 1, 3}));
        // A key without any hash function still works.
        struct Key
        {
            int v;
            bool operator==(const Key&) const = default;
        };
        QCOMPARE(ids(LE::distinct(items, [](const Item& it) { return Key{it.key % 2}; })),
                 (QList<int>{0, 1}));
    }

    void aggregateWithNilMidway_data()
    {
        QTest::addColumn<QList<int>>("values");
        QTest::addColumn<int>("expected"); // -1: nil
        // Running sum that turns nil when it reaches 6; the next element then starts afresh.
        QTest::newRow("no nil") << QList<int>{1, 2, 2} << 5;
        QTest::newRow("nil then restart") << QList<int>{1, 2, 3, 4, 1} << 5;
        QTest::newRow("nil at the end") << QList<int>{1, 2, 3} << -1;
        QTest::newRow("nil twice") << QList<int>{3, 3, 10, 1, 2} << 2;
        QTest::newRow("large first element") << QList<int>{7} << 7;
        QTest::newRow("large first element folded") << QList<int>{7, 8} << -1;
    }
    void aggregateWithNilMidway()
    {
        QFETCH(QList<int>, values);
        QFETCH(int, expected);
        const auto result = LE::aggregate(values, [](int element, int running) -> std::optional<int> {
            const int sum = running + element;
            return sum >= 6 ? std::nullopt : std::optional<int>(sum);
        });
        QCOMPARE(result.value_or(-1), expected);
    }

    void aggregateArgumentOrderAndPointers()
    {
        // The element comes first, the running value second.
        const QStringList letters{"a", "b", "c", "d"};
        const auto joined = LE::aggregate(
            letters, [](const QString& element, const QString& running) { return running + element; });
        QCOMPARE(joined.value(), QStringLiteral("abcd"));
        const auto prepended = LE::aggregate(
            letters, [](const QString& element, const QString& running) { return element + running; });
        QCOMPARE(prepended.value(), QStringLiteral("dcba"));
    }

    void whereSelectCount()
    {
        const std::vector<int> values{5, -2, 8, 0, -7, 3};
        const auto positive = [](int v) { return v > 0; };
        QCOMPARE(LE::where(values, positive), (std::vector<int>{5, 8, 3}));
        QCOMPARE(LE::count(values, positive), std::size_t(3));
        QCOMPARE(LE::sort(values), (std::vector<int>{-7, -2, 0, 3, 5, 8}));
        QVERIFY(LE::any(values, [](int v) { return v == 0; }));
        QVERIFY(!LE::all(values, positive));

        // select may change the element type; the container kind stays.
        const std::vector<QString> texts = LE::select(values, [](int v) { return QString::number(v * 2); });
        QCOMPARE(texts, (std::vector<QString>{"10", "-4", "16", "0", "-14", "6"}));

        // A nil result is refused.
        int x = 1;
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument,
                                 LE::select(values, [&](int v) -> int* { return v == 0 ? nullptr : &x; }));

        // Deliberately nil even for a non-empty range.
        QVERIFY(!LE::firstOrNil(values).has_value());
        QVERIFY(!LE::lastOrNil(values).has_value());
    }

    void selectManyFlattensAndSkipsNil()
    {
        const std::vector<QList<int>> storage{{1, 2}, {3}};
        const std::vector<int> which{0, -1, 1, 0};
        const std::vector<int> flat = LE::selectMany(
            which, [&](int i) -> const QList<int>* { return i < 0 ? nullptr : &storage[std::size_t(i)]; });
        QCOMPARE(flat, (std::vector<int>{1, 2, 3, 1, 2}));
    }

    void ofTypeKeepsSubclasses()
    {
        auto polygon = std::make_unique<Polygon>();
        auto square = std::make_unique<Square>();
        auto plain = std::make_unique<Shape>();
        const QList<Shape*> shapes{square.get(), plain.get(), polygon.get(), nullptr};
        const QList<Polygon*> polygons = LE::ofType<Polygon>(shapes);
        QCOMPARE(polygons, (QList<Polygon*>{square.get(), polygon.get()}));
        QCOMPARE(LE::ofType<Square>(shapes).size(), 1);
        QCOMPARE(LE::ofType<Shape>(shapes).size(), 3);
    }

    void groupByKeepsReceiverOrder()
    {
        const std::vector<Item> items{{1, 0}, {2, 1}, {1, 2}, {3, 3}, {1, 4}, {2, 5}};
        const auto key = [](const Item& it) { return it.key; };
        const auto hashed = LE::groupBy(items, key);
        QCOMPARE(hashed.size(), 3);
        QCOMPARE(ids(hashed.value(1)), (QList<int>{0, 2, 4}));
        QCOMPARE(ids(hashed.value(2)), (QList<int>{1, 5}));
        QCOMPARE(ids(hashed.value(3)), (QList<int>{3}));
    }

    void toDictionaryLaterReplacesEarlier()
    {
        const std::vector<Item> items{{1, 0}, {2, 1}, {1, 2}};
        const auto key = [](const Item& it) { return it.key; };
        const auto byKey = LE::toDictionaryWithKeySelector(items, key);
        QCOMPARE(byKey.size(), 2);
        QCOMPARE(byKey.value(1).id, 2);
        QCOMPARE(byKey.value(2).id, 1);

        const auto idByKey =
            LE::toDictionaryWithKeySelector<std::map>(items, key, [](const Item& it) { return it.id; });
        QCOMPARE(idByKey.size(), std::size_t(2));
        QCOMPARE(idByKey.at(1), 2);
    }
};

QUILLON_TEST_MAIN(TestLinq)
#include "tst_linq.moc"
