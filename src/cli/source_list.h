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
    QString path;     // absolute, and one that can be opened
    QByteArray named; // as the user named it, for the output
    QString problem;  // why it is no source; null otherwise
    qsizetype number = 0;
    qsizetype sameAs = -1; // number of the source before it that is the same file

    QString shown() const { return QString::fromUtf8(named); }
    bool isRepeated() const { return sameAs >= 0; }
};

// Named files are taken whatever their extension, and those below a named folder that have one of a
// video. In the order of the names, and within a folder by the bytes of the names, so that the same
// files give the same list on every machine. A source's number is its place in the list. Ends early
// when `isStopped`, asked before each name, says so.
QList<Source> listSources(const QByteArrayList &names, const QSet<QString> &admittedExtensions,
                          const std::function<bool()> &isStopped = nullptr);

// One part of the list, dealt out in turn, so that neighbours, which are often alike, spread.
// Repeated sources follow the first one.
QList<Source> sourcesOfShard(const QList<Source> &sources, const Shard &shard);

// Why a file whose name is not valid UTF-8 can't be opened by `path`; null when it can.
QString linkProblem(const QString &path);

// Those that are not repeated.
QList<Source> withoutRepeated(const QList<Source> &sources);

} // namespace qv
