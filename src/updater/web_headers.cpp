#include "updater/web_headers.h"

#include <algorithm>

namespace qv
{

QString addressRefusal(const QUrl &address)
{
    const QString scheme = address.scheme();
    if (address.isValid() && !address.host().isEmpty() &&
        (scheme == QStringLiteral("http") || scheme == QStringLiteral("https"))) {
        return {};
    }
    return QStringLiteral("this is no address of the web: %1").arg(address.toDisplayString());
}

std::optional<qint64> parseByteCount(const QByteArray &text)
{
    const QByteArray digits = text.trimmed();
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    bool isNumber = !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), isDigit);
    const qint64 count = isNumber ? digits.toLongLong(&isNumber) : 0;
    return isNumber ? std::optional(count) : std::nullopt;
}

std::optional<ContentRange> ContentRange::parse(const QByteArray &text)
{
    const QByteArray unit = "bytes ";
    const qsizetype dash = text.indexOf('-');
    const qsizetype slash = text.indexOf('/');
    if (!text.startsWith(unit) || dash < 0 || slash < dash) {
        return {};
    }
    const auto first = parseByteCount(text.mid(unit.size(), dash - unit.size()));
    const auto last = parseByteCount(text.mid(dash + 1, slash - dash - 1));
    const auto whole = parseByteCount(text.mid(slash + 1));
    if (!first || !last || !whole || *first > *last || *last >= *whole) {
        return {};
    }
    return ContentRange{*first, *last, *whole};
}

} // namespace qv
