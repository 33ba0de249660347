#pragma once

#include "controller/window_state.h"
#include "shell/batch_controls.h"
#include "shell/drop_view.h"
#include "shell/window_memory.h"

#include <QMainWindow>

#include <optional>

class QLabel;
class QSplitter;

// The main window: the drop view with the batch's controls below it, and the drawer with the batch
// table at the side.
namespace qv
{

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);

    dragNDropView &dropView() { return *m_dropView; }
    BatchControls &controls() { return *m_controls; }
    const BatchControls &controls() const { return *m_controls; }

    // The drawer's content; the window owns it.
    void setDrawer(QWidget *drawer);
    bool isDrawerOpen() const;
    // The window grows by the drawer's width where the screen has room, and shrinks again.
    void setDrawerOpen(bool open);

    void show(const WindowState &window);
    using QMainWindow::show;
    void setVersion(const QString &version);
    // A short word at the window's foot, for some seconds.
    void notice(const QString &text);

    void restore(const WindowMemory &memory);
    void remember(WindowMemory &memory) const;

Q_SIGNALS:
    void closeRequested();

protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void showDrawer();
    void hideDrawer();
    void shareWidth();
    bool hasOwnSize() const;
    void keepOnScreen();

    dragNDropView *m_dropView;
    BatchControls *m_controls;
    QSplitter *m_splitter;
    QWidget *m_drawer = nullptr;
    QLabel *m_version;
    // Pixels. 0 and nothing: not known yet.
    int m_drawerWidth = 0;          // of the window at its own size
    std::optional<int> m_leftWidth; // of what stands beside the drawer, as the user dragged it
    int m_widthAlone;               // of the window at its own size without the drawer
};

} // namespace qv
