#pragma once

#include "analysis/media_info_record.h"
#include "cli/streams.h"
#include "sheet/extraction_plan.h"
#include "sheet/layout.h"
#include "sheet/provenance.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// What the commands print for a source, as text and as JSON.
namespace qv
{

struct SheetOutcome {
    enum class Status { Made, Kept, Skipped, Failed };
    Status status = Status::Failed;
    QString source;
    QString sheet;
    QString reason;
    int asked = 0;
    int moved = 0; // pictures of frames more than two seconds away from their stamps
    int drawn = 0;
    bool quick = false;     // made of key pictures
    QList<double> instants; // of its pictures, seconds
    double duration = 0;    // seconds of the source
    double seconds = 0;     // that it took
};

QString statusWord(SheetOutcome::Status status);
QJsonObject sheetJson(const SheetOutcome &outcome);

// The record without what the controller added for itself.
MediaInfoRecord publicRecord(const MediaInfoRecord &record);
QJsonObject infoJson(const QString &source, const MediaInfoRecord &record);
// One "key: value" a line.
QString infoText(const QString &source, const MediaInfoRecord &record);

// What a sheet tells of itself.
QJsonObject provenanceJson(const QString &sheet, const Provenance &provenance);
// One "key: value" a line.
QString provenanceText(const QString &sheet, const Provenance &provenance);

QJsonObject planJson(const QString &source, SheetLayout layout, const ExtractionPlan &plan);
QString planText(const QString &source, SheetLayout layout, const ExtractionPlan &plan);

// One line, without its end.
QByteArray jsonLine(const QJsonObject &object);

// A command as a shell would take it.
QString shellQuoted(const QStringList &arguments);

} // namespace qv
