#include "support/visible_text.h"

#include <algorithm>

namespace qv
{
namespace
{

constexpr bool isBetween(char16_t c, char16_t first, char16_t last)
{
    return c >= first && c <= last;
}

QString escaped(char16_t c)
{
    if (c == u'\n') {
        return QStringLiteral("\\n");
    }
    const QLatin1Char zero('0');
    return c <= 0xFF ? QStringLiteral("\\x%1").arg(c, 2, 16, zero)
                     : QStringLiteral("\\u%1").arg(c, 4, 16, zero);
}

template <typename IsEscaped> QString withEscapes(const QString &text, IsEscaped isEscaped)
{
    if (std::none_of(text.begin(), text.end(), isEscaped)) {
        return text;
    }
    QString shown;
    shown.reserve(text.size() + 16);
    for (const QChar c : text) {
        if (isEscaped(c)) {
            shown += escaped(c.unicode());
        } else {
            shown += c;
        }
    }
    return shown;
}

} // namespace

bool steersDisplay(QChar c)
{
    const char16_t code = c.unicode();
    return code < 0x20 || isBetween(code, 0x7F, 0x9F) || isBetween(code, 0x2028, 0x202E) ||
           isBetween(code, 0x2066, 0x2069);
}

QString visibleText(const QString &text)
{
    return withEscapes(text, steersDisplay);
}

QString visibleLines(const QString &text)
{
    return withEscapes(text, [](QChar c) { return c != u'\n' && steersDisplay(c); });
}

} // namespace qv
