#include "sheet/image_export.h"
#include "sheet/pictures.h"

#include <QColorSpace>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>

#include <gtest/gtest.h>
#include <openjpeg.h>

namespace qv
{

namespace
{

using test::isNear;

class ImageExport : public testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    // Left half red, right half blue.
    QString twoColored(const QSize &size) const
    {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QPainter(&picture).fillRect(size.width() / 2, 0, size.width(), size.height(), Qt::blue);
        const QString file = path(QStringLiteral("source.png"));
        picture.save(file);
        return file;
    }

    static QByteArray formatOf(const QString &file) { return QImageReader::imageFormat(file); }

private:
    QTemporaryDir m_folder;
};

QSize jpeg2000Size(const QString &file)
{
    opj_stream_t *stream = opj_stream_create_default_file_stream(file.toUtf8().constData(), true);
    opj_codec_t *codec = opj_create_decompress(OPJ_CODEC_JP2);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    opj_image_t *image = nullptr;
    QSize size;
    if (stream && opj_setup_decoder(codec, &parameters) && opj_read_header(stream, codec, &image) &&
        opj_decode(codec, stream, image) && image->numcomps == 3 &&
        image->comps[0].data[0] == 200) {
        size = QSize(static_cast<int>(image->x1), static_cast<int>(image->y1));
    }
    opj_image_destroy(image);
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    return size;
}

} // namespace

TEST_F(ImageExport, ChoosesTheFormatByExtension)
{
    struct Row {
        const char *name, *format;
    };
    for (const Row &row : {Row{"a.jpg", "jpeg"}, Row{"a.JPEG", "jpeg"}, Row{"a.png", "png"},
                           Row{"a.tif", "tiff"}, Row{"a.tiff", "tiff"}, Row{"a.bmp", "bmp"},
                           Row{"a.gif", "gif"}, Row{"a.webp", "jpeg"}, Row{"a", "jpeg"}}) {
        const QString file = path(QString::fromLatin1(row.name));
        ASSERT_TRUE(imgSwatch(QColor(200, 30, 60), file, 37, 23)) << row.name;
        EXPECT_EQ(formatOf(file), row.format) << row.name;
        const QImage read(file);
        EXPECT_EQ(read.size(), QSize(37, 23)) << row.name;
        EXPECT_TRUE(isNear(read.pixelColor(20, 10), QColor(200, 30, 60))) << row.name;
    }
}

TEST_F(ImageExport, WritesJpeg2000FilesOfAnySize)
{
    for (const QSize size : {QSize(1, 1), QSize(3, 200), QSize(640, 360)}) {
        for (const char *extension : {"jp2", "jpx"}) {
            const QString file = path(QStringLiteral("a.") + QLatin1String(extension));
            ASSERT_TRUE(imgSwatch(QColor(200, 30, 60), file, size.width(), size.height()));
            EXPECT_EQ(jpeg2000Size(file), size);
        }
    }
}

TEST_F(ImageExport, KeepsTransparencyWhereTheFormatHasIt)
{
    const QColor clear(0, 0, 0, 0);
    for (const char *name : {"a.png", "a.tif", "a.gif"}) {
        const QString file = path(QString::fromLatin1(name));
        ASSERT_TRUE(imgSwatch(clear, file, 8, 8));
        EXPECT_EQ(QImage(file).pixelColor(4, 4).alpha(), 0) << name;
    }
    for (const char *name : {"a.jpg", "a.bmp"}) {
        const QString file = path(QString::fromLatin1(name));
        ASSERT_TRUE(imgSwatch(clear, file, 8, 8));
        EXPECT_EQ(QImage(file).pixelColor(4, 4), QColor(Qt::black)) << name;
    }
}

TEST_F(ImageExport, RecordsResolutionAndColorSpace)
{
    QImage source(4, 4, QImage::Format_RGB32);
    source.fill(Qt::white);
    for (const char *name : {"a.jpg", "a.png"}) {
        const QString file = path(QString::fromLatin1(name));
        ASSERT_TRUE(imgWrite(imgRender(source, 40, 20, 250, false), file));
        const QImage read(file);
        EXPECT_NEAR(read.dotsPerMeterX() * 0.0254, 250, 0.5) << name;
        EXPECT_EQ(read.colorSpace(), QColorSpace(QColorSpace::SRgb)) << name;
    }
    for (const double resolution : {0.0, -3.0, 1e300}) {
        EXPECT_EQ(imgRender(source, 4, 4, resolution, false).dotsPerMeterX(), 2835);
    }
}

TEST_F(ImageExport, KeepsFullColorResolutionInBestQualityJpeg)
{
    QImage stripes(64, 64, QImage::Format_RGB32);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            stripes.setPixelColor(x, y, x % 2 ? Qt::red : Qt::blue);
        }
    }
    ASSERT_TRUE(imgWrite(stripes, path(QStringLiteral("stripes.jpg"))));
    const QImage read(path(QStringLiteral("stripes.jpg")));
    EXPECT_TRUE(isNear(read.pixelColor(31, 30), Qt::red));
    EXPECT_TRUE(isNear(read.pixelColor(32, 30), Qt::blue));
}

TEST_F(ImageExport, FitsPicturesByMode)
{
    struct Row {
        int mode, width, height;
        QSize expected;
    };
    const QString source = twoColored(QSize(1920, 1080));
    const QString file = path(QStringLiteral("fitted.png"));
    for (const Row &row :
         {Row{0, 640, 640, {640, 640}}, Row{1, 640, 640, {640, 640}}, Row{2, 640, 640, {640, 640}},
          Row{-1, 640, 640, {640, 360}}, Row{-2, 640, 360, {640, 360}},
          Row{-2, 640, 720, {1280, 720}}, Row{-1, 1, 640, {1, 1}}}) {
        ASSERT_TRUE(imgExport(source, file, row.width, row.height, 72, row.mode)) << row.mode;
        EXPECT_EQ(QImage(file).size(), row.expected) << row.mode;
    }
}

TEST_F(ImageExport, PutsBandsAroundAFittedPicture)
{
    const QString source = twoColored(QSize(1920, 1080));
    for (const char *name : {"bands.jpg", "bands.png"}) {
        const QString file = path(QString::fromLatin1(name));
        ASSERT_TRUE(imgExport(source, file, 640, 640, 72, 1));
        const QImage read(file);
        const QColor band = read.pixelColor(320, 135);
        EXPECT_TRUE(isNear(band, Qt::black)) << name;
        EXPECT_EQ(band.alpha(), read.hasAlphaChannel() ? 0 : 255) << name;
        EXPECT_TRUE(isNear(read.pixelColor(100, 141), Qt::red)) << name;
        EXPECT_TRUE(isNear(read.pixelColor(500, 498), Qt::blue)) << name;
        EXPECT_TRUE(isNear(read.pixelColor(500, 505), Qt::black)) << name;
    }
}

TEST_F(ImageExport, TakesTheCentreOfACroppedPicture)
{
    const QString file = path(QStringLiteral("cropped.png"));
    ASSERT_TRUE(imgExport(twoColored(QSize(1920, 1080)), file, 100, 100, 72, 2));
    const QImage read(file);
    EXPECT_TRUE(isNear(read.pixelColor(45, 50), Qt::red));
    EXPECT_TRUE(isNear(read.pixelColor(54, 50), Qt::blue));
}

TEST_F(ImageExport, RefusesWhatItCanNotDo)
{
    const QString source = twoColored(QSize(64, 64));
    const QString broken = path(QStringLiteral("broken.png"));
    ASSERT_TRUE(test::saveBytes(broken, "\x89PNG\r\n\x1a\n no picture"));
    const QString file = path(QStringLiteral("result.png"));
    EXPECT_FALSE(imgExport(source, file, 10, 10, 72, 3));
    EXPECT_FALSE(imgExport(source, file, 10, 10, 72, -3));
    EXPECT_FALSE(imgExport(source, file, 0, 10, 72, 0));
    EXPECT_FALSE(imgExport(source, file, 10, 2000000000, 72, 0));
    EXPECT_FALSE(imgExport(broken, file, 10, 10, 72, 0));
    EXPECT_FALSE(imgExport(path(QStringLiteral("missing.png")), file, 10, 10, 72, 0));
    EXPECT_FALSE(imgExport(path(QString()), file, 10, 10, 72, 0));
    EXPECT_FALSE(imgExport(QString(), file, 10, 10, 72, 0));
    EXPECT_FALSE(imgWrite(QImage(), file));
    EXPECT_FALSE(QFileInfo::exists(file));
    EXPECT_TRUE(imgRender(QImage(), 0, 5, 72, false).isNull());
}

TEST_F(ImageExport, LeavesNothingBehindOnAFullDisk)
{
    const QString file = path(QStringLiteral("full.png"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), file));
    EXPECT_FALSE(imgSwatch(Qt::red, file, 300, 300));
    EXPECT_FALSE(QFileInfo(file).isSymLink());
    EXPECT_FALSE(imgSwatch(Qt::red, QStringLiteral("/dev/full"), 300, 300));
    EXPECT_TRUE(QFileInfo::exists(QStringLiteral("/dev/full")));
}

TEST_F(ImageExport, WritesNothingIntoAMissingFolder)
{
    EXPECT_FALSE(imgSwatch(Qt::red, path(QStringLiteral("missing/a.png")), 3, 3));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("missing"))));
}

} // namespace qv
