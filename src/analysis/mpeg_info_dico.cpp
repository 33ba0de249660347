#include "analysis/mpeg_info_dico.h"

#include "support/localized_strings.h"
#include "support/log.h"

namespace qv
{
namespace
{

double wholeSeconds(const MpegTimeCode &time)
{
    return time.hours * 3600 + time.minutes * 60 + time.seconds;
}

// Without a rate the pictures count for nothing.
double durationSeconds(const mpegInfo &reader)
{
    const MpegTimeCode time = reader.duration();
    const double rate = reader.frameRate();
    return wholeSeconds(time) + (rate > 0 ? time.pictures / rate : 0.0);
}

void logTimeCode(const MpegTimeCode &time)
{
    logDebug([&] {
        return QString::asprintf("%02u:%02u:%02u.%02u", time.hours, time.minutes, time.seconds,
                                 time.pictures);
    });
}

void insertTimes(MediaInfoRecord &record, const mpegInfo &reader)
{
    const auto duration = static_cast<float>(durationSeconds(reader));
    const MpegTimeCode begin = reader.begin();
    record.insert(QStringLiteral("w_duration"), duration);
    record.insert(QStringLiteral("w_offset"),
                  static_cast<float>(wholeSeconds(begin) + begin.pictures));
    logTimeCode(begin);
    logTimeCode(reader.end());
    logTimeCode(reader.duration());
    if (isDebug()) {
        logLines(QString::asprintf("w_duration          : %.3f\n", double(duration)));
    }
}

// Null for a format that the stream doesn't state.
QString chromaWord(int chromaFormat)
{
    switch (chromaFormat) {
    case 1:
        return QStringLiteral("yuv420p");
    case 2:
        return QStringLiteral("yuv422p");
    case 3:
        return QStringLiteral("yuv444p");
    default:
        return {};
    }
}

void insertPicture(MediaInfoRecord &record, const mpegInfo &reader)
{
    const auto set = [&](const char *field, const QVariant &value) {
        record.insert(streamKey("v", 0, field), value);
    };
    set("width", reader.horizontalSize());
    set("height", reader.verticalSize());
    set("bitrate", reader.bitRate() / 1000);
    set("fps", static_cast<float>(reader.frameRate()));
    set("dar", reader.isWideScreen() ? QStringLiteral("16:9") : QStringLiteral("4:3"));
    set("fields", reader.isProgressive()
                      ? localized(QStringLiteral("PFF"), QStringLiteral("fields"))
                      : QStringLiteral("i"));
    const QString chroma = chromaWord(reader.chromaFormat());
    if (reader.isMPeg2() && !chroma.isNull()) {
        set("chroma", chroma);
    }
}

QString wrapperWord(const mpegInfo &reader)
{
    return reader.isMuxed() ? QStringLiteral("mpeg")
                            : QString::asprintf("mpeg%dvideo", reader.isMPeg2() ? 2 : 1);
}

} // namespace

MediaInfoRecord mpegRecord(const mpegInfo &reader)
{
    MediaInfoRecord record{{QStringLiteral("wrapper"), wrapperWord(reader)}};
    if (!reader.isMuxed()) {
        insertTimes(record, reader);
    }
    insertPicture(record, reader);
    return record;
}

std::optional<MediaInfoRecord> mpeginfoFunction::mpegInfoDico(const QString &path)
{
    logLine(QStringLiteral("mpegInfo            - MPEG video stream reader"));
    qv::mpegInfo reader;
    const QString error = reader.readInformations(path);
    if (!error.isNull()) {
        logLine(QStringLiteral("Erreur              : %1").arg(error));
        return std::nullopt;
    }
    const MediaInfoRecord record = mpegRecord(reader);
    logLines(QStringLiteral("mpegInfo            - fin\n\n"));
    return record;
}

QString mpeginfoFunction::mpegInfo(const QString &)
{
    return QStringLiteral("");
}

} // namespace qv
