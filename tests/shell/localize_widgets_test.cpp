#include "shell/localize_widgets.h"

#include "common/test_bundle.h"
#include "shell/segmented_control.h"
#include "support/localized_strings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTreeView>

#include <gtest/gtest.h>

using namespace qv;

class LocalizeTest : public testing::Test
{
protected:
    LocalizeTest() : m_bundle(TestBundle::Ffmpeg::None)
    {
        setLocalizationBundle(Bundle::main());
        setLocalizationTable("Localized");
        setLanguage("en");
    }

    TestBundle m_bundle;
};

TEST_F(LocalizeTest, ReplacesTheMarkedTextsOfEachKindAndCountsThem)
{
    QWidget window;
    window.setWindowTitle("@@D_oui");
    QGroupBox box("@@D_oui", &window);
    QComboBox menu(&box);
    menu.addItems({"@@D_oui", "8", "@@D_keep"});
    QCheckBox check("@@D_keep", &window);
    QLabel label("@@D_replace", &window);
    QLineEdit field(&window);
    field.setText("@@D_oui");
    field.setPlaceholderText("@@D_keep");
    QTreeView table(&window);
    QStandardItemModel model(0, 2);
    model.setHorizontalHeaderLabels({"@@D_keep", "size"});
    table.setModel(&model);
    QTabWidget tabs(&window);
    auto *page = new QLabel("@@D_keep");
    tabs.addTab(page, "@@D_oui");
    SegmentedControl segments(SegmentedControl::Mode::Momentary, &window);
    segments.addSegment("@@D_keep", {}, "@@D_replace");

    EXPECT_EQ(localizeWindow(&window), 12);

    EXPECT_EQ(window.windowTitle(), "Yes");
    EXPECT_EQ(box.title(), "Yes");
    EXPECT_EQ(menu.itemText(0) + menu.itemText(1) + menu.itemText(2), "Yes8Keep");
    EXPECT_EQ(check.text(), "Keep");
    EXPECT_EQ(label.text(), "Replace");
    EXPECT_EQ(field.text(), "@@D_oui") << "what the user can edit is no interface text";
    EXPECT_EQ(field.placeholderText(), "Keep");
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), "Keep");
    EXPECT_EQ(tabs.tabText(0), "Yes");
    EXPECT_EQ(page->text(), "Keep");
    EXPECT_EQ(segments.text(0) + segments.name(0), "KeepReplace");
    EXPECT_EQ(localizeWindow(&window), 0);
}

TEST_F(LocalizeTest, LeavesTextsWithoutTheMarkAndShowsTheKeyOfAMissingWord)
{
    QLabel key("D_oui");
    QLabel missing("@@noSuchWord");
    EXPECT_EQ(localizeView(&key), 0);
    EXPECT_EQ(key.text(), "D_oui");
    EXPECT_EQ(localizeView(&missing), 1);
    EXPECT_EQ(missing.text(), "noSuchWord");
}

TEST_F(LocalizeTest, WalksMenusAndTheirSubMenus)
{
    QMenuBar bar;
    QMenu *file = bar.addMenu("@@D_oui");
    file->addAction("@@D_keep");
    file->addAction("as it is");
    QMenu *sub = file->addMenu("@@D_replace");
    QAction *deep = sub->addAction("@@D_Annuler");

    EXPECT_EQ(localizeMenu(&bar), 4);
    EXPECT_EQ(file->title(), "Yes");
    EXPECT_EQ(sub->title(), "Replace");
    EXPECT_EQ(deep->text(), "Cancel");
    EXPECT_EQ(localizeMenu(file), 0);
}

TEST_F(LocalizeTest, GivesButtonsTheWidthOfTheirTitle)
{
    QPushButton laidOut("@@D_oui");
    QWidget holder;
    auto *row = new QHBoxLayout(&holder);
    row->addWidget(&laidOut);
    localizeView(&holder);
    EXPECT_EQ(laidOut.minimumWidth(), smallestButtonWidth) << "a short title";
    row->removeWidget(&laidOut);
    laidOut.setParent(nullptr);

    struct Case {
        const char *what;
        ButtonAnchor anchor;
        int tag;
        int left, width; // afterwards, of a button from 200 to 260
        int neighbourX;  // afterwards
        int neighbourBefore;
    };
    const QString longTitle = "@@D_batch_4";
    const int wide =
        std::max(96, QPushButton().fontMetrics().horizontalAdvance(localized("D_batch_4")) + 38);
    const Case cases[] = {
        {"anchored left", ButtonAnchor::Left, 0, 200, wide, 270 + wide - 60, 270},
        {"anchored right", ButtonAnchor::Right, 0, 260 - wide, wide, 100 - (wide - 60), 100},
        {"keeps its frame", ButtonAnchor::Left, keepsFrameTag, 200, 60, 270, 270},
        {"no anchor", ButtonAnchor::None, 0, 200, 60, 270, 270},
    };
    for (const Case &c : cases) {
        QWidget parent;
        QPushButton button(longTitle, &parent);
        button.setGeometry(200, 10, 60, 30);
        button.setProperty("anchor", static_cast<int>(c.anchor));
        button.setProperty("tag", c.tag);
        QWidget neighbour(&parent);
        neighbour.setGeometry(c.neighbourBefore, 12, 40, 20);
        QWidget below(&parent);
        below.setGeometry(c.neighbourBefore, 90, 40, 20);
        localizeView(&parent);
        EXPECT_EQ(button.text(), localized("D_batch_4")) << c.what;
        EXPECT_EQ(button.geometry(), QRect(c.left, 10, c.width, 30)) << c.what;
        EXPECT_EQ(neighbour.x(), c.neighbourX) << c.what;
        EXPECT_EQ(below.x(), c.neighbourBefore) << c.what << ": another row";
    }
}
