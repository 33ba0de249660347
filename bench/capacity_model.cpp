#include "capacity_model.h"

#include "least_squares.h"

#include <QStringList>

#include <algorithm>
#include <functional>
#include <numeric>

namespace bench
{
namespace
{

// Pictures that are decoded for the sheet: the key pictures alone, or all from the key picture
// before each cell to the cell.
double decodedPictures(const SourceFacts &facts)
{
    return facts.isDense()
               ? sheetPictures * std::min(facts.keyInterval, facts.duration) * facts.rate / 2
               : sheetPictures;
}

std::vector<double> byteFeatures(const SourceFacts &facts)
{
    const double group = facts.bytes / facts.duration * std::min(facts.keyInterval, facts.duration);
    return {1, sheetPictures * facts.keyBytes, sheetPictures * group};
}

std::vector<double> fitted(const std::vector<MeasuredSource> &measured,
                           const std::function<bool(const SourceFacts &)> &isMeant,
                           const std::function<std::vector<double>(const SourceFacts &)> &features,
                           double Cost::*value)
{
    std::vector<Observation> observations;
    for (const MeasuredSource &source : measured) {
        if (isMeant(source.facts)) {
            observations.push_back({features(source.facts), source.cost.*value});
        }
    }
    return observations.empty() ? std::vector<double>() : nonNegativeFit(observations);
}

double meanOf(const std::vector<MeasuredSource> &measured, double Cost::*value)
{
    double sum = 0;
    for (const MeasuredSource &source : measured) {
        sum += source.cost.*value;
    }
    return sum / static_cast<double>(measured.size());
}

std::vector<QString> kindsOf(const std::vector<MeasuredSource> &measured)
{
    std::vector<QString> kinds;
    for (const MeasuredSource &source : measured) {
        if (std::find(kinds.begin(), kinds.end(), source.facts.kind) == kinds.end()) {
            kinds.push_back(source.facts.kind);
        }
    }
    return kinds;
}

QString number(double value, int digits)
{
    return QString::number(value, 'f', digits);
}

const char *nameOf(bool isDense)
{
    return isDense ? "dense" : "sparse";
}

} // namespace

bool SourceFacts::isStream() const
{
    return kind.endsWith(QLatin1String("-ts")) || kind.endsWith(QLatin1String("-mpg"));
}

std::vector<double> CapacityModel::processorFeatures(const SourceFacts &facts) const
{
    std::vector<double> features{1};
    for (const QString &kind : m_kinds) {
        features.push_back(kind == facts.kind ? facts.megapixels * decodedPictures(facts) : 0);
    }
    return features;
}

CapacityModel::CapacityModel(const std::vector<MeasuredSource> &measured)
    : m_kinds(kindsOf(measured)), m_otherBytes(meanOf(measured, &Cost::otherBytes)),
      m_sheetBytes(meanOf(measured, &Cost::sheetBytes))
{
    for (const bool isDense : {false, true}) {
        m_processor[isDense] = fitted(
            measured, [&](const SourceFacts &facts) { return facts.isDense() == isDense; },
            [&](const SourceFacts &facts) { return processorFeatures(facts); },
            &Cost::processorSeconds);
        for (const bool isStream : {false, true}) {
            m_bytes[isDense][isStream] = fitted(
                measured,
                [&](const SourceFacts &facts) {
                    return facts.isDense() == isDense && facts.isStream() == isStream;
                },
                byteFeatures, &Cost::sourceBytes);
        }
    }
    std::vector<Observation> reads;
    for (const MeasuredSource &source : measured) {
        reads.push_back({{1, source.cost.sourceBytes}, source.cost.sourceReads});
    }
    m_reads = nonNegativeFit(reads);
}

Cost CapacityModel::costOf(const SourceFacts &facts) const
{
    Cost cost;
    cost.processorSeconds = weightedSum(m_processor[facts.isDense()], processorFeatures(facts));
    cost.sourceBytes = weightedSum(m_bytes[facts.isDense()][facts.isStream()], byteFeatures(facts));
    cost.sourceReads = weightedSum(m_reads, {1, cost.sourceBytes});
    cost.otherBytes = m_otherBytes;
    cost.sheetBytes = m_sheetBytes;
    return cost;
}

QString CapacityModel::text() const
{
    QStringList lines{QStringLiteral("| cells | `a`, s | `k`, ms a megapixel |"),
                      QStringLiteral("|---|---|---|")};
    for (const bool isDense : {false, true}) {
        const std::vector<double> &factors = m_processor[isDense];
        QStringList kinds;
        for (std::size_t i = 0; i < m_kinds.size(); ++i) {
            kinds.append(QStringLiteral("%1 %2").arg(m_kinds[i], number(factors[i + 1] * 1e3, 2)));
        }
        lines.append(QStringLiteral("| %1 | %2 | %3 |")
                         .arg(QLatin1String(nameOf(isDense)), number(factors[0], 3),
                              kinds.join(QStringLiteral(", "))));
    }
    lines.append({QString(), QStringLiteral("| cells | container | `b`, kB | `c` | `d` |"),
                  QStringLiteral("|---|---|---|---|---|")});
    for (const bool isDense : {false, true}) {
        for (const bool isStream : {false, true}) {
            const std::vector<double> &factors = m_bytes[isDense][isStream];
            lines.append(QStringLiteral("| %1 | %2 | %3 | %4 | %5 |")
                             .arg(QLatin1String(nameOf(isDense)),
                                  QLatin1String(isStream ? "without index" : "with index"),
                                  number(factors[0] / 1e3, 0), number(factors[1], 2),
                                  number(factors[2], 2)));
        }
    }
    lines.append(
        {QString(), QStringLiteral("Read calls: %1 + %2 a MB. Other reads: %3 kB. Sheet: %4 kB.")
                        .arg(number(m_reads[0], 0), number(m_reads[1] * 1e6, 1),
                             number(m_otherBytes / 1e3, 0), number(m_sheetBytes / 1e3, 0))});
    return lines.join(QLatin1Char('\n'));
}

} // namespace bench
