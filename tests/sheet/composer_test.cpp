#include "common/folder_test.h"
#include "sheet/composer.h"
#include "sheet/layout.h"
#include "sheet/pictures.h"

#include <QColorSpace>
#include <QPainter>

#include <sys/stat.h>

namespace qv
{

namespace
{

using test::isNear;
using test::pixelsUnlike;

const QColor darkGrey(26, 26, 26);
const QColor lightGrey(204, 204, 204);

QImage drawSheet(int dpi, const QVariantMap &display, int *drawn = nullptr)
{
    return drawSheetAtWidth(dpi, display, dpi == 0 ? 960 : 1920, drawn);
}

class Composer : public FolderTest
{
protected:
    Composer() { QDir().mkpath(base()); }

    QString base() const { return m_folder.filePath("holiday.2011"); }
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
        return {{"dstPathStr", base()},
                {"bigMedMinMix", layout},
                {"th", stills},
                {"wTh", 320},
                {"hTh", 180},
                {"bkgColor", "0.10,0.10,0.10,1.00"},
                {"borderColor", "0.80,0.80,0.80,1.00"},
                {"borderSize", 1.0}};
    }

    void makeStills(const QList<QColor> &colors) const
    {
        for (int i = 0; i < colors.size(); ++i) {
            ASSERT_TRUE(test::savePicture(stillPath(i), QSize(320, 180), colors.at(i)));
        }
    }
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

} // namespace

TEST_F(Composer, WritesTheSheetBesideItsStillsFolder)
{
    makeStills({Qt::red, Qt::green, Qt::blue});
    const auto jpeg = sheetPicture(0, display(1, 3));
    ASSERT_TRUE(jpeg) << jpeg.error().toStdString();
    EXPECT_EQ(jpeg->path, base() + ".jpg");
    EXPECT_EQ(jpeg->drawn, 3);
    const QImage small(jpeg->path);
    EXPECT_EQ(small.width(), 960);
    QVariantMap slashed = display(1, 3);
    slashed["dstPathStr"] = base() + "/";
    ASSERT_TRUE(sheetPicture(1, slashed));
    const QImage large(base() + ".png");
    EXPECT_EQ(large.width(), 1920);
    EXPECT_EQ(large.colorSpace(), QColorSpace(QColorSpace::SRgb));
    EXPECT_NEAR(large.dotsPerMeterX() * 0.0254, 250, 0.5);
    EXPECT_NEAR(large.height(), small.height() * 2, 2);
}

TEST_F(Composer, PutsEachStillIntoItsOwnCell)
{
    const QList<QColor> colors{Qt::red, Qt::green, Qt::blue, Qt::yellow};
    makeStills(colors);
    ASSERT_TRUE(QFile::remove(stillPath(1)));
    writeFile(stillPath(2), "no picture");
    int drawn = 0;
    const QImage sheet = drawSheet(0, display(1, 4), &drawn);
    EXPECT_EQ(drawn, 2);
    for (const int index : {0, 1, 2, 3}) {
        const QColor color = index == 1 || index == 2 ? darkGrey : colors.at(index);
        EXPECT_EQ(pixelsUnlike(sheet, cellOf(1, 4, index).adjusted(2, 2, -2, -2), color), 0)
            << index;
    }
}

TEST_F(Composer, DrawsStillsThatAreRibbons)
{
    makeStills({Qt::red, Qt::green, Qt::blue});
    QVariantMap input = display(1, 3);
    input["wTh"] = 1280;
    input["hTh"] = 2;
    int drawn = 0;
    drawSheet(0, input, &drawn);
    EXPECT_EQ(drawn, 3);
}

TEST_F(Composer, FramesStillsEquallyOnAllSides)
{
    makeStills(QList<QColor>(18, Qt::red));
    for (const auto &[border, pixels] : {std::pair(0.0, 0), {0.3, 1}, {2.0, 2}, {8.0, 6}}) {
        QVariantMap input = display(2, 18);
        input["borderSize"] = border;
        const QImage sheet = drawSheet(0, input);
        for (const int index : {0, 11, 17}) {
            const QRect cell = cellOf(2, 18, index, 0, border);
            const QPoint middle = cell.center();
            for (int i = 0; i <= pixels; ++i) {
                for (const QPoint at :
                     {QPoint(cell.left() + i, middle.y()), QPoint(cell.right() - i, middle.y()),
                      QPoint(middle.x(), cell.top() + i), QPoint(middle.x(), cell.bottom() - i)}) {
                    EXPECT_EQ(isNear(sheet.pixelColor(at), lightGrey, 20), i < pixels)
                        << border << " cell " << index << " pixel " << i;
                }
            }
        }
    }
}

TEST_F(Composer, DrawsOnlyTheCaptionsThatArePresent)
{
    makeStills({Qt::red, Qt::red, Qt::red});
    QVariantMap input = display(1, 3);
    const QRect title(0, 0, 960, 40);
    const QImage bare = drawSheet(0, input);
    EXPECT_EQ(pixelsUnlike(bare, title, darkGrey), 0);
    input["name"] = "Holiday";
    input["duration"] = "0h01'35\"";
    input["essence"] = "مرحبا - mov";
    const QImage sheet = drawSheet(0, input);
    EXPECT_EQ(sheet.height(), bare.height() + 2 * 18);
    EXPECT_GT(pixelsUnlike(sheet, title, darkGrey), 200);
    for (const int line : {0, 1}) {
        const int y = 41 + 18 * line;
        EXPECT_GT(pixelsUnlike(sheet, QRect(0, y, 187, 17), darkGrey), 20) << line;
        // The separators stand below each other whichever way the values run.
        EXPECT_GT(pixelsUnlike(sheet, QRect(188, y, 8, 17), darkGrey), 2) << line;
    }
    EXPECT_TRUE(isNear(sheet.pixelColor(cellOf(1, 3, 1, 2).center()), Qt::red));
}

TEST_F(Composer, ShowsTheHeaviestStillLargeInTheMixedLayout)
{
    makeStills(QList<QColor>(6, Qt::red));
    ASSERT_TRUE(test::savePicture(stillPath(4), QSize(1280, 720), Qt::blue));
    writeFile(stillPath(5), QByteArray(500000, 'x'));
    const QImage sheet = drawSheet(0, display(3, 6));
    EXPECT_TRUE(isNear(sheet.pixelColor(480, 200), Qt::blue));
    EXPECT_TRUE(isNear(sheet.pixelColor(cellOf(3, 6, 4).center()), Qt::blue));
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
    makeStills({Qt::red, Qt::red, Qt::red, Qt::red});
    ASSERT_TRUE(QFile::remove(stillPath(0)));
    ASSERT_EQ(mkfifo(QFile::encodeName(stillPath(0)).constData(), 0600), 0);
    QFile huge(stillPath(1));
    ASSERT_TRUE(huge.open(QIODevice::ReadOnly));
    QByteArray bytes = huge.readAll();
    const qsizetype frame = bytes.indexOf("\xff\xc0");
    ASSERT_GT(frame, 0);
    bytes.replace(frame + 5, 4, "\xff\xdc\xff\xdc"); // 65,500 x 65,500 pixels
    writeFile(stillPath(1), bytes);
    // Only one decoder may see what a tool wrote.
    ASSERT_TRUE(QImage(stillPath(2)).save(stillPath(2), "PNG"));
    int drawn = 0;
    EXPECT_FALSE(drawSheet(0, display(3, 4), &drawn).isNull());
    EXPECT_EQ(drawn, 1);
}

TEST_F(Composer, SaysWhyThereIsNoSheet)
{
    makeStills({Qt::red});
    const auto tooHigh = sheetPicture(0, display(0, 2000));
    ASSERT_FALSE(tooHigh);
    EXPECT_TRUE(tooHigh.error().contains("pixels high"));

    QVariantMap homeless = display(0, 2);
    homeless["dstPathStr"] = base() + "-missing";
    EXPECT_FALSE(sheetPicture(0, homeless));
    ASSERT_TRUE(QDir().mkpath(base() + ".png"));
    EXPECT_FALSE(sheetPicture(1, display(0, 2)));
}

TEST_F(Composer, DrawsTheSameSheetAtAnyWidth)
{
    makeStills({Qt::red, Qt::green, Qt::blue});
    for (const int dpi : {0, 1}) {
        const QImage whole = drawSheet(dpi, display(1, 3));
        EXPECT_EQ(sheetPixels(dpi, display(1, 3)), whole.size());
        int drawn = 0;
        const QImage narrow = drawSheetAtWidth(dpi, display(1, 3), 320, &drawn);
        EXPECT_EQ(drawn, 3);
        EXPECT_EQ(narrow.width(), 320);
        EXPECT_NEAR(narrow.height(), 320.0 * whole.height() / whole.width(), 1.5);
        const QPoint middle = narrow.rect().center();
        EXPECT_TRUE(isNear(narrow.pixelColor(middle), Qt::green)) << dpi;
    }
    EXPECT_TRUE(drawSheetAtWidth(0, display(1, 3), 0).isNull());
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
        double background, border, main, secondary;
    };
    const auto grey = [](double value) {
        const auto level = static_cast<float>(value);
        return QColor::fromRgbF(level, level, level);
    };
    for (const Row &row : {Row{0.1, 0.8, 0.8, 0.8}, Row{0.3, 0.5, 0.7, 0.7},
                           Row{0.95, 0.8, 0.5, 0.5}, Row{0.9, 0.8, 0.48, 0.48}, Row{0.5, 0.5, 1, 1},
                           Row{0.7, 0.7, 0, 0}, Row{0.9, 0.9, 0.667, 0.5}}) {
        const CaptionColors colors = captionColors(grey(row.background), grey(row.border));
        EXPECT_TRUE(isNear(colors.main, grey(row.main), 1)) << row.background;
        EXPECT_TRUE(isNear(colors.secondary, grey(row.secondary), 1)) << row.background;
    }
}

} // namespace qv
