#include "analysis/picture_instant.h"

#include "analysis/report_dialect.h"
#include "analysis/report_text.h"
#include "support/files.h"

namespace qv
{
namespace
{

// [showinfo@2 @ 0x5581] n:   0 pts:  92090 pts_time:1.02322 fmt:yuv420p sar:1/1 iskey:1 type:I
std::optional<double> shownTime(const QString &line, const QString &name)
{
    const QString mark = QStringLiteral("[%1 @").arg(name);
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

QString tellerName(int shot)
{
    return QStringLiteral("showinfo@%1").arg(shot);
}

std::optional<double> pictureInstant(const QString &printed, Taken taken, std::optional<int> shot)
{
    const QString name = shot ? tellerName(*shot) : QStringLiteral("showinfo");
    std::optional<double> found;
    for (const QString &line : linesOf(inOldWords(printed))) {
        if (const auto time = shownTime(line, name)) {
            found = time;
            if (taken == Taken::First) {
                break;
            }
        }
    }
    return found;
}

int picturesTold(const QString &printed)
{
    return static_cast<int>(printed.count(QLatin1String("] n:   0 pts:")));
}

} // namespace qv
