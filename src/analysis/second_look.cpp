#include "analysis/second_look.h"

#include "analysis/encryption.h"
#include "analysis/report_text.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QDeadlineTimer>
#include <QRegularExpression>

#include <chrono>

namespace qv
{
namespace
{

using namespace std::chrono_literals;

constexpr auto longestLook = 25s;
constexpr int longestRun = 8; // seconds of processor time

// A decoder may print the errors of one picture before it gives an earlier one.
constexpr int mostDelayed = 2;

// Follows a report line by line; what is printed between two pictures concerns the later one.
class CheckReader
{
public:
    void take(const QString &line)
    {
        if (m_decoders.isEmpty()) {
            takeMapping(line);
        } else if (line.startsWith(QLatin1String("[Parsed_showinfo_")) && has(line, " pts_time:")) {
            takePicture();
        } else if (isDecodingError(line)) {
            m_dirty = mostDelayed + 1;
            m_hasPendingError = true;
        }
    }

    PictureCheck result() const
    {
        PictureCheck check = m_check;
        check.unsound += m_hasPendingError ? 1 : 0;
        return check;
    }

private:
    //   [info]   Stream #0:0 -> #0:0 (av1 (libdav1d) -> wrapped_avframe (native))
    void takeMapping(const QString &line)
    {
        static const QRegularExpression mapping(
            QStringLiteral("Stream #0:\\d+ -> #0:0 \\((\\w+) \\((\\w+)\\)"));
        const QRegularExpressionMatch match = mapping.match(line);
        if (match.hasMatch()) {
            m_decoders = {match.captured(1), match.captured(2)};
        }
    }

    // [Parsed_showinfo_0 @ 0x55] [info] n:   0 pts:  0 pts_time:0.04  pos: 48 fmt:yuv420p ...
    void takePicture()
    {
        if (m_dirty > 0) {
            --m_dirty;
            ++m_check.unsound;
        } else {
            ++m_check.sound;
        }
        m_hasPendingError = false;
    }

    // [h264 @ 0x55] [error] error while decoding MB 35 8
    // [mpeg2video @ 0x55] [info] concealing 12 DC, 12 AC, 12 MV errors in I frame
    // [error] Error while decoding stream #0:0: Invalid data found when processing input
    bool isDecodingError(const QString &line) const
    {
        static const QRegularExpression speaker(QStringLiteral("^\\[(\\w+) @ 0x[0-9a-f]+\\] "));
        const QRegularExpressionMatch match = speaker.match(line);
        if (!match.hasMatch()) {
            return has(line, "rror while decoding stream") || has(line, "corrupt decoded frame");
        }
        return m_decoders.contains(match.captured(1)) &&
               (has(line, "] [error] ") || has(line, "] [fatal] ") || has(line, " concealing "));
    }

    QStringList m_decoders; // names of the decoder in use; empty before the stream mapping
    PictureCheck m_check;
    int m_dirty = 0; // pictures to come that an error may concern
    bool m_hasPendingError = false;
};

void add(PictureCheck &sum, const PictureCheck &check)
{
    sum.sound += check.sound;
    sum.unsound += check.unsound;
}

PictureCheck runCheck(const QString &sourcePath, const QString &forcedFormat,
                      std::optional<double> instant, int pictures)
{
    const QString report = taskArray1PipeMax(
        pictureCheckCommand(sourcePath, forcedFormat, instant, pictures), ErrorText::Merged);
    return pictureCheck(report);
}

} // namespace

QStringList pictureCheckCommand(const QString &sourcePath, const QString &forcedFormat,
                                std::optional<double> instant, int pictures)
{
    // Seconds of the source that are read.
    constexpr auto readFromStart = "120";
    constexpr auto readAfterSeek = "12";
    QStringList arguments{ffmpegPath(),
                          QStringLiteral("-loglevel"),
                          QStringLiteral("level+info"),
                          QStringLiteral("-nostats"),
                          QStringLiteral("-timelimit"),
                          QString::number(longestRun),
                          QStringLiteral("-threads"),
                          QStringLiteral("1"),
                          QStringLiteral("-skip_frame"),
                          QStringLiteral("nokey")};
    if (!forcedFormat.isEmpty()) {
        arguments << QStringLiteral("-f") << forcedFormat;
    }
    if (instant) {
        arguments << QStringLiteral("-ss") << fixedText(*instant, 2);
    }
    arguments << QStringLiteral("-t") << QLatin1String(instant ? readAfterSeek : readFromStart)
              << QStringLiteral("-i") << sourcePath << QStringLiteral("-frames:v")
              << QString::number(pictures) << QStringLiteral("-vf") << QStringLiteral("showinfo")
              << QStringLiteral("-an") << QStringLiteral("-sn") << QStringLiteral("-dn")
              << QStringLiteral("-f") << QStringLiteral("null") << QStringLiteral("-y")
              << QStringLiteral("/dev/null");
    return arguments;
}

PictureCheck pictureCheck(const QString &report)
{
    CheckReader reader;
    for (const QString &line : linesOf(report)) {
        reader.take(line);
    }
    return reader.result();
}

QList<double> checkedInstants(std::optional<double> duration)
{
    constexpr double longest = 30 * 24 * 3600; // seconds that a stated duration may have
    QList<double> instants;
    if (duration && *duration > 1 && *duration < longest) {
        for (const double part : {0.5, 0.75, 0.25, 0.9, 0.4, 0.6}) {
            instants.append(part * *duration);
        }
    }
    return instants;
}

SecondLook secondLook(const QString &sourcePath, const QString &forcedFormat,
                      std::optional<double> duration)
{
    constexpr int picturesAtStart = 10;
    constexpr int picturesElsewhere = 4;
    constexpr int enough = 6;
    const QDeadlineTimer end(longestLook);
    SecondLook look;
    look.isEncrypted = isMarkedEncrypted(sourcePath);
    PictureCheck sum = runCheck(sourcePath, forcedFormat, std::nullopt, picturesAtStart);
    for (const double instant : checkedInstants(duration)) {
        const bool isDecided = !look.isEncrypted && sum.sound >= enough;
        if (isDecided || end.hasExpired()) {
            break;
        }
        add(sum, runCheck(sourcePath, forcedFormat, instant, picturesElsewhere));
    }
    look.isUsable = sum.sound > (look.isEncrypted ? sum.unsound : 0);
    logLine(QStringLiteral("second look         : %1 sound key pictures, %2 unsound%3")
                .arg(QString::number(sum.sound), QString::number(sum.unsound),
                     look.isEncrypted ? QStringLiteral(", marked as encrypted") : QString()));
    return look;
}

} // namespace qv
