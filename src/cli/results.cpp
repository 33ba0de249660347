#include "cli/results.h"

#include "analysis/duration_check.h"
#include "cli/options.h"
#include "support/numbers.h"
#include "support/shell_word.h"
#include "support/variant_values.h"

#include <QFile>
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
    return roadName(outcome.isQuick);
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

// Null when it is empty.
QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

// A name as text, and its bytes, which need not be text.
void insertName(QJsonObject &object, const QString &key, const QByteArray &name)
{
    object.insert(key, textOrNull(QString::fromUtf8(name)));
    object.insert(key + QStringLiteral("_base64"),
                  textOrNull(QString::fromLatin1(name.toBase64())));
}

// What every object of the commands begins with.
QJsonObject resultJson(const QString &nameKey, const QByteArray &name, const QString &status,
                       const QString &reason)
{
    QJsonObject object{{QStringLiteral("schema"), jsonSchema},
                       {QStringLiteral("status"), status},
                       {QStringLiteral("reason"), textOrNull(reason)}};
    insertName(object, nameKey, name);
    return object;
}

template <typename Value>
QJsonObject resultJson(const QString &nameKey, const QByteArray &name,
                       const tl::expected<Value, QString> &value)
{
    return value ? resultJson(nameKey, name, QStringLiteral("ok"), {})
                 : resultJson(nameKey, name, statusWord(SheetOutcome::Status::Skipped),
                              value.error());
}

void insertAll(QJsonObject &object, const QJsonObject &others)
{
    for (auto it = others.begin(); it != others.end(); ++it) {
        object.insert(it.key(), it.value());
    }
}

// The fields of an object that has no values for them.
void insertNulls(QJsonObject &object, const QJsonObject &fields)
{
    for (const QString &key : fields.keys()) {
        object.insert(key, QJsonValue::Null);
    }
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

QJsonObject recordJson(const MediaInfoRecord &record)
{
    QJsonObject keys;
    const MediaInfoRecord shown = publicRecord(record);
    for (auto it = shown.begin(); it != shown.end(); ++it) {
        keys.insert(it.key(), jsonValue(it.value()));
    }
    return keys;
}

QJsonObject fieldsOf(const Provenance &provenance)
{
    QJsonObject source{
        {QStringLiteral("name"), provenance.sourceName},
        {QStringLiteral("mark"), textOrNull(QString::fromLatin1(provenance.sourceMark))},
        {QStringLiteral("size"), provenance.source.size},
        {QStringLiteral("modified"), dateText(provenance.source.modified)},
        {QStringLiteral("duration"), roundedSeconds(provenance.duration)}};
    insertName(source, QStringLiteral("path"), provenance.sourcePath);
    return {{QStringLiteral("application"), provenance.application},
            {QStringLiteral("version"), provenance.version},
            {QStringLiteral("made"), dateText(provenance.made)},
            {QStringLiteral("title"), provenance.title},
            {QStringLiteral("source"), source},
            {QStringLiteral("settings"), settingsJson(provenance.settings)},
            {QStringLiteral("road"), roadName(provenance.madeQuick)},
            {QStringLiteral("instants"), instantsJson(provenance.instants)},
            {QStringLiteral("planned_instants"), instantsJson(provenance.plannedInstants)}};
}

QJsonObject fieldsOf(const PlanResult &result)
{
    QJsonArray pictures;
    for (const PlannedPicture &picture : result.plan.pictures) {
        pictures.append(QJsonObject{
            {QStringLiteral("index"), picture.index},
            {QStringLiteral("time"), picture.time},
            {QStringLiteral("timecode"), picture.timecode},
            {QStringLiteral("arguments"), QJsonArray::fromStringList(picture.arguments)}});
    }
    const ExtractionPlan &plan = result.plan;
    return {{QStringLiteral("count"), plan.count},
            {QStringLiteral("wTh"), plan.size.width},
            {QStringLiteral("hTh"), plan.size.height},
            {QStringLiteral("interval"), plan.interval},
            {QStringLiteral("road"), roadName(result.isQuick)},
            {QStringLiteral("pictures"), pictures}};
}

QString shownName(const QByteArray &name)
{
    return visibleText(QString::fromUtf8(name));
}

// Those of an object in it begin with its key; null values and bytes are left out.
QString linesOf(const QJsonObject &object, const QString &prefix)
{
    QString lines;
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString key = prefix + it.key();
        if (it.value().isObject()) {
            lines += linesOf(it.value().toObject(), key + u'_');
        } else if (!it.value().isNull() && !key.endsWith(QLatin1String("_base64"))) {
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

QString damageWarning(const QString &source, const QString &damage)
{
    return QStringLiteral("warning: %1: %2").arg(source, damage);
}

QJsonObject sheetJson(const SheetOutcome &outcome)
{
    QJsonObject object = resultJson(QStringLiteral("source"), outcome.source,
                                    statusWord(outcome.status), outcome.reason);
    insertName(object, QStringLiteral("sheet"), QFile::encodeName(outcome.sheet));
    insertAll(object, {{QStringLiteral("renamed"), outcome.isRenamed},
                       {QStringLiteral("damaged"), textOrNull(outcome.damage)},
                       {QStringLiteral("pictures"),
                        QJsonObject{{QStringLiteral("asked"), outcome.picturesAsked},
                                    {QStringLiteral("drawn"), outcome.picturesDrawn}}},
                       {QStringLiteral("pictures_moved"), outcome.picturesMoved},
                       {QStringLiteral("wrong_colors"), outcome.hasWrongColours},
                       {QStringLiteral("road"), roadOf(outcome)},
                       {QStringLiteral("instants"), instantsOf(outcome)},
                       {QStringLiteral("duration"), roundedSeconds(outcome.duration)},
                       {QStringLiteral("seconds"), outcome.seconds}});
    return object;
}

MediaInfoRecord publicRecord(const MediaInfoRecord &record)
{
    MediaInfoRecord shown = record;
    shown.remove(QStringLiteral("srcPathStr"));
    shown.remove(QStringLiteral("imgPathStr"));
    shown.remove(exactDurationKey);
    return shown;
}

QJsonObject infoJson(const QByteArray &source, const RecordResult &record)
{
    QJsonObject object = resultJson(QStringLiteral("source"), source, record);
    object.insert(QStringLiteral("damaged"),
                  textOrNull(record ? stringIn(*record, damageKey) : QString()));
    object.insert(QStringLiteral("duration"),
                  record ? durationJson(*record) : QJsonValue(QJsonValue::Null));
    object.insert(QStringLiteral("record"),
                  record ? QJsonValue(recordJson(*record)) : QJsonValue(QJsonValue::Null));
    return object;
}

QString infoText(const QByteArray &source, const MediaInfoRecord &record)
{
    QString text = QStringLiteral("source: ") + shownName(source) + QLatin1Char('\n');
    const MediaInfoRecord shown = publicRecord(record);
    for (auto it = shown.begin(); it != shown.end(); ++it) {
        text += it.key() + QStringLiteral(": ") + textValue(it.value()) + QLatin1Char('\n');
    }
    return text;
}

QJsonObject provenanceJson(const QByteArray &sheet,
                           const tl::expected<Provenance, QString> &provenance)
{
    QJsonObject object = resultJson(QStringLiteral("sheet"), sheet, provenance);
    const QJsonObject fields = fieldsOf(provenance.value_or(Provenance()));
    provenance ? insertAll(object, fields) : insertNulls(object, fields);
    return object;
}

QString provenanceText(const QByteArray &sheet, const Provenance &provenance)
{
    return QStringLiteral("sheet: %1\n").arg(shownName(sheet)) +
           linesOf(fieldsOf(provenance), QString());
}

QJsonObject planJson(const QByteArray &source, SheetLayout layout,
                     const tl::expected<PlanResult, QString> &plan)
{
    QJsonObject object = resultJson(QStringLiteral("source"), source, plan);
    const QJsonObject fields = fieldsOf(plan.value_or(PlanResult()));
    plan ? insertAll(object, fields) : insertNulls(object, fields);
    object.insert(QStringLiteral("layout"), layoutName(layout));
    return object;
}

QString planText(const QByteArray &source, SheetLayout layout, const PlanResult &result)
{
    const ExtractionPlan &plan = result.plan;
    QString text =
        QStringLiteral("source: %1\nlayout: %2\ncount: %3\nsize: %4 x %5\ninterval: %6 s\n")
            .arg(shownName(source), layoutName(layout), QString::number(plan.count),
                 QString::number(plan.size.width), QString::number(plan.size.height),
                 fixedText(plan.interval, 2));
    if (result.isQuick) {
        text += QStringLiteral("road: %1\n").arg(roadName(true));
    }
    for (const PlannedPicture &picture : plan.pictures) {
        text += QStringLiteral("%1  %2  %3 s")
                    .arg(QString::number(picture.index).rightJustified(3), picture.timecode,
                         fixedText(picture.time, 2));
        text += picture.arguments.isEmpty()
                    ? QStringLiteral("\n")
                    : QStringLiteral("  %1\n").arg(shellQuoted(picture.arguments));
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
