#include "shell/main_window.h"

#include "shell/interface_pictures.h"
#include "shell/screen_fit.h"

#include <QCloseEvent>
#include <QLabel>
#include <QMimeData>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdlib>

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
      m_widthAlone(usualSize.width())
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
    resize(sizeHint().expandedTo(usualSize).boundedTo(largestOnScreen(*this)));
}

void MainWindow::setDrawer(QWidget *drawer)
{
    m_drawer = drawer;
    m_splitter->addWidget(drawer);
    connect(m_splitter, &QSplitter::splitterMoved, this, [this](int left) { m_leftWidth = left; });
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
    const int alone = width();
    m_drawer->show();
    if (hasOwnSize()) {
        m_widthAlone = alone;
        resize(alone + (m_drawerWidth > 0 ? m_drawerWidth : usualDrawerWidth), height());
        keepOnScreen();
    }
    shareWidth();
}

void MainWindow::hideDrawer()
{
    const int drawer = m_drawer->width();
    m_drawer->hide();
    if (hasOwnSize()) {
        m_drawerWidth = drawer;
        // The layouts must know at once that the drawer needs no room any more.
        m_splitter->refresh();
        layout()->activate();
        resize(m_leftWidth.value_or(m_widthAlone), height());
    }
}

// What stands beside the drawer is as wide as without it, or as the user dragged it. It gives way
// to what the drawer would like, down to a comfortable width, and to what it needs.
void MainWindow::shareWidth()
{
    const QWidget *beside = m_splitter->widget(0);
    const int comfortable = beside->sizeHint().width();
    const int least = beside->minimumSizeHint().width();
    const int most = std::max(least, width() - m_drawer->minimumSizeHint().width());
    const int wanted = m_leftWidth.value_or(std::clamp(
        width() - m_drawer->sizeHint().width(), comfortable, std::max(comfortable, m_widthAlone)));
    const int left = std::clamp(wanted, least, most);
    m_splitter->setSizes({left, width() - left});
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (isDrawerOpen()) {
        shareWidth();
    }
}

// Neither maximised nor on the full screen.
bool MainWindow::hasOwnSize() const
{
    return !isMaximized() && !isFullScreen();
}

// A window that grew must not reach beyond the screen.
void MainWindow::keepOnScreen()
{
    const QSize fitting = size().boundedTo(largestOnScreen(*this).expandedTo(minimumSizeHint()));
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
    if (isDrawerOpen() && m_drawerWidth > 0) {
        shareWidth();
        const int left = width() - m_drawerWidth;
        if (std::abs(left - m_splitter->sizes().first()) > m_splitter->handleWidth()) {
            m_leftWidth = left; // the user dragged it
            shareWidth();
        }
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
