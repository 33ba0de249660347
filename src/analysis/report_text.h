#pragma once

#include <QString>
#include <QStringList>

// Pieces of a report's line between markers.
namespace qv
{

inline constexpr QLatin1String inputMark("Input #");

// Whether the marker stands in the text.
bool has(const QString &text, const char *marker);

// The text before the first marker; the whole text when there is none.
QString before(const QString &text, QLatin1String marker);
// The text between the first marker and the next one, or to the end; null when there is none.
QString after(const QString &text, QLatin1String marker);

// The pieces between commas outside brackets; each but the first keeps the blank before it.
QStringList outerParts(const QString &text);

// Told line by line, tells which lines are tags: those below their heading, further in, up to the
// first line that is not.
//   Metadata:
//     title           : Trial and Error
//                     : and what follows
//   Duration: 00:01:05.96, start: 0.500000, bitrate: 7000 kb/s
class TagBlocks
{
public:
    bool isTag(const QString &line);

private:
    qsizetype m_headingIndent = -1; // below no heading
};

// Progress lines overwrite each other: they end in "\r", and the last one counts. Null without one.
//   frame=   50 fps=0.0 q=-1.0 Lsize=N/A time=00:00:01.96 bitrate=N/A speed=4.26e+04x
QString lastProgressLine(const QString &report);
// Its time code, with a sign where it is negative; null of a null line.
QString progressTime(const QString &line);

} // namespace qv
