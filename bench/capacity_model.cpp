#include "capacity_model.h"

#include "least_squares.h"

#include <QStringList>

#include <algorithm>
#include <limits>

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

double grownBytes(const SourceFacts &facts, Grows grows)
{
    const double group = facts.bytes / facts.duration * std::min(facts.keyInterval, facts.duration);
    return sheetPictures * (grows == Grows::WithKeyPictures ? facts.keyBytes : group);
}

std::vector<MeasuredSource> withCells(const std::vector<MeasuredSource> &measured, bool isDense)
{
    std::vector<MeasuredSource> found;
    for (const MeasuredSource &source : measured) {
        if (source.facts.isDense() == isDense) {
            found.push_back(source);
        }
    }
    return found;
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

std::vector<double> CapacityModel::byteFeatures(const SourceFacts &facts, Grows grows) const
{
    std::vector<double> features{facts.isStream() ? 0.0 : 1.0, facts.isStream() ? 1.0 : 0.0};
    for (const QString &kind : m_kinds) {
        features.push_back(kind == facts.kind ? grownBytes(facts, grows) : 0);
    }
    return features;
}

void CapacityModel::fitBytes(Cells &cells, const std::vector<MeasuredSource> &measured) const
{
    double leastError = std::numeric_limits<double>::infinity();
    for (const Grows grows : {Grows::WithKeyPictures, Grows::WithGroups}) {
        std::vector<Observation> observations;
        for (const MeasuredSource &source : measured) {
            observations.push_back({byteFeatures(source.facts, grows), source.cost.sourceBytes});
        }
        const std::vector<double> factors = nonNegativeFit(observations);
        const double error = squaredErrors(observations, factors);
        if (error < leastError) {
            leastError = error;
            cells.bytes = factors;
            cells.grows = grows;
        }
    }
}

CapacityModel::CapacityModel(const std::vector<MeasuredSource> &measured)
    : m_kinds(kindsOf(measured)), m_otherBytes(meanOf(measured, &Cost::otherBytes)),
      m_sheetBytes(meanOf(measured, &Cost::sheetBytes))
{
    for (const bool isDense : {false, true}) {
        const std::vector<MeasuredSource> alike = withCells(measured, isDense);
        std::vector<Observation> times;
        for (const MeasuredSource &source : alike) {
            times.push_back({processorFeatures(source.facts), source.cost.processorSeconds});
        }
        m_cells[isDense].processor = nonNegativeFit(times);
        fitBytes(m_cells[isDense], alike);
    }
    std::vector<Observation> reads;
    for (const MeasuredSource &source : measured) {
        reads.push_back({{1, source.cost.sourceBytes}, source.cost.sourceReads});
    }
    m_reads = nonNegativeFit(reads);
}

Cost CapacityModel::costOf(const SourceFacts &facts) const
{
    const Cells &cells = m_cells[facts.isDense()];
    Cost cost;
    cost.processorSeconds = weightedSum(cells.processor, processorFeatures(facts));
    cost.sourceBytes = weightedSum(cells.bytes, byteFeatures(facts, cells.grows));
    cost.sourceReads = weightedSum(m_reads, {1, cost.sourceBytes});
    cost.otherBytes = m_otherBytes;
    cost.sheetBytes = m_sheetBytes;
    return cost;
}

QString CapacityModel::perKind(const std::vector<double> &factors, std::size_t first,
                               double scale) const
{
    QStringList texts;
    for (std::size_t i = 0; i < m_kinds.size(); ++i) {
        texts.append(m_kinds[i] + QLatin1Char(' ') + number(factors[first + i] * scale, 2));
    }
    return texts.join(QStringLiteral(", "));
}

QString CapacityModel::text() const
{
    QStringList lines{
        QStringLiteral("| cells | `a`, s | `k`, ms | `b` with an index, kB | without, kB | `B` | "
                       "`c` |"),
        QStringLiteral("|---|---|---|---|---|---|---|")};
    for (const bool isDense : {false, true}) {
        const Cells &cells = m_cells[isDense];
        lines.append(QStringLiteral("| %1 | %2 | %3 | %4 | %5 | %6 | %7 |")
                         .arg(isDense ? QStringLiteral("dense") : QStringLiteral("sparse"),
                              number(cells.processor[0], 3), perKind(cells.processor, 1, 1e3),
                              number(cells.bytes[0] / 1e3, 0), number(cells.bytes[1] / 1e3, 0),
                              cells.grows == Grows::WithGroups ? QStringLiteral("group")
                                                               : QStringLiteral("key picture"),
                              perKind(cells.bytes, 2, 1)));
    }
    lines.append(
        {QString(), QStringLiteral("Read calls: %1 + %2 a MB. Other reads: %3 kB. Sheet: %4 kB.")
                        .arg(number(m_reads[0], 0), number(m_reads[1] * 1e6, 1),
                             number(m_otherBytes / 1e3, 0), number(m_sheetBytes / 1e3, 0))});
    return lines.join(QLatin1Char('\n'));
}

} // namespace bench
