#pragma once

#include "capacity_model.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace bench
{

// A source that ffmpeg made, and what is known of it.
struct CapacitySource {
    QString path;
    SourceFacts facts;
};

// Small sources of seven kinds, made at the first call, that the model's constants come from; and
// others, of other sizes and lengths, that it is checked with. Empty when one can't be made.
std::vector<CapacitySource> calibrationSources(const QString &folder);
std::vector<CapacitySource> checkSources(const QString &folder);

// That many links to the sources, in turn, each with a name of its own, into an empty folder.
QStringList manySources(const std::vector<CapacitySource> &sources, int count,
                        const QString &folder);

} // namespace bench
