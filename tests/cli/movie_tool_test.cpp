// A source that ffmpeg refuses and the movie framework decodes, from the drop to the sheet.

#include "cli/command_test.h"

#include <QFile>

namespace
{

// Where pixels of that colour stand, from left to right; 0 when there are few.
int middleOf(const QImage &sheet, QRgb colour)
{
    qint64 sum = 0;
    qint64 count = 0;
    for (int y = 0; y < sheet.height(); ++y) {
        for (int x = 0; x < sheet.width(); ++x) {
            const QRgb seen = sheet.pixel(x, y);
            if (std::abs(qRed(seen) - qRed(colour)) < 30 &&
                std::abs(qGreen(seen) - qGreen(colour)) < 30 &&
                std::abs(qBlue(seen) - qBlue(colour)) < 30) {
                sum += x;
                ++count;
            }
        }
    }
    return count > 2000 ? static_cast<int>(sum / count) : 0;
}

} // namespace

TEST_F(CommandTest, MakesTheSheetByTheMovieFrameworkWhenFfmpegRefusesTheFilm)
{
    QFile::link(builtTool("qtThumbs"), m_bundle.tool("qtThumbs"));
    const QByteArray film =
        clip("analysis-refuse.mov", "-f lavfi -i color=red:s=96x64:r=10:d=1[a];"
                                    "color=lime:s=96x64:r=10:d=1[b];color=blue:s=96x64:r=10:d=1[c];"
                                    "[a][b][c]concat=n=3:v=1:a=0 -c:v prores_ks");
    const Ran ran = sheets({"--no-timecode", film});
    ASSERT_EQ(ran.status, 0) << ran.err.constData();
    const QImage sheet = pictureAt("out/analysis-refuse.jpg");
    ASSERT_FALSE(sheet.isNull());
    const int red = middleOf(sheet, qRgb(255, 0, 0));
    const int lime = middleOf(sheet, qRgb(0, 255, 0));
    const int blue = middleOf(sheet, qRgb(0, 0, 255));
    EXPECT_TRUE(0 < red && red < lime && lime < blue) << red << ' ' << lime << ' ' << blue;
    EXPECT_EQ(scratchFolders(), QStringList());
}
