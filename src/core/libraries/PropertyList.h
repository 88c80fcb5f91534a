#pragma once

#include <QByteArray>
#include <QVariant>
#include <QVariantMap>
#include <optional>

// Property lists (XML or binary) read with libplist into Qt values: dictionaries become
// QVariantMap, arrays QVariantList, strings QString, integers qint64, reals double, booleans
// bool, data QByteArray and dates QDateTime (UTC).
class PropertyList
{
public:
    PropertyList() = delete;

    // The whole property list in a file; nothing when it cannot be read or parsed.
    static std::optional<QVariant> read(const QByteArray& path);
    // The same from bytes already in memory.
    static std::optional<QVariant> fromMemory(const QByteArray& data);
    // A file whose root is a dictionary; nothing otherwise.
    static std::optional<QVariantMap> readDictionary(const QByteArray& path);
};
