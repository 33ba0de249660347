#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The bundle's tool "quickThumbs" as the one that describes a source: it prints what ffmpeg's debug
// report would say, in a fraction of the time.
namespace qv
{

// The command. The header of the decoded frames goes to `frameFile`; the preview, `width` pixels
// wide, to `preview`, when a key picture stands soon enough behind one of the instants.
QStringList quickProbeCommand(const QString &sourcePath, const QString &frameFile,
                              const QString &preview, int width, const QList<int> &instants);

// Whether the tool is there.
bool hasQuickTool();

// What stands at the source's end, where the tool looked: the second at which the last packet ends.
// Nothing when it did not look, or met no picture there.
std::optional<double> quickTail(const QString &report);

// What the tool's last line of that name ("tail") says; metadata may have lines like it before.
// Null without such a line.
QString lastProbeLine(const QString &report, const QString &name);

} // namespace qv
