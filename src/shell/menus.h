#pragma once

#include <QAction>
#include <QActionGroup>
#include <QMainWindow>
#include <QMenu>

// The menu bar. Texts are "@@key" until they are localised.
namespace qv
{

class Menus : public QObject
{
public:
    explicit Menus(QMainWindow &window);

    // The item that looks for updates goes into the application menu behind the preferences, with a
    // line below it.
    QAction *insertUpdateItem();

    QMenu *application;
    QAction *about;
    QAction *preferences;
    QAction *quit;

    QMenu *file;
    QAction *open;
    QAction *openFolder;
    QAction *chooseDestination;
    QAction *showDestination;

    QMenu *edit;
    QAction *paste;
    QAction *selectAll;
    QAction *remove;
    QAction *removeAll;
    QAction *undoRemoveAll;

    QMenu *batch;
    QAction *go;
    QAction *pause;
    QAction *stop;
    QAction *stopAnalysis;

    QMenu *view;
    QAction *drawer;
    QActionGroup *appearances; // data: "system", "light", "dark"

    QMenu *debug;
    QAction *debugToggle;
    QAction *showLogs;

    QMenu *help;
    QAction *helpPage;
    QAction *bugReport;
};

} // namespace qv
