#include "sheet/picture_file.h"

#include "common/folder_test.h"
#include "sheet/pictures.h"

namespace qv
{

using PictureFile = FolderTest;
using test::isNear;

TEST_F(PictureFile, KeepsFullColorResolutionInBestQualityJpeg)
{
    QImage stripes(64, 64, QImage::Format_RGB32);
    stripes.fill(Qt::blue);
    QPainter(&stripes).fillRect(31, 0, 1, 64, Qt::red);
    ASSERT_TRUE(writePicture(stripes, path("stripes.jpg")));
    const QImage read(path("stripes.jpg"));
    EXPECT_TRUE(isNear(read.pixelColor(31, 30), Qt::red));
    EXPECT_TRUE(isNear(read.pixelColor(32, 30), Qt::blue));
}

TEST_F(PictureFile, LeavesNothingBehindOnAFullDisk)
{
    const QString file = path("full.png");
    ASSERT_TRUE(QFile::link("/dev/full", file));
    const QImage picture = emptyBitmap(300, 300, 72, false);
    EXPECT_EQ(writePicture(picture, file).error(), "No space left on device");
    EXPECT_FALSE(QFileInfo(file).isSymLink());
    EXPECT_FALSE(writePicture(picture, "/dev/full"));
    EXPECT_TRUE(QFileInfo::exists("/dev/full"));
}

} // namespace qv
