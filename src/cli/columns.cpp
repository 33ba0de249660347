#include "cli/columns.h"

#include <algorithm>
#include <iterator>

namespace qv
{
namespace
{

struct Range {
    char32_t first;
    char32_t last;
};

// What terminals show in two columns: East Asian scripts, full-width forms, pictographs.
constexpr Range wideRanges[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},
    {0x2e80, 0x303e},   {0x3041, 0xa4cf},   {0xa960, 0xa97f},   {0xac00, 0xd7a3},
    {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},
    {0x16fe0, 0x18cff}, {0x1b000, 0x1b2ff}, {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff},
    {0x1f900, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd}};

bool isWide(char32_t character)
{
    return std::any_of(std::begin(wideRanges), std::end(wideRanges), [&](const Range &range) {
        return character >= range.first && character <= range.last;
    });
}

int columnsOf(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        return isWide(character) ? 2 : 1;
    }
}

// The character that begins there, of one unit or two; half a pair stands for itself.
char32_t characterAt(const QString &text, qsizetype at)
{
    const QChar first = text.at(at);
    const QChar second = at + 1 < text.size() ? text.at(at + 1) : QChar();
    return first.isHighSurrogate() && second.isLowSurrogate()
               ? QChar::surrogateToUcs4(first, second)
               : first.unicode();
}

// How many units of the text take no more than so many columns.
qsizetype unitsWithin(const QString &text, int columns)
{
    qsizetype at = 0;
    while (at < text.size()) {
        const char32_t character = characterAt(text, at);
        columns -= columnsOf(character);
        if (columns < 0) {
            break;
        }
        at += QChar::requiresSurrogates(character) ? 2 : 1;
    }
    return at;
}

} // namespace

int columnsOf(const QString &text)
{
    int columns = 0;
    for (qsizetype at = 0; at < text.size();) {
        const char32_t character = characterAt(text, at);
        columns += columnsOf(character);
        at += QChar::requiresSurrogates(character) ? 2 : 1;
    }
    return columns;
}

QString cutToColumns(const QString &text, int columns)
{
    return unitsWithin(text, columns) == text.size()
               ? text
               : text.left(unitsWithin(text, columns - 1)) + QChar(0x2026);
}

} // namespace qv
