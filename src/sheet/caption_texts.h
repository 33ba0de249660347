#pragma once

#include "settings/preferences_store.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

// The caption block of a sheet.
namespace qv
{

// The texts by key (name, location, date, duration, vIdentity, poids, essence) of a source, from
// its record and "srcPathStr".
QVariantMap captionTexts(const QVariantMap &input);

// The caption lines below the title, in the order in which they are drawn.
QStringList captionLineKeys();
// Every caption that a switch shows or hides, with the preference that holds the switch:
// "name" -> "pageName", ..., "timecode" -> "prefTimecode"; and what people call it.
struct CaptionSwitch {
    QString caption;
    QString preference;
    QString word;
};
const QList<CaptionSwitch> &captionSwitches();
// Whether the preferences show that caption; one that has no switch is always shown.
bool isCaptionOn(const PreferencesStore &preferences, const QString &caption);

} // namespace qv
