#include "cli/results.h"

#include "analysis/duration_check.h"
#include "cli/options.h"
#include "support/numbers.h"
#include "support/shell_word.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>

namespace qv
{
namespace
{

// A float's own digits: 29.97, not 29.969999313354492.
QJsonValue jsonValue(const QVariant &value)
{
    if (value.typeId() == QMetaType::Float) {
        return QString::number(value.toFloat(), 'g', 7).toDouble();
    }
    if (value.typeId() == QMetaType::QVariantList) {
        QJsonArray array;
        for (const QVariant &element : value.toList()) {
            array.append(jsonValue(element));
        }
        return array;
    }
    return QJsonValue::fromVariant(value);
}

// To whole milliseconds.
double roundedSeconds(double seconds)
{
    return std::round(seconds * 1000) / 1000;
}

// Null when it is unknown.
QJsonValue durationJson(const MediaInfoRecord &record)
{
    const double seconds = exactDuration(record);
    return seconds > 0 ? QJsonValue(roundedSeconds(seconds)) : QJsonValue(QJsonValue::Null);
}

QString textValue(const QVariant &value)
{
    if (value.typeId() == QMetaType::Float) {
        return QString::number(value.toFloat(), 'g', 7);
    }
    if (value.typeId() == QMetaType::QVariantList) {
        QStringList texts;
        for (const QVariant &element : value.toList()) {
            texts.append(textValue(element));
        }
        return texts.join(QStringLiteral(", "));
    }
    return visibleText(value.toString());
}

// How the pictures of a sheet that was made were taken.
QJsonValue roadOf(const SheetOutcome &outcome)
{
    if (outcome.status != SheetOutcome::Status::Made) {
        return QJsonValue::Null;
    }
    return roadName(outcome.quick);
}

QJsonArray instantsJson(const QList<double> &instants)
{
    QJsonArray array;
    for (const double instant : instants) {
        array.append(roundedSeconds(instant));
    }
    return array;
}

QJsonArray instantsOf(const SheetOutcome &outcome)
{
    return outcome.status == SheetOutcome::Status::Made ? instantsJson(outcome.instants)
                                                        : QJsonArray();
}

QJsonValue pathJson(const QByteArray &path)
{
    return path.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(QString::fromUtf8(path));
}

QString dateText(const QDateTime &date)
{
    return date.toString(Qt::ISODateWithMs);
}

QJsonObject settingsJson(const SheetSettings &settings)
{
    return {{QStringLiteral("layout"), settings.layout},
            {QStringLiteral("count"), settings.count},
            {QStringLiteral("format"), settings.format},
            {QStringLiteral("captions"), QJsonArray::fromStringList(settings.captions)},
            {QStringLiteral("timecodes"), settings.timecodes},
            {QStringLiteral("background"), settings.background},
            {QStringLiteral("border_color"), settings.borderColor},
            {QStringLiteral("border_size"), settings.borderSize},
            {QStringLiteral("quick"), settings.quick}};
}

QString textOf(const QJsonValue &value)
{
    if (!value.isArray()) {
        return visibleText(value.toVariant().toString());
    }
    QStringList texts;
    for (const auto &element : value.toArray()) {
        texts.append(textOf(element));
    }
    return texts.join(QStringLiteral(", "));
}

// Those of an object in it begin with its key; what is null is left out.
QString linesOf(const QJsonObject &object, const QString &prefix)
{
    QString lines;
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString key = prefix + it.key();
        if (it.value().isObject()) {
            lines += linesOf(it.value().toObject(), key + u'_');
        } else if (!it.value().isNull()) {
            lines += key + QStringLiteral(": ") + textOf(it.value()) + u'\n';
        }
    }
    return lines;
}

} // namespace

QString statusWord(SheetOutcome::Status status)
{
    switch (status) {
    case SheetOutcome::Status::Made:
        return QStringLiteral("made");
    case SheetOutcome::Status::Kept:
        return QStringLiteral("kept");
    case SheetOutcome::Status::Skipped:
        return QStringLiteral("skipped");
    case SheetOutcome::Status::Failed:
        return QStringLiteral("failed");
    }
    return {};
}

QJsonObject sheetJson(const SheetOutcome &outcome)
{
    const QJsonValue nothing(QJsonValue::Null);
    return {
        {QStringLiteral("source"), outcome.source},
        {QStringLiteral("sheet"), outcome.sheet.isEmpty() ? nothing : QJsonValue(outcome.sheet)},
        {QStringLiteral("status"), statusWord(outcome.status)},
        {QStringLiteral("reason"), outcome.reason.isEmpty() ? nothing : QJsonValue(outcome.reason)},
        {QStringLiteral("pictures"), QJsonObject{{QStringLiteral("asked"), outcome.asked},
                                                 {QStringLiteral("drawn"), outcome.drawn}}},
        {QStringLiteral("pictures_moved"), outcome.moved},
        {QStringLiteral("road"), roadOf(outcome)},
        {QStringLiteral("instants"), instantsOf(outcome)},
        {QStringLiteral("duration"), roundedSeconds(outcome.duration)},
        {QStringLiteral("seconds"), outcome.seconds}};
}

MediaInfoRecord publicRecord(const MediaInfoRecord &record)
{
    MediaInfoRecord shown = record;
    shown.remove(QStringLiteral("srcPathStr"));
    shown.remove(QStringLiteral("imgPathStr"));
    shown.remove(exactDurationKey);
    return shown;
}

QJsonObject infoJson(const QString &source, const MediaInfoRecord &record)
{
    QJsonObject keys;
    const MediaInfoRecord shown = publicRecord(record);
    for (auto it = shown.begin(); it != shown.end(); ++it) {
        keys.insert(it.key(), jsonValue(it.value()));
    }
    return {{QStringLiteral("source"), source},
            {QStringLiteral("duration"), durationJson(record)},
            {QStringLiteral("record"), keys}};
}

QString infoText(const QString &source, const MediaInfoRecord &record)
{
    QString text = QStringLiteral("source: ") + visibleText(source) + QLatin1Char('\n');
    const MediaInfoRecord shown = publicRecord(record);
    for (auto it = shown.begin(); it != shown.end(); ++it) {
        text += it.key() + QStringLiteral(": ") + textValue(it.value()) + QLatin1Char('\n');
    }
    return text;
}

QJsonObject provenanceJson(const QString &sheet, const Provenance &provenance)
{
    const QJsonObject source{{QStringLiteral("name"), provenance.sourceName},
                             {QStringLiteral("path"), pathJson(provenance.sourcePath)},
                             {QStringLiteral("size"), provenance.source.size},
                             {QStringLiteral("modified"), dateText(provenance.source.modified)},
                             {QStringLiteral("duration"), roundedSeconds(provenance.duration)}};
    return {{QStringLiteral("sheet"), sheet},
            {QStringLiteral("application"), provenance.application},
            {QStringLiteral("version"), provenance.version},
            {QStringLiteral("made"), dateText(provenance.made)},
            {QStringLiteral("title"), provenance.title},
            {QStringLiteral("source"), source},
            {QStringLiteral("settings"), settingsJson(provenance.settings)},
            {QStringLiteral("road"), roadName(provenance.madeQuick)},
            {QStringLiteral("instants"), instantsJson(provenance.instants)}};
}

QString provenanceText(const QString &sheet, const Provenance &provenance)
{
    QJsonObject object = provenanceJson(sheet, provenance);
    object.remove(QStringLiteral("sheet"));
    return QStringLiteral("sheet: %1\n").arg(visibleText(sheet)) + linesOf(object, QString());
}

QJsonObject planJson(const QString &source, SheetLayout layout, const ExtractionPlan &plan)
{
    QJsonArray pictures;
    for (const PlannedPicture &picture : plan.pictures) {
        pictures.append(QJsonObject{
            {QStringLiteral("index"), picture.index},
            {QStringLiteral("time"), picture.time},
            {QStringLiteral("timecode"), picture.timecode},
            {QStringLiteral("arguments"), QJsonArray::fromStringList(picture.arguments)}});
    }
    return {
        {QStringLiteral("source"), source},        {QStringLiteral("layout"), layoutName(layout)},
        {QStringLiteral("count"), plan.count},     {QStringLiteral("wTh"), plan.size.width},
        {QStringLiteral("hTh"), plan.size.height}, {QStringLiteral("interval"), plan.interval},
        {QStringLiteral("pictures"), pictures}};
}

QString planText(const QString &source, SheetLayout layout, const ExtractionPlan &plan)
{
    QString text = QStringLiteral("source: %1\nlayout: %2\ncount: %3\nsize: %4 x %5\n"
                                  "interval: %6 s\n")
                       .arg(visibleText(source), layoutName(layout), QString::number(plan.count),
                            QString::number(plan.size.width), QString::number(plan.size.height),
                            fixedText(plan.interval, 2));
    for (const PlannedPicture &picture : plan.pictures) {
        text += QStringLiteral("%1  %2  %3 s  %4\n")
                    .arg(QString::number(picture.index).rightJustified(3), picture.timecode,
                         fixedText(picture.time, 2), shellQuoted(picture.arguments));
    }
    return text;
}

// Outside of strings JSON has none of these characters, so each may be replaced where it is.
QByteArray jsonLine(const QJsonObject &object)
{
    const QString json = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    QString line;
    line.reserve(json.size());
    for (const QChar c : json) {
        if (steersDisplay(c)) {
            line += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            line += c;
        }
    }
    return line.toUtf8();
}

QString shellQuoted(const QStringList &arguments)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_@%+=:,./-]+$"));
    QStringList quoted;
    for (const QString &argument : arguments) {
        if (plain.match(argument).hasMatch()) {
            quoted.append(argument);
            continue;
        }
        quoted.append(shellWord(argument));
    }
    return quoted.join(QLatin1Char(' '));
}

} // namespace qv
