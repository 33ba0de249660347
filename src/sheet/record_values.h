#pragma once

#include "support/localized_strings.h"
#include "support/variant_values.h"

#include <QVariantMap>

// What a source's record says, with what is assumed where it is silent.
namespace qv
{

inline constexpr int unknownWidth = 1280;
inline constexpr int unknownHeight = 960;
inline constexpr int unknownDuration = 10; // seconds

inline int sourceWidth(const QVariantMap &record)
{
    return intIn(record, QStringLiteral("v0_width")).value_or(unknownWidth);
}

inline int sourceHeight(const QVariantMap &record)
{
    return intIn(record, QStringLiteral("v0_height")).value_or(unknownHeight);
}

inline bool isProgressive(const QVariantMap &record)
{
    const QString progressive = localized(QStringLiteral("PFF"), QStringLiteral("fields"));
    return stringIn(record, QStringLiteral("v0_fields")) == progressive;
}

// Whether whole seconds are too coarse for a source's duration.
inline bool isShort(double seconds)
{
    return seconds > 0 && seconds < 1;
}

// Dolby Vision without a compatible base layer: ffmpeg decodes it, but its colours need more.
inline bool hasWrongColours(const QVariantMap &record)
{
    return flagIn(record, QStringLiteral("v0_noBase"));
}

// Whole seconds, never negative.
inline int sourceDuration(const QVariantMap &record)
{
    const int seconds = intIn(record, QStringLiteral("w_duration")).value_or(unknownDuration);
    return seconds >= 0 ? seconds : unknownDuration;
}

} // namespace qv
