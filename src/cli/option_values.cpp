#include "cli/option_values.h"

#include "settings/color_text.h"
#include "sheet/caption_texts.h"

#include <QColor>
#include <QThread>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

constexpr SheetLayout layouts[] = {SheetLayout::Big, SheetLayout::Medium, SheetLayout::Minimum,
                                   SheetLayout::Mixed};

constexpr int countLimit = 2000;
constexpr int shardLimit = 100000;

tl::unexpected<QString> wrong(const QString &text)
{
    return tl::make_unexpected(text);
}

QString captionNamed(const QString &name)
{
    for (const CaptionSwitch &known : captionSwitches()) {
        if (name.compare(known.word, Qt::CaseInsensitive) == 0 ||
            name.compare(known.caption, Qt::CaseInsensitive) == 0) {
            return known.caption;
        }
    }
    return {};
}

// Stored colours are read more leniently.
bool isColorComponent(const QString &text)
{
    return parseNumber(text.trimmed(), "part", 0, 1).has_value();
}

} // namespace

Parsed<SheetLayout> parseLayout(const QString &text)
{
    for (const SheetLayout layout : layouts) {
        if (text == layoutName(layout)) {
            return layout;
        }
    }
    return wrong(
        QStringLiteral("unknown layout '%1': it is big, medium, minimum or mixed").arg(text));
}

Parsed<int> parseCount(const QString &text, SheetLayout layout)
{
    bool isNumber = false;
    const int count = text.toInt(&isNumber);
    if (!isNumber || count < 1 || count > countLimit) {
        return wrong(QStringLiteral("the count '%1' is no whole number from 1 to %2")
                         .arg(text, QString::number(countLimit)));
    }
    if (count < columnsOf(layout)) {
        return wrong(QStringLiteral("a count of %1 fills no row: the %2 layout has %3 columns")
                         .arg(QString::number(count), layoutName(layout),
                              QString::number(columnsOf(layout))));
    }
    return count;
}

Parsed<int> parseFormat(const QString &text)
{
    if (text == QLatin1String("jpg") || text == QLatin1String("jpeg")) {
        return 0;
    }
    if (text == QLatin1String("png")) {
        return 1;
    }
    return wrong(QStringLiteral("unknown format '%1': it is jpg or png").arg(text));
}

// "white", "#202020" or "0.10,0.10,0.10,1.00".
Parsed<QString> parseColor(const QString &text)
{
    if (text.contains(QLatin1Char(','))) {
        const QStringList parts = text.split(QLatin1Char(','));
        const auto color = colorFromText(text);
        return color && std::all_of(parts.begin(), parts.end(), isColorComponent)
                   ? Parsed<QString>(colorText(*color))
                   : wrong(QStringLiteral("the colour '%1' needs four parts: red,green,blue,"
                                          "alpha, each from 0 to 1")
                               .arg(text));
    }
    const QColor color(text);
    if (!color.isValid()) {
        return wrong(QStringLiteral("unknown colour '%1': give a name, #rrggbb, or "
                                    "red,green,blue,alpha from 0 to 1")
                         .arg(text));
    }
    return colorText({color.redF(), color.greenF(), color.blueF(), color.alphaF()});
}

Parsed<QSet<QString>> parseCaptions(const QString &list)
{
    QSet<QString> captions;
    for (const QString &part : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString name = part.trimmed();
        if (name == QLatin1String("none")) {
            continue;
        }
        const QString caption = captionNamed(name);
        if (caption.isEmpty()) {
            return wrong(QStringLiteral("unknown caption '%1': they are name, location, date, "
                                        "duration, picture, size, contents, timecode (or none)")
                             .arg(name));
        }
        captions.insert(caption);
    }
    return captions;
}

Parsed<double> parseNumber(const QString &text, const char *what, double from, double to)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(number) || number < from || number > to) {
        return wrong(
            QStringLiteral("the %1 '%2' is no number from %3 to %4")
                .arg(QLatin1String(what), text, QString::number(from), QString::number(to)));
    }
    return number;
}

int toolsPerJob(int jobs)
{
    return std::max(1, QThread::idealThreadCount() / std::max(1, jobs));
}

Parsed<int> parseJobs(const QString &text)
{
    bool isNumber = false;
    const int jobs = text.toInt(&isNumber);
    if (!isNumber || jobs < 1 || jobs > jobsLimit) {
        return wrong(QStringLiteral("the number of jobs '%1' is no whole number from 1 to %2")
                         .arg(text, QString::number(jobsLimit)));
    }
    return jobs;
}

// "3/8".
Parsed<Shard> parseShard(const QString &text)
{
    const QStringList numbers = text.split(QLatin1Char('/'));
    bool isPart = false;
    bool isParts = false;
    const Shard shard{numbers.value(0).toInt(&isPart), numbers.value(1).toInt(&isParts)};
    if (numbers.size() != 2 || !isPart || !isParts || shard.part < 1 || shard.part > shard.parts ||
        shard.parts > shardLimit) {
        return wrong(
            QStringLiteral("the shard '%1' is not K/N with whole numbers, K from 1 to N and "
                           "N up to %2")
                .arg(text, QString::number(shardLimit)));
    }
    return shard;
}

} // namespace qv
