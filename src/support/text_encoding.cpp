#include "support/text_encoding.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <iconv.h>
#include <uchardet.h>

namespace qv
{
namespace
{

constexpr char asciiName[] = "ANSI_X3.4-1968";
constexpr char otherName[] = "CP1252";

struct NamedEncoding {
    const char *detected; // as the detection names it
    const char *tool;
};

constexpr NamedEncoding knownEncodings[] = {
    {"ASCII", asciiName},       {"EUC-JP", "EUC-JP"},       {"UTF-8", "UTF-8"},
    {"ISO-8859-1", "CP819"},    {"SHIFT_JIS", "MS_KANJI"},  {"ISO-8859-2", "ISO-8859-2"},
    {"UTF-16", "UTF-16"},       {"WINDOWS-1251", "CP1251"}, {"WINDOWS-1253", "CP1253"},
    {"WINDOWS-1254", "CP1254"}, {"WINDOWS-1250", "CP1250"}, {"ISO-2022-JP", "ISO-2022-JP"},
    {"MACINTOSH", "MACROMAN"},  {"UTF-16BE", "UTF-16BE"},   {"UTF-16LE", "UTF-16LE"},
    {"UTF-32", "UTF-32"},       {"UTF-32BE", "UTF-32BE"},   {"UTF-32LE", "UTF-32LE"},
};

EncodingGuess named(const QByteArray &detected)
{
    for (const NamedEncoding &encoding : knownEncodings) {
        if (detected.compare(encoding.detected, Qt::CaseInsensitive) == 0) {
            return {detected, QString::fromLatin1(encoding.tool)};
        }
    }
    return {detected, QString::fromLatin1(otherName)};
}

QByteArray encodingOfMark(const QByteArray &bytes)
{
    if (bytes.startsWith(QByteArray("\xff\xfe\0\0", 4)) ||
        bytes.startsWith(QByteArray("\0\0\xfe\xff", 4))) {
        return "UTF-32";
    }
    return bytes.startsWith("\xff\xfe") || bytes.startsWith("\xfe\xff") ? "UTF-16" : QByteArray();
}

// Wide text without a mark: mostly Latin letters, so every other byte is zero.
QByteArray encodingOfZeros(const QByteArray &bytes)
{
    qsizetype zeros[2] = {0, 0};
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        zeros[i % 2] += bytes.at(i) == '\0' ? 1 : 0;
    }
    const qsizetype many = bytes.size() / 4;
    if (bytes.size() % 2 != 0 || std::max(zeros[0], zeros[1]) <= many) {
        return {};
    }
    return zeros[0] > zeros[1] ? "UTF-16BE" : "UTF-16LE";
}

bool isUtf8(const QByteArray &bytes)
{
    return decodeText(bytes, "UTF-8").has_value();
}

bool isSevenBit(const QByteArray &bytes)
{
    return std::all_of(bytes.cbegin(), bytes.cend(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

QByteArray detectedByStatistics(const QByteArray &bytes)
{
    const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                         &uchardet_delete);
    uchardet_handle_data(detector.get(), bytes.constData(), static_cast<size_t>(bytes.size()));
    uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
}

class Converter
{
public:
    explicit Converter(const QByteArray &from) : m_handle(::iconv_open("UTF-8", from.constData()))
    {
    }
    ~Converter()
    {
        if (isOpen()) {
            ::iconv_close(m_handle);
        }
    }
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    bool isOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    std::optional<QByteArray> convert(QByteArray bytes) const
    {
        char *in = bytes.data();
        auto left = static_cast<size_t>(bytes.size());
        QByteArray result;
        while (left > 0) {
            const size_t before = left;
            appendPiece(result, in, left);
            if (left == before) { // a sequence that is invalid, or cut at the end
                return std::nullopt;
            }
        }
        return result;
    }

private:
    void appendPiece(QByteArray &result, char *&in, size_t &left) const
    {
        std::vector<char> piece(64 << 10);
        char *out = piece.data();
        size_t room = piece.size();
        ::iconv(m_handle, &in, &left, &out, &room);
        result.append(piece.data(), static_cast<qsizetype>(piece.size() - room));
    }

    iconv_t m_handle;
};

} // namespace

EncodingGuess guessEncoding(const QByteArray &bytes)
{
    if (const QByteArray marked = encodingOfMark(bytes); !marked.isEmpty()) {
        return named(marked);
    }
    if (const QByteArray wide = encodingOfZeros(bytes); !wide.isEmpty()) {
        return named(wide);
    }
    if (!isSevenBit(bytes) && isUtf8(bytes)) {
        return named("UTF-8");
    }
    const QByteArray detected = detectedByStatistics(bytes);
    return named(detected.isEmpty() && isSevenBit(bytes) ? QByteArray("ASCII") : detected);
}

std::optional<QString> decodeText(const QByteArray &bytes, const QByteArray &iconvName)
{
    const Converter converter(iconvName);
    const auto utf8 = converter.isOpen() ? converter.convert(bytes) : std::nullopt;
    if (!utf8) {
        return std::nullopt;
    }
    QString text = QString::fromUtf8(utf8->isNull() ? QByteArray("") : *utf8);
    if (text.startsWith(QChar::ByteOrderMark)) {
        text.remove(0, 1);
    }
    return text;
}

} // namespace qv
