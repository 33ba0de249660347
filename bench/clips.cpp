#include "clips.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <cstdio>

namespace bench
{
namespace
{

QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

// A clip that is there is whole: it grows under another name.
QString made(const QString &folder, const QString &name, const QStringList &input,
             const QString &output)
{
    const QString clip = folder + QLatin1Char('/') + name;
    if (QFile::exists(clip)) {
        return clip;
    }
    QDir().mkpath(folder);
    const QString part = folder + QStringLiteral("/part-") + name;
    const QStringList arguments = words(QStringLiteral("-v error -y")) + input + words(output);
    if (QProcess::execute(QStringLiteral("ffmpeg"), arguments + QStringList{part}) != 0 ||
        !QFile::rename(part, clip)) {
        std::fprintf(stderr, "%s can't be made\n", qUtf8Printable(clip));
        return {};
    }
    return clip;
}

QString phoneRecording(const QString &folder, int number)
{
    static const char *const scenes[] = {"testsrc2=s=1920x1080:r=30",
                                         "mandelbrot=s=640x360:r=30,scale=1920:1080",
                                         "gradients=s=1920x1080:r=30:n=5:speed=0.03"};
    return made(folder, QStringLiteral("phone-whole-%1.mp4").arg(number),
                words(QStringLiteral("-f lavfi -i %1 -f lavfi -i sine=f=330")
                          .arg(QLatin1String(scenes[number]))),
                QStringLiteral("-t 12 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -crf 28 -g "
                               "30 -sc_threshold 0 -c:a aac"));
}

} // namespace

QString makePiece(const QString &folder, const QString &name, const QString &scene,
                  const QString &options)
{
    return made(folder, name,
                {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"), scene},
                options);
}

QString makeRepeated(const QString &folder, const QString &name, const QString &piece, int times)
{
    if (piece.isEmpty()) {
        return {};
    }
    return made(
        folder, name,
        {QStringLiteral("-stream_loop"), QString::number(times - 1), QStringLiteral("-i"), piece},
        QStringLiteral("-map 0 -c copy"));
}

QString makeFilm(const QString &folder, int phase)
{
    return made(folder, QStringLiteral("film-%1.mp4").arg(phase),
                words(QStringLiteral("-f lavfi -i testsrc2=s=1920x1080:r=25:d=600")),
                QStringLiteral("-c:v libx264 -preset ultrafast -g 1000 -sc_threshold 0 -crf 30 "
                               "-force_key_frames expr:gte(t,n_forced*10-%1)")
                    .arg((10 - phase) % 10));
}

QString make4kFilm(const QString &folder)
{
    const QString piece =
        made(folder, QStringLiteral("film-4k-piece.mp4"),
             words(QStringLiteral("-f lavfi -i testsrc2=s=3840x2160:r=25:d=20")),
             QStringLiteral("-c:v libx265 -preset ultrafast -pix_fmt yuv420p10le -tag:v hvc1 "
                            "-x265-params keyint=125:min-keyint=125:scenecut=0:log-level=error"));
    return makeRepeated(folder, QStringLiteral("film-4k.mp4"), piece, 6);
}

QString make8kFilm(const QString &folder)
{
    return made(folder, QStringLiteral("film-8k.mp4"),
                words(QStringLiteral("-f lavfi -i testsrc2=s=7680x4320:r=25:d=3")),
                QStringLiteral("-c:v libx264 -preset ultrafast -pix_fmt yuv420p -crf 30 -g 25 "
                               "-sc_threshold 0"));
}

// No part of an hour is a multiple of the piece, or all pictures of a sheet were the same.
QString makeRecording(const QString &folder)
{
    const QString piece =
        made(folder, QStringLiteral("recording-piece.mpg"),
             words(QStringLiteral("-f lavfi -i testsrc2=s=720x576:r=50:d=67 -f lavfi -i "
                                  "sine=f=330:r=48000:d=67")),
             QStringLiteral("-vf interlace,setdar=16/9 -c:v mpeg2video -flags +ildct+ilme -b:v "
                            "1500k -maxrate 2500k -bufsize 1835k -g 12 -bf 2 -c:a mp2 -b:a 96k "
                            "-f mpeg"));
    return makeRepeated(folder, QStringLiteral("recording.mpg"), piece, 54);
}

QString makeShow(const QString &folder)
{
    return made(folder, QStringLiteral("show-720p.mp4"),
                words(QStringLiteral("-f lavfi -i testsrc2=s=1280x720:r=25:d=120 -f lavfi -i "
                                     "sine=f=330:d=120")),
                QStringLiteral("-c:v libx264 -pix_fmt yuv420p -c:a aac"));
}

QString makeTransportStream(const QString &folder)
{
    const QString show = makeShow(folder);
    return show.isEmpty() ? QString()
                          : made(folder, QStringLiteral("show-720p.ts"),
                                 {QStringLiteral("-i"), show}, QStringLiteral("-c copy"));
}

QString makeMatroskaClip(const QString &folder)
{
    return made(folder, QStringLiteral("one-key.mkv"),
                words(QStringLiteral("-f lavfi -i testsrc2=s=1280x720:r=25:d=6")),
                QStringLiteral("-c:v libx264 -pix_fmt yuv420p"));
}

QString makeSmallClip(const QString &folder)
{
    return made(folder, QStringLiteral("small.mp4"),
                words(QStringLiteral("-f lavfi -i testsrc2=s=320x240:r=25:d=3")),
                QStringLiteral("-c:v libx264 -pix_fmt yuv420p"));
}

QString makeLongPhoneClip(const QString &folder)
{
    const QString whole = phoneRecording(folder, 1);
    return whole.isEmpty()
               ? QString()
               : made(folder, QStringLiteral("phone-12s.mp4"), {QStringLiteral("-i"), whole},
                      QStringLiteral("-c copy -metadata:s:v rotate=90"));
}

QStringList makePhoneClips(const QString &folder, int count)
{
    QStringList clips;
    for (int i = 0; i < count; ++i) {
        const QString whole = phoneRecording(folder, i % 3);
        const QString clip =
            whole.isEmpty()
                ? QString()
                : made(folder + QStringLiteral("/phone"), QStringLiteral("VID %1.mp4").arg(i),
                       {QStringLiteral("-ss"), QString::number(i / 18 % 4), QStringLiteral("-i"),
                        whole},
                       QStringLiteral("-t %1 -c copy -metadata:s:v rotate=90").arg(3 + i / 3 % 6));
        if (clip.isEmpty()) {
            return {};
        }
        clips.append(clip);
    }
    return clips;
}

const std::vector<Clip> &sheetClips()
{
    static const std::vector<Clip> clips{
        {"film", "10 min of 1080p, key frames 3 s past the tens",
         [](const QString &folder) { return makeFilm(folder, 3); }},
        {"film-tens", "the same, key frames on the tens",
         [](const QString &folder) { return makeFilm(folder, 0); }},
        {"show", "2 min of 720p, x264's key frames", makeShow},
        {"hevc", "2 min of 4K HEVC, 10 bits", make4kFilm},
        {"recording", "1 h of MPEG-2", makeRecording},
        {"phone-12", "12 s phone clip", makeLongPhoneClip},
        {"phone-8", "8 s phone clip",
         [](const QString &folder) { return makePhoneClips(folder, 16).value(15); }},
        {"small", "3 s of 320x240", makeSmallClip},
        {"transport", "2 min of 720p as a transport stream", makeTransportStream},
        {"matroska", "6 s of 720p in Matroska, one key frame", makeMatroskaClip},
    };
    return clips;
}

QString makeClip(const QString &folder, const char *name)
{
    for (const Clip &clip : sheetClips()) {
        if (qstrcmp(clip.name, name) == 0) {
            return clip.make(folder);
        }
    }
    return {};
}

} // namespace bench
