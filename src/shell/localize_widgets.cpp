#include "shell/localize_widgets.h"

#include "shell/segmented_control.h"
#include "support/localized_strings.h"

#include <QAbstractButton>
#include <QAbstractItemModel>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QTabWidget>
#include <QTableView>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>

namespace qv
{
namespace
{

// Calls `set` with the word when the text waits for one; 1 when it did.
template <typename Set> int replaceText(const QString &text, Set set)
{
    const LocalizedText word = localizeText(text);
    if (!word.replaced) {
        return 0;
    }
    set(word.text);
    return 1;
}

// ---- buttons

int wantedWidth(const QAbstractButton &button, const QString &title)
{
    return std::max(smallestButtonWidth,
                    button.fontMetrics().horizontalAdvance(title) + buttonTitleMargin);
}

bool isOnRow(const QRect &frame, const QWidget &neighbour)
{
    return neighbour.geometry().top() < frame.bottom() &&
           neighbour.geometry().bottom() > frame.top();
}

// Widgets beside the button, on the side towards which it grows, make room.
void shiftNeighbours(const QAbstractButton &button, const QRect &before, int change, bool toLeft)
{
    const QWidget *parent = button.parentWidget();
    if (parent == nullptr) {
        return;
    }
    for (QObject *child : parent->children()) {
        auto *neighbour = qobject_cast<QWidget *>(child);
        if (neighbour == nullptr || neighbour == &button || !isOnRow(before, *neighbour)) {
            continue;
        }
        const bool stands = toLeft ? neighbour->geometry().right() < before.left()
                                   : neighbour->geometry().left() > before.right();
        if (stands) {
            neighbour->move(neighbour->x() + (toLeft ? -change : change), neighbour->y());
        }
    }
}

bool isLaidOut(const QAbstractButton &button)
{
    const QWidget *parent = button.parentWidget();
    return parent != nullptr && parent->layout() != nullptr;
}

void adjustWidth(QAbstractButton &button, int width)
{
    if (button.property("tag").toInt() == keepsFrameTag) {
        return;
    }
    // A layout moves the neighbours by itself.
    if (isLaidOut(button)) {
        button.setMinimumWidth(width);
        return;
    }
    const auto anchor = static_cast<ButtonAnchor>(button.property("anchor").toInt());
    if (anchor == ButtonAnchor::None) {
        return;
    }
    const QRect before = button.geometry();
    const int change = width - before.width();
    const bool toLeft = anchor == ButtonAnchor::Right;
    button.setGeometry(before.left() - (toLeft ? change : 0), before.top(), width, before.height());
    shiftNeighbours(button, before, change, toLeft);
}

bool isPushButton(const QAbstractButton &button)
{
    return !button.isCheckable() && qobject_cast<const QToolButton *>(&button) == nullptr;
}

int localizeButton(QAbstractButton &button)
{
    return replaceText(button.text(), [&](const QString &title) {
        if (isPushButton(button)) {
            adjustWidth(button, wantedWidth(button, title));
        }
        button.setText(title);
    });
}

// ---- other kinds

int localizeItems(QComboBox &menu)
{
    int count = 0;
    for (int i = 0; i < menu.count(); ++i) {
        count += replaceText(menu.itemText(i), [&](const QString &t) { menu.setItemText(i, t); });
    }
    return count;
}

int localizeTabs(QTabWidget &tabs)
{
    int count = 0;
    for (int i = 0; i < tabs.count(); ++i) {
        count += replaceText(tabs.tabText(i), [&](const QString &t) { tabs.setTabText(i, t); });
    }
    return count;
}

int localizeSegments(SegmentedControl &control)
{
    int count = 0;
    for (int i = 0; i < control.count(); ++i) {
        count += replaceText(control.text(i), [&](const QString &t) { control.setText(i, t); });
        count += replaceText(control.name(i), [&](const QString &t) { control.setName(i, t); });
    }
    return count;
}

int localizeHeaders(QAbstractItemView &view, QHeaderView &header)
{
    int count = 0;
    QAbstractItemModel *model = view.model();
    for (int i = 0; model != nullptr && i < model->columnCount(); ++i) {
        count += replaceText(model->headerData(i, Qt::Horizontal).toString(),
                             [&](const QString &t) { model->setHeaderData(i, Qt::Horizontal, t); });
    }
    header.viewport()->update();
    return count;
}

int localizeField(QLineEdit &field)
{
    if (field.isReadOnly()) {
        return replaceText(field.text(), [&](const QString &t) { field.setText(t); });
    }
    return replaceText(field.placeholderText(),
                       [&](const QString &t) { field.setPlaceholderText(t); });
}

int localizeOwnTexts(QWidget &view)
{
    if (auto *box = qobject_cast<QGroupBox *>(&view)) {
        return replaceText(box->title(), [&](const QString &t) { box->setTitle(t); });
    }
    if (auto *menu = qobject_cast<QComboBox *>(&view)) {
        return localizeItems(*menu);
    }
    if (auto *button = qobject_cast<QAbstractButton *>(&view)) {
        return localizeButton(*button);
    }
    if (auto *label = qobject_cast<QLabel *>(&view)) {
        return replaceText(label->text(), [&](const QString &t) { label->setText(t); });
    }
    if (auto *field = qobject_cast<QLineEdit *>(&view)) {
        return localizeField(*field);
    }
    if (auto *tree = qobject_cast<QTreeView *>(&view)) {
        return localizeHeaders(*tree, *tree->header());
    }
    if (auto *table = qobject_cast<QTableView *>(&view)) {
        return localizeHeaders(*table, *table->horizontalHeader());
    }
    if (auto *tabs = qobject_cast<QTabWidget *>(&view)) {
        return localizeTabs(*tabs);
    }
    if (auto *control = qobject_cast<SegmentedControl *>(&view)) {
        return localizeSegments(*control);
    }
    return 0;
}

int localizeNames(QWidget &view)
{
    return replaceText(view.toolTip(), [&](const QString &t) { view.setToolTip(t); }) +
           replaceText(view.accessibleName(),
                       [&](const QString &t) { view.setAccessibleName(t); }) +
           replaceText(view.accessibleDescription(),
                       [&](const QString &t) { view.setAccessibleDescription(t); });
}

int localizeTree(QWidget &view)
{
    int count = localizeOwnTexts(view) + localizeNames(view);
    // Segments are handled with their control; windows of their own are walked by themselves.
    if (qobject_cast<SegmentedControl *>(&view) != nullptr) {
        return count;
    }
    for (QObject *child : view.children()) {
        auto *widget = qobject_cast<QWidget *>(child);
        if (widget != nullptr && !widget->isWindow()) {
            count += localizeTree(*widget);
        }
    }
    return count;
}

int localizeActions(const QList<QAction *> &actions)
{
    int count = 0;
    for (QAction *action : actions) {
        if (action->menu() != nullptr) {
            count += localizeMenu(action->menu());
        }
        count += replaceText(action->text(), [&](const QString &t) { action->setText(t); });
    }
    return count;
}

} // namespace

int localizeMenu(QMenu *menu)
{
    if (menu == nullptr) {
        return 0;
    }
    const int own = replaceText(menu->title(), [&](const QString &t) { menu->setTitle(t); });
    return own + localizeActions(menu->actions());
}

int localizeMenu(QMenuBar *bar)
{
    return bar == nullptr ? 0 : localizeActions(bar->actions());
}

int localizeWindow(QWidget *window)
{
    if (window == nullptr) {
        return 0;
    }
    const int title =
        replaceText(window->windowTitle(), [&](const QString &t) { window->setWindowTitle(t); });
    return title + localizeView(window);
}

int localizeView(QWidget *view)
{
    return view == nullptr ? 0 : localizeTree(*view);
}

} // namespace qv
