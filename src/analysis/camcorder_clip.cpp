#include "analysis/camcorder_clip.h"

#include "analysis/report_text.h"
#include "process/tool_run.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/log.h"

#include <QFileInfo>

#include <algorithm>
#include <iterator>

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

bool holdsCardPlaylist(const QString &folder)
{
    const QStringList entries = lsCocoa(folder);
    return std::any_of(entries.begin(), entries.end(), [](const QString &entry) {
        return entry.endsWith(QLatin1String(".MPL"), Qt::CaseInsensitive);
    });
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

// By the line "00003 : clip-2009-05-17 14;23;05"; null when no line tells of the clip.
QString nameByPlaylists(const QString &folder, const QString &number)
{
    const QString tool = Bundle::main().toolPath(QStringLiteral("gettimestamps"));
    const QString listing = taskArray1PipeMax(
        {tool, appendPath(folder, playlistWord) + QLatin1Char('/')}, ErrorText::Merged);
    for (const QString &line : linesOf(listing)) {
        if (line.contains(numberEnd) && before(line, numberEnd) == number) {
            return QStringLiteral("%1-%2").arg(harmless(after(line, numberEnd)), number);
        }
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
    QString name = QStringLiteral("clip-%1-%2")
                       .arg(before(created, QLatin1String(" +")), clipNumber(clipPath));
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
