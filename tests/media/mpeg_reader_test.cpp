// Our reader of MPEG video headers against ffprobe, on the corpus' elementary and program streams.

#include "analysis/mpeg_info_dico.h"
#include "media/corpus.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

namespace
{

QJsonObject probed(const QString &path)
{
    QProcess ffprobe;
    ffprobe.start(QStringLiteral("ffprobe"), {"-v", "error", "-of", "json", "-count_packets",
                                              "-select_streams", "v", "-show_streams", path});
    ffprobe.waitForFinished();
    return QJsonDocument::fromJson(ffprobe.readAllStandardOutput())[u"streams"][0].toObject();
}

// Of the undamaged ones.
QStringList mpegFiles()
{
    QStringList files;
    for (const Source &source : allSources()) {
        const QString path = QFile::decodeName(corpusFolder() + '/' + source.name);
        QFile file(path);
        const bool isMpeg =
            file.open(QIODevice::ReadOnly) && file.read(3) == QByteArray("\0\0\1", 3);
        if (isMpeg && themeOf(source) != "damage") {
            files.append(path);
        }
    }
    return files;
}

bool isWide(const QString &aspect)
{
    return aspect == QLatin1String("16:9");
}

void expectAsProbed(const qv::MediaInfoRecord &record, const QJsonObject &stream)
{
    const QString rateText = stream[u"r_frame_rate"].toString();
    const double rate =
        rateText.section(u'/', 0, 0).toDouble() / rateText.section(u'/', 1, 1).toDouble();
    EXPECT_EQ(record["v0_width"].toInt(), stream[u"width"].toInt());
    EXPECT_EQ(record["v0_height"].toInt(), stream[u"height"].toInt());
    EXPECT_NEAR(record["v0_fps"].toDouble(), rate, 0.001);
    if (stream[u"codec_name"] == QLatin1String("mpeg2video")) {
        // Square pixels have a code of their own, which tells no aspect.
        if (stream[u"sample_aspect_ratio"] != QLatin1String("1:1")) {
            EXPECT_EQ(isWide(record["v0_dar"].toString()),
                      isWide(stream[u"display_aspect_ratio"].toString()));
        }
        EXPECT_EQ(record["v0_fields"] == QLatin1String("i"),
                  stream[u"field_order"] != QLatin1String("progressive"));
        EXPECT_EQ(record["v0_chroma"], stream[u"pix_fmt"].toVariant());
    }
    if (record.contains(QStringLiteral("w_duration"))) {
        const double seconds = stream[u"nb_read_packets"].toString().toDouble() / rate;
        EXPECT_NEAR(record["w_duration"].toDouble(), seconds, 1 / rate + 0.001);
    }
}

} // namespace

TEST(MpegReader, ReadsTheCorpusAsFfprobeDoes)
{
    ASSERT_EQ(makeCorpus(), QStringList());
    int bare = 0;
    int muxed = 0;
    for (const QString &path : mpegFiles()) {
        SCOPED_TRACE(path.toStdString());
        const QJsonObject stream = probed(path);
        if (!stream[u"codec_name"].toString().startsWith(QLatin1String("mpeg"))) {
            continue;
        }
        const auto record = qv::mpeginfoFunction::mpegInfoDico(path);
        ASSERT_TRUE(record);
        expectAsProbed(*record, stream);
        ++(record->value(QStringLiteral("wrapper")) == QLatin1String("mpeg") ? muxed : bare);
    }
    EXPECT_GE(bare, 6);
    EXPECT_GE(muxed, 7);
}
