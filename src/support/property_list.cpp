#include "support/property_list.h"

#include "support/property_list_limits.h"

#include <QDateTime>
#include <QFile>

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

namespace qv
{
namespace
{

struct NodeDeleter {
    void operator()(void *node) const { plist_free(node); }
};
using NodeOwner = std::unique_ptr<void, NodeDeleter>;

struct CFree {
    void operator()(void *memory) const { std::free(memory); }
};
using CText = std::unique_ptr<char, CFree>;

// Property-list dates count from 2001-01-01 00:00 UTC.
constexpr qint64 dateEpoch = 978307200;

// --- from libplist -------------------------------------------------------------------------------

QVariant toVariant(plist_t node);

// Kinds of values that we have no use for read as missing.
void insertValue(QVariantMap &map, const QString &key, const QVariant &value)
{
    if (value.isValid()) {
        map.insert(key, value);
    }
}

QVariantMap toMap(plist_t node)
{
    QVariantMap map;
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(node, &rawIterator);
    const std::unique_ptr<void, CFree> iterator(rawIterator);
    while (true) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator.get(), &key, &value);
        const CText keyOwner(key);
        if (value == nullptr) {
            return map;
        }
        insertValue(map, QString::fromUtf8(key), toVariant(value));
    }
}

QVariantList toList(plist_t node)
{
    QVariantList list;
    plist_array_iter rawIterator = nullptr;
    plist_array_new_iter(node, &rawIterator);
    const std::unique_ptr<void, CFree> iterator(rawIterator);
    while (true) {
        plist_t value = nullptr;
        plist_array_next_item(node, iterator.get(), &value);
        if (value == nullptr) {
            return list;
        }
        if (QVariant item = toVariant(value); item.isValid()) {
            list.append(std::move(item));
        }
    }
}

// Never null: an empty text is a value. Not through libplist's copy, which asserts that there is no
// NUL in it.
QString toText(plist_t node)
{
    const char *text = plist_get_string_ptr(node, nullptr);
    return QString::fromUtf8(text == nullptr ? "" : text);
}

QByteArray toBytes(plist_t node)
{
    char *data = nullptr;
    uint64_t length = 0;
    plist_get_data_val(node, &data, &length);
    const CText owner(data);
    return data == nullptr ? QByteArray("") : QByteArray(data, static_cast<qsizetype>(length));
}

qlonglong toInteger(plist_t node)
{
    uint64_t value = 0;
    plist_get_uint_val(node, &value);
    return static_cast<qlonglong>(value); // negative numbers come as two's complement
}

double toReal(plist_t node)
{
    double value = 0;
    plist_get_real_val(node, &value);
    return value;
}

QDateTime toDate(plist_t node)
{
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return QDateTime::fromMSecsSinceEpoch((dateEpoch + seconds) * 1000 + microseconds / 1000,
                                          Qt::UTC);
}

bool toBool(plist_t node)
{
    uint8_t value = 0;
    plist_get_bool_val(node, &value);
    return value != 0;
}

QVariant toVariant(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_DICT:
        return toMap(node);
    case PLIST_ARRAY:
        return toList(node);
    case PLIST_STRING:
        return toText(node);
    case PLIST_DATA:
        return toBytes(node);
    case PLIST_UINT:
        return toInteger(node);
    case PLIST_REAL:
        return toReal(node);
    case PLIST_DATE:
        return toDate(node);
    case PLIST_BOOLEAN:
        return toBool(node);
    default:
        return {};
    }
}

// --- to libplist ---------------------------------------------------------------------------------

// Makes nodes until a value has no counterpart, which error() then names.
class NodeMaker
{
public:
    NodeOwner node(const QVariant &value, unsigned depth = 0)
    {
        if (depth > propertyListMaxDepth / 2) {
            return failure(QStringLiteral("nested too deep"));
        }
        switch (value.typeId()) {
        case QMetaType::QVariantMap:
            return dictionary(value.toMap(), depth);
        case QMetaType::QVariantList:
        case QMetaType::QStringList:
            return array(value.toList(), depth);
        default:
            return scalar(value);
        }
    }

    QString error() const { return m_error; }

private:
    NodeOwner failure(const QString &reason)
    {
        m_error = reason;
        return nullptr;
    }

    NodeOwner dictionary(const QVariantMap &map, unsigned depth)
    {
        NodeOwner made(plist_new_dict());
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            NodeOwner child = node(it.value(), depth + 1);
            if (!child) {
                return nullptr;
            }
            plist_dict_set_item(made.get(), utf8(it.key()).constData(), child.release());
        }
        return made;
    }

    NodeOwner array(const QVariantList &list, unsigned depth)
    {
        NodeOwner made(plist_new_array());
        for (const QVariant &value : list) {
            NodeOwner child = node(value, depth + 1);
            if (!child) {
                return nullptr;
            }
            plist_array_append_item(made.get(), child.release());
        }
        return made;
    }

    NodeOwner scalar(const QVariant &value)
    {
        switch (value.typeId()) {
        case QMetaType::QString:
            return NodeOwner(plist_new_string(utf8(value.toString()).constData()));
        case QMetaType::Bool:
            return NodeOwner(plist_new_bool(value.toBool() ? 1 : 0));
        case QMetaType::Float:
        case QMetaType::Double:
            return NodeOwner(plist_new_real(value.toDouble()));
        case QMetaType::QByteArray:
            return data(value.toByteArray());
        case QMetaType::QDateTime:
            return date(value.toDateTime());
        default:
            return integer(value);
        }
    }

    NodeOwner integer(const QVariant &value)
    {
        switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::Long:
        case QMetaType::LongLong:
        case QMetaType::Short:
            return signedInteger(value.toLongLong());
        case QMetaType::UInt:
        case QMetaType::ULong:
        case QMetaType::ULongLong:
        case QMetaType::UShort:
            return NodeOwner(plist_new_uint(value.toULongLong()));
        default:
            return failure(QStringLiteral("no property-list value: ") +
                           QString::fromLatin1(value.typeName()));
        }
    }

    // libplist makes only unsigned numbers itself, but its reader keeps the sign.
    static NodeOwner signedInteger(qlonglong value)
    {
        if (value >= 0) {
            return NodeOwner(plist_new_uint(static_cast<uint64_t>(value)));
        }
        const QByteArray xml =
            "<plist><integer>" + QByteArray::number(value) + "</integer></plist>";
        plist_t made = nullptr;
        plist_from_xml(xml.constData(), static_cast<uint32_t>(xml.size()), &made);
        return NodeOwner(made);
    }

    static NodeOwner data(const QByteArray &bytes)
    {
        return NodeOwner(plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size())));
    }

    NodeOwner date(const QDateTime &when)
    {
        const qint64 seconds = when.toSecsSinceEpoch() - dateEpoch;
        if (!when.isValid() || seconds < INT32_MIN || seconds > INT32_MAX) {
            return failure(QStringLiteral("no property-list date"));
        }
        return NodeOwner(plist_new_date(static_cast<int32_t>(seconds), 0));
    }

    // libplist's texts end at the first NUL; dropping it keeps what follows.
    static QByteArray utf8(const QString &text) { return text.toUtf8().replace('\0', ""); }

    QString m_error;
};

} // namespace

tl::expected<QVariant, QString> parsePropertyList(const QByteArray &bytes)
{
    if (bytes.size() > propertyListMaxBytes) {
        return tl::make_unexpected(QStringLiteral("larger than a property list may be"));
    }
    const bool bounded =
        isBinaryPropertyList(bytes) ? binaryUnfoldingIsBounded(bytes) : xmlNestingIsBounded(bytes);
    if (!bounded) {
        return tl::make_unexpected(QStringLiteral("nested too deep, or damaged"));
    }
    plist_t parsed = nullptr;
    plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &parsed);
    const NodeOwner owner(parsed);
    if (!owner) {
        return tl::make_unexpected(QStringLiteral("no property list"));
    }
    return toVariant(parsed);
}

tl::expected<QVariant, QString> readPropertyList(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return tl::make_unexpected(file.errorString());
    }
    return parsePropertyList(file.read(propertyListMaxBytes + 1));
}

tl::expected<QByteArray, QString> propertyListXml(const QVariant &value)
{
    NodeMaker maker;
    const NodeOwner root = maker.node(value);
    if (!root) {
        return tl::make_unexpected(maker.error());
    }
    char *xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root.get(), &xml, &length);
    const CText owner(xml);
    if (xml == nullptr) {
        return tl::make_unexpected(QStringLiteral("not writable as XML"));
    }
    return QByteArray(xml, static_cast<qsizetype>(length));
}

} // namespace qv
