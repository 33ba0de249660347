#include "shell/dropped_paths.h"

#include "support/foreign_names.h"

#include <QDir>
#include <QSysInfo>

namespace qv
{
namespace
{

constexpr qsizetype mostPaths = 100'000;
const QString addressList = QStringLiteral("text/uri-list");

bool isLocalHost(const QByteArray &host)
{
    return host.isEmpty() || host == "localhost" ||
           host == QSysInfo::machineHostName().toUtf8().toLower();
}

// "file:///a%20b" and "file:/a%20b" give "/a b"; the bytes are the name, whatever they mean.
QByteArray pathOfAddress(const QByteArray &address)
{
    QByteArray rest = address.mid(5);
    if (rest.startsWith("//")) {
        const qsizetype slash = rest.indexOf('/', 2);
        if (slash < 0 || !isLocalHost(rest.mid(2, slash - 2).toLower())) {
            return {};
        }
        rest = rest.mid(slash);
    }
    return QByteArray::fromPercentEncoding(rest);
}

QString pathOfLine(const QByteArray &line)
{
    const bool isAddress = line.left(5).toLower() == "file:";
    const QByteArray raw = isAddress ? pathOfAddress(line) : line;
    if (!raw.startsWith('/') || raw.contains('\0')) {
        return {};
    }
    return cleanUsablePath(raw);
}

} // namespace

// Cleaned byte by byte: a name that is no UTF-8 has to give the same link, too.
QString cleanUsablePath(const QByteArray &name)
{
    return usablePath(QDir::cleanPath(QString::fromLatin1(name)).toLatin1());
}

bool mayHoldPaths(const QMimeData &data)
{
    return data.hasFormat(addressList);
}

QStringList pathsIn(const QMimeData &data)
{
    const bool isList = mayHoldPaths(data);
    const QByteArray text = isList ? data.data(addressList) : data.text().toUtf8();
    QStringList paths;
    for (QByteArray line : text.split('\n')) {
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        if (isList && line.startsWith('/')) {
            continue; // an address list holds addresses
        }
        const QString path = pathOfLine(line);
        if (!path.isEmpty()) {
            paths.append(path);
        }
        if (paths.size() == mostPaths) {
            break;
        }
    }
    return paths;
}

} // namespace qv
