#pragma once

#include <QList>
#include <QString>
#include <QUrl>

// The mail that a user sends about a fault.
namespace qv
{

struct BugReportFacts {
    QString application; // name and version
    QString ffmpeg;      // the first line of what it tells of its version
    float ffRevision = 0;
    QString system;
    int processors = 0;
    QString logFolder;
    QStringList decoders; // codes of those that are there

    // Of this machine and process; what tools have to be asked for is given.
    static BugReportFacts gathered(const QString &ffmpegVersionLine, float revision,
                                   const QStringList &decoders);
};

// Opens the user's mail program with a text to complete. Below 2000 characters, whatever the facts:
// longer addresses get lost on their way to the program.
QUrl bugReportMail(const BugReportFacts &facts);

} // namespace qv
