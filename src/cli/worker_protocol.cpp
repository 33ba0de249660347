#include "cli/worker_protocol.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace qv
{
namespace
{

const QString readyKey = QStringLiteral("ready");
const QString problemKey = QStringLiteral("problem");
const QString sourceKey = QStringLiteral("source");
const QString baseKey = QStringLiteral("base");
const QString statusKey = QStringLiteral("status");
const QString sheetKey = QStringLiteral("sheet");
const QString reasonKey = QStringLiteral("reason");
const QString damagedKey = QStringLiteral("damaged");
const QString askedKey = QStringLiteral("asked");
const QString drawnKey = QStringLiteral("drawn");
const QString wrongColoursKey = QStringLiteral("wrongColors");
const QString movedKey = QStringLiteral("moved");
const QString quickKey = QStringLiteral("quick");
const QString instantsKey = QStringLiteral("instants");
const QString durationKey = QStringLiteral("duration");
const QString secondsKey = QStringLiteral("seconds");

QByteArray lineOf(const QJsonObject &object)
{
    return jsonLine(object) + '\n';
}

QJsonObject objectIn(const QByteArray &line)
{
    return QJsonDocument::fromJson(line).object();
}

QJsonArray arrayOf(const QList<double> &numbers)
{
    QJsonArray array;
    for (const double number : numbers) {
        array.append(number);
    }
    return array;
}

std::optional<SheetOutcome::Status> statusOf(const QString &word)
{
    using Status = SheetOutcome::Status;
    for (const Status status : {Status::Made, Status::Kept, Status::Skipped, Status::Failed}) {
        if (word == statusWord(status)) {
            return status;
        }
    }
    return std::nullopt;
}

} // namespace

QByteArray readyLine()
{
    return lineOf({{readyKey, true}});
}

QByteArray problemLine(const QString &problem)
{
    return lineOf({{problemKey, problem}});
}

// A path's bytes need not be text.
QByteArray requestLine(const SheetRequest &request)
{
    return lineOf({{sourceKey, QLatin1String(request.source.toBase64())}, {baseKey, request.base}});
}

QByteArray outcomeLine(const SheetOutcome &outcome)
{
    return lineOf({{statusKey, statusWord(outcome.status)},
                   {sheetKey, outcome.sheet},
                   {reasonKey, outcome.reason},
                   {damagedKey, outcome.damage},
                   {askedKey, outcome.picturesAsked},
                   {drawnKey, outcome.picturesDrawn},
                   {movedKey, outcome.picturesMoved},
                   {wrongColoursKey, outcome.hasWrongColours},
                   {quickKey, outcome.isQuick},
                   {instantsKey, arrayOf(outcome.instants)},
                   {durationKey, outcome.duration},
                   {secondsKey, outcome.seconds}});
}

std::optional<SheetRequest> requestIn(const QByteArray &line)
{
    const QJsonObject object = objectIn(line);
    const SheetRequest request{
        QByteArray::fromBase64(object.value(sourceKey).toString().toLatin1()),
        object.value(baseKey).toString()};
    if (request.source.isEmpty() || request.source.contains('\0') || request.base.isEmpty()) {
        return std::nullopt;
    }
    return request;
}

std::optional<SheetOutcome> outcomeIn(const QByteArray &line)
{
    const QJsonObject object = objectIn(line);
    const auto status = statusOf(object.value(statusKey).toString());
    if (!status) {
        return std::nullopt;
    }
    SheetOutcome outcome;
    outcome.status = *status;
    outcome.sheet = object.value(sheetKey).toString();
    outcome.reason = object.value(reasonKey).toString();
    outcome.damage = object.value(damagedKey).toString();
    outcome.picturesAsked = object.value(askedKey).toInt();
    outcome.picturesDrawn = object.value(drawnKey).toInt();
    outcome.picturesMoved = object.value(movedKey).toInt();
    outcome.hasWrongColours = object.value(wrongColoursKey).toBool();
    outcome.isQuick = object.value(quickKey).toBool();
    const QJsonArray instants = object.value(instantsKey).toArray();
    for (const auto &instant : instants) {
        outcome.instants.append(instant.toDouble());
    }
    outcome.duration = object.value(durationKey).toDouble();
    outcome.seconds = object.value(secondsKey).toDouble();
    return outcome;
}

bool isReady(const QByteArray &line)
{
    return objectIn(line).value(readyKey).toBool();
}

QString problemIn(const QByteArray &line)
{
    return objectIn(line).value(problemKey).toString();
}

std::optional<QByteArray> takeLine(QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    if (end < 0) {
        return std::nullopt;
    }
    const QByteArray line = bytes.left(end);
    bytes.remove(0, end + 1);
    return line;
}

} // namespace qv
