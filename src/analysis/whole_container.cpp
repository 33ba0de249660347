#include "analysis/whole_container.h"

#include "analysis/movie_boxes.h"

#include <bit>
#include <optional>

namespace qv
{
namespace
{

constexpr int mostElements = 1000;

bool isMovieFile(QFile &file)
{
    const auto first = boxAt(file, 0);
    return first && (first->type == "ftyp" || first->type == "moov" || first->type == "mdat" ||
                     first->type == "wide" || first->type == "free" || first->type == "skip");
}

bool holdsAllBoxes(QFile &file)
{
    qint64 position = 0;
    bool hasMovie = false;
    for (int i = 0; position < file.size(); ++i) {
        const auto box = boxAt(file, position);
        if (!box) {
            break; // padding behind the last box
        }
        if (i == mostElements) {
            return false;
        }
        if (box->type == "moof" || box->length > static_cast<quint64>(file.size() - position)) {
            return false;
        }
        hasMovie = hasMovie || box->type == "moov";
        position += static_cast<qint64>(box->length);
    }
    return hasMovie;
}

// A number of one to eight bytes; the zero bits in front of its first one tell how many follow.
struct Number {
    int bytes = 0;
    quint64 value = 0;
    bool isUnknown = false; // all ones
};

std::optional<Number> numberAt(const QByteArray &bytes, qsizetype at)
{
    constexpr int most = 8;
    const auto first = at < bytes.size() ? static_cast<quint8>(bytes[at]) : quint8(0);
    Number number{std::countl_zero(first) + 1, 0, false};
    if (number.bytes > most || bytes.size() - at < number.bytes) {
        return std::nullopt;
    }
    for (int i = 0; i < number.bytes; ++i) {
        number.value = (number.value << 8) | static_cast<quint8>(bytes[at + i]);
    }
    const quint64 mask = (quint64(1) << (7 * number.bytes)) - 1;
    number.value &= mask;
    number.isUnknown = number.value == mask;
    return number;
}

const QByteArray ebmlHeader = QByteArray::fromHex("1A45DFA3");
const QByteArray segment = QByteArray::fromHex("18538067");

bool holdsWholeSegment(QFile &file)
{
    constexpr qint64 longestHeader = 12;
    qint64 position = 0;
    for (int i = 0; i < mostElements; ++i) {
        const QByteArray bytes = bytesAt(file, position, longestHeader);
        const auto id = numberAt(bytes, 0);
        const auto length = id ? numberAt(bytes, id->bytes) : std::nullopt;
        if (!length || length->isUnknown) {
            return false;
        }
        position += id->bytes + length->bytes;
        if (length->value > static_cast<quint64>(std::max<qint64>(0, file.size() - position))) {
            return false;
        }
        if (bytes.startsWith(segment)) {
            return true;
        }
        position += static_cast<qint64>(length->value);
    }
    return false;
}

} // namespace

bool holdsAllItsBytes(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    if (bytesAt(file, 0, ebmlHeader.size()) == ebmlHeader) {
        return holdsWholeSegment(file);
    }
    return isMovieFile(file) && holdsAllBoxes(file);
}

} // namespace qv
