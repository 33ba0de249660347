#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Which instant a picture run took. ffmpeg writes a detailed report beside what it prints when its
// environment asks for one, and its select filter notes the time of each frame in it.
namespace qv
{

// "FFREPORT=..." that makes ffmpeg write such a report to this file.
QByteArray detailedReportVariable(const QString &path);

enum class Taken { First, Last };

// Seconds from the run's own start of the first or last selected frame; nothing when the report has
// none.
std::optional<double> pictureInstant(const QString &reportPath, Taken taken);

} // namespace qv
