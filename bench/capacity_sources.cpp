#include "capacity_sources.h"

#include "clips.h"
#include "needed_bytes.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <unistd.h>

namespace bench
{
namespace
{

constexpr int rate = 25; // pictures a second

struct Kind {
    const char *name;     // codec and extension
    const char *encoder;  // its options
    const char *keyed;    // besides: a key picture every second
    const char *oneGroup; // instead: one at the start
};

const Kind kinds[] = {
    {"h264-mp4", "-c:v libx264 -preset veryfast", "-g 25 -sc_threshold 0", "-g 300"},
    {"h264-mkv", "-c:v libx264 -preset veryfast", "-g 25 -sc_threshold 0", "-g 300"},
    {"h264-ts", "-c:v libx264 -preset veryfast", "-g 25 -sc_threshold 0", "-g 300"},
    {"hevc-mp4", "-c:v libx265 -preset ultrafast -tag:v hvc1",
     "-x265-params keyint=25:min-keyint=25:scenecut=0:log-level=error",
     "-x265-params keyint=300:scenecut=0:log-level=error"},
    {"mpeg2-mpg", "-c:v mpeg2video -q:v 5 -maxrate 15M -bufsize 4M", "-g 25", "-g 300"},
    {"mpeg4-avi", "-c:v mpeg4 -q:v 5", "-g 25", "-g 300"},
    {"vp9-webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1500k",
     "-g 25 -keyint_min 25", "-g 300"},
};

struct Size {
    int width;
    int height;
};

// A piece, or a longer source that repeats it.
struct Length {
    int piece; // seconds
    int times;
    bool isKeyed;
};

QString extensionOf(const Kind &kind)
{
    return QString::fromLatin1(kind.name).section(QLatin1Char('-'), 1);
}

QString makeSource(const QString &folder, const Kind &kind, const Size &size, const Length &length)
{
    const QString extension = extensionOf(kind);
    const QString base = QStringLiteral("%1-%2-%3-%4")
                             .arg(QLatin1String(kind.name))
                             .arg(size.height)
                             .arg(length.piece)
                             .arg(length.isKeyed ? 1 : 0);
    const QString scene = QStringLiteral("%1=s=%2x%3:r=%4")
                              .arg(extension == QLatin1String("mp4") ? QStringLiteral("testsrc2")
                                                                     : QStringLiteral("mandelbrot"))
                              .arg(size.width)
                              .arg(size.height)
                              .arg(rate);
    const QString piece =
        makePiece(folder, base + QLatin1Char('.') + extension, scene,
                  QStringLiteral("-t %1 -pix_fmt yuv420p %2 %3")
                      .arg(length.piece)
                      .arg(QLatin1String(kind.encoder),
                           QLatin1String(length.isKeyed ? kind.keyed : kind.oneGroup)));
    return length.times == 1
               ? piece
               : makeRepeated(
                     folder, QStringLiteral("%1-x%2.%3").arg(base).arg(length.times).arg(extension),
                     piece, length.times);
}

std::vector<CapacitySource> sourcesOf(const QString &folder, const std::vector<Size> &sizes,
                                      const std::vector<Length> &lengths)
{
    std::vector<CapacitySource> sources;
    for (const Kind &kind : kinds) {
        for (const Size &size : sizes) {
            for (const Length &length : lengths) {
                CapacitySource source;
                source.path = makeSource(folder, kind, size, length);
                if (source.path.isEmpty()) {
                    return {};
                }
                const double duration = length.piece * length.times;
                source.facts = {QLatin1String(kind.name),
                                size.width * size.height / 1e6,
                                rate,
                                duration,
                                length.isKeyed ? 1 : duration,
                                static_cast<double>(QFileInfo(source.path).size()),
                                keyPictureBytes(source.path)};
                sources.push_back(source);
            }
        }
    }
    return sources;
}

} // namespace

std::vector<CapacitySource> calibrationSources(const QString &folder)
{
    return sourcesOf(folder, {{320, 180}, {1280, 720}}, {{6, 1, false}, {7, 6, true}});
}

std::vector<CapacitySource> checkSources(const QString &folder)
{
    return sourcesOf(folder, {{640, 360}, {960, 540}}, {{4, 1, false}, {7, 4, true}, {7, 9, true}});
}

QStringList manySources(const std::vector<CapacitySource> &sources, int count,
                        const QString &folder)
{
    QStringList names;
    for (int i = 0; i < count; ++i) {
        const QString path = sources[static_cast<std::size_t>(i) % sources.size()].path;
        names.append(
            QStringLiteral("%1/clip %2.%3").arg(folder).arg(i).arg(QFileInfo(path).suffix()));
        if (::link(QFile::encodeName(path).constData(),
                   QFile::encodeName(names.last()).constData()) != 0) {
            return {};
        }
    }
    return names;
}

} // namespace bench
