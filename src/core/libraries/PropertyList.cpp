#include "libraries/PropertyList.h"

#include <QDateTime>
#include <QFile>
#include <QVariantList>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <plist/plist.h>
#include <unistd.h>

namespace {

// Seconds between 1970-01-01 and the property-list epoch 2001-01-01.
constexpr qint64 kPlistEpochOffset = 978307200;

QVariant toVariant(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!key)
                break;
            map.insert(QString::fromUtf8(key), toVariant(value));
            std::free(key);
        }
        std::free(it);
        return map;
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t n = plist_array_get_size(node);
        list.reserve(n);
        for (uint32_t i = 0; i < n; ++i)
            list.append(toVariant(plist_array_get_item(node, i)));
        return list;
    }
    case PLIST_STRING: {
        uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return QString::fromUtf8(text, qsizetype(length));
    }
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return bool(value);
    }
    case PLIST_UINT: {
        // libplist keeps signed integers in the same node type.
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return qint64(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char* data = plist_get_data_ptr(node, &length);
        return QByteArray(data, qsizetype(length));
    }
    case PLIST_DATE: {
        int32_t sec = 0;
        int32_t usec = 0;
        plist_get_date_val(node, &sec, &usec);
        return QDateTime::fromMSecsSinceEpoch((kPlistEpochOffset + sec) * 1000 + usec / 1000, Qt::UTC);
    }
    case PLIST_UID: {
        uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return qint64(value);
    }
    default:
        return {};
    }
}

} // namespace

std::optional<QVariant> PropertyList::fromMemory(const QByteArray& data)
{
    if (data.isEmpty() || data.size() > std::numeric_limits<uint32_t>::max())
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(data.constData(), uint32_t(data.size()), &root);
    if (!root)
        return std::nullopt;
    QVariant value = toVariant(root);
    plist_free(root);
    return value;
}

std::optional<QVariant> PropertyList::read(const QByteArray& path)
{
    // Opened by its bytes, so a path that is not UTF-8 still works.
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return std::nullopt;
    }
    return fromMemory(file.readAll());
}

std::optional<QVariantMap> PropertyList::readDictionary(const QByteArray& path)
{
    const std::optional<QVariant> value = read(path);
    if (!value || value->typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    return value->toMap();
}
