#include "shell/readable.h"

#include <QTextDocument>

#include <gtest/gtest.h>

using namespace qv;

TEST(ReadableTest, QuietTextIsQuieterAndStillReadableOnEveryBackground)
{
    const struct {
        const char *what;
        QColor text;
        QColor background;
    } rows[] = {
        {"light", Qt::black, Qt::white},
        {"light, every second row", QColor(35, 38, 41), QColor(239, 240, 241)},
        {"dark", QColor(239, 240, 241), QColor(27, 30, 32)},
        {"dark and soft", QColor(190, 190, 190), QColor(50, 50, 50)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const QColor quiet = quietColor(row.text, row.background);
        EXPECT_GE(contrast(quiet, row.background), 4.5);
        EXPECT_LT(contrast(quiet, row.background), contrast(row.text, row.background));
    }
    EXPECT_EQ(quietColor(Qt::gray, Qt::lightGray), QColor(Qt::gray)) << "nothing to spare";
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 0.01);
}

TEST(ReadableTest, SelectionColoursLeaveRoomForQuietText)
{
    const struct {
        QColor highlight;
        QColor text;
    } rows[] = {
        {QColor(48, 140, 198), Qt::white}, // too light for its text
        {QColor(20, 60, 120), Qt::black},  // too dark for it
        {QColor(0, 0, 128), Qt::white},
    };
    for (const auto &row : rows) {
        QPalette palette;
        palette.setColor(QPalette::Highlight, row.highlight);
        palette.setColor(QPalette::HighlightedText, row.text);
        const QPalette selection = readableSelection(palette);
        for (const auto group : {QPalette::Active, QPalette::Inactive}) {
            const QColor highlight = selection.color(group, QPalette::Highlight);
            EXPECT_GE(contrast(quietColor(row.text, highlight), highlight), 4.5);
            EXPECT_EQ(selection.color(group, QPalette::HighlightedText), row.text);
        }
    }
}

TEST(ReadableTest, TextsFromOutsideStayTexts)
{
    EXPECT_EQ(oneLine(QString("a\nb\tc & <b>")), R"(a\nb\x09c & <b>)");
    EXPECT_LE(oneLine(QString(1000000, 'x')).size(), 1000);
    const QString odd("<b>bold</b> & %1\n<img src=x>");
    QTextDocument shown;
    shown.setHtml(plainToolTip(odd));
    EXPECT_EQ(shown.toPlainText(), odd);
}
