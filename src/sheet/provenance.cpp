#include "sheet/provenance.h"

#include "sheet/xmp_packet.h"
#include "support/log.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qv
{
namespace
{

constexpr qsizetype instantLimit = 10000;

const QByteArray scheme = "file://";
const QString yes = QStringLiteral("True");
const QString no = QStringLiteral("False");

QString truthText(bool value)
{
    return value ? yes : no;
}

QString numberText(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

QString secondsText(double seconds)
{
    return numberText(std::round(seconds * 1000) / 1000);
}

QString dateText(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODateWithMs);
}

QString instantsText(const QList<double> &instants)
{
    QStringList texts;
    for (const double instant : instants) {
        texts.append(secondsText(instant));
    }
    return texts.join(u' ');
}

// Escaped, because a path is bytes that need not be text.
QString addressOf(const QByteArray &path)
{
    return QString::fromLatin1(scheme + path.toPercentEncoding("/"));
}

QString mimeType(const QString &format)
{
    return format == QLatin1String("png") ? QStringLiteral("image/png")
                                          : QStringLiteral("image/jpeg");
}

XmpTexts standardTexts(const Provenance &provenance)
{
    const QString path = QString::fromUtf8(provenance.sourcePath);
    return {{"dc.title", provenance.title},
            {"dc.source", path.isEmpty() ? provenance.sourceName : path},
            {"dc.format", mimeType(provenance.settings.format)},
            {"xmp.CreatorTool", provenance.application + u' ' + provenance.version},
            {"xmp.CreateDate", dateText(provenance.made)}};
}

XmpTexts settingsTexts(const SheetSettings &settings)
{
    return {{"qvsheet.Layout", settings.layout},
            {"qvsheet.Count", QString::number(settings.count)},
            {"qvsheet.Format", settings.format},
            {"qvsheet.Captions", settings.captions.join(u',')},
            {"qvsheet.TimeCodes", truthText(settings.timecodes)},
            {"qvsheet.Background", settings.background},
            {"qvsheet.BorderColor", settings.borderColor},
            {"qvsheet.BorderSize", numberText(settings.borderSize)},
            {"qvsheet.Quick", truthText(settings.quick)}};
}

XmpTexts ownTexts(const Provenance &provenance)
{
    XmpTexts texts{{"qvsheet.Application", provenance.application},
                   {"qvsheet.Version", provenance.version},
                   {"qvsheet.SourceName", provenance.sourceName},
                   {"qvsheet.SourceSize", QString::number(provenance.source.size)},
                   {"qvsheet.SourceModified", dateText(provenance.source.modified)},
                   {"qvsheet.SourceDuration", secondsText(provenance.duration)},
                   {"qvsheet.Road", roadName(provenance.madeQuick)},
                   {"qvsheet.Instants", instantsText(provenance.instants)},
                   {"qvsheet.PlannedInstants", instantsText(provenance.plannedInstants)}};
    if (!provenance.sourcePath.isEmpty()) {
        texts.insert("qvsheet.SourceAddress", addressOf(provenance.sourcePath));
    }
    if (!provenance.sourceMark.isEmpty()) {
        texts.insert("qvsheet.SourceMark", QString::fromLatin1(provenance.sourceMark));
    }
    return texts;
}

// Reads the texts of a packet one by one; the first that is not what it must be is the problem of
// the whole.
class TextsReader
{
    // Refuses the whole when the text is not what it must be.
    template <typename Read> auto checked(const char *name, Read read)
    {
        bool isGood = true;
        auto value = read(text(name), isGood);
        if (!isGood && m_problem.isNull()) {
            m_problem = QStringLiteral("its metadata have no usable %1").arg(QLatin1String(name));
        }
        return value;
    }

public:
    explicit TextsReader(const XmpTexts &texts) : m_texts(texts) {}

    const QString &problem() const { return m_problem; }

    QString text(const char *name) const { return m_texts.value(name); }

    double number(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            const double number = text.toDouble(&isGood);
            isGood = isGood && std::isfinite(number) && number >= 0;
            return number;
        });
    }

    qint64 wholeNumber(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            const qint64 number = text.toLongLong(&isGood);
            isGood = isGood && number >= 0;
            return number;
        });
    }

    bool truth(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            isGood = text == yes || text == no;
            return text == yes;
        });
    }

    QDateTime date(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs).toUTC();
            isGood = date.isValid();
            return date;
        });
    }

    QString oneOf(const char *name, const QStringList &words)
    {
        return checked(name, [&](const QString &text, bool &isGood) {
            isGood = words.contains(text);
            return text;
        });
    }

    QList<double> numbers(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            QList<double> numbers;
            for (const QStringView part : QStringView(text).split(u' ', Qt::SkipEmptyParts)) {
                numbers.append(part.toDouble(&isGood));
                isGood = isGood && std::isfinite(numbers.last()) && numbers.size() <= instantLimit;
                if (!isGood) {
                    break;
                }
            }
            return numbers;
        });
    }

    QByteArray path(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            const QByteArray address = text.toLatin1();
            isGood = address.isEmpty() || address.startsWith(scheme + '/');
            return QByteArray::fromPercentEncoding(address.mid(scheme.size()));
        });
    }

    // The mark of a path; empty when the packet has no mark.
    QByteArray mark(const char *name)
    {
        return checked(name, [](const QString &text, bool &isGood) {
            const QByteArray mark = text.toLatin1();
            isGood = QByteArray::fromHex(mark).toHex() == mark;
            return mark;
        });
    }

private:
    const XmpTexts &m_texts;
    QString m_problem;
};

SheetSource sourceIn(TextsReader &reader)
{
    return {reader.text("qvsheet.SourceName"),
            reader.path("qvsheet.SourceAddress"),
            reader.mark("qvsheet.SourceMark"),
            {reader.wholeNumber("qvsheet.SourceSize"), reader.date("qvsheet.SourceModified")}};
}

// The texts of a packet that is a sheet's.
tl::expected<XmpTexts, QString> sheetTexts(const QByteArray &packet)
{
    auto texts = decodedXmp(packet);
    if (texts && !texts->contains("qvsheet.SourceName")) {
        return tl::make_unexpected(QStringLiteral("its metadata tell of no sheet"));
    }
    return texts;
}

SheetSettings settingsIn(TextsReader &reader)
{
    SheetSettings settings;
    settings.layout = reader.text("qvsheet.Layout");
    settings.count = static_cast<int>(
        std::min<qint64>(reader.wholeNumber("qvsheet.Count"), std::numeric_limits<int>::max()));
    settings.format =
        reader.oneOf("qvsheet.Format", {QStringLiteral("jpg"), QStringLiteral("png")});
    settings.captions = reader.text("qvsheet.Captions").split(u',', Qt::SkipEmptyParts);
    settings.timecodes = reader.truth("qvsheet.TimeCodes");
    settings.background = reader.text("qvsheet.Background");
    settings.borderColor = reader.text("qvsheet.BorderColor");
    settings.borderSize = reader.number("qvsheet.BorderSize");
    settings.quick = reader.truth("qvsheet.Quick");
    return settings;
}

} // namespace

SourceState sourceState(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() ? SourceState{info.size(), info.lastModified().toUTC()} : SourceState();
}

QByteArray xmpPacket(const Provenance &provenance)
{
    XmpTexts texts = standardTexts(provenance);
    texts.insert(settingsTexts(provenance.settings));
    texts.insert(ownTexts(provenance));
    const auto packet = encodedXmp(texts);
    if (!packet) {
        logLine(QStringLiteral("sheet metadata      :-( ") + packet.error());
    }
    return packet.value_or(QByteArray());
}

tl::expected<Provenance, QString> readProvenance(const QByteArray &sheet)
{
    return xmpPacketIn(sheet).and_then(provenanceIn);
}

tl::expected<Provenance, QString> provenanceIn(const QByteArray &packet)
{
    const auto texts = sheetTexts(packet);
    if (!texts) {
        return tl::make_unexpected(texts.error());
    }
    TextsReader reader(*texts);
    Provenance provenance;
    provenance.application = reader.text("qvsheet.Application");
    provenance.version = reader.text("qvsheet.Version");
    provenance.made = reader.date("xmp.CreateDate");
    provenance.title = reader.text("dc.title");
    const SheetSource source = sourceIn(reader);
    provenance.sourceName = source.name;
    provenance.sourcePath = source.path;
    provenance.sourceMark = source.mark;
    provenance.source = source.state;
    provenance.duration = reader.number("qvsheet.SourceDuration");
    provenance.settings = settingsIn(reader);
    provenance.madeQuick =
        reader.oneOf("qvsheet.Road", {roadName(false), roadName(true)}) == roadName(true);
    provenance.instants = reader.numbers("qvsheet.Instants");
    if (texts->contains("qvsheet.PlannedInstants")) {
        provenance.plannedInstants = reader.numbers("qvsheet.PlannedInstants");
    }
    if (!reader.problem().isNull()) {
        return tl::make_unexpected(reader.problem());
    }
    return provenance;
}

tl::expected<SheetSource, QString> readSheetSource(const QByteArray &sheet)
{
    const auto texts = xmpPacketIn(sheet).and_then(sheetTexts);
    if (!texts) {
        return tl::make_unexpected(texts.error());
    }
    TextsReader reader(*texts);
    SheetSource source = sourceIn(reader);
    return reader.problem().isNull() ? tl::expected<SheetSource, QString>(std::move(source))
                                     : tl::make_unexpected(reader.problem());
}

QByteArray pathMark(const QByteArray &path, int bytes)
{
    return QCryptographicHash::hash(path, QCryptographicHash::Sha256).left(bytes).toHex();
}

QString roadName(bool isQuick)
{
    return isQuick ? QStringLiteral("quick") : QStringLiteral("exact");
}

} // namespace qv
