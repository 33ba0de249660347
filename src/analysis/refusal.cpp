#include "analysis/refusal.h"

#include "analysis/report_text.h"
#include "support/files.h"
#include "support/media_formats.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

// The one tag that is ffmpeg's business: older releases turned the picture by it.
//       rotate          : 90
bool isRotateTag(const QString &line)
{
    static const QRegularExpression tag(QStringLiteral("^ +rotate +: -?\\d+$"));
    return tag.match(line).hasMatch();
}

QStringList withoutTags(const QStringList &lines)
{
    QStringList kept;
    TagBlocks tags;
    for (const QString &line : lines) {
        if (!tags.isTag(line) || isRotateTag(line)) {
            kept.append(line);
        }
    }
    return kept;
}

// A name as ffmpeg prints it: most control characters become "?".
QString asPrinted(const QString &name)
{
    QString printed = name;
    for (QChar &c : printed) {
        const bool isBlank = c >= QChar(0x08) && c <= QChar(0x0D);
        c = c < QChar(0x20) && !isBlank ? QChar(u'?') : c;
    }
    return printed;
}

void removeName(QString &report, const QString &name)
{
    if (!name.isEmpty()) {
        report.remove(name).remove(asPrinted(name));
    }
}

struct Reason {
    const char *phrase;
    const char *words;
};

QString wordsFor(const QString &text, std::initializer_list<Reason> reasons)
{
    const auto found = std::find_if(reasons.begin(), reasons.end(),
                                    [&](const Reason &r) { return has(text, r.phrase); });
    return found == reasons.end() ? QString() : QString::fromLatin1(found->words);
}

// The end of a source that ffmpeg didn't open is its name, which is gone by now, and why:
//   : Invalid data found when processing input
QString openingFailure(const QStringList &lines)
{
    const auto found = std::find_if(lines.rbegin(), lines.rend(), [](const QString &line) {
        return line.startsWith(QLatin1String(": "));
    });
    return found == lines.rend() ? QString() : found->mid(2).trimmed();
}

// Phrases that mean little to people, and what they come to.
QString wordsForError(const QString &text)
{
    const char *const unexplained = "ffmpeg can't read it and does not say why";
    return wordsFor(text,
                    {{"No space left on device", "no space is left in the temporary folder"},
                     {"Cannot allocate memory", "reading it takes more memory than there is"},
                     {"patches welcome", "it has a feature that ffmpeg does not support"},
                     {"has not been implemented", "it has a feature that ffmpeg does not support"},
                     {"End of file", "it ends before a video begins"},
                     {"Unknown error occurred", unexplained},
                     {"Internal bug", unexplained},
                     {"Error number ", unexplained},
                     {"Generic error in an external library", unexplained},
                     {"Conversion failed!", unexplained}});
}

// ffmpeg's own words, marked as such.
QString quoted(const QString &text)
{
    constexpr qsizetype longest = 180;
    return QStringLiteral("ffmpeg says: \"%1\"").arg(text.left(longest));
}

QString openingReason(const QString &report, const QString &failure)
{
    const bool isUnrecognised = has(report, "misdetection possible");
    if (has(failure, "Invalid data found") && has(report, "moov atom not found") &&
        !isUnrecognised) {
        return QStringLiteral("the file is incomplete: its index (moov atom) is missing");
    }
    const QString words = wordsFor(
        failure, {{"Invalid data found", "not a video that ffmpeg can read (invalid data)"},
                  {"Permission denied", "it may not be read (permission denied)"},
                  {"No such file or directory", "there is no such file"},
                  {"Is a directory", "it is a folder, not a file"},
                  {"Input/output error", "the disk can't read it (input/output error)"}});
    if (!words.isNull()) {
        return words;
    }
    const QString error = wordsForError(failure);
    return error.isNull() ? quoted(failure) : error;
}

bool isVideoLine(const QString &line)
{
    return has(line, "Stream #") && has(line, "Video: ");
}

QString contentReason(const QString &report, const QStringList &lines)
{
    const bool hasVideo = std::any_of(lines.begin(), lines.end(), isVideoLine);
    if (report.contains(inputMark) && !hasVideo) {
        return QStringLiteral("no video");
    }
    const char *const damaged = "it is damaged: ffmpeg can't decode all of its pictures";
    return wordsFor(
        report,
        {{"Unsupported video codec", "ffmpeg has no decoder for its video"},
         {") not found for input stream", "ffmpeg has no decoder for its video"},
         {"Could not find codec parameters", "one of its streams is unknown or can't be decoded"},
         {"does not contain any stream", "no video"},
         {"rror while decoding", damaged},
         {"rror at MB", damaged},
         {"corrupt decoded frame", damaged}});
}

// "[avi @ 0x55f37f60da00] Error reading header" without the part that speaks.
QString withoutSpeaker(const QString &line)
{
    const qsizetype end = line.startsWith(u'[') ? line.indexOf(QLatin1String("] ")) : -1;
    return (end < 0 ? line : line.mid(end + 2)).trimmed();
}

bool namesProblem(const QString &line)
{
    static constexpr std::array words{"error",     "invalid",   "fail",          "unsupported",
                                      "could not", "unable",    "cannot",        "denied",
                                      "corrupt",   "truncated", "not permitted", "unknown format"};
    const QString lowered = line.toLower();
    return std::any_of(words.begin(), words.end(),
                       [&](const char *word) { return has(lowered, word); });
}

// Words of trouble that ffmpeg has for many a good source.
bool isHarmless(const QString &line)
{
    static constexpr std::array phrases{"decoding errors", "this is harmless", "parser not found",
                                        "invalid dts/pts combination", "Invalid frame dimensions"};
    return std::any_of(phrases.begin(), phrases.end(),
                       [&](const char *phrase) { return has(line, phrase); });
}

// The last one that says something, else what the last one comes to.
QString lastProblem(const QStringList &lines)
{
    QString words;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (isHarmless(*line) || !namesProblem(*line)) {
            continue;
        }
        const QString error = wordsForError(*line);
        if (error.isNull()) {
            return quoted(withoutSpeaker(*line));
        }
        words = words.isNull() ? error : words;
    }
    return words;
}

struct Playlist {
    const char *demuxer;
    const char *name;
};
constexpr std::array playlists{
    Playlist{"hls", "HLS"},   Playlist{"dash", "DASH"}, Playlist{"webm_dash_manifest", "DASH"},
    Playlist{"imf", "IMF"},   Playlist{"sdp", "SDP"},   Playlist{"concat", "ffconcat"},
    Playlist{"rtsp", "RTSP"}, Playlist{"sap", "SAP"},   Playlist{"vobsub", "VobSub"},
};

// The demuxer that ffmpeg chose:
//   [hls @ 0x55f37f60da00] Format not on whitelist 'mov,mp4,...'
//   Input #0, mov,mp4,m4a,3gp,3g2,mj2, from '':
QString demuxerIn(const QString &report)
{
    static const QRegularExpression refused(
        QStringLiteral("^\\[(\\w+(?:,\\w+)*) @ 0x[0-9a-f]+\\] Format not on whitelist "),
        QRegularExpression::MultilineOption);
    static const QRegularExpression opened(QStringLiteral("^Input #0, (\\w+(?:,\\w+)*), from "),
                                           QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = refused.match(report);
    return match.hasMatch() ? match.captured(1) : opened.match(report).captured(1);
}

bool isOpenable(const QString &demuxer)
{
    static const QStringList formats = QString::fromLatin1(openableFormats).split(u',');
    const QStringList names = demuxer.split(u',');
    return std::any_of(names.begin(), names.end(),
                       [](const QString &name) { return formats.contains(name); });
}

} // namespace

QString containerRefusal(const QString &report)
{
    const QString demuxer = demuxerIn(report);
    if (demuxer.isEmpty() || isOpenable(demuxer)) {
        return {};
    }
    if (demuxer == QLatin1String("image2")) {
        return stillPicture;
    }
    const auto playlist = std::find_if(playlists.begin(), playlists.end(), [&](const Playlist &p) {
        return demuxer == QLatin1String(p.demuxer);
    });
    return playlist == playlists.end()
               ? QStringLiteral("it is not a video (its content is of the type %1)").arg(demuxer)
               : QStringLiteral("it is a playlist (%1), which leads to other files, not a video")
                     .arg(QLatin1String(playlist->name));
}

bool isPictureFormat(const QString &report)
{
    static const QStringList animations{QStringLiteral("gif"),         QStringLiteral("apng"),
                                        QStringLiteral("jpegxl_anim"), QStringLiteral("fits"),
                                        QStringLiteral("ico"),         QStringLiteral("iff")};
    const QString demuxer = demuxerIn(report);
    return demuxer.endsWith(QLatin1String("_pipe")) || animations.contains(demuxer);
}

QString reportWithoutPath(const QString &report, const QString &sourcePath)
{
    QString text = report;
    removeName(text, sourcePath);
    return text;
}

QString reportWithoutNames(const QString &report, const QString &sourcePath)
{
    QString text = reportWithoutPath(report, sourcePath);
    if (!pathExtension(sourcePath).isEmpty()) {
        removeName(text, lastPathComponent(sourcePath));
    }
    return withoutTags(text.split(u'\n')).join(u'\n');
}

QString refusalReason(const QString &report, const QString &sourcePath)
{
    const QString text = reportWithoutNames(report, sourcePath);
    if (const QString refusal = containerRefusal(text); !refusal.isNull()) {
        return refusal;
    }
    if (has(text, "No space left on device")) {
        return wordsForError(text);
    }
    const QStringList lines = linesOf(text);
    const QString failure = text.contains(inputMark) ? QString() : openingFailure(lines);
    if (!failure.isEmpty()) {
        return openingReason(text, failure);
    }
    const QString reason = contentReason(text, lines);
    return reason.isNull() ? lastProblem(lines) : reason;
}

} // namespace qv
