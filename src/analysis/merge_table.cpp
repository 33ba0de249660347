#include "analysis/merge_table.h"

#include "support/numbers.h"
#include "support/variant_values.h"

#include <QRegularExpression>
#include <QSet>

#include <vector>

namespace qv
{
namespace
{

using Order = std::vector<Probe>;

struct Trust {
    const char *key; // "v_width" stands for v0_width, v1_width, ...
    Order order;
};

constexpr Probe report = Probe::Report;
constexpr Probe frame = Probe::Frame;
constexpr Probe mpeg = Probe::Mpeg;
constexpr Probe recorder = Probe::Recorder;
constexpr Probe movie = Probe::Movie;
constexpr Probe offsets = Probe::Offsets;

// The movie framework, which is asked only when it makes the pictures, is believed first for what
// it decodes. A report knows the container and all streams, but states the pixel aspect of the
// stream where the container overrides it; the decoded frame has the one that counts. The MPEG
// reader knows sequence headers, whose "4:3" means only "not 16:9", and time codes of elementary
// streams, of which a report only guesses.
const std::vector<Trust> &trustTable()
{
    static const std::vector<Trust> table{
        {"wrapper", {report, movie, mpeg}},
        {"w_duration", {movie, report, mpeg, recorder}},
        {"exactDuration", {movie, report, mpeg, recorder}},
        {"w_offset", {report, mpeg}},
        {"v_codec", {movie, report}},
        {"v_chroma", {report, mpeg}},
        {"v_width", {movie, report, frame, mpeg}},
        {"v_height", {movie, report, frame, mpeg}},
        {"v_par", {movie, frame, report}},
        {"v_dar", {movie, frame, report, mpeg}},
        {"v_bitrate", {report, mpeg}},
        {"v_fps", {movie, report, frame, mpeg}},
        // The decoder sees the flags of real frames; a header only whether all are progressive.
        {"v_fields", {movie, frame, mpeg}},
        {"a_codec", {report, movie}},
        {"a_rate", {report, movie}},
        {"a_channels", {report, movie}},
    };
    return table;
}

// Keys outside the table come from the one probe that has them.
const Order &orderOf(const QString &generalKey)
{
    static const Order anyOther{report, frame, mpeg, recorder, movie, offsets};
    for (const Trust &trust : trustTable()) {
        if (generalKey == QLatin1String(trust.key)) {
            return trust.order;
        }
    }
    return anyOther;
}

// "v12_width" gives "v_width".
QString generalKey(const QString &key)
{
    static const QRegularExpression number(QStringLiteral("^([vas])\\d+_"));
    QString general = key;
    return general.replace(number, QStringLiteral("\\1_"));
}

bool isAspect(const QString &text)
{
    const QStringList sides = text.split(u':');
    return sides.size() == 2 && intValue(sides[0]) > 0 && intValue(sides[1]) > 0;
}

bool isPositive(const QVariant &value)
{
    return numberValue(value).value_or(0) > 0;
}

bool isGiven(const QString &generalKey, const QVariant &value)
{
    static const QSet<QString> positive{
        QStringLiteral("w_duration"), QStringLiteral("exactDuration"), QStringLiteral("w_width"),
        QStringLiteral("w_height"),   QStringLiteral("v_width"),       QStringLiteral("v_height"),
        QStringLiteral("v_fps")};
    static const QSet<QString> aspects{QStringLiteral("w_dar"), QStringLiteral("v_dar"),
                                       QStringLiteral("v_par")};
    if (positive.contains(generalKey)) {
        return isPositive(value);
    }
    if (generalKey.endsWith(QLatin1String("_codec"))) {
        return value.isValid() && value != QLatin1String("none");
    }
    return aspects.contains(generalKey) ? isAspect(value.toString()) : value.isValid();
}

QSet<QString> allKeys(const QMap<Probe, MediaInfoRecord> &probes)
{
    QSet<QString> keys;
    for (const MediaInfoRecord &record : probes) {
        for (auto it = record.begin(); it != record.end(); ++it) {
            keys.insert(it.key());
        }
    }
    return keys;
}

QVariant trustedValue(const QString &key, const QMap<Probe, MediaInfoRecord> &probes)
{
    const QString general = generalKey(key);
    for (const Probe probe : orderOf(general)) {
        const QVariant value = probes.value(probe).value(key);
        if (isGiven(general, value)) {
            return value;
        }
    }
    return {};
}

} // namespace

MediaInfoRecord mergeByTrust(const QMap<Probe, MediaInfoRecord> &probes)
{
    MediaInfoRecord merged;
    for (const QString &key : allKeys(probes)) {
        const QVariant value = trustedValue(key, probes);
        if (value.isValid()) {
            merged.insert(key, value);
        }
    }
    return merged;
}

} // namespace qv
