// What the options change in the picture.

#include "cli/command_test.h"

namespace
{

bool isNear(QRgb pixel, QRgb color)
{
    return std::abs(qRed(pixel) - qRed(color)) < 40 &&
           std::abs(qGreen(pixel) - qGreen(color)) < 40 &&
           std::abs(qBlue(pixel) - qBlue(color)) < 40;
}

qsizetype whitePixels(const QImage &picture)
{
    qsizetype count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            count += isNear(picture.pixel(x, y), qRgb(255, 255, 255)) ? 1 : 0;
        }
    }
    return count;
}

} // namespace

// Sheets of a source whose every still is plain blue.
class SheetLook : public CommandTest
{
protected:
    SheetLook()
    {
        QImage still(640, 360, QImage::Format_RGB32);
        still.fill(Qt::blue);
        const QString file = QString::fromUtf8(path("still.jpg"));
        still.save(file);
        qputenv("FAKE_TOOL_PICTURE", file.toUtf8());
        make("clip.mp4");
    }

    QImage sheet(const QByteArrayList &options)
    {
        const Ran ran = run(QByteArrayList{"sheet", "-n", "6", "--replace", "-o", path("out")} +
                            options + QByteArrayList{path("clip.mp4")});
        EXPECT_EQ(ran.status, 0) << ran.err.constData();
        return pictureAt("out/clip.jpg");
    }
};

TEST_F(SheetLook, TheLayoutDecidesTheColumns)
{
    struct Row {
        const char *layout;
        int height; // of all cells
    };
    for (const Row &row : {Row{"big", 3 * 270}, Row{"medium", 2 * 180}, Row{"minimum", 90},
                           Row{"mixed", (4 + 1) * 90}}) {
        const int height = sheet({"-l", row.layout, "--caption", "none"}).height();
        EXPECT_NEAR(height, row.height + 56, 25) << row.layout;
    }
}

TEST_F(SheetLook, TimeCodesAreStampedUnlessSwitchedOff)
{
    const QByteArrayList options{"--background", "green",          "--caption",
                                 "none",         "--border-color", "green"};
    EXPECT_GT(whitePixels(sheet(options)), 200);
    EXPECT_EQ(whitePixels(sheet(options + QByteArrayList{"--no-timecode"})), 0);
}

TEST_F(SheetLook, CaptionsThatAreNotNamedTakeNoRoom)
{
    const int two = sheet({"--caption", "name,duration"}).height();
    EXPECT_GT(sheet({}).height(), two);
    EXPECT_GT(two, sheet({"--caption", "none"}).height());
}

TEST_F(SheetLook, BackgroundAndBordersAreAsAsked)
{
    const auto bordered = [&](const char *size) {
        return sheet({"--background", "#008000", "--border-color", "white", "--border-size", size,
                      "--no-timecode", "--caption", "none"});
    };
    const QImage picture = bordered("8");
    for (const QPoint corner : {QPoint(1, 1), QPoint(picture.width() - 2, picture.height() - 2)}) {
        EXPECT_TRUE(isNear(picture.pixel(corner), qRgb(0, 128, 0))) << corner.x();
    }
    const qsizetype wide = whitePixels(picture);
    EXPECT_GT(wide, 10000);
    EXPECT_LT(whitePixels(bordered("0")), wide / 20);
}
