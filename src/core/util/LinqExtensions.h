#pragma once

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

// Query operations over sequences (std::vector, QList, or any range with begin/end and
// push_back), each taking a callable and returning a new collection. None of them changes its
// argument. Elements are copied as they are (for pointer elements: the same objects), in the
// argument's order unless an operation says otherwise.
//
//   auto newestFirst = LinqExtensions::sortDesc(files, [](const FileInfoNode* f) { return f->modDate; });
namespace LinqExtensions {

namespace detail {

template <class Range>
using Element = std::remove_cvref_t<decltype(*std::begin(std::declval<const Range&>()))>;

template <class Fn, class... Args> using Result = std::remove_cvref_t<std::invoke_result_t<Fn, Args...>>;

// The same kind of container with another element type: std::vector<T> -> std::vector<U>,
// QList<T> -> QList<U>.
template <class Container, class U> struct Rebind;
template <template <class...> class C, class T, class... Rest, class U> struct Rebind<C<T, Rest...>, U>
{
    using type = C<U>;
};
template <class Container, class U> using RebindT = typename Rebind<Container, U>::type;

template <class T> struct IsOptional : std::false_type
{};
template <class T> struct IsOptional<std::optional<T>> : std::true_type
{};

// The collection behind a pointer or an optional; the type itself otherwise.
template <class T> struct Pointee
{
    using type = T;
};
template <class T> struct Pointee<T*>
{
    using type = std::remove_cv_t<T>;
};
template <class T> struct Pointee<std::optional<T>>
{
    using type = T;
};

// "Nil": a null pointer or an empty optional. Other values are never nil.
template <class V> bool isNil(const V& value)
{
    if constexpr (std::is_pointer_v<V> || std::is_same_v<V, std::nullptr_t>)
        return value == nullptr;
    else if constexpr (IsOptional<V>::value)
        return !value.has_value();
    else
        return false;
}

template <class Container> void reserve(Container& c, std::size_t n)
{
    if constexpr (requires { c.reserve(n); })
        c.reserve(n);
}

template <class Range> std::size_t size(const Range& r)
{
    if constexpr (requires { std::size(r); })
        return static_cast<std::size_t>(std::size(r));
    else
        return static_cast<std::size_t>(std::distance(std::begin(r), std::end(r)));
}

// A set of keys: QSet when the key has a qHash, else std::unordered_set, else a plain list
// searched with ==.
template <class Key> constexpr bool hasQHash = requires(const Key& k)
{
    qHash(k);
};
template <class Key> constexpr bool hasStdHash = requires(const Key& k)
{
    std::hash<Key>{}(k);
};

template <class Key> class KeySet
{
public:
    // True when the key was not in the set yet.
    bool insert(const Key& key)
    {
        if constexpr (hasQHash<Key>) {
            const qsizetype before = m_keys.size();
            m_keys.insert(key);
            return m_keys.size() != before;
        } else if constexpr (hasStdHash<Key>) {
            return m_keys.insert(key).second;
        } else {
            if (std::find(m_keys.begin(), m_keys.end(), key) != m_keys.end())
                return false;
            m_keys.push_back(key);
            return true;
        }
    }

private:
    using Store =
        std::conditional_t<hasQHash<Key>, QSet<Key>,
                           std::conditional_t<hasStdHash<Key>, std::unordered_set<Key>, std::vector<Key>>>;
    Store m_keys;
};

// The key of sortByLevels: the number's integer part, as intValue gives it.
template <class N> int levelOf(const N& value)
{
    if constexpr (requires { value.toInt(); })
        return value.toInt();
    else
        return static_cast<int>(value);
}

} // namespace detail

// Elements for which the predicate is true, in order.
template <class Range, class Pred> Range where(const Range& source, Pred predicate)
{
    Range result;
    for (const auto& element : source) {
        if (std::invoke(predicate, element))
            result.push_back(element);
    }
    return result;
}

// The selector's result for every element, in order. A null result (null pointer, empty
// optional) is a programming error and throws std::invalid_argument.
template <class Range, class Selector> auto select(const Range& source, Selector selector)
{
    using U = detail::Result<Selector, const detail::Element<Range>&>;
    detail::RebindT<Range, U> result;
    detail::reserve(result, detail::size(source));
    for (const auto& element : source) {
        U value = std::invoke(selector, element);
        if (detail::isNil(value))
            throw std::invalid_argument("LinqExtensions::select: the selector returned nil");
        result.push_back(std::move(value));
    }
    return result;
}

// All elements of the collections that the selector returns, in order. The selector may
// return a collection, a pointer to one or an optional one; a null result adds nothing.
template <class Range, class Selector> auto selectMany(const Range& source, Selector selector)
{
    using Returned = detail::Result<Selector, const detail::Element<Range>&>;
    constexpr bool indirect = std::is_pointer_v<Returned> || detail::IsOptional<Returned>::value;
    using Collection = typename detail::Pointee<Returned>::type;
    detail::RebindT<Range, detail::Element<Collection>> result;
    for (const auto& element : source) {
        Returned returned = std::invoke(selector, element);
        if constexpr (indirect) {
            if (detail::isNil(returned))
                continue;
            for (const auto& inner : *returned)
                result.push_back(inner);
        } else {
            for (const auto& inner : returned)
                result.push_back(inner);
        }
    }
    return result;
}

// Ascending by the key (operator<). The sort is stable: equal keys keep their order. The
// selector is called on both elements of every comparison; keys are not cached.
template <class Range, class Selector> Range sort(const Range& source, Selector key)
{
    Range result = source;
    std::stable_sort(std::begin(result), std::end(result), [&key](const auto& a, const auto& b) {
        return std::invoke(key, a) < std::invoke(key, b);
    });
    return result;
}

// Descending by the key (for dates: newest first); stable like sort.
template <class Range, class Selector> Range sortDesc(const Range& source, Selector key)
{
    Range result = source;
    std::stable_sort(std::begin(result), std::end(result), [&key](const auto& a, const auto& b) {
        return std::invoke(key, b) < std::invoke(key, a);
    });
    return result;
}

// Ascending by the integer part of a numeric key: 1.2 and 1.9 are the same level and keep
// their order.
template <class Range, class Selector> Range sortByLevels(const Range& source, Selector key)
{
    Range result = source;
    std::stable_sort(std::begin(result), std::end(result), [&key](const auto& a, const auto& b) {
        return detail::levelOf(std::invoke(key, a)) < detail::levelOf(std::invoke(key, b));
    });
    return result;
}

// Ascending with each element as its own key.
template <class Range> Range sort(const Range& source)
{
    return LinqExtensions::sort(
        source, [](const auto& element) -> const auto& { return element; });
}

// The pointer elements whose object is a T or of a class derived from T, as T pointers.
template <class T, class Range> auto ofType(const Range& source)
{
    static_assert(std::is_pointer_v<detail::Element<Range>>, "ofType works on pointer elements");
    detail::RebindT<Range, T*> result;
    for (const auto& element : source) {
        if (auto* typed = dynamic_cast<T*>(element))
            result.push_back(typed);
    }
    return result;
}

// The first occurrence of each element, equality by ==. Each element is compared with every
// element kept so far, so the cost grows with the square of the count.
template <class Range> Range distinct(const Range& source)
{
    Range result;
    for (const auto& element : source) {
        if (std::find(std::begin(result), std::end(result), element) == std::end(result))
            result.push_back(element);
    }
    return result;
}

// The first element for each key.
template <class Range, class Selector> Range distinct(const Range& source, Selector key)
{
    using Key = detail::Result<Selector, const detail::Element<Range>&>;
    detail::KeySet<Key> seen;
    Range result;
    for (const auto& element : source) {
        if (seen.insert(std::invoke(key, element)))
            result.push_back(element);
    }
    return result;
}

// Folds the elements: the running value starts as the first element, then becomes
// accumulator(element, running value) for each later element. Whenever the accumulator yields
// nil (an empty optional, or a null pointer for pointer elements) the next element becomes
// the running value instead. Nil for an empty range.
template <class Range, class Accumulator>
std::optional<detail::Element<Range>> aggregate(const Range& source, Accumulator accumulator)
{
    using T = detail::Element<Range>;
    std::optional<T> running;
    bool first = true;
    for (const auto& element : source) {
        if (first || !running) {
            first = false;
            running = element;
            if (detail::isNil(*running))
                running.reset();
            continue;
        }
        auto next = std::invoke(accumulator, element, *running);
        if (detail::isNil(next)) {
            running.reset();
        } else if constexpr (detail::IsOptional<decltype(next)>::value) {
            running = std::move(*next);
            if (detail::isNil(*running))
                running.reset();
        } else {
            running = std::move(next);
        }
    }
    return running;
}

// Always nil, whatever the range holds. Kept so for callers written against this behaviour;
// use front()/back() for the real first or last element.
template <class Range> std::optional<detail::Element<Range>> firstOrNil(const Range&)
{
    return std::nullopt;
}

template <class Range> std::optional<detail::Element<Range>> lastOrNil(const Range&)
{
    return std::nullopt;
}

// The elements from index n to the end; empty when n is at least the count.
template <class Range> Range skip(const Range& source, std::size_t n)
{
    Range result;
    const std::size_t count = detail::size(source);
    if (n >= count)
        return result;
    detail::reserve(result, count - n);
    auto it = std::begin(source);
    std::advance(it, static_cast<std::ptrdiff_t>(n));
    for (; it != std::end(source); ++it)
        result.push_back(*it);
    return result;
}

// The first min(n, count) elements.
template <class Range> Range take(const Range& source, std::size_t n)
{
    Range result;
    const std::size_t count = std::min(n, detail::size(source));
    detail::reserve(result, count);
    auto it = std::begin(source);
    for (std::size_t i = 0; i < count; ++i, ++it)
        result.push_back(*it);
    return result;
}

// True at the first element that satisfies the predicate; false for an empty range.
template <class Range, class Pred> bool any(const Range& source, Pred predicate)
{
    for (const auto& element : source) {
        if (std::invoke(predicate, element))
            return true;
    }
    return false;
}

// False at the first element that fails the predicate; true for an empty range.
template <class Range, class Pred> bool all(const Range& source, Pred predicate)
{
    for (const auto& element : source) {
        if (!std::invoke(predicate, element))
            return false;
    }
    return true;
}

// Key to the elements with that key, each list in the range's order. The map type is QHash by
// default; pass std::map for keys ordered by operator<: groupBy<std::map>(range, key).
template <template <class...> class Map = QHash, class Range, class Selector>
auto groupBy(const Range& source, Selector key)
{
    using Key = detail::Result<Selector, const detail::Element<Range>&>;
    Map<Key, Range> result;
    for (const auto& element : source)
        result[std::invoke(key, element)].push_back(element);
    return result;
}

// Key to value; a later element with the same key replaces the earlier one.
template <template <class...> class Map = QHash, class Range, class KeySelector, class ValueSelector>
auto toDictionaryWithKeySelector(const Range& source, KeySelector key, ValueSelector value)
{
    using Key = detail::Result<KeySelector, const detail::Element<Range>&>;
    using Value = detail::Result<ValueSelector, const detail::Element<Range>&>;
    Map<Key, Value> result;
    for (const auto& element : source) {
        // QHash::insert replaces an existing value; std::map::insert would keep it.
        if constexpr (requires {
                          result.insert_or_assign(std::invoke(key, element), std::invoke(value, element));
                      })
            result.insert_or_assign(std::invoke(key, element), std::invoke(value, element));
        else
            result.insert(std::invoke(key, element), std::invoke(value, element));
    }
    return result;
}

// Key to the element itself; a later element with the same key replaces the earlier one.
template <template <class...> class Map = QHash, class Range, class KeySelector>
auto toDictionaryWithKeySelector(const Range& source, KeySelector key)
{
    return LinqExtensions::toDictionaryWithKeySelector<Map>(
        source, key, [](const auto& element) -> const auto& { return element; });
}

// The number of elements that satisfy the predicate.
template <class Range, class Pred> std::size_t count(const Range& source, Pred predicate)
{
    std::size_t n = 0;
    for (const auto& element : source) {
        if (std::invoke(predicate, element))
            ++n;
    }
    return n;
}

// The first range's elements, then the second's.
template <class Range> Range concat(const Range& first, const Range& second)
{
    Range result;
    detail::reserve(result, detail::size(first) + detail::size(second));
    for (const auto& element : first)
        result.push_back(element);
    for (const auto& element : second)
        result.push_back(element);
    return result;
}

// The elements in reverse order.
template <class Range> Range reverse(const Range& source)
{
    Range result;
    detail::reserve(result, detail::size(source));
    for (auto it = std::end(source); it != std::begin(source);)
        result.push_back(*--it);
    return result;
}

} // namespace LinqExtensions
