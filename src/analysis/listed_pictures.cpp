#include "analysis/listed_pictures.h"

#include "analysis/quick_probe.h"

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

// Seconds between two key pictures; where more seem to lie between them, a container that does not
// list all pictures may not have listed some.
constexpr float longestGap = 20;

} // namespace

std::optional<qsizetype> ListedPictures::keyBehind(double instant) const
{
    if (keys.isEmpty()) {
        return {};
    }
    const auto at = static_cast<float>(instant);
    const auto behind = std::lower_bound(keys.begin(), keys.end(), at);
    const float before = behind == keys.begin() ? 0 : *std::prev(behind);
    const float end = behind == keys.end() ? at : *behind;
    return isWhole || end - before <= longestGap ? std::optional(behind - keys.begin())
                                                 : std::nullopt;
}

std::optional<ListedPictures::Key> ListedPictures::nextKey(double instant) const
{
    constexpr float shortest = 0.4F;
    const auto behind = keyBehind(instant);
    if (!behind || *behind == keys.size()) {
        return {};
    }
    const float key = keys.at(*behind);
    const float length = *behind + 1 < keys.size() ? keys.at(*behind + 1) - key : shortest;
    return length >= shortest ? std::optional(Key{key, length}) : std::nullopt;
}

ListedPictures listedPictures(const QString &report)
{
    ListedPictures listed;
    // keys           : 0.000000 10.000000
    for (const QString &key : lastProbeLine(report, QStringLiteral("keys")).split(u' ')) {
        bool isNumber = false;
        const float instant = key.toFloat(&isNumber);
        if (isNumber && std::isfinite(instant)) {
            listed.keys.append(instant);
        }
    }
    std::sort(listed.keys.begin(), listed.keys.end());
    const QString groups = lastProbeLine(report, QStringLiteral("groups"));
    if (groups == QLatin1String("closed")) {
        listed.groups = Groups::Closed;
    } else if (groups == QLatin1String("open")) {
        listed.groups = Groups::Open;
    }
    listed.isWhole = lastProbeLine(report, QStringLiteral("list")) == QLatin1String("whole");
    bool isNumber = false;
    const double last = lastProbeLine(report, QStringLiteral("last")).toDouble(&isNumber);
    if (isNumber && std::isfinite(last)) {
        listed.last = last;
    }
    return listed;
}

} // namespace qv
