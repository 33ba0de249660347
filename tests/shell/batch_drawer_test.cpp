#include "shell/batch_drawer.h"

#include "shell/batch_fixture.h"
#include "shell/batch_menu.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>

using namespace qv;

namespace
{

class BatchDrawerTest : public BatchTest
{
protected:
    BatchDrawerTest()
    {
        m_drawer = std::make_unique<BatchDrawer>(*m_controller, m_workspace);
        m_drawer->view()->clock = [this] { return m_now; };
        m_face.onRows = [this] { m_drawer->rowsChanged(); };
        m_face.onRow = [this](int row) { m_drawer->rowChanged(row); };
        m_drawer->resize(800, 600);
        m_drawer->show();
        QApplication::setActiveWindow(m_drawer.get());
    }

    BatchView &view() { return *m_drawer->view(); }
    void showRows(int count)
    {
        addRows(count);
        m_drawer->rowsChanged();
        view().setFocus();
    }
    void select(const QList<int> &rows)
    {
        view().clearSelection();
        for (const int row : rows) {
            view().selectionModel()->setCurrentIndex(view().batch().index(row, 0),
                                                     QItemSelectionModel::Select |
                                                         QItemSelectionModel::Rows);
        }
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&view(), key, modifiers);
    }
    QComboBox *editor() { return view().viewport()->findChild<QComboBox *>(); }
    // Takes what the open menu of a choice has so many lines further down.
    bool choose(int linesDown)
    {
        if (!waitUntil([] { return QApplication::activePopupWidget() != nullptr; })) {
            return false;
        }
        QWidget *list = QApplication::activePopupWidget()->focusWidget();
        for (int i = 0; i < linesDown; ++i) {
            QTest::keyClick(list, Qt::Key_Down);
        }
        QTest::keyClick(list, Qt::Key_Return);
        return waitUntil([this] { return editor() == nullptr; });
    }
    static QString clipboard() { return QApplication::clipboard()->text(); }
    static QAction *item(QMenu &menu, const QString &text)
    {
        for (QAction *action : menu.actions()) {
            if (action->text() == text) {
                return action;
            }
        }
        return nullptr;
    }
    bool isShown(int row)
    {
        const QRect place = view().visualRect(view().batch().index(row, BatchModel::Caption));
        return view().viewport()->rect().contains(place);
    }

    qint64 m_now = 0;
    std::unique_ptr<BatchDrawer> m_drawer;
};

} // namespace

TEST_F(BatchDrawerTest, ItsSelectionIsTheTables)
{
    showRows(6);
    EXPECT_FALSE(m_drawer->removeButton()->isEnabled());
    select({4, 1});
    EXPECT_EQ(table().selection(), (QList<int>{1, 4}));
    EXPECT_TRUE(m_drawer->removeButton()->isEnabled());
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(table().selection().size(), 6);

    // A row that vanishes by itself takes nothing else with it.
    select({4});
    table().remove({0});
    m_drawer->rowsChanged();
    EXPECT_EQ(table().selection(), QList<int>{3});
}

TEST_F(BatchDrawerTest, KeysButtonsAndMenuRemoveTheSelectedRows)
{
    const std::function<void()> ways[] = {
        [&] { press(Qt::Key_Delete); },
        [&] { press(Qt::Key_Backspace); },
        [&] { QTest::mouseClick(m_drawer->removeButton(), Qt::LeftButton); },
        [&] { item(*batchMenu(view()), "Remove")->trigger(); },
    };
    for (const auto &way : ways) {
        table().clear();
        showRows(5);
        select({1, 2});
        way();
        EXPECT_EQ(view().batch().rowCount(), 3);
        EXPECT_EQ(rows().mid(1), rows().mid(rows().size() - 2));
        EXPECT_EQ(row(1).order, 2);
    }
    m_presenter.answers = {{1, false}, {0, false}};
    QTest::mouseClick(m_drawer->removeAllButton(), Qt::LeftButton);
    EXPECT_EQ(table().count(), 3) << "all are asked about";
    item(*batchMenu(view()), localized("btRemoveAll"))->trigger();
    EXPECT_EQ(view().batch().rowCount(), 0);
    EXPECT_FALSE(m_drawer->removeAllButton()->isEnabled());
    m_controller->undoRemoveAll();
    EXPECT_EQ(view().batch().rowCount(), 3);
    EXPECT_EQ(row(2).order, 3);
    EXPECT_FALSE(m_controller->canUndoRemoveAll());
    table().clear();

    showRows(3);
    setInProgress(0);
    select({0});
    press(Qt::Key_Delete);
    EXPECT_EQ(table().count(), 3);
    EXPECT_EQ(m_presenter.countOf(localized("D_batch_1")), 1);
}

TEST_F(BatchDrawerTest, ReturnOpensTheSheetOfAFinishedRowAndElseEdits)
{
    showRows(2);
    const QString sheet = setMade(0);
    select({0});
    press(Qt::Key_Return);
    EXPECT_EQ(m_workspace.opened, QStringList{sheet});
    EXPECT_EQ(editor(), nullptr);
    select({1});
    press(Qt::Key_Return);
    ASSERT_NE(editor(), nullptr);
    EXPECT_TRUE(choose(2));
    EXPECT_EQ(row(1).out, 3);
}

TEST_F(BatchDrawerTest, ChoicesOpenWithKeysAndOneClick)
{
    showRows(2);
    const QModelIndex layout = view().batch().index(1, BatchModel::Layout);
    const QModelIndex picture = view().batch().index(1, BatchModel::Picture);
    const auto click = [&](const QModelIndex &index) {
        QTest::mouseClick(view().viewport(), Qt::LeftButton, Qt::NoModifier,
                          view().visualRect(index).center());
    };
    click(picture);
    EXPECT_TRUE(choose(1));
    EXPECT_EQ(row(1).dpi, 1);
    row(1).out = 0;
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_F2}) {
        view().setCurrentIndex(layout);
        press(key);
        EXPECT_TRUE(choose(1));
    }
    EXPECT_EQ(row(1).out, 2);

    click(layout);
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    QTest::keyClick(QApplication::activePopupWidget()->focusWidget(), Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return editor() == nullptr; }));
    EXPECT_EQ(row(1).out, 2);

    setInProgress(1);
    click(layout);
    EXPECT_EQ(editor(), nullptr);
}

TEST_F(BatchDrawerTest, TheMenuOffersWhatTheRowsAllow)
{
    showRows(3);
    const QString sheet = setMade(0);
    setFailed(1, "no picture");
    const struct {
        QList<int> rows;
        bool sheet;
        bool reason;
    } cases[] = {
        {{0}, true, false}, {{1}, false, true}, {{2}, false, false}, {{0, 1}, false, true}};
    for (const auto &c : cases) {
        select(c.rows);
        const auto menu = batchMenu(view());
        EXPECT_EQ(item(*menu, "Open Sheet")->isEnabled(), c.sheet);
        EXPECT_EQ(item(*menu, "Copy Reason") != nullptr, c.reason);
    }
    item(*batchMenu(view()), "Copy Reason")->trigger();
    EXPECT_EQ(clipboard(), path("film1.mp4") + ": no picture");
    item(*batchMenu(view()), "Show in Folder")->trigger();
    EXPECT_EQ(m_workspace.revealed, (QStringList{sheet, path("film1.mp4")}));
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), path("film0.mp4") + "\n" + path("film1.mp4"));

    const auto menu = batchMenu(view());
    QMenu *layouts = item(*menu, "Layout")->menu();
    EXPECT_TRUE(layouts->actions().at(1)->isChecked());
    layouts->actions().at(3)->trigger();
    EXPECT_EQ(row(0).out, 3);
    EXPECT_EQ(row(1).out, 3);
    EXPECT_EQ(row(2).out, 1);

    select({0});
    const auto opened = batchMenu(view());
    select({1});
    item(*opened, "Open Sheet")->trigger();
    EXPECT_EQ(m_workspace.opened, QStringList()) << "the row is no longer selected";
    setInProgress(2);
    select({2});
    EXPECT_FALSE(item(*batchMenu(view()), "Layout")->isEnabled());
}

TEST_F(BatchDrawerTest, TheMenuKeyOpensTheMenuAtTheCurrentRow)
{
    showRows(50);
    select({40});
    view().scrollToTop();
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
    QApplication::sendEvent(view().viewport(), &event);
    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    EXPECT_TRUE(isShown(40));
    EXPECT_TRUE(QRect(view().viewport()->mapToGlobal(QPoint()), view().viewport()->size())
                    .contains(menu->pos()));
    menu->close();
}

TEST_F(BatchDrawerTest, TheRowInProgressStaysInViewUnlessTheUserIsAtWork)
{
    showRows(60);
    const auto begin = [&](int index) {
        setInProgress(index);
        m_drawer->rowChanged(index);
        return isShown(index);
    };
    EXPECT_TRUE(begin(20));
    m_now = 60000;
    press(Qt::Key_Up);
    m_now += 2000;
    EXPECT_FALSE(begin(40));
    m_now += 10000;
    EXPECT_TRUE(begin(41));
    view().verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMinimum);
    EXPECT_FALSE(begin(42));
}

TEST_F(BatchDrawerTest, SourcesThatMadeNoRowAreListedWithTheirReasons)
{
    RefusedList &refused = *m_drawer->refused();
    EXPECT_TRUE(refused.isHidden());
    m_drawer->addRefused("/films/a.mp4", "it is empty");
    EXPECT_EQ(refused.title()->text(), "1 file was left out");
    m_drawer->addRefused("/films/b\n<b>.mp4", "it is text");
    m_drawer->addRefused("/films/a.mp4", "it is gone");
    EXPECT_EQ(refused.title()->text(), "2 files were left out");
    EXPECT_FALSE(refused.isHidden());
    const QAbstractItemModel *model = refused.table()->model();
    EXPECT_EQ(model->index(0, 1).data(), "it is gone");
    EXPECT_EQ(model->index(1, 0).data(), R"(b\n<b>.mp4)");

    refused.table()->selectRow(0);
    refused.table()->setFocus();
    QTest::keyClick(refused.table(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), "/films/a.mp4: it is gone");
    item(*refused.menu(), "Show in Folder")->trigger();
    EXPECT_EQ(m_workspace.revealed, QStringList{"/films/a.mp4"});

    QTest::mouseClick(refused.title(), Qt::LeftButton);
    EXPECT_TRUE(refused.table()->isHidden());
    QTest::keyClick(refused.title(), Qt::Key_Space);
    EXPECT_FALSE(refused.table()->isHidden());
    QTest::mouseClick(refused.findChild<QPushButton *>("refusedClear"), Qt::LeftButton);
    EXPECT_EQ(refused.count(), 0);
    EXPECT_TRUE(refused.isHidden());

    for (const QString &source : {path("film1.mp4"), QString("/films/a.mp4"), path("film0.mp4")}) {
        m_drawer->addRefused(source, "the disk was not there");
    }
    showRows(2);
    EXPECT_EQ(refused.title()->text(), "1 file was left out") << "the others came in after all";
    m_drawer->addRefused("/films/a.mp4", "it is gone");
    EXPECT_EQ(model->index(0, 1).data(), "it is gone");
    EXPECT_EQ(refused.count(), 1);
}
