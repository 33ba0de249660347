#pragma once

#include <QString>

#include <optional>

// The folder that the user names for the sheets, and the one in it that they go to.
namespace qv
{

// The destination's sub-folder of ours, or the destination itself if it already is one. Empty for
// an empty destination.
QString sheetFolder(const QString &destination);

// What a look at the destination tells; nothing is written.
enum class DestinationState { Usable, WillBeMade, Missing, NoFolder, Locked };
DestinationState destinationState(const QString &destination);

// Why no sheet can be written, for an alert.
struct DestinationProblem {
    QString title;
    QString detail;
};
// Makes the folder `sheets` in the destination and tries to write there, unless it is empty. A full
// disk is no problem yet: that is for each row to tell.
std::optional<DestinationProblem> prepareDestination(const QString &destination,
                                                     const QString &sheets);

} // namespace qv
