#include "sheet/layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qv
{

namespace
{

SheetMeasures measuresOf(int out, int pictures)
{
    SheetMeasures measures;
    measures.layout = sheetLayout(out);
    measures.pictures = pictures;
    measures.stillWidth = 720;
    measures.stillHeight = 576;
    measures.captionLines = 2;
    return measures;
}

} // namespace

TEST(WholeRowsCount, RoundsDownToTheColumnsOfTheLayout)
{
    for (const auto &[out, requested, count] : {std::tuple{0, 10, 10},
                                                {1, 10, 9},
                                                {2, 47, 42},
                                                {3, 32, 30},
                                                {99, 13, 12},
                                                {2, 5, 0},
                                                {1, -7, 0}}) {
        EXPECT_EQ(wholeRowsCount(sheetLayout(out), requested), count) << out << " " << requested;
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
             Row{1920, 1080, "", 1280, 720},
             Row{1080, 1920, "", 540, 960},
             Row{1440, 1080, "16:9", 1280, 720},
             Row{3840, 1600, "", 1280, 534},
             Row{640, 480, "1.85:1", 888, 480},
             Row{640, 480, "0:1", 640, 480},
             Row{640, 480, "1:0", 640, 480},
             Row{640, 480, "nan:1", 640, 480},
             Row{640, 480, "1e30:1e-30", 640, 480},
             Row{640, 480, "-16:9", 640, 480},
         }) {
        const StillSize size = stillSize(row.width, row.height, row.aspect);
        EXPECT_EQ(size.width, row.expectedWidth) << row.width << " " << row.aspect;
        EXPECT_EQ(size.height, row.expectedHeight) << row.width << " " << row.aspect;
    }
}

TEST(StillSize, StaysUsableForAbsurdRecords)
{
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    for (const int width : {most, 1, 0, least}) {
        for (const int height : {most, 1, 0, least}) {
            for (const char *aspect : {"", "16:9", "1:20", "20:1"}) {
                const StillSize size = stillSize(width, height, aspect);
                EXPECT_TRUE(size.width >= 2 && size.width <= 1280 && size.width % 2 == 0);
                EXPECT_TRUE(size.height >= 2 && size.height <= 960 && size.height % 2 == 0);
            }
        }
    }
}

TEST(SheetGeometry, FillsTheWidthWithCellsAndEqualGaps)
{
    const SheetGeometry sheet = sheetGeometry(measuresOf(1, 9));
    EXPECT_EQ(sheet.gap, 5);
    EXPECT_EQ(sheet.cell, QSizeF(420, 336));
    ASSERT_EQ(sheet.cells.size(), 9U);
    EXPECT_EQ(sheet.cells[0].topLeft(), QPointF(5, 54 + 2 * 24));
    EXPECT_EQ(sheet.cells[2].right(), sheet.width - 5);
    EXPECT_EQ(sheet.cells[3].topLeft(), QPointF(5, 54 + 2 * 24 + 341));
    EXPECT_EQ(sheet.height, 54 + 2 * 24 + 3 * 341 + 21);
}

TEST(SheetGeometry, LimitsTheCellsOfVeryTallAndVeryWidePicturesOnly)
{
    const struct {
        double width;
        double height;
        double cellShape; // height by width
    } rows[] = {{1280, 720, 0.5625}, {96, 1440, 15}, {4, 960, 4}, {1280, 6, 0.0625}};
    for (const auto &row : rows) {
        SheetMeasures measures = measuresOf(1, 6);
        measures.stillWidth = row.width;
        measures.stillHeight = row.height;
        const SheetGeometry sheet = sheetGeometry(measures);
        EXPECT_NEAR(sheet.cell.height() / sheet.cell.width(), row.cellShape, 1e-9);
        const QRectF &cell = sheet.cells.back();
        const QRectF picture = pictureInCell(sheet, cell);
        EXPECT_NEAR(picture.height() / picture.width(), row.height / row.width, 1e-6);
        EXPECT_EQ(picture.united(cell), cell);
        EXPECT_EQ(picture == cell, row.height / row.width == row.cellShape);
    }
}

TEST(SheetGeometry, KeepsRoomForPicturesWhateverTheNumbersSay)
{
    const double nan = std::nan("");
    for (const double odd : {nan, -5.0, 1e300, std::numeric_limits<double>::infinity()}) {
        SheetMeasures measures = measuresOf(2, 6);
        measures.borderSize = odd;
        EXPECT_GT(sheetGeometry(measures).cell.width(), 2 * sheetGeometry(measures).border);
        measures = measuresOf(2, 6);
        measures.stillWidth = odd;
        EXPECT_TRUE(std::isfinite(sheetGeometry(measures).height));
    }
}

} // namespace qv
