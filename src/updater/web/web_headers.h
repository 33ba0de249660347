#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

// What stands in headers of HTTP, read as strictly as it is defined.
namespace qv
{

// Why the address can't be asked for at all, for people; null when it can.
QString addressRefusal(const QUrl &address);

// Why the redirect may not be followed, for people; null when it may. It never leads from HTTPS to
// HTTP. Bound to the server, it keeps scheme, host and port. Hosts are compared in lower case and
// in their ASCII form (RFC 3490); a final dot makes another host.
QString redirectRefusal(const QUrl &from, const QUrl &to, bool isBoundToServer);

// A decimal number of bytes; nothing for anything else.
std::optional<qint64> parseByteCount(const QByteArray &text);

// "bytes 5-9/10": the part of a file that is sent. Nothing when it makes no sense or leaves the
// whole length open.
struct ContentRange {
    qint64 first = 0;
    qint64 last = 0;
    qint64 whole = 0;

    static std::optional<ContentRange> parse(const QByteArray &text);
};

} // namespace qv
