#include "sheet/colour_filters.h"

#include "sheet/record_values.h"
#include "support/display_colours.h"

#include <QHash>
#include <QRegularExpression>

namespace qv
{
namespace
{

const QString matrixKey = QStringLiteral("v0_matrix");
const QString primariesKey = QStringLiteral("v0_primaries");
const QString transferKey = QStringLiteral("v0_transfer");

bool isHighDynamicRange(const QVariantMap &record)
{
    const QString transfer = stringIn(record, transferKey);
    return transfer == QLatin1String("smpte2084") || transfer == QLatin1String("arib-std-b67");
}

bool needsGamutMapping(const QVariantMap &record)
{
    static const QStringList wide{QStringLiteral("bt2020"), QStringLiteral("smpte431"),
                                  QStringLiteral("smpte432")};
    return wide.contains(stringIn(record, primariesKey)) ||
           stringIn(record, matrixKey) == QLatin1String("ycgco");
}

bool isRgb(const QVariantMap &record)
{
    static const QRegularExpression format(
        QStringLiteral("^(rgb|bgr|gbr|argb|abgr|[0x](rgb|bgr))"));
    return stringIn(record, matrixKey) == QLatin1String("gbr") ||
           format.match(stringIn(record, QStringLiteral("v0_chroma"))).hasMatch();
}

// The source's matrix in the words of the filter "scale".
QString scaleMatrix(const QVariantMap &record)
{
    static const QHash<QString, QString> words{
        {QStringLiteral("bt709"), QStringLiteral("bt709")},
        {QStringLiteral("fcc"), QStringLiteral("fcc")},
        {QStringLiteral("bt470bg"), QStringLiteral("bt601")},
        {QStringLiteral("smpte170m"), QStringLiteral("bt601")},
        {QStringLiteral("smpte240m"), QStringLiteral("smpte240m")},
        {QStringLiteral("bt2020nc"), QStringLiteral("bt2020")},
        {QStringLiteral("bt2020c"), QStringLiteral("bt2020")}};
    const QString assumed = isHdSize(sourceWidth(record), sourceHeight(record))
                                ? QStringLiteral("bt709")
                                : QStringLiteral("bt601");
    return words.value(stringIn(record, matrixKey), assumed);
}

// Has the filter "scale" change the matrix while it scales.
QString withJpegMatrix(QString filter, const QVariantMap &record)
{
    static const QRegularExpression scale(QStringLiteral("(?:^|,)scale=\\d+:\\d+"));
    const QString matrix = scaleMatrix(record);
    const QRegularExpressionMatch match = scale.match(filter);
    if (!match.hasMatch() || isRgb(record) || matrix == QLatin1String("bt601")) {
        return filter;
    }
    return filter.insert(match.capturedEnd(),
                         QStringLiteral(":in_color_matrix=%1:out_color_matrix=bt601").arg(matrix));
}

// What zscale needs to know and the source leaves open. A constant luminance is taken for the usual
// one: zscale converts it from few transfers only.
QString assumedColours(const QVariantMap &record)
{
    QStringList assumed;
    const bool isHdr = isHighDynamicRange(record);
    const QString matrix = stringIn(record, matrixKey);
    if ((matrix.isEmpty() || matrix == QLatin1String("bt2020c")) && !isRgb(record)) {
        assumed << QStringLiteral("colorspace=bt2020nc");
    }
    if (!record.contains(primariesKey)) {
        assumed << (isHdr ? QStringLiteral("color_primaries=bt2020")
                          : QStringLiteral("color_primaries=bt709"));
    }
    if (!record.contains(transferKey)) {
        assumed << QStringLiteral("color_trc=bt709");
    }
    return assumed.isEmpty() ? QString() : QStringLiteral("setparams=%1,").arg(assumed.join(u':'));
}

} // namespace

bool needsColourMapping(const QVariantMap &record)
{
    return isHighDynamicRange(record) || needsGamutMapping(record);
}

QStringList withDisplayColours(const QStringList &arguments, const QVariantMap &record)
{
    const qsizetype at = arguments.indexOf(QStringLiteral("-vf")) + 1;
    if (at < 1 || at >= arguments.size()) {
        return arguments;
    }
    QStringList complete = arguments;
    QString &filter = complete[at];
    if (needsColourMapping(record)) {
        filter += u',' + assumedColours(record) +
                  QLatin1String(isHighDynamicRange(record) ? toneMapping : gamutMapping);
    } else {
        filter = withJpegMatrix(filter, record);
    }
    return complete;
}

} // namespace qv
