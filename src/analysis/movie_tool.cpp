#include "analysis/movie_tool.h"

#include "analysis/duration_check.h"
#include "analysis/ffmpeg_probes.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <utility>

namespace qv
{
namespace
{

constexpr int codeLength = 4;
constexpr int longestWord = 64;

struct Field {
    const char *name; // without the stream's prefix
    double largest;
};
constexpr double longestDuration = 1e7; // seconds
constexpr Field containerNumbers[] = {
    {"duration", longestDuration}, {"width", 1e5}, {"height", 1e5}};
constexpr Field videoNumbers[] = {{"width", 1e5},      {"height", 1e5},   {"croptop", 1e5},
                                  {"cropbottom", 1e5}, {"cropleft", 1e5}, {"cropright", 1e5}};
constexpr Field audioNumbers[] = {{"rate", 1e7}, {"channels", 1024}, {"bits", 64}};
constexpr double largestRate = 1e5;

QString toolPath()
{
    return Bundle::main().toolPath(QStringLiteral("qtThumbs"));
}

QByteArray answerOf(const QStringList &arguments)
{
    return taskArray1PipeMax(QStringList{toolPath()} + arguments, ErrorText::Merged).toUtf8();
}

// Libraries below the tool may print lines of their own.
QJsonObject objectIn(const QByteArray &printed)
{
    for (const QByteArray &line : printed.split('\n')) {
        if (line.startsWith('{')) {
            return QJsonDocument::fromJson(line).object();
        }
    }
    return {};
}

template <std::size_t n> bool isWithin(const Field (&fields)[n], const QString &name, double value)
{
    return std::any_of(std::begin(fields), std::end(fields), [&](const Field &field) {
        return name == QLatin1String(field.name) && value >= 0 && value <= field.largest;
    });
}

bool isWord(const QString &text)
{
    static const QRegularExpression word(QStringLiteral("^[A-Za-z0-9_.,+-]+$"));
    return text.size() <= longestWord && word.match(text).hasMatch();
}

bool isRatio(const QString &text)
{
    static const QRegularExpression ratio(QStringLiteral("^[1-9][0-9]{0,8}:[1-9][0-9]{0,8}$"));
    return ratio.match(text).hasMatch();
}

QVariant checkedText(const QString &name, const QString &text)
{
    const bool shape = name == QLatin1String("dar") || name == QLatin1String("par");
    const bool codec = name == QLatin1String("codec");
    return (shape && isRatio(text)) || (codec && isWord(text)) ? QVariant(text) : QVariant();
}

// Invalid when it can't be this field's value.
QVariant checkedValue(QChar kind, const QString &name, const QJsonValue &value)
{
    const double number = value.toDouble(-1);
    if (value.isString()) {
        return checkedText(name, value.toString());
    }
    if (kind == u'v' && name == QLatin1String("fps")) {
        const bool known = number > 0 && number <= largestRate;
        return known ? QVariant(narrowedToFloat(number)) : QVariant();
    }
    if (kind == u'w' && name == QLatin1String("seconds")) {
        return number > 0 && number <= longestDuration ? QVariant(number) : QVariant();
    }
    const bool known = (kind == u'w' && isWithin(containerNumbers, name, number)) ||
                       (kind == u'v' && isWithin(videoNumbers, name, number)) ||
                       (kind == u'a' && isWithin(audioNumbers, name, number));
    return known ? QVariant(truncatedToInt(number)) : QVariant();
}

void take(MediaInfoRecord &record, const QString &key, const QJsonValue &value)
{
    // "w_width", "v0_fps", "a1_rate"
    static const QRegularExpression shape(QStringLiteral("^(w|[va][0-9]{1,2})_([a-z]+)$"));
    const auto match = shape.match(key);
    if (!match.hasMatch()) {
        return;
    }
    const QVariant checked = checkedValue(key.at(0), match.captured(2), value);
    if (checked.isValid()) {
        record.insert(key, checked);
    }
}

} // namespace

std::optional<MediaInfoRecord> parseMovieRecord(const QByteArray &printed)
{
    const QJsonObject object = objectIn(printed);
    MediaInfoRecord record;
    for (auto it = object.begin(); it != object.end(); ++it) {
        take(record, it.key(), it.value());
    }
    if (!record.contains(streamKey("v", 0, "width")) ||
        !record.contains(streamKey("v", 0, "height"))) {
        return std::nullopt;
    }
    if (const QVariant seconds = record.take(QStringLiteral("w_seconds")); seconds.isValid()) {
        record.insert(exactDurationKey, seconds);
    }
    const QString wrapper = object.value(QStringLiteral("wrapper")).toString();
    if (isWord(wrapper)) {
        record.insert(QStringLiteral("wrapper"), wrapper);
    }
    const QString code = object.value(QStringLiteral("v0_fieldcode")).toString();
    if (!code.isEmpty()) {
        record.insert(streamKey("v", 0, "fields"), fieldOrderWord(code));
    }
    return record;
}

QMap<QString, bool> parseDecoders(const QByteArray &printed)
{
    QMap<QString, bool> decoders;
    const QJsonObject object = objectIn(printed);
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (it.key().size() == codeLength && it.value().isBool()) {
            decoders.insert(it.key(), it.value().toBool());
        }
    }
    return decoders;
}

QString parseFrameworkVersion(const QByteArray &printed)
{
    constexpr int longest = 100;
    return objectIn(printed).value(QStringLiteral("version")).toString().left(longest);
}

bool MovieTool::canOpen(const QString &path)
{
    return record(path).has_value();
}

void MovieTool::setDecoders(const QMap<QString, bool> &decoders)
{
    const std::lock_guard lock(m_decodersMutex);
    m_decoders = decoders;
}

bool MovieTool::hasDecoder(const QString &fourCharacterCode)
{
    const std::lock_guard lock(m_decodersMutex);
    if (!m_decoders) {
        m_decoders = parseDecoders(answerOf({QStringLiteral("-decoders")}));
    }
    return m_decoders->value(fourCharacterCode.toUpper().leftJustified(codeLength));
}

// A run that opens a source can't leave the list of plug-ins for the next one.
void MovieTool::notePlugins()
{
    if (!std::exchange(m_pluginsNoted, true) && !fileExists(usersPluginList())) {
        answerOf({QStringLiteral("-decoders")});
    }
}

std::optional<MediaInfoRecord> MovieTool::record(const QString &path)
{
    const QFileInfo file(path);
    const Source source{path, file.size(), file.lastModified()};
    if (!(source == m_source)) {
        notePlugins();
        const QByteArray printed = answerOf({QStringLiteral("-probe"), path});
        m_record = parseMovieRecord(printed);
        // A failure may be the run's own: it was stopped, or hung.
        m_source = m_record ? source : Source();
        if (!m_record) {
            logLine(QStringLiteral("qtThumbs            :-( %1")
                        .arg(QString::fromUtf8(printed).trimmed()));
        }
    }
    return m_record;
}

bool MovieTool::thumbnail(const QString &path, int width, int height, double seconds,
                          const QString &destination)
{
    answerOf({QStringLiteral("-i"), path, QStringLiteral("-w"), QString::number(width),
              QStringLiteral("-h"), QString::number(height), QStringLiteral("-tc"),
              float2TimecodeStr(seconds, 3), QStringLiteral("-y"), QStringLiteral("-o"),
              destination});
    return fileExists(destination);
}

} // namespace qv
