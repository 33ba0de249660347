#include "analysis/stream_details.h"

#include "analysis/report_text.h"
#include "support/numbers.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

// "eng", "pt-BR"
bool isLanguage(const QString &text)
{
    static const QRegularExpression shape(
        QStringLiteral("^[A-Za-z]{2,8}([-,][A-Za-z0-9]{1,8}){0,3}$"));
    return text != QLatin1String("und") && shape.match(text).hasMatch();
}

// "h264 (High) (avc1 / 0x31637661)", "av1 (libdav1d) (Main)": the first bracket that is neither a
// decoder's name nor a four-character code.
QString profileIn(const QString &codec)
{
    static const QRegularExpression bracket(QStringLiteral("\\(([^()]{1,60})\\)"));
    static const QRegularExpression decoder(QStringLiteral("^[a-z][a-z0-9_-]*$"));
    auto brackets = bracket.globalMatch(codec);
    while (brackets.hasNext()) {
        const QString text = brackets.next().captured(1);
        if (!has(text, " / 0x") && !decoder.match(text).hasMatch()) {
            return text;
        }
    }
    return {};
}

// "mono", "5.1(side)", "16 channels"; 0 for any other text
int channelsOf(const QString &layout)
{
    struct Named {
        const char *name;
        int channels;
    };
    static constexpr std::array named{Named{"mono", 1},      Named{"stereo", 2},
                                      Named{"downmix", 2},   Named{"quad", 4},
                                      Named{"hexagonal", 6}, Named{"octagonal", 8},
                                      Named{"cube", 8},      Named{"hexadecagonal", 16}};
    static const QRegularExpression counted(QStringLiteral("^(\\d{1,4}) channels?( \\(|$)"));
    static const QRegularExpression pointed(QStringLiteral("^(\\d\\d?)\\.(\\d)(\\.(\\d))?(\\(|$)"));
    const QString name = before(layout, QLatin1String("("));
    const auto known = std::find_if(named.begin(), named.end(), [&](const Named &one) {
        return name == QLatin1String(one.name);
    });
    if (known != named.end()) {
        return known->channels;
    }
    if (const auto match = counted.match(layout); match.hasMatch()) {
        return intValue(match.captured(1));
    }
    const auto match = pointed.match(layout);
    return intValue(match.captured(1)) + intValue(match.captured(2)) + intValue(match.captured(4));
}

// "25 fps", "0.05 fps", "1k fps"
double rateIn(const QString &part)
{
    constexpr double kilo = 1000;
    const QString value = before(part.trimmed(), QLatin1String(" "));
    return doubleValue(value) * (value.endsWith(u'k') ? kilo : 1);
}

QString colourWord(const QString &word)
{
    static const QRegularExpression shape(QStringLiteral("^[a-z0-9-]{1,30}$"));
    const bool isKnown = word != QLatin1String("unknown") && word != QLatin1String("reserved");
    return isKnown && shape.match(word).hasMatch() ? word : QString();
}

// "bt2020nc/bt2020/smpte2084"; one word stands for all three
void takeColours(StreamDetails &details, const QString &text)
{
    const QStringList words = text.split(u'/');
    const bool isOneForAll = words.size() == 1;
    details.matrix = colourWord(words.first());
    details.primaries = colourWord(isOneForAll ? words.first() : words.value(1));
    details.transfer = colourWord(isOneForAll ? words.first() : words.value(2));
}

void takeFormatWord(StreamDetails &details, const QString &word)
{
    // Where the samples of colour lie, and what is told elsewhere.
    static const QStringList others{QStringLiteral("left"),        QStringLiteral("center"),
                                    QStringLiteral("topleft"),     QStringLiteral("top"),
                                    QStringLiteral("bottomleft"),  QStringLiteral("bottom"),
                                    QStringLiteral("progressive"), QStringLiteral("unspecified")};
    if (word == QLatin1String("tv") || word == QLatin1String("pc")) {
        details.range = word;
    } else if (word == QLatin1String("top first")) {
        details.fieldOrder = QStringLiteral("t");
    } else if (word == QLatin1String("bottom first")) {
        details.fieldOrder = QStringLiteral("b");
    } else if (!others.contains(word) && !word.contains(u' ')) {
        takeColours(details, word);
    }
}

// " yuv420p10le(tv, bt2020nc/bt2020/smpte2084, progressive, left)"
void takePixelFormat(StreamDetails &details, const QString &part)
{
    static const QRegularExpression shape(QStringLiteral("^ [a-z][a-z0-9_]*\\((.*)\\)$"));
    const QString words = shape.match(part).captured(1);
    for (const QString &word : words.split(QStringLiteral(", "), Qt::SkipEmptyParts)) {
        takeFormatWord(details, word);
    }
}

// "h264 (High), yuv420p(tv, bt709), 1280x720 [SAR 1:1 DAR 16:9], 25 fps, 50 tbr, 90k tbn"
void takeVideo(StreamDetails &details, const QStringList &parts)
{
    for (const QString &part : parts.mid(1)) {
        if (part.endsWith(QLatin1String(" fps"))) {
            details.averageRate = rateIn(part);
        } else {
            takePixelFormat(details, part);
        }
    }
}

// "aac (LC) (mp4a / 0x6134706D), 44100 Hz, 5.1, fltp, 69 kb/s"
void takeAudio(StreamDetails &details, const QStringList &parts)
{
    const auto rate = std::find_if(parts.begin(), parts.end(), [](const QString &part) {
        return part.endsWith(QLatin1String(" Hz"));
    });
    if (rate != parts.end() && rate + 1 != parts.end()) {
        details.channels = channelsOf((rate + 1)->trimmed());
    }
}

} // namespace

//   Stream #0:1[0x2](fre), 1, 1/44100: Audio: aac (LC) (mp4a / 0x6134706D), 44100 Hz, mono, fltp
std::optional<StreamLine> streamLine(const QString &line)
{
    static const QRegularExpression shape(
        QStringLiteral("^ +Stream #0:(\\d{1,9})(\\[0x[0-9a-f]+\\])?(\\(([^()]*)\\))?"
                       "(, \\d+, \\d+/\\d+)?: ([A-Z][a-z]+): (.*)$"));
    const QRegularExpressionMatch match = shape.match(line);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    StreamLine stream{intValue(match.captured(1)), {}};
    const QString language = match.captured(4);
    stream.details.language = isLanguage(language) ? language : QString();
    const QString kind = match.captured(6);
    const QStringList parts = outerParts(match.captured(7));
    stream.details.profile = profileIn(parts.first());
    if (kind == QLatin1String("Video")) {
        takeVideo(stream.details, parts);
    } else if (kind == QLatin1String("Audio")) {
        takeAudio(stream.details, parts);
    }
    return stream;
}

//       DOVI configuration record: version: 1.0, profile: 5, level: 6, rpu flag: 1, el flag: 0,
//       bl flag: 1, compatibility id: 0
std::optional<DolbyVision> dolbyVisionIn(const QString &line)
{
    static const QRegularExpression shape(
        QStringLiteral("^ +DOVI configuration record: version: \\d+\\.\\d+, profile: (\\d{1,3}),"
                       "(?:.* compatibility id: (\\d{1,3})$)?"));
    const QRegularExpressionMatch match = shape.match(line);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    // Of AV1 (10) and of two views (20) only the streams without a compatible base are like
    // profile 5. Old muxers leave the id of the other profiles at 0.
    const int profile = intValue(match.captured(1));
    const bool isIncompatible = intValue(match.captured(2)) == 0;
    const bool mayLackBase = profile == 10 || profile == 20;
    return DolbyVision{profile, profile != 5 && !(mayLackBase && isIncompatible)};
}

} // namespace qv
