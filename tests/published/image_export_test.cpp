#include "common/folder_test.h"
#include "published/image_export.h"
#include "sheet/pictures.h"

#include <QImageReader>

#include <openjpeg.h>

namespace qv
{

namespace
{

using test::isNear;

class ImageExport : public FolderTest
{
protected:
    // Left half red, right half blue.
    QString twoColored(const QSize &size) const
    {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QPainter(&picture).fillRect(size.width() / 2, 0, size.width(), size.height(), Qt::blue);
        const QString file = path("source.png");
        picture.save(file);
        return file;
    }
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
    for (const auto &[name, format] : {std::pair("a.JPEG", "jpeg"),
                                       {"a.png", "png"},
                                       {"a.tif", "tiff"},
                                       {"a.bmp", "bmp"},
                                       {"a.gif", "gif"},
                                       {"a.webp", "jpeg"}}) {
        const QString file = path(name);
        ASSERT_TRUE(imgSwatch(QColor(200, 30, 60), file, 37, 23)) << name;
        EXPECT_EQ(QImageReader::imageFormat(file), format) << name;
        const QImage read(file);
        EXPECT_EQ(read.size(), QSize(37, 23)) << name;
        EXPECT_TRUE(isNear(read.pixelColor(20, 10), QColor(200, 30, 60))) << name;
    }
}

TEST_F(ImageExport, WritesJpeg2000FilesOfAnySize)
{
    for (const QSize size : {QSize(1, 1), QSize(3, 200), QSize(640, 360)}) {
        const QString file = path("a.jp2");
        ASSERT_TRUE(imgSwatch(QColor(200, 30, 60), file, size.width(), size.height()));
        EXPECT_EQ(jpeg2000Size(file), size);
    }
}

TEST_F(ImageExport, FitsPicturesByMode)
{
    struct Row {
        int mode, width, height;
        QSize expected;
        int red, blue; // the last of the one colour and the first of the other at half height
    };
    const QString source = twoColored(QSize(1920, 1080));
    const QString file = path("fitted.png");
    for (const Row &row :
         {Row{0, 640, 640, {640, 640}, 318, 321}, Row{2, 100, 100, {100, 100}, 45, 54},
          Row{-1, 640, 640, {640, 360}, 318, 321}, Row{-2, 640, 720, {1280, 720}, 638, 641}}) {
        ASSERT_TRUE(imgExport(source, file, row.width, row.height, 72, row.mode)) << row.mode;
        const QImage fitted(file);
        EXPECT_EQ(fitted.size(), row.expected) << row.mode;
        EXPECT_TRUE(isNear(fitted.pixelColor(row.red, fitted.height() / 2), Qt::red)) << row.mode;
        EXPECT_TRUE(isNear(fitted.pixelColor(row.blue, fitted.height() / 2), Qt::blue)) << row.mode;
    }
}

TEST_F(ImageExport, PutsBandsAroundAFittedPicture)
{
    const QString source = twoColored(QSize(1920, 1080));
    for (const auto &[name, alpha] : {std::pair("bands.jpg", 255), {"bands.png", 0}}) {
        const QString file = path(name);
        ASSERT_TRUE(imgExport(source, file, 640, 640, 72, 1));
        const QImage read(file);
        EXPECT_TRUE(isNear(read.pixelColor(320, 135), Qt::black)) << name;
        EXPECT_EQ(read.pixelColor(320, 135).alpha(), alpha) << name;
        EXPECT_TRUE(isNear(read.pixelColor(100, 141), Qt::red)) << name;
        EXPECT_TRUE(isNear(read.pixelColor(500, 498), Qt::blue)) << name;
        EXPECT_TRUE(isNear(read.pixelColor(500, 505), Qt::black)) << name;
    }
}

TEST_F(ImageExport, RefusesWhatItCanNotDo)
{
    const QString source = twoColored(QSize(64, 64));
    const QString broken = path("broken.png");
    writeFile(broken, "\x89PNG\r\n\x1a\n no picture");
    const QString file = path("result.png");
    EXPECT_FALSE(imgExport(source, file, 10, 10, 72, 3));
    EXPECT_FALSE(imgExport(source, file, 0, 10, 72, 0));
    EXPECT_FALSE(imgExport(source, file, 10, 2000000000, 72, 0));
    EXPECT_FALSE(imgExport(broken, file, 10, 10, 72, 0));
    EXPECT_FALSE(imgExport(path("missing.png"), file, 10, 10, 72, 0));
    EXPECT_FALSE(imgSwatch(Qt::red, path("missing/a.png"), 3, 3));
    EXPECT_FALSE(QFileInfo::exists(file));
}

} // namespace qv
