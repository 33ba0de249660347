#pragma once

#include "settings/preferences_store.h"
#include "sheet/layout.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <vector>

// Which stills a sheet takes, at which instants, and with which command each.
namespace qv
{

struct PlannedPicture {
    int index = 0;
    double time = 0;       // seconds from the start of the source
    QString timecode;      // "0:01:15", of a source shorter than a second "0:00:00.48"
    QStringList arguments; // tool first; empty when one run takes all
};

struct ExtractionPlan {
    int columns = 0;
    int count = 0;
    StillSize size;
    double interval = 0;   // seconds
    bool inOneRun = false; // by a tool that takes all of them
    std::vector<PlannedPicture> pictures;
};

// The plan of a source, from its record and working entries (srcPathStr, dstPathStr, v0_width,
// v0_height, w_duration, v0_dar, thNumberInt, v0_fields, intraFailure, decSkip, quick). Touches
// nothing.
ExtractionPlan planExtraction(int out, const QVariantMap &input);

// Plans, empties and recreates the stills folder "dstPathStr", which carries the mark "stillsMark"
// (prepareStillsFolder()), and stores the plan in the child dictionary processEncDico: appkyThFf,
// appkyThQt, appkyDisplay. `versionText` is only logged. Always 0; nothing is stored when the
// stills folder is not ours to empty (logged).
int encodage(int out, const QString &versionText, const QVariantMap &input,
             PreferencesStore &store);

// The time code on a picture of a source of that duration, both in seconds; null for an invalid
// instant.
QString stampText(double instant, double sourceSeconds);

// Those of a sheet's pictures, in order. Neighbours that would read the same get tenths, or
// hundredths, and all the others with them.
QStringList stampTexts(const QList<double> &instants, double sourceSeconds);

// Where a planned run writes its picture: the last argument.
QString pictureFile(const QString &stillsFolder, int index);

// Whether a run has written it.
bool hasPicture(const QString &file);

// Seconds from its planned instant beyond which a picture counts as moved.
inline constexpr double farFromPlan = 2;

} // namespace qv
