#pragma once

#include "support/bundle.h"

#include <QList>
#include <QString>

// What every tool run shares: the scratch folder, where the tools are, and their environment.
namespace qv
{

// The application's scratch folder; "/private/tmp/<CFBundleName>" while none is set.
QString temporaryFolder();
void setTemporaryFolder(const QString &path); // empty: none is set

// The folder below it in which tools write, and from which nothing is taken but what a tool was to
// write there: whoever takes control of one can change all that is in it. The rest of the temporary
// folder is out of a tool's reach.
QString toolFolder();

// The system's folder for temporary files: TMPDIR, else (or when it holds a "%") /tmp.
QString temporaryRoot();

// Empties and recreates the folder and links "app.app" in it to the bundle, whose fonts folder the
// tool environment names through that link. The tool folder holds the link "plugins.bin" to the
// user's list of plug-ins. False when the folder can't be made.
bool prepareTemporaryFolder(const QString &path, const Bundle &bundle);
// The same with a folder that is there and empty.
void adoptTemporaryFolder(const QString &path, const Bundle &bundle);

// ffmpeg of the bundle (tools folder, then resource folder), then of the user's application
// support folder. Looked up each time; an empty text, never null, when there is none.
QString ffmpegPath();

// Where the movie framework keeps its list of plug-ins for this user. It makes the list when there
// is none, which takes some seconds.
QString usersPluginList();

// "NAME=value" of every variable: the application's own with LC_CTYPE and CUSTOMCONFIGDIR set.
// Built afresh for every process.
QList<QByteArray> toolEnvironment();
// The same for a tool that may write in the tool folder only: it keeps its own temporary files and
// the movie framework's list of plug-ins there.
QList<QByteArray> confinedEnvironment();
// The application's own environment unchanged.
QList<QByteArray> applicationEnvironment();

} // namespace qv
