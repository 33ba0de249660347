#include "shell/batch_view.h"

#include "shell/batch_menu.h"
#include "shell/readable.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace qv
{
namespace
{

// So long after the user's last move the table stays as they left it.
constexpr qint64 patienceMilliseconds = 5000;
constexpr int rowsShownByWish = 5;
constexpr int spareCaptionCharacters = 6; // that a caption can do without
constexpr int previewStep = 16;           // each width has pictures of its own in memory

std::function<qint64()> steadyClock()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

} // namespace

BatchView::BatchView(appDelegate &controller, Workspace &workspace, QWidget *parent)
    : QTableView(parent), clock(steadyClock()), m_controller(controller), m_workspace(workspace),
      m_model(controller), m_delegate(m_model)
{
    setModel(&m_model);
    setItemDelegate(&m_delegate);
    setUpLook();
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers); // it opens choices by itself
    setTabKeyNavigation(false);
    setAccessibleName(QStringLiteral("@@btTable"));
    connect(this, &BatchView::clicked, this, &BatchView::clickedInto);
    connect(this, &BatchView::doubleClicked, this, [this](const QModelIndex &index) {
        if (!BatchModel::isChoice(index.column())) {
            openSheet(index.row());
        }
    });
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, [this] { noteUser(); });
}

// ---- look

void BatchView::setUpLook()
{
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setCornerButtonEnabled(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView *header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setSectionResizeMode(BatchModel::Caption, QHeaderView::Stretch);
    takeSelectionColors();
    measure();
}

void BatchView::measure()
{
    verticalHeader()->setDefaultSectionSize(BatchRowDelegate::rowHeight(font()));
    for (int column = 0; column < BatchModel::ColumnCount; ++column) {
        setColumnWidth(column, m_delegate.columnWidth(column, font()));
    }
    fitPreviews();
    verticalScrollBar()->setSingleStep(BatchRowDelegate::rowHeight(font()) / 3);
}

void BatchView::takeSelectionColors()
{
    const QPalette around =
        parentWidget() == nullptr ? QApplication::palette(this) : parentWidget()->palette();
    const QPalette selection = readableSelection(around);
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        if (palette().color(group, QPalette::Highlight) !=
                selection.color(group, QPalette::Highlight) ||
            palette().color(group, QPalette::HighlightedText) !=
                selection.color(group, QPalette::HighlightedText)) {
            setPalette(selection);
            return;
        }
    }
}

void BatchView::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) {
        takeSelectionColors();
    } else if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        measure();
    }
}

QSize BatchView::sizeHint() const
{
    int width = 2 * frameWidth() + verticalScrollBar()->sizeHint().width();
    for (int column = 0; column < BatchModel::ColumnCount; ++column) {
        width += m_delegate.columnWidth(column, font());
    }
    return {width, horizontalHeader()->sizeHint().height() +
                       rowsShownByWish * BatchRowDelegate::rowHeight(font())};
}

QSize BatchView::minimumSizeHint() const
{
    const QSize whole = sizeHint();
    return {whole.width() - m_delegate.columnWidth(BatchModel::Preview, font()) -
                fontMetrics().averageCharWidth() * spareCaptionCharacters,
            horizontalHeader()->sizeHint().height() + BatchRowDelegate::rowHeight(font())};
}

// Where the window is narrow the previews give way before captions are cut off.
void BatchView::fitPreviews()
{
    int others = 0;
    for (int column = 0; column < BatchModel::ColumnCount; ++column) {
        others += column == BatchModel::Preview ? 0 : m_delegate.columnWidth(column, font());
    }
    const int whole = m_delegate.columnWidth(BatchModel::Preview, font());
    const int free = (viewport()->width() - others) / previewStep * previewStep;
    setColumnHidden(BatchModel::Preview, free < whole / 2);
    setColumnWidth(BatchModel::Preview, std::clamp(free, whole / 2, whole));
}

void BatchView::resizeEvent(QResizeEvent *event)
{
    fitPreviews();
    QTableView::resizeEvent(event);
}

void BatchView::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (m_model.rowCount() > 0) {
        return;
    }
    QPainter painter(viewport());
    painter.setPen(quietColor(palette().color(QPalette::Text), palette().color(QPalette::Base)));
    const int margin = 2 * fontMetrics().height();
    painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                     Qt::AlignCenter | Qt::TextWordWrap, localized(QStringLiteral("btEmpty")));
}

// ---- what the controller changes

void BatchView::rowsChanged()
{
    m_changingRows = true; // the numbers of selected rows mean nothing while they move
    m_model.rowsChanged();
    m_changingRows = false;
    passSelectionOn();
    const int width = m_delegate.columnWidth(BatchModel::Order, font());
    if (columnWidth(BatchModel::Order) != width) {
        setColumnWidth(BatchModel::Order, width);
    }
}

void BatchView::rowChanged(int row)
{
    m_model.rowChanged(row);
    const BatchItem *item = m_model.item(row);
    const bool atWork = m_lastTouched >= 0 && clock() - m_lastTouched < patienceMilliseconds;
    if (item != nullptr && item->resultat == RowMark::PuceCurrent && !atWork) {
        executeDelayedItemsLayout(); // rows that came just now can be scrolled to, too
        scrollTo(m_model.index(row, BatchModel::Caption));
    }
}

// ---- selection

QList<int> BatchView::selectedRows() const
{
    QList<int> rows;
    for (const QItemSelectionRange &range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.append(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void BatchView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTableView::selectionChanged(selected, deselected);
    if (!m_changingRows) {
        passSelectionOn();
    }
}

void BatchView::passSelectionOn()
{
    m_controller.whichArrayController().select(selectedRows());
    Q_EMIT rowsSelected();
}

// ---- what the user does

void BatchView::keyPressEvent(QKeyEvent *event)
{
    noteUser();
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    switch (plain ? event->key() : 0) {
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        Q_EMIT removeAsked();
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        openOrEdit();
        return;
    case Qt::Key_F2:
    case Qt::Key_Space:
        editChoice();
        return;
    default:
        break;
    }
    if (event->matches(QKeySequence::Copy)) {
        copyPaths();
        return;
    }
    QTableView::keyPressEvent(event);
}

void BatchView::mousePressEvent(QMouseEvent *event)
{
    noteUser();
    QTableView::mousePressEvent(event);
}

void BatchView::wheelEvent(QWheelEvent *event)
{
    noteUser();
    QTableView::wheelEvent(event);
}

void BatchView::contextMenuEvent(QContextMenuEvent *event)
{
    noteUser();
    if (m_model.rowCount() == 0) {
        return;
    }
    QPoint place = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard) {
        const QModelIndex caption = currentIndex().siblingAtColumn(BatchModel::Caption);
        scrollTo(caption);
        place = viewport()->mapToGlobal(visualRect(caption).center());
    }
    QMenu *menu = batchMenu(*this).release();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(place);
}

void BatchView::clickedInto(const QModelIndex &index)
{
    if (BatchModel::isChoice(index.column()) && QApplication::keyboardModifiers() == 0) {
        openChoice(index);
    }
}

void BatchView::editChoice()
{
    const QModelIndex current = currentIndex();
    openChoice(BatchModel::isChoice(current.column())
                   ? current
                   : current.siblingAtColumn(BatchModel::Layout));
}

void BatchView::openChoice(const QModelIndex &index)
{
    if (m_model.flags(index).testFlag(Qt::ItemIsEditable)) {
        edit(index);
    }
}

void BatchView::openOrEdit()
{
    if (!openSheet(currentIndex().row())) {
        editChoice();
    }
}

// ---- on rows

bool BatchView::openSheet(int row)
{
    const QString sheet = m_model.sheet(row);
    if (!sheet.isEmpty()) {
        m_workspace.open(sheet);
    }
    return !sheet.isEmpty();
}

void BatchView::openSheetOfSelection()
{
    const QList<int> rows = selectedRows();
    if (rows.size() == 1) {
        openSheet(rows.first());
    }
}

void BatchView::showInFolder()
{
    QStringList paths;
    for (const int row : selectedRows()) {
        const QString sheet = m_model.sheet(row);
        paths << (sheet.isEmpty() ? m_model.item(row)->sourcePath() : sheet);
    }
    if (!paths.isEmpty()) {
        m_workspace.reveal(paths);
    }
}

void BatchView::copyReasons()
{
    QStringList failed;
    for (const int row : selectedRows()) {
        const QString reason = m_model.reason(row);
        if (!reason.isEmpty()) {
            failed << QStringLiteral("%1: %2").arg(shownPath(m_model.item(row)->sourcePath()),
                                                   reason);
        }
    }
    if (!failed.isEmpty()) {
        QApplication::clipboard()->setText(failed.join(QLatin1Char('\n')));
    }
}

void BatchView::copyPaths()
{
    QStringList paths;
    for (const int row : selectedRows()) {
        paths << shownPath(m_model.item(row)->sourcePath());
    }
    if (!paths.isEmpty()) {
        QApplication::clipboard()->setText(paths.join(QLatin1Char('\n')));
    }
}

void BatchView::setChoice(int column, int value)
{
    m_model.setChoice(selectedRows(), column, value);
}

} // namespace qv
