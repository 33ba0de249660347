#pragma once

#include "controller/face.h"
#include "settings/preferences_store.h"
#include "sheet/provenance.h"

// Whether a sheet that is there still shows what one made now would show.
namespace qv
{

// The settings that a sheet of this layout and picture choice would have now.
SheetSettings sheetSettings(const Face &face, const PreferencesStore &preferences, int out,
                            int dpi);

// What a sheet made now would be of.
struct WantedSheet {
    QString sourceName;
    SourceState source;
    SheetSettings settings;
    bool leavesOutPath = false;
};
WantedSheet wantedSheet(const Face &face, const PreferencesStore &preferences,
                        const QString &sourcePath);

// Why the sheet that carries this is to be made anew; null when it may stay. Another version of the
// application is no reason.
QString staleReason(const Provenance &carried, const WantedSheet &wanted);

} // namespace qv
