#include "published/container_header.h"

#include "support/files.h"
#include "support/log.h"

#include <QFile>
#include <QFileInfo>

#include <array>

namespace qv
{
namespace
{

struct ContainerHeader {
    QString label;
    QByteArray bytes;
};

const std::array<ContainerHeader, 3> &containerHeaders()
{
    static const std::array<ContainerHeader, 3> headers = {{
        {QStringLiteral("ts headers          "), QByteArray("\x47")}, // ISO/IEC 13818-1, 2.4.3.2
        // 13818-1, 2.5.3.3: a pack header whose clock reference is zero; others are left out
        // on purpose.
        {QStringLiteral("ps headers          "),
         QByteArray("\x00\x00\x01\xba\x44\x00\x04\x00\x04\x01", 10)},
        {QStringLiteral("ac3 headers         "), QByteArray("\x0b\x77")}, // ETSI TS 102 366, 4.4.1
    }};
    return headers;
}

QByteArray firstBytes(const QString &path, qsizetype count)
{
    QFile file(path);
    const bool isReadable = QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly);
    return isReadable ? file.read(count) : QByteArray();
}

} // namespace

bool hasContainerHeader(const QString &path, int kind)
{
    const QString expanded = expandTilde(path);
    if (kind < 0 || kind >= static_cast<int>(containerHeaders().size()) || !fileExists(expanded)) {
        return false;
    }
    const ContainerHeader &header = containerHeaders()[static_cast<size_t>(kind)];
    const QByteArray found = firstBytes(expanded, header.bytes.size());
    const bool matches = found == header.bytes;
    logLine(QStringLiteral("%1%2 <%3>")
                .arg(header.label, matches ? QStringLiteral(":-)") : QStringLiteral(":-("),
                     QString::fromLatin1(found.toHex())));
    return matches;
}

} // namespace qv
