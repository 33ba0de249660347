#pragma once

#include "cli/options.h"

#include <QByteArrayList>
#include <QList>
#include <QSet>
#include <QString>

#include <functional>

// The sources that the user names, files and what stands in folders, in order.
namespace qv
{

struct Source {
    QString path;    // absolute, and one that can be opened
    QString named;   // as the user named it, for the output
    QString problem; // why it is no source; null otherwise
};

// In the order of the names, and within a folder by the bytes of the names, so that the same files
// give the same list on every machine. Ends early when `isStopped`, asked before each name, says
// so.
QList<Source> listSources(const QByteArrayList &names, const QSet<QString> &admittedExtensions,
                          const std::function<bool()> &isStopped = nullptr);

// One part of the list, dealt out in turn, so that neighbours, which are often alike, spread.
QList<Source> sourcesOfShard(const QList<Source> &sources, const Shard &shard);

} // namespace qv
