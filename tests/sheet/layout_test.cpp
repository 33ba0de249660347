#include "sheet/layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qv
{

namespace
{

SheetMeasures measuresOf(int out, int pictures, double scale = 1, double border = 1)
{
    SheetMeasures measures;
    measures.layout = sheetLayout(out);
    measures.scale = scale;
    measures.borderSize = border;
    measures.pictures = pictures;
    measures.stillWidth = 1280;
    measures.stillHeight = 720;
    return measures;
}

} // namespace

TEST(WholeRowsCount, RoundsDownToTheColumnsOfTheLayout)
{
    struct Row {
        int out, requested, count;
    };
    for (const Row &row :
         {Row{0, 10, 10}, Row{1, 10, 9}, Row{2, 47, 42}, Row{3, 32, 30}, Row{99, 13, 12},
          Row{-1, 13, 12}, Row{0, 1, 0}, Row{1, 1, 0}, Row{2, 5, 0}, Row{0, 0, 0}, Row{1, -7, 0}}) {
        EXPECT_EQ(wholeRowsCount(sheetLayout(row.out), row.requested), row.count)
            << row.out << " " << row.requested;
    }
}

TEST(StillSize, FollowsTheDisplayAspectAndFitsTheLimits)
{
    struct Row {
        int width, height;
        const char *aspect;
        int expectedWidth, expectedHeight;
    };
    for (const Row &row : {
             Row{720, 576, "16:9", 1024, 576},
             Row{720, 576, "4:3", 768, 576},
             Row{1920, 1080, "", 1280, 720},
             Row{1920, 1080, "16:9", 1280, 720},
             Row{1080, 1920, "", 540, 960},
             Row{1440, 1080, "16:9", 1280, 720},
             Row{3840, 1600, "", 1280, 534},
             Row{720, 480, "853:480", 854, 480},
             Row{640, 480, "1.85:1", 888, 480},
         }) {
        const StillSize size = stillSize(row.width, row.height, QString::fromLatin1(row.aspect));
        EXPECT_EQ(size.width, row.expectedWidth) << row.width << " " << row.aspect;
        EXPECT_EQ(size.height, row.expectedHeight) << row.width << " " << row.aspect;
    }
}

TEST(StillSize, IgnoresDisplayAspectsThatMakeNoSense)
{
    for (const char *aspect : {"0:1", "1:0", "0:0", ":", "16", "nan:1", "inf:1", "1e30:1e-30",
                               "1:1000", "-16:9", "x:y"}) {
        const StillSize size = stillSize(640, 480, QString::fromLatin1(aspect));
        EXPECT_EQ(size.width, 640) << aspect;
        EXPECT_EQ(size.height, 480) << aspect;
    }
}

TEST(StillSize, StaysUsableForAbsurdRecords)
{
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    for (const int width : {most, 1, 0, -1, least}) {
        for (const int height : {most, 1, 0, -1, least}) {
            for (const char *aspect : {"", "16:9", "1:20", "20:1"}) {
                const StillSize size = stillSize(width, height, QString::fromLatin1(aspect));
                EXPECT_TRUE(size.width >= 2 && size.width <= 1280 && size.width % 2 == 0);
                EXPECT_TRUE(size.height >= 2 && size.height <= 960 && size.height % 2 == 0);
            }
        }
    }
}

TEST(SheetGeometry, FillsTheWidthWithCellsAndEqualGaps)
{
    SheetMeasures measures = measuresOf(1, 9);
    measures.stillWidth = 720;
    measures.stillHeight = 576;
    measures.captionLines = 2;
    const SheetGeometry sheet = sheetGeometry(measures);
    EXPECT_EQ(sheet.gap, 5);
    EXPECT_EQ(sheet.cell, QSizeF(420, 336));
    ASSERT_EQ(sheet.cells.size(), 9U);
    EXPECT_EQ(sheet.cells[0].topLeft(), QPointF(5, 54 + 2 * 24));
    EXPECT_EQ(sheet.cells[2].right(), sheet.width - 5);
    EXPECT_EQ(sheet.cells[3].topLeft(), QPointF(5, 54 + 2 * 24 + 341));
    EXPECT_EQ(sheet.height, 54 + 2 * 24 + 3 * 341 + 21);
    EXPECT_EQ(sheet.band, QRectF(0, sheet.height - 21, 1280, 21));
}

TEST(SheetGeometry, ScalesLengthsForLargeSheets)
{
    const SheetGeometry sheet = sheetGeometry(measuresOf(0, 4, 1.5, 8));
    EXPECT_EQ(sheet.width, 1920);
    EXPECT_EQ(sheet.border, 12);
    EXPECT_EQ(sheet.gap, 12);
    EXPECT_EQ(sheet.titleFont, 54);
    EXPECT_EQ(sheet.timecodeFont, 36);
}

TEST(SheetGeometry, PutsALargePictureOfFourRowsAboveTheMixedGrid)
{
    const SheetGeometry plain = sheetGeometry(measuresOf(2, 24));
    const SheetGeometry mixed = sheetGeometry(measuresOf(3, 24));
    const double pitch = plain.cell.height() + plain.gap;
    EXPECT_TRUE(plain.hero.isEmpty());
    EXPECT_DOUBLE_EQ(mixed.height, plain.height + 4 * pitch);
    EXPECT_DOUBLE_EQ(mixed.hero.right(), mixed.cells[5].right());
    EXPECT_DOUBLE_EQ(mixed.hero.bottom() + mixed.gap, mixed.cells[0].top());
}

TEST(SheetGeometry, CountsABegunRowAsARow)
{
    EXPECT_EQ(sheetGeometry(measuresOf(1, 7)).height, sheetGeometry(measuresOf(1, 9)).height);
    EXPECT_LT(sheetGeometry(measuresOf(1, 6)).height, sheetGeometry(measuresOf(1, 7)).height);
}

TEST(SheetGeometry, KeepsRoomForPicturesWhateverTheNumbersSay)
{
    const double nan = std::nan("");
    for (const double odd : {nan, -5.0, 1e300, std::numeric_limits<double>::infinity()}) {
        SheetMeasures measures = measuresOf(2, 6, 1, odd);
        EXPECT_GT(sheetGeometry(measures).cell.width(), 2 * sheetGeometry(measures).border);
        measures = measuresOf(2, 6);
        measures.stillWidth = odd;
        EXPECT_TRUE(std::isfinite(sheetGeometry(measures).height));
    }
}

} // namespace qv
