#include "shell/menus.h"

#include <QMenuBar>

namespace qv
{
namespace
{

constexpr int updateItemIndex = 4;

QMenu *addMenu(QMainWindow &window, const char *key)
{
    return window.menuBar()->addMenu(QLatin1String("@@") + QLatin1String(key));
}

QAction *addItem(QMenu *menu, const char *key, const QKeySequence &shortcut = {})
{
    QAction *action = menu->addAction(QLatin1String("@@") + QLatin1String(key));
    action->setObjectName(QLatin1String(key));
    action->setShortcut(shortcut);
    // The roles by which some desktops move items between menus are not wanted.
    action->setMenuRole(QAction::NoRole);
    return action;
}

QActionGroup *addAppearances(QMenu *view)
{
    QMenu *menu = view->addMenu(QStringLiteral("@@menuAppearance"));
    auto *group = new QActionGroup(menu);
    for (const char *name : {"system", "light", "dark"}) {
        const QByteArray key = QByteArray("menuAppearance_") + name;
        QAction *action = addItem(menu, key.constData());
        action->setCheckable(true);
        action->setData(QString::fromLatin1(name));
        group->addAction(action);
    }
    return group;
}

} // namespace

Menus::Menus(QMainWindow &window) : QObject(&window)
{
    application = addMenu(window, "menuApplication");
    about = addItem(application, "menuAbout");
    application->addSeparator();
    preferences = addItem(application, "menuPref", QKeySequence(Qt::CTRL | Qt::Key_Comma));
    application->addSeparator();
    quit = addItem(application, "menuQuit", QKeySequence(Qt::CTRL | Qt::Key_Q));

    file = addMenu(window, "menuFile");
    open = addItem(file, "menuOpen", QKeySequence::Open);
    openFolder = addItem(file, "menuOpenFolder", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    file->addSeparator();
    chooseDestination = addItem(file, "menuDestination", QKeySequence(Qt::CTRL | Qt::Key_D));
    showDestination =
        addItem(file, "menuShowDestination", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D));

    edit = addMenu(window, "menuEdit");
    undoRemoveAll = addItem(edit, "menuUndoRemoveAll", QKeySequence::Undo);
    edit->addSeparator();
    paste = addItem(edit, "menuPaste", QKeySequence::Paste);
    selectAll = addItem(edit, "menuSelectAll", QKeySequence::SelectAll);
    edit->addSeparator();
    remove = addItem(edit, "menuRemove", QKeySequence(Qt::CTRL | Qt::Key_Backspace));
    removeAll =
        addItem(edit, "menuRemoveAll", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace));

    batch = addMenu(window, "menuBatch");
    go = addItem(batch, "menuGo", QKeySequence(Qt::CTRL | Qt::Key_Return));
    pause = addItem(batch, "menuPause", QKeySequence(Qt::CTRL | Qt::Key_P));
    stop = addItem(batch, "menuStop", QKeySequence(Qt::CTRL | Qt::Key_Period));
    batch->addSeparator();
    stopAnalysis = addItem(batch, "menuStopAnalysis", QKeySequence(Qt::Key_Escape));

    view = addMenu(window, "menuView");
    drawer = addItem(view, "menuDrawer", QKeySequence(Qt::CTRL | Qt::Key_L));
    drawer->setCheckable(true);
    appearances = addAppearances(view);

    debug = addMenu(window, "menuDebug");
    debugToggle = addItem(debug, "menuDebug1");
    debugToggle->setCheckable(true);
    showLogs = addItem(debug, "menuShowLogs");

    help = addMenu(window, "menuHelp");
    helpPage = addItem(help, "menuHelpPage", QKeySequence(Qt::Key_F1));
    bugReport = addItem(help, "menuBugReport");
}

QAction *Menus::insertUpdateItem()
{
    auto *item = new QAction(QStringLiteral("@@menuUpdate"), application);
    item->setObjectName(QStringLiteral("menuUpdate"));
    item->setMenuRole(QAction::NoRole);
    QAction *behind = application->actions().value(updateItemIndex);
    application->insertAction(behind, item);
    application->insertSeparator(behind);
    return item;
}

} // namespace qv
