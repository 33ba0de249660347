#include "shell/localize_widgets.h"

#include "common/test_bundle.h"
#include "support/localized_strings.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace qv;

TEST(LocalizeTest, LeavesTextsWithoutTheMarkAndShowsTheKeyOfAMissingWord)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    const struct {
        const char *text;
        int replaced;
        const char *shown;
    } rows[] = {{"@@D_oui", 1, "Yes"}, {"D_oui", 0, "D_oui"}, {"@@noSuchWord", 1, "noSuchWord"}};
    for (const auto &row : rows) {
        QLabel label(row.text);
        EXPECT_EQ(localizeView(&label), row.replaced) << row.text;
        EXPECT_EQ(label.text(), row.shown);
    }
}

TEST(LocalizeTest, GivesButtonsTheWidthOfTheirTitle)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    QWidget holder;
    auto *laidOut = new QPushButton("@@D_oui");
    (new QHBoxLayout(&holder))->addWidget(laidOut);
    localizeView(&holder);
    EXPECT_EQ(laidOut->minimumWidth(), smallestButtonWidth) << "a short title";

    const QString title = localized("D_batch_4");
    const int wide = std::max(96, laidOut->fontMetrics().horizontalAdvance(title) + 38);
    const struct {
        const char *what;
        ButtonAnchor anchor;
        int tag;
        int left, width; // afterwards, of a button from 200 to 260
        int neighbourBefore, neighbourX;
    } cases[] = {
        {"anchored left", ButtonAnchor::Left, 0, 200, wide, 270, 270 + wide - 60},
        {"anchored right", ButtonAnchor::Right, 0, 260 - wide, wide, 100, 100 - (wide - 60)},
        {"keeps its frame", ButtonAnchor::Left, keepsFrameTag, 200, 60, 270, 270},
        {"no anchor", ButtonAnchor::None, 0, 200, 60, 270, 270},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        QWidget parent;
        QPushButton button("@@D_batch_4", &parent);
        button.setGeometry(200, 10, 60, 30);
        button.setProperty("anchor", static_cast<int>(c.anchor));
        button.setProperty("tag", c.tag);
        QWidget neighbour(&parent);
        neighbour.setGeometry(c.neighbourBefore, 12, 40, 20);
        QWidget below(&parent);
        below.setGeometry(c.neighbourBefore, 90, 40, 20);
        localizeView(&parent);
        EXPECT_EQ(button.text(), title);
        EXPECT_EQ(button.geometry(), QRect(c.left, 10, c.width, 30));
        EXPECT_EQ(neighbour.x(), c.neighbourX);
        EXPECT_EQ(below.x(), c.neighbourBefore) << "another row";
    }
}
