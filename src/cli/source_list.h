#pragma once

#include <QByteArrayList>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

// The sources that the command line names, files and what stands in folders, in order.
namespace qv
{

struct Source {
    QString path;    // absolute, and one that can be opened
    QString named;   // as the user named it, for the output
    QString problem; // why it is no source; null otherwise
};

// `rawNames` holds the bytes of those names that are not UTF-8, by how they read and in order.
QList<Source> listSources(const QStringList &names, QHash<QString, QByteArrayList> rawNames,
                          const QSet<QString> &admittedExtensions);

} // namespace qv
