// What the options change in the picture.

#include "cli/command_test.h"

#include <QImage>
#include <QRect>

namespace
{

bool isNear(QRgb pixel, QRgb color)
{
    return std::abs(qRed(pixel) - qRed(color)) < 40 &&
           std::abs(qGreen(pixel) - qGreen(color)) < 40 &&
           std::abs(qBlue(pixel) - qBlue(color)) < 40;
}

constexpr QRgb blue = qRgb(0, 0, 255);
constexpr QRgb green = qRgb(0, 128, 0);
constexpr QRgb white = qRgb(255, 255, 255);

struct Count {
    int pixels = 0;
    QRect bounds;
};

Count countOf(const QImage &picture, const QRect &within, QRgb color)
{
    Count count;
    for (int y = within.top(); y <= within.bottom(); ++y) {
        for (int x = within.left(); x <= within.right(); ++x) {
            if (isNear(picture.pixel(x, y), color)) {
                ++count.pixels;
                count.bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return count;
}

Count countOf(const QImage &picture, QRgb color)
{
    return countOf(picture, picture.rect(), color);
}

} // namespace

// Sheets of a source whose every still is plain blue.
class SheetLook : public CommandTest
{
protected:
    SheetLook()
    {
        QImage still(640, 360, QImage::Format_RGB32);
        still.fill(blue);
        const QString file = QString::fromUtf8(path("still.jpg"));
        still.save(file);
        qputenv("FAKE_TOOL_PICTURE", file.toUtf8());
        make("clip.mp4");
    }

    QImage sheet(const QByteArrayList &options, const QByteArray &name = "clip.jpg")
    {
        const Ran ran = run(QByteArrayList{"sheet", "-n", "6", "--replace", "-o", path("out")} +
                            options + QByteArrayList{path("clip.mp4")});
        EXPECT_EQ(ran.status, 0) << ran.err.constData();
        return QImage(QString::fromUtf8(path("out/" + name)));
    }
};

TEST_F(SheetLook, TheFormatDecidesTheWidth)
{
    EXPECT_EQ(sheet({"-f", "jpg"}).width(), 960);
    EXPECT_EQ(sheet({"-f", "png"}, "clip.png").width(), 1920);
}

TEST_F(SheetLook, TheLayoutDecidesTheColumns)
{
    const auto cellWidth = [&](const char *layout) {
        const QImage picture = sheet({"-l", layout, "--no-timecode"});
        const Count cells = countOf(picture, blue);
        const int y = cells.bounds.bottom() - 10;
        const auto isBlue = [&](int x) { return isNear(picture.pixel(x, y), blue); };
        int first = cells.bounds.left();
        while (first < picture.width() && !isBlue(first)) {
            ++first;
        }
        int end = first;
        while (end < picture.width() && isBlue(end)) {
            ++end;
        }
        return end - first;
    };
    const int medium = cellWidth("medium");
    EXPECT_NEAR(medium, 960 / 3, 40);
    EXPECT_NEAR(cellWidth("big"), 960 / 2, 40);
    EXPECT_NEAR(cellWidth("minimum"), 960 / 6, 20);
    EXPECT_NEAR(cellWidth("mixed"), 960 / 6, 20);
}

TEST_F(SheetLook, TimeCodesAreStampedUnlessSwitchedOff)
{
    // The borders between the cells are green, so what is white lies in the pictures.
    const auto stampPixels = [&](const QByteArrayList &options) {
        const QImage picture =
            sheet(QByteArrayList{"--background", "green", "--border-color", "green"} + options);
        return countOf(picture, countOf(picture, blue).bounds, white).pixels;
    };
    EXPECT_GT(stampPixels({}), 200);
    EXPECT_EQ(stampPixels({"--no-timecode"}), 0);
    EXPECT_GT(stampPixels({"--caption", "name"}), 200);
}

TEST_F(SheetLook, CaptionsThatAreNotNamedTakeNoRoom)
{
    const int all = sheet({}).height();
    const int two = sheet({"--caption", "name,duration"}).height();
    const int none = sheet({"--caption", "none"}).height();
    EXPECT_GT(all, two);
    EXPECT_GT(two, none);
}

TEST_F(SheetLook, BackgroundAndBordersAreAsAsked)
{
    const QImage picture = sheet({"--background", "#008000", "--border-color", "white",
                                  "--border-size", "8", "--no-timecode", "--caption", "none"});
    for (const QPoint corner : {QPoint(1, 1), QPoint(picture.width() - 2, picture.height() - 2)}) {
        EXPECT_TRUE(isNear(picture.pixel(corner), green)) << corner.x();
    }
    const int wide = countOf(picture, white).pixels;
    const QImage thin = sheet({"--background", "#008000", "--border-color", "white",
                               "--border-size", "0", "--no-timecode", "--caption", "none"});
    EXPECT_GT(wide, 10000);
    EXPECT_LT(countOf(thin, white).pixels, wide / 20);
}
