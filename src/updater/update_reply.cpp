#include "updater/update_reply.h"

#include "support/numbers.h"
#include "support/variant_values.h"

#include <optional>

namespace qv
{
namespace
{

const QString keyStart = QStringLiteral("<key>");
const QString keyEnd = QStringLiteral("</key>");
const QString valueStart = QStringLiteral("<value>");
const QString valueEnd = QStringLiteral("</value>");

std::optional<QString> textBefore(const QString &text, const QString &mark)
{
    const qsizetype end = text.indexOf(mark);
    return end < 0 ? std::nullopt : std::optional(text.left(end));
}

std::optional<QString> textAfter(const QString &text, const QString &mark)
{
    const qsizetype start = text.indexOf(mark);
    return start < 0 ? std::nullopt : std::optional(text.mid(start + mark.size()));
}

std::optional<QString> valueOf(const QString &piece)
{
    const std::optional<QString> rest = textAfter(piece, valueStart);
    return rest ? textBefore(*rest, valueEnd).value_or(*rest) : rest;
}

} // namespace

bool isUpdateReply(const QString &text)
{
    return text.contains(keyStart) && text.contains(keyEnd) && text.contains(valueStart) &&
           text.contains(valueEnd);
}

QVariantMap parseUpdateReply(const QString &text)
{
    QVariantMap records;
    for (const QString &piece : text.split(keyStart)) {
        const std::optional<QString> name = textBefore(piece, keyEnd);
        const std::optional<QString> value = valueOf(piece);
        if (name && value) {
            records.insert(*name, *value);
        }
    }
    return records;
}

float versionNumber(const QString &version)
{
    return version.isEmpty() ? 0.0F : str2Float(version);
}

bool isNewerVersion(const QString &version, const QString &running)
{
    return versionNumber(version) > versionNumber(running);
}

bool offersNewerVersion(const QVariantMap &reply, const QString &running, float systemVersion)
{
    return isNewerVersion(stringIn(reply, QStringLiteral("version")), running) &&
           systemVersion >= versionNumber(stringIn(reply, QStringLiteral("systemVersionMin")));
}

QString shownVersionNumber(const QString &version)
{
    constexpr int digits = 7;
    const QString number = QString::number(double(versionNumber(version)), 'g', digits);
    return number.contains(QLatin1Char('.')) ? number : number + QStringLiteral(".0");
}

} // namespace qv
