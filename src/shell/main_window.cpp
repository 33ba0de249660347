#include "shell/main_window.h"

#include "shell/interface_pictures.h"

#include <QCloseEvent>
#include <QLabel>
#include <QMimeData>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace qv
{
namespace
{

constexpr QSize usualSize(560, 640);
constexpr int usualDrawerWidth = 560;
constexpr int noticeMilliseconds = 12'000;

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent), m_dropView(new dragNDropView), m_controls(new BatchControls),
      m_splitter(new QSplitter(Qt::Horizontal, this)), m_version(new QLabel(this)),
      m_leftWidth(usualSize.width())
{
    setWindowTitle(QStringLiteral("@@mainWindow"));
    setWindowIcon(interfacePicture(QStringLiteral("quorvantel")));
    setAcceptDrops(true);
    auto *left = new QWidget;
    auto *column = new QVBoxLayout(left);
    column->setContentsMargins(20, 16, 20, 12);
    column->setSpacing(18);
    column->addWidget(m_dropView, 1);
    column->addWidget(m_controls);
    m_splitter->addWidget(left);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->setHandleWidth(1);
    setCentralWidget(m_splitter);
    m_version->setObjectName(QStringLiteral("versionField"));
    m_version->setForegroundRole(QPalette::PlaceholderText);
    m_version->setContentsMargins(0, 0, 8, 0);
    statusBar()->addPermanentWidget(m_version);
    statusBar()->setSizeGripEnabled(false);
    resize(sizeHint().expandedTo(usualSize).boundedTo(largestSize()));
}

void MainWindow::setDrawer(QWidget *drawer)
{
    m_drawer = drawer;
    m_splitter->addWidget(drawer);
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 1);
    drawer->hide();
}

bool MainWindow::isDrawerOpen() const
{
    return m_drawer != nullptr && !m_drawer->isHidden();
}

void MainWindow::setDrawerOpen(bool open)
{
    if (m_drawer == nullptr || open == isDrawerOpen()) {
        return;
    }
    if (open) {
        showDrawer();
    } else {
        hideDrawer();
    }
}

void MainWindow::showDrawer()
{
    m_drawer->show();
    int wanted = std::max(0, width() - m_leftWidth);
    if (hasOwnSize()) {
        wanted = m_drawerWidth > 0 ? m_drawerWidth : usualDrawerWidth;
        resize(width() + wanted, height());
        keepOnScreen();
    }
    // Where there is not enough room, what stands beside the drawer gives way.
    const int most = width() - m_splitter->widget(0)->minimumSizeHint().width();
    const int drawer =
        std::clamp(wanted, std::min(m_drawer->minimumSizeHint().width(), most), most);
    m_splitter->setSizes({width() - drawer, drawer});
}

void MainWindow::hideDrawer()
{
    m_leftWidth = m_splitter->widget(0)->width();
    const int drawer = m_drawer->width();
    m_drawer->hide();
    if (hasOwnSize()) {
        m_drawerWidth = drawer;
        // The layouts must know at once that the drawer needs no room any more.
        m_splitter->refresh();
        layout()->activate();
        resize(m_leftWidth, height());
    }
}

// Neither maximised nor on the full screen.
bool MainWindow::hasOwnSize() const
{
    return !isMaximized() && !isFullScreen();
}

// Of the content, so that the window with its frame fits onto the screen.
QSize MainWindow::largestSize() const
{
    const QSize frame = frameGeometry().size() - size();
    const int title = style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, this);
    return screen()->availableGeometry().size() -
           QSize(frame.width(), frame.height() > 0 ? frame.height() : title);
}

// A window that grew must not reach beyond the screen.
void MainWindow::keepOnScreen()
{
    const QSize fitting = size().boundedTo(largestSize().expandedTo(minimumSizeHint()));
    if (fitting != size()) {
        resize(fitting);
    }
    const QRect available = screen()->availableGeometry();
    const int beyond = frameGeometry().right() - available.right();
    if (isVisible() && beyond > 0) {
        move(std::max(available.left(), x() - beyond), y());
    }
}

void MainWindow::show(const WindowState &window)
{
    m_dropView->show(window);
    m_controls->show(window);
}

void MainWindow::setVersion(const QString &version)
{
    m_version->setText(version);
}

void MainWindow::notice(const QString &text)
{
    statusBar()->showMessage(QString(text).replace(QLatin1Char('\n'), QLatin1Char(' ')),
                             noticeMilliseconds);
}

// ---- from one launch to the next

void MainWindow::restore(const WindowMemory &memory)
{
    m_drawerWidth = memory.drawerWidth();
    // What is stored includes the drawer.
    if (memory.isDrawerOpen() && m_drawer != nullptr) {
        m_drawer->show();
    }
    restoreGeometry(memory.geometry());
    if (hasOwnSize()) {
        keepOnScreen();
    }
    if (isDrawerOpen()) {
        const int drawer = m_drawerWidth > 0 ? m_drawerWidth : usualDrawerWidth;
        m_splitter->setSizes({std::max(1, width() - drawer), drawer});
    }
    m_controls->setLayoutIndex(memory.layout());
    m_controls->setQuickPictures(memory.wantsQuickPictures());
}

void MainWindow::remember(WindowMemory &memory) const
{
    memory.setGeometry(saveGeometry());
    memory.setDrawerOpen(isDrawerOpen());
    const int drawer = isDrawerOpen() ? m_drawer->width() : m_drawerWidth;
    if (drawer > 0) {
        memory.setDrawerWidth(drawer);
    }
    memory.setLayout(m_controls->layoutIndex());
}

// ---- events

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->ignore();
    Q_EMIT closeRequested();
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    m_dropView->dragEnterEvent(event);
}

void MainWindow::dragLeaveEvent(QDragLeaveEvent *event)
{
    m_dropView->dragLeaveEvent(event);
}

void MainWindow::dropEvent(QDropEvent *event)
{
    m_dropView->dropEvent(event);
}

} // namespace qv
