#pragma once

#include "analysis/media_info_record.h"
#include "cli/streams.h"
#include "controller/face.h"
#include "sheet/extraction_plan.h"
#include "sheet/layout.h"
#include "sheet/provenance.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <tl/expected.hpp>

// What the commands print for a source, as text and as JSON (docs/json.md).
namespace qv
{

// Rises when a field changes its meaning or goes; new ones may come at any time.
constexpr int jsonSchema = 1;

struct SheetOutcome : SheetResult {
    enum class Status { Made, Kept, Skipped, Failed };
    Status status = Status::Failed;
    QByteArray source;      // as the user named it
    qsizetype number = 0;   // of the source
    bool isRenamed = false; // the sheet does not have the source's plain name
    QString damage;         // what is wrong with the source; null: nothing known
};

QString statusWord(SheetOutcome::Status status);
// The line on standard error for a damaged source that is used all the same.
QString damageWarning(const QString &source, const QString &damage);
QJsonObject sheetJson(const SheetOutcome &outcome);

// The record without what the controller added for itself.
MediaInfoRecord publicRecord(const MediaInfoRecord &record);
// A source's record, or the reason why it was skipped.
using RecordResult = tl::expected<MediaInfoRecord, QString>;
QJsonObject infoJson(const QByteArray &source, const RecordResult &record);
// One "key: value" a line.
QString infoText(const QByteArray &source, const MediaInfoRecord &record);

// What a sheet tells of itself.
QJsonObject provenanceJson(const QByteArray &sheet,
                           const tl::expected<Provenance, QString> &provenance);
// One "key: value" a line.
QString provenanceText(const QByteArray &sheet, const Provenance &provenance);

struct PlanResult {
    ExtractionPlan plan;
    bool isQuick = false;
};
QJsonObject planJson(const QByteArray &source, SheetLayout layout,
                     const tl::expected<PlanResult, QString> &plan);
QString planText(const QByteArray &source, SheetLayout layout, const PlanResult &result);

// One line, without its end.
QByteArray jsonLine(const QJsonObject &object);

// A command as a shell would take it.
QString shellQuoted(const QStringList &arguments);

} // namespace qv
