#pragma once

#include "settings/preferences_store.h"
#include "sheet/layout.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <tl/expected.hpp>

#include <vector>

// Which stills a sheet takes, at which instants, and with which command each.
namespace qv
{

struct PlannedPicture {
    int index = 0;
    double time = 0;       // seconds from the start of the source
    QString timecode;      // "0:01:15"
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

// Plans, empties and recreates the stills folder "dstPathStr", and stores the plan in the child
// dictionary processEncDico: appkyThFf, appkyThQt, appkyDisplay. `versionText` is only logged.
// Always 0; nothing is stored when the stills folder is not ours to empty (logged).
int encodage(int out, const QString &versionText, const QVariantMap &input,
             PreferencesStore &store);

// Where a planned run writes its picture: the last argument.
QString pictureFile(const QString &stillsFolder, int index);

// Folders of stills carry a hidden mark, so that a folder of the user's that happens to have the
// name is never emptied or removed.
bool isOurStillsFolder(const QString &folder);
// Whether the folder may be used: missing, or ours.
bool mayUseStillsFolder(const QString &folder);
// Empties and recreates it, with the mark.
tl::expected<void, QString> prepareStillsFolder(const QString &folder);
// Deletes it if it is ours.
bool purgeStillsFolder(const QString &folder);

} // namespace qv
