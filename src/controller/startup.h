#pragma once

#include "analysis/movie_tool.h"
#include "controller/tool_query.h"
#include "process/scratch_folder.h"
#include "settings/preferences_store.h"
#include "support/bundle.h"
#include "support/platform.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

#include <memory>
#include <optional>

// What is done once before the window works, in the order of these declarations. None of it waits
// for a tool.
namespace qv
{

// Why the application can't run here, for the error alert; it ends after that.
struct Refusal {
    QString title;
    QString detail;
};
// Any x86-64 processor with SSE2, any 64-bit ARM.
std::optional<Refusal> refuseProcessor(const platform::Processor &processor);
// With more than one running copy.
std::optional<Refusal> refuseInstance(int runningCopies);
// When there is a backslash in the path, which tools take for an escape.
std::optional<Refusal> refusePath(const QString &resourcePath);

// Makes the temporary folder, empty and closed to other users: "<temporary root>/<CFBundleName>",
// or one of a name of its own when that one is somebody else's or in use by another copy. Gives the
// folder, which goes with the object, or the reason for people. Folders that killed copies left are
// removed.
tl::expected<std::unique_ptr<ScratchFolder>, QString> makeTemporaryFolder(const Bundle &bundle);

// Deletes the stills that a killed run left beside a sheet: only a folder with the mark that the
// working state tells. To be called before the working state is purged from the preferences.
void clearLeftStills(const PreferencesStore &preferences);

// Machine, system and application, into the log.
void logEnvironment(const Bundle &bundle);
// "~/Library/QuickTime", where the movie framework looks for what the user adds.
void makeMovieFolder();

// Which ffmpeg this is: asked of the tool while everything else goes on.
class FfmpegQuery : public QObject
{
    Q_OBJECT

public:
    explicit FfmpegQuery(QObject *parent = nullptr);
    void start();
    // "ffmpeg version 5.1.9 ...", and the number that ffRevision makes of it. Empty and 0 before
    // the answer, and for ever without a tool.
    QString versionLine() const { return m_line; }
    float revision() const { return m_revision; }

Q_SIGNALS:
    void answered();

private:
    ToolQuery m_query;
    QString m_line;
    float m_revision = 0;
};

// Which decoders the movie framework has. Until its tool has answered, and for ever without it,
// there is none.
class DecoderQuery : public QObject
{
    Q_OBJECT

public:
    // The four-character codes asked for.
    static QStringList codes();

    explicit DecoderQuery(MovieTool &movies, QObject *parent = nullptr);
    void start();
    // In the order of the codes.
    QList<bool> flags() const;

Q_SIGNALS:
    void answered();

private:
    void take(const QByteArray &printed);

    MovieTool &m_movies;
    QMap<QString, bool> m_decoders;
    ToolQuery m_query;
};

} // namespace qv
