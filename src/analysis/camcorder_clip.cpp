#include "analysis/camcorder_clip.h"

#include "analysis/report_text.h"
#include "process/tool_run.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/log.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <iterator>
#include <mutex>

namespace qv
{
namespace
{

constexpr QLatin1String playlistWord("PLAYLIST");
constexpr QLatin1String numberEnd(" : ");

QString streamFolder(const QString &clipPath)
{
    return QFileInfo(expandTilde(clipPath)).absolutePath();
}

QString movieFolder(const QString &clipPath)
{
    return QFileInfo(streamFolder(clipPath)).absolutePath();
}

QString clipNumber(const QString &clipPath)
{
    return withoutExtension(lastPathComponent(clipPath));
}

bool hasPlaylists(const QString &folder)
{
    const QStringList entries = lsCocoa(folder);
    return std::any_of(entries.begin(), entries.end(), [&](const QString &entry) {
        return lastPathComponent(entry).contains(playlistWord);
    });
}

bool isPlaylist(const QString &entry)
{
    return entry.endsWith(QLatin1String(".MPL"), Qt::CaseInsensitive);
}

bool holdsCardPlaylist(const QString &folder)
{
    const QStringList entries = lsCocoa(folder);
    return std::any_of(entries.begin(), entries.end(), isPlaylist);
}

// A disc has folders of the same names, but other playlists (".mpls").
bool isCard(const QString &folder)
{
    const QStringList entries = lsCocoa(folder);
    return std::any_of(entries.begin(), entries.end(), [&](const QString &entry) {
        const QString name = lastPathComponent(entry);
        return name.contains(playlistWord, Qt::CaseInsensitive) &&
               holdsCardPlaylist(appendPath(folder, name));
    });
}

// What a tool prints becomes part of a file's name.
QString harmless(const QString &printed)
{
    constexpr qsizetype longest = 64;
    QString kept;
    std::copy_if(printed.begin(), printed.begin() + std::min(printed.size(), longest),
                 std::back_inserter(kept),
                 [](QChar c) { return c >= u' ' && c <= u'~' && c != u'/'; });
    return kept;
}

// When each clip was recorded, by its number: "00003 : clip-2009-05-17 14;23;05".
using ClipDates = QHash<QString, QString>;

ClipDates clipDates(const QString &listing)
{
    ClipDates dates;
    for (const QString &line : linesOf(listing)) {
        const QString number = before(line, numberEnd);
        if (line.contains(numberEnd) && !dates.contains(number)) {
            dates.insert(number, harmless(after(line, numberEnd)));
        }
    }
    return dates;
}

// A playlist may be written anew without its folder changing.
struct PlaylistState {
    QString name;
    qint64 size = 0;
    QDateTime modified;
    bool operator==(const PlaylistState &) const = default;
};

QList<PlaylistState> playlistStates(const QString &folder)
{
    QList<PlaylistState> states;
    for (const QString &entry : lsCocoa(folder)) {
        if (isPlaylist(entry)) {
            const QFileInfo file(appendPath(folder, lastPathComponent(entry)));
            states.append({file.fileName(), file.size(), file.lastModified()});
        }
    }
    return states;
}

// The tool's listing of a card serves all of its clips, which come one after the other.
class LastCard
{
public:
    ClipDates datesIn(const QString &playlists)
    {
        const std::lock_guard lock(m_mutex);
        const QList<PlaylistState> states = playlistStates(playlists);
        if (playlists != m_playlists || states != m_states) {
            const QString tool = Bundle::main().toolPath(QStringLiteral("gettimestamps"));
            const QString listing =
                taskArray1PipeMax({tool, playlists + QLatin1Char('/')}, ErrorText::Merged);
            m_dates = clipDates(listing);
            // A tool that told nothing may do so the next time.
            m_playlists = listing.isNull() ? QString() : playlists;
            m_states = states;
        }
        return m_dates;
    }

private:
    std::mutex m_mutex; // sheets are named on another thread than sources are looked at
    QString m_playlists;
    QList<PlaylistState> m_states;
    ClipDates m_dates;
};

// Null when no playlist tells of the clip.
QString nameByPlaylists(const QString &folder, const QString &number)
{
    static LastCard card;
    const ClipDates dates = card.datesIn(appendPath(folder, playlistWord));
    if (const auto date = dates.constFind(number); date != dates.cend()) {
        return QStringLiteral("%1-%2").arg(*date, number);
    }
    logDebug([&] { return QStringLiteral("clipDateName        :-( no mark of %1").arg(number); });
    return {};
}

QString nameByFileDate(const QString &clipPath)
{
    const QString created = creationDateText(clipPath);
    if (created.isNull()) {
        return lastPathComponent(clipPath);
    }
    // "2011-03-27 14:23:05 -0500" without the zone.
    QString name =
        QStringLiteral("clip-%1-%2").arg(created.section(u' ', 0, 1), clipNumber(clipPath));
    name.replace(u':', u';');
    return findAndReplace(name, QStringLiteral(";;"), QStringLiteral(";"), true);
}

} // namespace

QString clipDateName(const QString &clipPath)
{
    const QString folder = movieFolder(clipPath);
    const QString name =
        hasPlaylists(folder) ? nameByPlaylists(folder, clipNumber(clipPath)) : QString();
    return name.isNull() ? nameByFileDate(clipPath) : name;
}

QString cardClipName(const QString &clipPath)
{
    const QString stream = lastPathComponent(streamFolder(clipPath));
    if (stream.compare(QLatin1String("STREAM"), Qt::CaseInsensitive) != 0 ||
        !isCard(movieFolder(clipPath))) {
        return {};
    }
    const QString name = clipDateName(clipPath);
    return name == lastPathComponent(clipPath) ? QString() : name;
}

} // namespace qv
