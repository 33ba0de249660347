#include "sheet/pictures.h"
#include "sheet/text_painter.h"

#include <QFontMetricsF>

#include <gtest/gtest.h>

namespace qv
{

namespace
{

using test::inkOf;
using test::pixelsUnlike;

constexpr QRect box(40, 40, 320, 48);

QImage painted(const QString &text, const QColor &color, QChar alignment, double size = 24,
               const QColor &background = Qt::gray)
{
    QImage canvas(400, 128, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(background);
    QPainter painter(&canvas);
    drawText(painter, box, text, textAttributes(size, color, alignment));
    return canvas;
}

QRect blackInk(const QString &text, char alignment = 'l')
{
    const QImage canvas = painted(text, Qt::black, QLatin1Char(alignment), 24, Qt::white);
    return inkOf(canvas, canvas.rect(), Qt::white);
}

} // namespace

TEST(TextAttributes, FallBackForMissingColorSizeAndAlignment)
{
    const TextAttributes attributes = textAttributes(-1, QColor(), QChar(u'?'));
    EXPECT_EQ(attributes.font.pixelSize(), 11);
    EXPECT_EQ(attributes.color, QColor(Qt::white));
    EXPECT_EQ(attributes.alignment, Qt::AlignLeft);
}

TEST(TextAttributes, GiveAShadowToBrightTextOnly)
{
    EXPECT_TRUE(textAttributes(14, Qt::white, QChar(u'l')).shadow);
    EXPECT_TRUE(textAttributes(14, QColor::fromRgbF(0.8F, 0.8F, 0.8F), QChar(u'l')).shadow);
    EXPECT_FALSE(textAttributes(14, QColor::fromRgbF(0.79F, 0.79F, 0.79F), QChar(u'l')).shadow);
    EXPECT_FALSE(textAttributes(14, QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.7F), QChar(u'l')).shadow);
}

TEST(DrawText, AlignsWithinItsRectangle)
{
    const QString text = QStringLiteral("HHH");
    EXPECT_NEAR(blackInk(text, 'l').left(), box.left(), 4);
    EXPECT_NEAR(blackInk(text, 'r').right(), box.right(), 4);
    EXPECT_NEAR(blackInk(text, 'c').center().x(), box.center().x(), 2);
    EXPECT_NEAR(blackInk(text, 'j').left(), box.left(), 4);
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

TEST(DrawText, DrawsNothingForEmptyTextOrRoom)
{
    EXPECT_TRUE(blackInk(QString()).isEmpty());
    QImage canvas(10, 10, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    drawText(painter, QRectF(2, 2, 0, 8), QStringLiteral("x"),
             textAttributes(8, Qt::black, QChar(u'l')));
    EXPECT_EQ(pixelsUnlike(canvas, canvas.rect(), Qt::white), 0);
}

TEST(DrawText, ShadesBrightTextSoThatItReadsOnWhite)
{
    const QImage bright = painted(QStringLiteral("0:01:15"), Qt::white, QChar(u'l'), 24, Qt::white);
    EXPECT_GT(pixelsUnlike(bright, bright.rect(), Qt::white), 200);
    const QImage dark = painted(QStringLiteral("0:01:15"), Qt::white, QChar(u'l'), 24, Qt::black);
    EXPECT_GT(pixelsUnlike(dark, dark.rect(), Qt::black), 200);
}

TEST(DrawText, CastsTheShadowBelow)
{
    const QImage canvas = painted(QStringLiteral("HHHHH"), Qt::white, QChar(u'l'), 24, Qt::gray);
    const auto darkRows = [&](int y) {
        int darkness = 0;
        for (int x = box.left(); x < box.left() + 80; ++x) {
            darkness += std::max(0, QColor(Qt::gray).red() - canvas.pixelColor(x, y).red());
        }
        return darkness;
    };
    QImage letters = painted(QStringLiteral("HHHHH"), Qt::black, QChar(u'l'), 24, Qt::white);
    const QRect ink = inkOf(letters, letters.rect(), Qt::white);
    EXPECT_GT(darkRows(ink.bottom() + 3), darkRows(ink.top() - 3));
}

TEST(DrawText, LooksTheSameAtEveryScale)
{
    const QString text = QStringLiteral("Width 1920 pixels * Height 1080 px");
    const auto inkAt = [&](double scale) {
        QImage canvas(QSize(400, 128) * scale, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::white);
        QPainter painter(&canvas);
        painter.scale(scale, scale);
        drawText(painter, box, text, textAttributes(14, Qt::black, QChar(u'l')));
        painter.end();
        return inkOf(canvas, canvas.rect(), Qt::white);
    };
    EXPECT_NEAR(inkAt(3).width() / 3.0, inkAt(0.75).width() / 0.75, 4);
    EXPECT_NEAR(inkAt(3).top() / 3.0, inkAt(0.75).top() / 0.75, 2);
}

} // namespace qv
