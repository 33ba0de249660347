#include "analysis/report_details.h"

#include "analysis/ffmpeg_probes.h"
#include "analysis/report_text.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <climits>

namespace qv
{
namespace
{

constexpr qsizetype mostChapters = 10000;
constexpr qsizetype longestTitle = 200;

//   Duration: 00:01:05.96, start: 0.500000, bitrate: 7000 kb/s
std::optional<double> durationIn(const QString &line)
{
    static const QRegularExpression shape(
        QStringLiteral("^  Duration: (\\d{1,6}):(\\d{2}):(\\d{2}\\.\\d+)"));
    const QRegularExpressionMatch match = shape.match(line);
    return match.hasMatch()
               ? std::optional(3600.0 * intValue(match.captured(1)) +
                               60.0 * intValue(match.captured(2)) + doubleValue(match.captured(3)))
               : std::nullopt;
}

// "2024-05-01T12:34:56.000000Z", "2024-05-01T14:34:56+0200", "2024-05-01", "2024"
bool isDate(const QString &text)
{
    static const QRegularExpression shape(
        QStringLiteral("^\\d{4}(-\\d\\d(-\\d\\d([T ]\\d\\d:\\d\\d(:\\d\\d(\\.\\d{1,9})?)?"
                       "(Z|[+-]\\d\\d:?\\d\\d)?)?)?)?$"));
    return shape.match(text).hasMatch();
}

// The best first; INT_MAX for a tag that is no creation date.
int dateRank(const QString &tag)
{
    static constexpr std::array tags{"creation_time", "com.apple.quicktime.creationdate",
                                     "creationdate", "date"};
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const char *name) {
        return tag.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    });
    return found == tags.end() ? INT_MAX : static_cast<int>(found - tags.begin());
}

// Without characters that steer a terminal or the direction of writing.
QString cleanTitle(const QString &text)
{
    QString clean;
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        const bool steers = c.category() == QChar::Other_Control ||
                            (code >= 0x202A && code <= 0x202E) ||
                            (code >= 0x2066 && code <= 0x2069);
        if (!steers && clean.size() < longestTitle) {
            clean.append(c);
        }
    }
    // A cut may have gone through a character.
    while (!clean.isEmpty() && (clean.back().isHighSurrogate() || clean.back() == QChar(0xFFFD))) {
        clean.chop(1);
    }
    return clean.trimmed();
}

// Walks the lines of an input section: tags and side data belong to the heading above them.
class DetailsReader
{
public:
    void take(const QString &line)
    {
        if (m_tags.isTag(line)) {
            takeTag(line.section(u':', 0, 0).trimmed(), line.section(u':', 1));
        } else if (line.startsWith(QLatin1String("Input #0, "))) {
            m_details = ReportDetails();
            m_dateRank = INT_MAX;
            m_owner = Owner::File;
        } else if (line.startsWith(QLatin1String("Output #0, "))) {
            m_owner = Owner::Nobody;
        } else if (m_owner != Owner::Nobody) {
            takeInput(line);
        }
    }
    const ReportDetails &details() const { return m_details; }

private:
    enum class Owner { Nobody, File, Chapter, Stream, Other };

    void takeInput(const QString &line)
    {
        if (!line.startsWith(u' ')) {
            return; // of a library, not of the input
        }
        if (const auto seconds = durationIn(line)) {
            m_details.duration = seconds;
            m_owner = Owner::Other;
        } else if (const auto start = chapterStart(line)) {
            takeChapter(*start);
        } else if (const auto stream = streamLine(line)) {
            m_details.streams.insert(stream->id, stream->details);
            m_stream = stream->id;
            m_owner = Owner::Stream;
        } else if (line.startsWith(QLatin1String("  Program "))) {
            m_owner = Owner::Other;
        } else if (m_owner == Owner::Stream) {
            takeSideData(line);
        }
    }

    void takeChapter(float start)
    {
        const bool hasRoom = m_details.chapters.size() < mostChapters;
        m_owner = hasRoom ? Owner::Chapter : Owner::Other;
        if (hasRoom) {
            m_details.chapters.append(ChapterTitle{start, {}});
        }
    }

    void takeSideData(const QString &line)
    {
        if (const auto dolbyVision = dolbyVisionIn(line)) {
            m_details.streams[m_stream].dolbyVision = dolbyVision;
        }
    }

    // A value of several lines goes on below an empty name.
    void takeTag(const QString &name, const QString &value)
    {
        m_tag = name.isEmpty() ? m_tag : name;
        if (m_owner == Owner::File) {
            takeDate(value.trimmed());
        } else if (m_owner == Owner::Chapter && m_tag == QLatin1String("title")) {
            QString &title = m_details.chapters.last().title;
            title = cleanTitle((title + u' ' + value.trimmed()).trimmed());
        }
    }

    void takeDate(const QString &date)
    {
        const int rank = dateRank(m_tag);
        if (rank < m_dateRank && isDate(date)) {
            m_details.created = date;
            m_dateRank = rank;
        }
    }

    ReportDetails m_details;
    TagBlocks m_tags;
    Owner m_owner = Owner::Nobody;
    int m_stream = 0;
    int m_dateRank = INT_MAX;
    QString m_tag;
};

QString hdrKind(const StreamDetails &stream)
{
    if (stream.dolbyVision) {
        return QStringLiteral("Dolby Vision profile %1").arg(stream.dolbyVision->profile);
    }
    if (stream.transfer == QLatin1String("smpte2084")) {
        return QStringLiteral("PQ");
    }
    return stream.transfer == QLatin1String("arib-std-b67") ? QStringLiteral("HLG") : QString();
}

class StreamKeys
{
public:
    StreamKeys(MediaInfoRecord &record, const char *kind, int index)
        : m_record(record), m_kind(kind), m_index(index)
    {
    }

    void add(const char *field, const QVariant &value)
    {
        const QString key = streamKey(m_kind, m_index, field);
        const bool isKnown =
            value.typeId() == QMetaType::QString ? !value.toString().isEmpty() : value.toInt() > 0;
        if (isKnown && !m_record.contains(key)) {
            m_record.insert(key, value);
        }
    }

    void addVideo(const StreamDetails &stream)
    {
        add("profile", stream.profile);
        add("matrix", stream.matrix);
        add("primaries", stream.primaries);
        add("transfer", stream.transfer);
        add("range", stream.range);
        add("hdr", hdrKind(stream));
        add("noBase", stream.dolbyVision && !stream.dolbyVision->hasCompatibleBase ? 1 : 0);
    }

    void addAudio(const StreamDetails &stream)
    {
        add("profile", stream.profile);
        add("lang", stream.language);
        add("channels", stream.channels);
    }

private:
    MediaInfoRecord &m_record;
    const char *m_kind;
    int m_index;
};

// Calls `take` for each stream of the kind of which details are known.
template <typename Take>
void forEachStream(MediaInfoRecord &record, const ReportDetails &details, const char *kind,
                   const Take &take)
{
    for (int i = 0; record.contains(streamKey(kind, i, "id")); ++i) {
        const int id = intIn(record, streamKey(kind, i, "id")).value_or(-1);
        const auto stream = details.streams.constFind(id);
        if (stream != details.streams.constEnd()) {
            take(StreamKeys(record, kind, i), *stream);
        }
    }
}

// One title for each of the record's chapters, empty where a chapter has none.
void addChapterTitles(MediaInfoRecord &record, const QList<ChapterTitle> &chapters)
{
    QHash<float, QString> titles;
    for (const ChapterTitle &chapter : chapters) {
        QString &title = titles[chapter.start];
        title = title.isEmpty() ? chapter.title : title;
    }
    const QString key = QStringLiteral("chapters");
    const QVariantList starts = record.value(key).toList().mid(0, mostChapters);
    QVariantList inOrder;
    bool hasTitle = false;
    for (const QVariant &start : starts) {
        const QString title = titles.value(start.toFloat());
        hasTitle = hasTitle || !title.isEmpty();
        inOrder.append(title.isNull() ? QString(QLatin1String("")) : title);
    }
    if (hasTitle) {
        record.insert(key, starts);
        record.insert(QStringLiteral("chapterTitles"), inOrder);
    }
}

} // namespace

ReportDetails reportDetails(const QString &report)
{
    DetailsReader reader;
    for (const QString &line : linesOf(report)) {
        reader.take(line);
    }
    return reader.details();
}

void addDetails(MediaInfoRecord &record, const ReportDetails &details)
{
    forEachStream(record, details, "v",
                  [](StreamKeys keys, const StreamDetails &stream) { keys.addVideo(stream); });
    forEachStream(record, details, "a",
                  [](StreamKeys keys, const StreamDetails &stream) { keys.addAudio(stream); });
    forEachStream(record, details, "s", [](StreamKeys keys, const StreamDetails &stream) {
        keys.add("lang", stream.language);
    });
    addChapterTitles(record, details.chapters);
    if (!details.created.isEmpty()) {
        record.insert(QStringLiteral("w_created"), details.created);
    }
}

} // namespace qv
