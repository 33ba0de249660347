#include "analysis/picture_instant.h"

#include "analysis/report_dialect.h"
#include "analysis/report_text.h"
#include "support/files.h"

namespace qv
{
namespace
{

// [showinfo @ 0x5581] n:   0 pts:  92090 pts_time:1.02322 fmt:yuv420p sar:1/1 iskey:1 type:I
std::optional<double> shownTime(const QString &line)
{
    const QString mark = QStringLiteral("[showinfo @");
    const QString from = line.mid(std::max<qsizetype>(0, line.indexOf(mark)));
    if (!from.startsWith(mark) || !from.contains(QLatin1String(" pts_time:"))) {
        return std::nullopt;
    }
    bool isNumber = false;
    const QString time = before(after(from, QLatin1String(" pts_time:")), QLatin1String(" "));
    const double seconds = time.toDouble(&isNumber);
    return isNumber ? std::optional(seconds) : std::nullopt;
}

} // namespace

std::optional<double> pictureInstant(const QString &printed, Taken taken)
{
    std::optional<double> found;
    for (const QString &line : linesOf(inOldWords(printed))) {
        if (const auto time = shownTime(line)) {
            found = time;
            if (taken == Taken::First) {
                break;
            }
        }
    }
    return found;
}

} // namespace qv
