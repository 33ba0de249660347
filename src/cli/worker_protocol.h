#pragma once

#include "cli/results.h"

#include <QByteArray>
#include <QString>

#include <optional>

// What the command and the copies of itself tell each other: JSON objects, one a line. A copy says
// that it is ready, or why it can't work; then each request is answered by one outcome.
namespace qv
{

struct SheetRequest {
    QByteArray source; // path, as bytes
    QString base;      // the sheet's path without extension
};

QByteArray readyLine();
QByteArray problemLine(const QString &problem);
QByteArray requestLine(const SheetRequest &request);
QByteArray outcomeLine(const SheetOutcome &outcome);

// What a line says; nothing when it is none of its kind.
std::optional<SheetRequest> requestIn(const QByteArray &line);
// All but the source.
std::optional<SheetOutcome> outcomeIn(const QByteArray &line);
bool isReady(const QByteArray &line);
QString problemIn(const QByteArray &line);

// Takes the first whole line from the bytes that came; nothing while there is none.
std::optional<QByteArray> takeLine(QByteArray &bytes);
// A peer that sends so much without a newline speaks another language.
constexpr qsizetype lineLimit = 1 << 20;

} // namespace qv
