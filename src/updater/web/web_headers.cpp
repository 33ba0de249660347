#include "updater/web/web_headers.h"

#include <algorithm>

namespace qv
{
namespace
{

const QString http = QStringLiteral("http");
const QString https = QStringLiteral("https");

int portOf(const QUrl &address)
{
    return address.port(address.scheme() == https ? 443 : 80);
}

bool isSameServer(const QUrl &a, const QUrl &b)
{
    return a.scheme() == b.scheme() && portOf(a) == portOf(b) &&
           a.host(QUrl::FullyEncoded) == b.host(QUrl::FullyEncoded);
}

} // namespace

QString addressRefusal(const QUrl &address)
{
    const QString scheme = address.scheme();
    if (address.isValid() && !address.host().isEmpty() && (scheme == http || scheme == https)) {
        return {};
    }
    return QStringLiteral("this is no address of the web: %1").arg(address.toDisplayString());
}

QString redirectRefusal(const QUrl &from, const QUrl &to, bool isBoundToServer)
{
    if (!addressRefusal(to).isNull()) {
        return QStringLiteral("the server at %1 redirects out of the web").arg(from.host());
    }
    if (from.scheme() == https && to.scheme() == http) {
        return QStringLiteral("the server at %1 redirects to an address that is less safe")
            .arg(from.host());
    }
    if (isBoundToServer && !isSameServer(from, to)) {
        return QStringLiteral("the server at %1 redirects to %2, which can't be trusted without a "
                              "key")
            .arg(from.host(), to.adjusted(QUrl::RemoveUserInfo | QUrl::RemovePath |
                                          QUrl::RemoveQuery | QUrl::RemoveFragment)
                                  .toString(QUrl::FullyEncoded));
    }
    return {};
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
