#pragma once

#include <QString>
#include <QStringList>

// The words of the choices that a row and the main window offer, in the user's language.
namespace qv
{

// Of the layouts, by layout index: "Big", "Medium", "Minimum", "Mixed".
QStringList layoutLabels();
// Of the pictures, by picture choice: "JPEG", "PNG".
QStringList pictureChoiceLabels();

// The preference that holds a layout's number of stills: "prefLimitBig", ...
QString countPreference(int out);
// The numbers that the menus offer for a layout: whole rows, and the numbers of the defaults.
QList<int> offeredCounts(int out);

} // namespace qv
