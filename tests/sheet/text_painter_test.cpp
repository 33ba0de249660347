#include "sheet/pictures.h"
#include "sheet/text_painter.h"

#include <gtest/gtest.h>

namespace qv
{

namespace
{

constexpr QRect box(40, 40, 320, 48);

QImage painted(const QString &text, const QColor &color, const QColor &background,
               char alignment = 'l')
{
    QImage canvas(400, 128, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(background);
    QPainter painter(&canvas);
    drawText(painter, box, text, textAttributes(24, color, QLatin1Char(alignment)));
    return canvas;
}

// The smallest rectangle around black text on white.
QRect blackInk(const QString &text, char alignment = 'l')
{
    const QImage canvas = painted(text, Qt::black, Qt::white, alignment);
    QRect ink;
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            if (!test::isNear(canvas.pixelColor(x, y), Qt::white, 40)) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

} // namespace

TEST(DrawText, AlignsWithinItsRectangle)
{
    const QString text = "HHH";
    EXPECT_NEAR(blackInk(text, 'l').left(), box.left(), 4);
    EXPECT_NEAR(blackInk(text, 'r').right(), box.right(), 4);
    EXPECT_NEAR(blackInk(text, 'c').center().x(), box.center().x(), 2);
    EXPECT_NEAR(blackInk(text).center().y(), box.center().y(), 3);
}

TEST(DrawText, PutsTextInAnyScriptOnOneLineAtTheLeft)
{
    for (const char *text : {"gypqÄ", "مرحبا بالعالم", "日本語", "Ελληνικά", "a\nb\tc\u2028d"}) {
        const QRect ink = blackInk(QString::fromUtf8(text));
        ASSERT_FALSE(ink.isEmpty()) << text;
        EXPECT_NEAR(ink.left(), box.left(), 5) << text;
        EXPECT_TRUE(box.adjusted(-2, -2, 2, 2).contains(ink)) << text;
    }
}

TEST(DrawText, CutsTheTailOfWhatIsTooLong)
{
    const QString latin = QStringLiteral("word ").repeated(400);
    const QString arabic = QStringLiteral("مرحبا ").repeated(400);
    const QString unbroken = QString(100000, QChar(u'W'));
    for (const QString &text : {latin, arabic, unbroken}) {
        const QRect ink = blackInk(text);
        EXPECT_TRUE(box.adjusted(-2, -2, 2, 2).contains(ink));
        EXPECT_GT(ink.width(), box.width() - 80);
    }
}

TEST(DrawText, ShadesBrightTextSoThatItReadsOnWhite)
{
    for (const QColor background : {Qt::white, Qt::black}) {
        const QImage canvas = painted("0:01:15", Qt::white, background);
        EXPECT_GT(test::pixelsUnlike(canvas, canvas.rect(), background), 200);
    }
}

} // namespace qv
