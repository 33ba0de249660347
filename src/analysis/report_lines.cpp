#include "analysis/report_lines.h"

#include "analysis/report_text.h"
#include "support/numbers.h"

#include <cmath>
#include <optional>

namespace qv
{
namespace
{

constexpr QLatin1String audioWord("Audio: ");
constexpr QLatin1String videoWord("Video: ");
constexpr QLatin1String subtitleWord("Subtitle: ");
constexpr QLatin1String streamWord("Stream #");
constexpr QLatin1String bitrateWord(" kb/s");

QString before(const QString &text, const char *marker)
{
    return qv::before(text, QLatin1String(marker));
}

QString after(const QString &text, const char *marker)
{
    return qv::after(text, QLatin1String(marker));
}

bool is(const QString &text, const char *word)
{
    return text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

// "mono", "stereo", "2 channels", "5.1(side)", "7 channels"
std::optional<int> layoutChannels(const QString &part)
{
    if (is(part, "mono")) {
        return 1;
    }
    if (is(part, "2 channels") || is(part, "stereo")) {
        return 2;
    }
    if (has(part, ".")) {
        return truncatedToInt(double(intValue(before(part, "."))) + intValue(after(part, ".")));
    }
    if (has(part, " channels")) {
        return intValue(before(part, " channels"));
    }
    return std::nullopt;
}

// Whether the line shows a film's rate: "23.98 fps, 59.94 tbr, 90k tbn"
bool isFilm(const QString &line)
{
    if (!has(line, " fps, ")) {
        return false;
    }
    const QString shown = before(line, " fps, ").section(QStringLiteral(", "), -1);
    return std::abs(24.0 - str2Double(shown)) < 0.1;
}

// "59.94 tbr", "25 tbr", "90k tbr". A film flagged with its field rate gets half of that rate.
float frameRate(const QString &part, bool isFilmLine)
{
    constexpr double kilo = 1000;
    const QString value = before(part, " tbr");
    const double rate = str2Double(value) * (value.endsWith(u'k') ? kilo : 1);
    const bool isFieldRate = std::abs(59.94 - rate) < 0.01;
    return narrowedToFloat(isFilmLine && isFieldRate ? rate / 2 : rate);
}

// "50 tbc", "90k tbc"
float timeBase(const QString &part)
{
    const QString value = before(part, " tbc");
    return static_cast<float>(intValue(has(value, "k") ? before(part, "k") : value));
}

bool isIgnoredVideoPart(const QString &part)
{
    return has(part, "fps") || has(part, "tbn") || QString::number(intValue(part)) == part ||
           has(part, "/") || has(part, "PAR ") || has(part, "SAR ");
}

} // namespace

void ReportLines::take(const QString &line)
{
    const QStringList parts = line.split(QStringLiteral(", "));
    const bool isStream = line.contains(streamWord);
    if (has(line, "Input ")) {
        // Input #0, mov,mp4,m4a,3gp,3g2,mj2, from 'x.mov':
        if (parts.size() > 1) {
            m_record.insert(QStringLiteral("wrapper"), parts[1]);
        }
    } else if (has(line, "Duration: ")) {
        takeContainer(parts);
    } else if (isStream && line.contains(audioWord)) {
        takeAudio(parts);
    } else if (isStream && line.contains(videoWord)) {
        takeVideo(line, parts);
    } else if (isStream && line.contains(subtitleWord)) {
        takeSubtitle(parts);
    }
}

// aac at 96000 Hz in the first audio stream is the PCM of a Blu-ray disc, misread.
MediaInfoRecord ReportLines::record() const
{
    constexpr int misreadRate = 96000;
    MediaInfoRecord record = m_record;
    if (record.value(QStringLiteral("a0_codec")) == QLatin1String("aac") &&
        record.value(QStringLiteral("a0_rate")) == misreadRate) {
        record.insert(QStringLiteral("a0_codec"), QStringLiteral("pcm_bluray"));
        record.insert(QStringLiteral("a0_rate"), 48000);
        record.insert(QStringLiteral("a0_channels"), 2);
        record.insert(QStringLiteral("a0_bitrate"), 1536);
        record.insert(QStringLiteral("a0_force"), 1);
    }
    return record;
}

//   Duration: 00:01:05.96, start: 0.500000, bitrate: 7000 kb/s
void ReportLines::takeContainer(const QStringList &parts)
{
    for (const QString &part : parts) {
        if (has(part, "Duration: ")) {
            const float seconds = timecodeStr2Float(after(part, ": "));
            if (seconds > 0.0F) {
                m_record.insert(QStringLiteral("w_duration"), truncatedToInt(double(seconds)));
            }
        } else if (has(part, "start: ")) {
            m_record.insert(QStringLiteral("w_offset"), str2Float(after(part, "start: ")));
        } else if (has(part, "bitrate: ")) {
            const int bitrate = intValue(after(part, "bitrate: "));
            if (bitrate > 0) {
                m_record.insert(QStringLiteral("w_bitrate"), bitrate);
            }
        }
    }
}

//   Stream #0:1[0x80](fre): Audio: ac3, 48000 Hz, 5.1(side), fltp, 448 kb/s
void ReportLines::takeAudio(const QStringList &parts)
{
    for (const QString &part : parts) {
        takeAudioPart(part);
    }
    ++m_audio;
}

void ReportLines::takeAudioPart(const QString &part)
{
    if (part.contains(streamWord)) {
        setStream("a", m_audio, part, audioWord);
        if (has(part, "](")) {
            set("a", m_audio, "lang", before(after(part, "]("), ")"));
        }
    } else if (part.contains(audioWord)) {
        setCodec("a", m_audio, part, audioWord);
    } else if (has(part, " Hz")) {
        set("a", m_audio, "rate", intValue(before(part, " Hz")));
    } else if (part.contains(bitrateWord)) {
        setBitrate("a", m_audio, part);
    } else {
        takeLayout(part);
    }
}

// Only the first layout of a report counts; until it is met, any unknown word stands for stereo.
void ReportLines::takeLayout(const QString &part)
{
    if (m_isLayoutFound) {
        return;
    }
    const std::optional<int> channels = layoutChannels(part);
    m_isLayoutFound = channels.has_value();
    set("a", m_audio, "channels", channels.value_or(2));
}

//   Stream #0:0[0x1e0]: Video: mpeg2video (Main), yuv420p, 720x576 [SAR 64:45 DAR 16:9], 9000 kb/s,
//   25 fps, 25 tbr, 90k tbn, 50 tbc
void ReportLines::takeVideo(const QString &line, const QStringList &parts)
{
    m_isFilm = isFilm(line);
    for (const QString &part : parts) {
        takeVideoPart(part);
    }
    ++m_video;
}

void ReportLines::takeVideoPart(const QString &part)
{
    if (part.contains(streamWord)) {
        setStream("v", m_video, part, videoWord);
    } else if (part.contains(videoWord)) {
        setCodec("v", m_video, part, videoWord);
    } else if (part.contains(bitrateWord)) {
        setBitrate("v", m_video, part);
    } else if (has(part, " tbr")) {
        set("v", m_video, "fps", frameRate(part, m_isFilm));
    } else if (has(part, " tbc")) {
        set("v", m_video, "tbc", timeBase(part));
    } else if (has(part, "x")) {
        takeSize(part);
    } else if (has(part, "DAR ")) {
        if (!m_record.contains(streamKey("v", m_video, "dar"))) {
            set("v", m_video, "dar", before(after(part, "DAR "), " "));
        }
    } else if (!isIgnoredVideoPart(part)) {
        set("v", m_video, "chroma", part);
    }
}

// "720x576 [SAR 64:45 DAR 16:9]", older "720x576 [PAR 64:45 DAR 16:9]"
void ReportLines::takeSize(const QString &part)
{
    set("v", m_video, "width", intValue(before(part, "x")));
    set("v", m_video, "height", intValue(before(after(part, "x"), " ")));
    const char *pixelWord = has(part, "PAR ") ? "PAR " : "SAR ";
    if (has(part, pixelWord)) {
        set("v", m_video, "par", before(after(part, pixelWord), " "));
    }
    if (has(part, "DAR ")) {
        set("v", m_video, "dar", before(after(part, "DAR "), "]"));
    }
}

//   Stream #0:2[0x20](fre): Subtitle: dvd_subtitle (dvdsub), 720x576
void ReportLines::takeSubtitle(const QStringList &parts)
{
    for (const QString &part : parts) {
        if (part.contains(streamWord)) {
            setStream("s", m_subtitle, part, subtitleWord);
        } else {
            setCodec("s", m_subtitle, part, subtitleWord);
        }
    }
    ++m_subtitle;
}

void ReportLines::set(const char *kind, int index, const char *field, const QVariant &value)
{
    m_record.insert(streamKey(kind, index, field), value);
}

// "Stream #0:1[0x1c0](eng): Audio: aac (LC)": the number in the file, and the codec
void ReportLines::setStream(const char *kind, int index, const QString &part, QLatin1String word)
{
    if (has(part, ":")) {
        set(kind, index, "id", intValue(before(after(part, ":"), "[")));
    }
    setCodec(kind, index, part, word);
}

void ReportLines::setCodec(const char *kind, int index, const QString &part, QLatin1String word)
{
    if (part.contains(word)) {
        set(kind, index, "codec", before(qv::after(part, word), " ("));
    }
}

void ReportLines::setBitrate(const char *kind, int index, const QString &part)
{
    const int bitrate = intValue(qv::before(part, bitrateWord));
    if (bitrate >= 1) {
        set(kind, index, "bitrate", bitrate);
    }
}

} // namespace qv
