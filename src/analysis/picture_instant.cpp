#include "analysis/picture_instant.h"

#include <QFile>

namespace qv
{
namespace
{

// [Parsed_select_0 @ 0x55] n:6.0 pts:76.0 t:3.040000 key:1 ... pict_type:I ... -> select:1.000000
std::optional<double> selectedTime(const QByteArray &line)
{
    const qsizetype time = line.indexOf(" t:");
    if (!line.startsWith("[Parsed_select_") || !line.contains("-> select:1.") || time < 0) {
        return std::nullopt;
    }
    const qsizetype from = time + 3;
    bool isNumber = false;
    const double seconds = line.mid(from, line.indexOf(' ', from) - from).toDouble(&isNumber);
    return isNumber ? std::optional(seconds) : std::nullopt;
}

} // namespace

// In the variable's syntax ":" ends a value and "%" begins a placeholder.
QByteArray detailedReportVariable(const QString &path)
{
    QByteArray escaped;
    for (const char c : QFile::encodeName(path)) {
        if (c == ':' || c == '\\' || c == '\'' || c == ' ') {
            escaped.append('\\');
        } else if (c == '%') {
            escaped.append('%');
        }
        escaped.append(c);
    }
    return "FFREPORT=file=" + escaped + ":level=48";
}

std::optional<double> pictureInstant(const QString &reportPath, Taken taken)
{
    constexpr qint64 longestLine = 4096;
    QFile file(reportPath);
    std::optional<double> found;
    if (!file.open(QIODevice::ReadOnly)) {
        return found;
    }
    while (!file.atEnd()) {
        if (const auto time = selectedTime(file.readLine(longestLine))) {
            found = time;
            if (taken == Taken::First) {
                break;
            }
        }
    }
    return found;
}

} // namespace qv
