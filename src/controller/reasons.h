#pragma once

#include <QString>

// Why a source gets no sheet, where several places say so. The string table "reasons" knows these
// texts letter by letter.
namespace qv::reasons
{

inline const QString sheetIsThere = QStringLiteral("a sheet of that name is there already");
inline const QString namesAreTaken =
    QStringLiteral("every name that its sheet could have is taken by other files");
inline const QString folderWithoutVideo = QStringLiteral("no video in this folder");
inline const QString folderClosed = QStringLiteral("the folder may not be read (no permission)");
inline const QString nothingDecoded = QStringLiteral("no picture of it could be decoded");

inline const QString encrypted = QStringLiteral("it is encrypted");

inline QString destinationFull(int freeMegabytes)
{
    return QStringLiteral("the destination has no space left (%1 MB free)").arg(freeMegabytes);
}

} // namespace qv::reasons
