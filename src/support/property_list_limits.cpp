#include "support/property_list_limits.h"

#include <QByteArrayView>

#include <algorithm>
#include <optional>
#include <vector>

namespace qv
{
namespace
{

constexpr qsizetype trailerSize = 32;

// The end of a section that opens at `from`, past its closing mark; the end of the text without
// one.
qsizetype pastMark(const QByteArray &xml, const char *mark, qsizetype from)
{
    const qsizetype at = xml.indexOf(mark, from);
    return at < 0 ? xml.size() : at + static_cast<qsizetype>(qstrlen(mark));
}

struct XmlTag {
    qsizetype end = 0;
    int depthChange = 0;
};

XmlTag tagAt(const QByteArray &xml, qsizetype at)
{
    const QByteArrayView rest = QByteArrayView(xml).sliced(at);
    if (rest.startsWith("<!--")) {
        return {pastMark(xml, "-->", at + 4), 0};
    }
    if (rest.startsWith("<![CDATA[")) {
        return {pastMark(xml, "]]>", at + 9), 0};
    }
    const qsizetype end = pastMark(xml, ">", at);
    if (rest.startsWith("<!") || rest.startsWith("<?")) {
        return {end, 0};
    }
    if (rest.startsWith("</")) {
        return {end, -1};
    }
    const bool selfClosing = end - at >= 3 && xml.at(end - 2) == '/';
    return {end, selfClosing ? 0 : 1};
}

// What an object becomes once everything it refers to is written out in its place.
struct Unfolded {
    quint32 size = 0; // 0: not measured yet
    quint32 height = 0;
};
constexpr Unfolded tooMuch = {static_cast<quint32>(propertyListMaxBytes) + 1, 0};

class BinaryList
{
public:
    explicit BinaryList(const QByteArray &bytes) : m_bytes(bytes) {}

    bool isBounded()
    {
        if (!readTrailer()) {
            return false;
        }
        m_known.assign(static_cast<size_t>(m_objectCount), Unfolded());
        return unfold(m_top, 0).size <= propertyListMaxBytes;
    }

private:
    // Big endian, 1 to 8 bytes; nothing outside the bytes or above what a size can be.
    std::optional<qint64> number(qint64 at, qint64 width) const
    {
        if (width < 1 || width > 8 || at < 0 || at > m_bytes.size() - width) {
            return std::nullopt;
        }
        quint64 value = 0;
        for (qint64 i = 0; i < width; ++i) {
            value = value << 8 | static_cast<quint8>(m_bytes.at(at + i));
        }
        return value > INT64_MAX ? std::nullopt : std::optional(static_cast<qint64>(value));
    }

    bool readTrailer()
    {
        const qint64 trailer = m_bytes.size() - trailerSize;
        m_offsetWidth = number(trailer + 6, 1).value_or(0);
        m_referenceWidth = number(trailer + 7, 1).value_or(0);
        m_objectCount = number(trailer + 8, 8).value_or(0);
        m_top = number(trailer + 16, 8).value_or(0);
        m_offsetTable = number(trailer + 24, 8).value_or(trailer);
        return m_objectCount > 0 && m_objectCount < trailer / 2 && m_offsetTable < trailer;
    }

    Unfolded unfold(qint64 object, unsigned depth)
    {
        if (object >= m_objectCount || depth > propertyListMaxDepth) {
            return tooMuch;
        }
        const auto index = static_cast<size_t>(object);
        if (m_known[index].size == 0) {
            m_known[index] = tooMuch; // what an object that holds itself finds
            m_known[index] = measure(object, depth);
        }
        return m_known[index];
    }

    Unfolded measure(qint64 object, unsigned depth)
    {
        const auto at = number(m_offsetTable + object * m_offsetWidth, m_offsetWidth);
        const auto marker = at ? number(*at, 1) : std::nullopt;
        if (!marker) {
            return tooMuch;
        }
        const qint64 kind = *marker >> 4;
        if (kind < 0x4 || kind == 0x8) { // constants, numbers, dates, identifiers
            return {16, 1};
        }
        return measureCounted(kind, *at, *marker & 0xF, depth);
    }

    Unfolded measureCounted(qint64 kind, qint64 at, qint64 count, unsigned depth)
    {
        qint64 content = at + 1;
        if (count == 0xF) { // the count stands in an integer object of its own
            const qint64 width = qint64{1} << (number(at + 1, 1).value_or(0) & 0x3);
            count = number(at + 2, width).value_or(INT64_MAX);
            content = at + 2 + width;
        }
        if (count > m_bytes.size()) {
            return tooMuch;
        }
        if (kind == 0x6 && hasNul(content, count)) {
            return tooMuch;
        }
        const bool isContainer = kind >= 0xA;
        return isContainer ? sumOfChildren(content, kind == 0xD ? 2 * count : count, depth)
                           : Unfolded{static_cast<quint32>(16 + 2 * count), 1};
    }

    // A text of 16-bit units. As a key with a NUL it would end the process: libplist asserts.
    bool hasNul(qint64 at, qint64 count) const
    {
        for (qint64 i = 0; i < count; ++i) {
            if (number(at + 2 * i, 2).value_or(0) == 0) {
                return true;
            }
        }
        return false;
    }

    Unfolded sumOfChildren(qint64 references, qint64 count, unsigned depth)
    {
        Unfolded sum = {16, 1};
        for (qint64 i = 0; i < count; ++i) {
            const auto reference = number(references + i * m_referenceWidth, m_referenceWidth);
            const Unfolded child = reference ? unfold(*reference, depth + 1) : tooMuch;
            sum.size += child.size;
            sum.height = std::max(sum.height, child.height + 1);
            if (sum.size >= tooMuch.size || sum.height > propertyListMaxDepth) {
                return tooMuch;
            }
        }
        return sum;
    }

    const QByteArray &m_bytes;
    std::vector<Unfolded> m_known;
    qint64 m_offsetWidth = 0;
    qint64 m_referenceWidth = 0;
    qint64 m_objectCount = 0;
    qint64 m_top = 0;
    qint64 m_offsetTable = 0;
};

} // namespace

bool isBinaryPropertyList(const QByteArray &bytes)
{
    return bytes.startsWith("bplist");
}

bool xmlNestingIsBounded(const QByteArray &xml)
{
    int depth = 0;
    qsizetype at = xml.indexOf('<');
    while (at >= 0) {
        const XmlTag tag = tagAt(xml, at);
        depth = std::max(0, depth + tag.depthChange);
        if (depth > static_cast<int>(propertyListMaxDepth)) {
            return false;
        }
        at = xml.indexOf('<', tag.end);
    }
    return true;
}

bool binaryUnfoldingIsBounded(const QByteArray &bytes)
{
    return bytes.size() > trailerSize && BinaryList(bytes).isBounded();
}

} // namespace qv
