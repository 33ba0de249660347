#include "sheet/composer.h"
#include "sheet/layout.h"
#include "sheet/pictures.h"

#include <QDir>
#include <QFileInfo>
#include <QPainter>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>

namespace qv
{

namespace
{

using test::isNear;
using test::pixelsUnlike;

const QColor darkGrey(26, 26, 26);
const QColor lightGrey(204, 204, 204);

class Composer : public testing::Test
{
protected:
    Composer() { QDir().mkpath(base()); }

    QString base() const { return m_folder.filePath(QStringLiteral("holiday.2011")); }
    QString stillPath(int i) const
    {
        return QStringLiteral("%1/img%2.jpg").arg(base(), QString::number(i));
    }

    QVariantMap display(int layout, int pictures) const
    {
        QStringList stills;
        for (int i = 0; i < pictures; ++i) {
            stills << stillPath(i);
        }
        return {{QStringLiteral("dstPathStr"), base()},
                {QStringLiteral("bigMedMinMix"), layout},
                {QStringLiteral("th"), stills},
                {QStringLiteral("wTh"), 320},
                {QStringLiteral("hTh"), 180},
                {QStringLiteral("bkgColor"), QStringLiteral("0.10,0.10,0.10,1.00")},
                {QStringLiteral("borderColor"), QStringLiteral("0.80,0.80,0.80,1.00")},
                {QStringLiteral("borderSize"), 1.0}};
    }

    void makeStills(const QList<QColor> &colors) const
    {
        for (int i = 0; i < colors.size(); ++i) {
            ASSERT_TRUE(test::savePicture(stillPath(i), QSize(320, 180), colors.at(i)));
        }
    }

private:
    QTemporaryDir m_folder;
};

// A cell of the sheet in the bitmap's pixels.
QRect cellOf(int layout, int pictures, int index, int captionLines = 0, double border = 1)
{
    SheetMeasures measures{sheetLayout(layout), 1, border, pictures, captionLines, 320, 180};
    const QRectF cell = sheetGeometry(measures).cells.at(static_cast<std::size_t>(index));
    const auto pixel = [](double canvas) { return qRound(canvas * 0.75); };
    return {QPoint(pixel(cell.left()), pixel(cell.top())),
            QPoint(pixel(cell.right()) - 1, pixel(cell.bottom()) - 1)};
}

// From the outside in: how many pixels at the middle of each edge have the colour.
std::array<int, 4> frameWidths(const QImage &sheet, const QRect &cell, const QColor &color)
{
    const auto width = [&](QPoint at, const QPoint &step) {
        int count = 0;
        while (isNear(sheet.pixelColor(at), color, 20)) {
            ++count;
            at += step;
        }
        return count;
    };
    const QPoint middle = cell.center();
    return {width({cell.left(), middle.y()}, {1, 0}), width({cell.right(), middle.y()}, {-1, 0}),
            width({middle.x(), cell.top()}, {0, 1}), width({middle.x(), cell.bottom()}, {0, -1})};
}

} // namespace

TEST_F(Composer, WritesTheSheetBesideItsStillsFolder)
{
    makeStills({Qt::red, Qt::green, Qt::blue});
    const auto jpeg = composeSheet(0, display(1, 3));
    ASSERT_TRUE(jpeg) << jpeg.error().toStdString();
    EXPECT_EQ(jpeg->path, base() + QStringLiteral(".jpg"));
    EXPECT_EQ(jpeg->drawn, 3);
    const QImage small(jpeg->path);
    EXPECT_EQ(small.width(), 960);
    EXPECT_NEAR(small.dotsPerMeterX() * 0.0254, 72, 0.5);

    QVariantMap slashed = display(1, 3);
    slashed[QStringLiteral("dstPathStr")] = base() + QStringLiteral("/");
    const auto png = composeSheet(1, slashed);
    ASSERT_TRUE(png) << png.error().toStdString();
    EXPECT_EQ(png->path, base() + QStringLiteral(".png"));
    const QImage large(png->path);
    EXPECT_EQ(large.width(), 1920);
    EXPECT_NEAR(large.dotsPerMeterX() * 0.0254, 250, 0.5);
    EXPECT_NEAR(large.height(), small.height() * 2, 2);
}

TEST_F(Composer, PutsEachStillIntoItsOwnCell)
{
    const QList<QColor> colors{Qt::red, Qt::green, Qt::blue, Qt::yellow};
    makeStills(colors);
    ASSERT_TRUE(QFile::remove(stillPath(1)));
    ASSERT_TRUE(test::saveBytes(stillPath(2), "no picture"));
    int drawn = 0;
    const QImage sheet = drawSheet(0, display(1, 4), &drawn);
    EXPECT_EQ(drawn, 2);
    for (const int index : {0, 3}) {
        EXPECT_TRUE(isNear(sheet.pixelColor(cellOf(1, 4, index).center()), colors.at(index)));
    }
    for (const int index : {1, 2}) {
        EXPECT_EQ(pixelsUnlike(sheet, cellOf(1, 4, index), darkGrey), 0) << index;
    }
}

TEST_F(Composer, FramesStillsEquallyOnAllSides)
{
    makeStills(QList<QColor>(18, Qt::red));
    struct Row {
        double border;
        int pixels;
    };
    for (const Row &row : {Row{0, 0}, Row{0.3, 1}, Row{1, 1}, Row{2, 2}, Row{8, 6}}) {
        QVariantMap input = display(2, 18);
        input[QStringLiteral("borderSize")] = row.border;
        const QImage sheet = drawSheet(0, input);
        for (const int index : {0, 4, 11, 17}) {
            const QRect cell = cellOf(2, 18, index, 0, row.border);
            for (const int width : frameWidths(sheet, cell, lightGrey)) {
                EXPECT_EQ(width, row.pixels) << row.border << " cell " << index;
            }
        }
    }
}

TEST_F(Composer, FramesInLightGreyWithoutABorderColor)
{
    makeStills({Qt::red, Qt::red, Qt::red});
    for (const char *color : {"", "0.8,0.8,0.8", "a,b,c,d,e"}) {
        QVariantMap input = display(1, 3);
        input[QStringLiteral("borderColor")] = QString::fromLatin1(color);
        input[QStringLiteral("borderSize")] = 8;
        const QImage sheet = drawSheet(0, input);
        const QRect cell = cellOf(1, 3, 1, 0, 8);
        EXPECT_TRUE(isNear(sheet.pixelColor(cell.topLeft() + QPoint(3, 3)), QColor(170, 170, 170)));
    }
}

TEST_F(Composer, StampsTimecodesOnTheirStills)
{
    makeStills({Qt::red, Qt::red, Qt::red});
    QVariantMap input = display(1, 3);
    input[QStringLiteral("timecode")] =
        QVariantMap{{QStringLiteral("1"), QStringLiteral("0:01:15")}};
    const QImage sheet = drawSheet(0, input);
    const auto stamp = [&](int index) {
        const QRect cell = cellOf(1, 3, index).adjusted(3, 3, -3, -3);
        return QRect(cell.right() - 60, cell.bottom() - 18, 60, 18);
    };
    EXPECT_EQ(pixelsUnlike(sheet, stamp(0), Qt::red), 0);
    EXPECT_GT(pixelsUnlike(sheet, stamp(1), Qt::red), 60);
    EXPECT_EQ(pixelsUnlike(sheet, cellOf(1, 3, 1).adjusted(3, 3, -70, -3), Qt::red), 0);
}

TEST_F(Composer, DrawsOnlyTheCaptionsThatArePresent)
{
    makeStills({Qt::red, Qt::red, Qt::red});
    QVariantMap input = display(1, 3);
    const QRect title(0, 0, 960, 40);
    EXPECT_EQ(pixelsUnlike(drawSheet(0, input), title, darkGrey), 0);
    const int bare = drawSheet(0, input).height();

    input[QStringLiteral("name")] = QStringLiteral("Holiday");
    input[QStringLiteral("duration")] = QStringLiteral("0h01'35\"");
    input[QStringLiteral("essence")] = QStringLiteral("مرحبا - mov");
    const QImage sheet = drawSheet(0, input);
    EXPECT_EQ(sheet.height(), bare + 2 * 18);
    EXPECT_GT(pixelsUnlike(sheet, title, darkGrey), 200);
    for (const int line : {0, 1}) {
        const int y = 41 + 18 * line;
        EXPECT_GT(pixelsUnlike(sheet, QRect(0, y, 187, 17), darkGrey), 20) << line;
        EXPECT_GT(pixelsUnlike(sheet, QRect(188, y, 700, 17), darkGrey), 20) << line;
        // The separators stand below each other whichever way the values run.
        EXPECT_GT(pixelsUnlike(sheet, QRect(188, y, 8, 17), darkGrey), 2) << line;
    }
    EXPECT_TRUE(isNear(sheet.pixelColor(cellOf(1, 3, 1, 2).center()), Qt::red));
}

TEST_F(Composer, ShowsTheHeaviestStillLargeInTheMixedLayout)
{
    makeStills(QList<QColor>(6, Qt::red));
    QImage detailed(320, 180, QImage::Format_RGB32);
    for (int y = 0; y < 180; ++y) {
        for (int x = 0; x < 320; ++x) {
            detailed.setPixelColor(x, y, QColor(0, (x * 7 + y * 13) % 40, 200));
        }
    }
    ASSERT_TRUE(detailed.save(stillPath(4), nullptr, 95));
    ASSERT_TRUE(test::saveBytes(stillPath(5), QByteArray(500000, 'x')));
    const QImage sheet = drawSheet(0, display(3, 6));
    EXPECT_TRUE(isNear(sheet.pixelColor(480, 200), QColor(0, 20, 200), 40));
    EXPECT_TRUE(isNear(sheet.pixelColor(cellOf(3, 6, 4).center()), QColor(0, 20, 200), 40));
    EXPECT_TRUE(isNear(sheet.pixelColor(cellOf(3, 6, 3).center()), Qt::red));
}

TEST_F(Composer, CutsTheLargePictureToItsBoxWithoutStretching)
{
    QImage tall(300, 600, QImage::Format_RGB32);
    tall.fill(Qt::red);
    QPainter(&tall).fillRect(QRect(0, 250, 300, 100), Qt::blue);
    ASSERT_TRUE(tall.save(stillPath(0), nullptr, 95));
    const QImage sheet = drawSheet(0, display(3, 1));
    const QRect hero(4, 41, 952, 358);
    EXPECT_TRUE(isNear(sheet.pixelColor(hero.center()), Qt::blue));
    // 100 of 300 pixels wide become a third of the width, 317 pixels high.
    EXPECT_TRUE(isNear(sheet.pixelColor(480, hero.center().y() - 150), Qt::blue));
    EXPECT_TRUE(isNear(sheet.pixelColor(480, hero.center().y() - 170), Qt::red));
}

TEST_F(Composer, SkipsStillsThatWouldHarm)
{
    makeStills({Qt::red, Qt::red, Qt::red});
    ASSERT_TRUE(QFile::remove(stillPath(0)));
    ASSERT_EQ(mkfifo(QFile::encodeName(stillPath(0)).constData(), 0600), 0);
    QFile huge(stillPath(1)); // the header's size fields made 65,500 x 65,500
    ASSERT_TRUE(huge.open(QIODevice::ReadWrite));
    QByteArray bytes = huge.readAll();
    const qsizetype frame = bytes.indexOf("\xff\xc0");
    ASSERT_GT(frame, 0);
    bytes.replace(frame + 5, 4, "\xff\xdc\xff\xdc");
    huge.seek(0);
    huge.write(bytes);
    huge.close();
    int drawn = 0;
    EXPECT_FALSE(drawSheet(0, display(3, 3), &drawn).isNull());
    EXPECT_EQ(drawn, 1);
}

TEST_F(Composer, SaysWhyThereIsNoSheet)
{
    makeStills({Qt::red});
    QVariantMap tower = display(0, 4);
    tower[QStringLiteral("hTh")] = 1000000;
    const auto tooHigh = composeSheet(0, tower);
    ASSERT_FALSE(tooHigh);
    EXPECT_TRUE(tooHigh.error().contains(QStringLiteral("pixels high")));

    QVariantMap homeless = display(0, 2);
    homeless[QStringLiteral("dstPathStr")] = base() + QStringLiteral("-missing");
    EXPECT_FALSE(composeSheet(0, homeless));
    homeless.remove(QStringLiteral("dstPathStr"));
    EXPECT_FALSE(composeSheet(0, homeless));

    ASSERT_TRUE(QDir().mkpath(base() + QStringLiteral(".png")));
    EXPECT_FALSE(sheetPicture(1, display(0, 2)));
    EXPECT_TRUE(sheetPicture(0, display(0, 2)));
}

TEST_F(Composer, DrawsABareSheetFromAnEmptyOrAbsurdDescription)
{
    EXPECT_EQ(drawSheet(0, {}).width(), 960);
    QVariantMap odd = display(0, 0);
    for (const QString &key : odd.keys()) {
        odd[key] = QVariantMap{{key, -1}};
    }
    EXPECT_FALSE(drawSheet(1, odd).isNull());
}

TEST(CaptionColors, StandOutFromTheBackground)
{
    struct Row {
        QColor background, border, main, secondary;
    };
    const QColor grey(128, 128, 128);
    const auto level = [](double value) {
        const auto f = static_cast<float>(value);
        return QColor::fromRgbF(f, f, f);
    };
    for (const Row &row : {
             Row{level(0.1), level(0.8), level(0.8), level(0.8)},
             Row{level(0.3), level(0.7), level(0.7), level(0.7)},
             Row{level(0.3), level(0.5), level(0.7), level(0.7)},
             Row{level(1.0), level(0.8), grey, grey},
             Row{level(0.95), level(0.8), grey, grey},
             Row{level(0.9), level(0.8), level(0.48), level(0.48)},
             Row{level(0.5), level(0.5), Qt::white, Qt::white},
             Row{level(0.7), level(0.7), Qt::black, Qt::black},
             Row{level(0.9), level(0.9), QColor(170, 170, 170), grey},
             Row{level(0.2), QColor(), Qt::white, Qt::white},
         }) {
        const CaptionColors colors = captionColors(row.background, row.border);
        EXPECT_TRUE(isNear(colors.main, row.main, 1)) << row.background.redF();
        EXPECT_TRUE(isNear(colors.secondary, row.secondary, 1)) << row.background.redF();
    }
}

TEST(Brightness, WeighsTheMeanWithAlpha)
{
    EXPECT_DOUBLE_EQ(brightness(Qt::white), 1);
    EXPECT_DOUBLE_EQ(brightness(QColor::fromRgbF(0.95F, 0.95F, 0.95F)), 0.95);
    EXPECT_DOUBLE_EQ(brightness(QColor::fromRgbF(0.9F, 0.6F, 0.3F, 0.5F)), 0.3);
}

} // namespace qv
