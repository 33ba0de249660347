#include "shell/refused_list.h"

#include "shell/readable.h"
#include "shell/shown_counts.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"

#include <QAbstractTableModel>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHash>
#include <QHeaderView>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <numeric>

namespace qv
{

class RefusedModel : public QAbstractTableModel
{
public:
    enum Column { Name, Reason, ColumnCount };
    struct Entry {
        QString source;
        QString reason;
    };

    using QAbstractTableModel::QAbstractTableModel;

    const Entry &entry(int row) const { return m_entries.at(row); }

    void add(const QString &source, const QString &reason)
    {
        const int row = m_rows.value(source, -1);
        if (row >= 0) {
            m_entries[row].reason = reason;
            Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
            return;
        }
        const int last = rowCount();
        beginInsertRows({}, last, last);
        m_entries.append({source, reason});
        m_rows.insert(source, last);
        endInsertRows();
    }

    bool remove(const QString &source)
    {
        const int row = m_rows.value(source, -1);
        if (row < 0) {
            return false;
        }
        beginRemoveRows({}, row, row);
        m_entries.removeAt(row);
        m_rows.remove(source);
        for (int i = row; i < rowCount(); ++i) {
            m_rows[m_entries.at(i).source] = i;
        }
        endRemoveRows();
        return true;
    }

    void clear()
    {
        beginResetModel();
        m_entries.clear();
        m_rows.clear();
        endResetModel();
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
    }
    int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : ColumnCount;
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (index.row() < 0 || index.row() >= rowCount()) {
            return {};
        }
        const Entry &entry = m_entries.at(index.row());
        const QString path = shownPath(entry.source);
        if (role == Qt::DisplayRole) {
            return oneLine(index.column() == Name ? lastPathComponent(path) : entry.reason);
        }
        const QString whole = path + QLatin1Char('\n') + entry.reason;
        return role == Qt::ToolTipRole                 ? QVariant(plainToolTip(whole))
               : role == Qt::AccessibleDescriptionRole ? QVariant(whole)
                                                       : QVariant();
    }

private:
    QList<Entry> m_entries;
    QHash<QString, int> m_rows; // by source
};

namespace
{

constexpr int mostRowsShown = 5;
constexpr int nameCharacters = 28;

// A name tells most by its beginning and its extension.
class EntryDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->textElideMode =
            index.column() == RefusedModel::Name ? Qt::ElideMiddle : Qt::ElideRight;
    }
};

int entryHeight(const QFont &font)
{
    return QFontMetrics(font).height() * 3 / 2;
}

} // namespace

RefusedList::RefusedList(Workspace &workspace, QWidget *parent)
    : QWidget(parent), m_workspace(workspace), m_model(new RefusedModel(this)),
      m_title(new QToolButton(this)), m_table(new QTableView(this))
{
    setUpTitle();
    setUpTable();
    auto *clearButton = new QPushButton(QStringLiteral("@@btRefusedClear"), this);
    clearButton->setObjectName(QStringLiteral("refusedClear"));
    clearButton->setToolTip(QStringLiteral("@@btRefusedClearTip"));
    clearButton->setAutoDefault(false);
    connect(clearButton, &QPushButton::clicked, this, &RefusedList::clear);

    auto *top = new QHBoxLayout;
    top->addWidget(m_title);
    top->addStretch();
    top->addWidget(clearButton);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(top);
    column->addWidget(m_table);
    setVisible(false);
}

void RefusedList::setUpTitle()
{
    m_title->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_title->setAutoRaise(true);
    m_title->setFocusPolicy(Qt::StrongFocus);
    m_title->setArrowType(Qt::DownArrow);
    connect(m_title, &QToolButton::clicked, this, [this] { unfold(m_table->isHidden()); });
}

void RefusedList::setUpTable()
{
    m_table->setModel(m_model);
    m_table->setItemDelegate(new EntryDelegate(m_table));
    m_table->setAccessibleName(QStringLiteral("@@btRefusedTable"));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->setTabKeyNavigation(false);
    m_table->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_table->horizontalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(RefusedModel::Reason, QHeaderView::Stretch);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_table, &QTableView::customContextMenuRequested, this, [this](const QPoint &place) {
        QMenu *shown = menu().release();
        shown->setAttribute(Qt::WA_DeleteOnClose);
        shown->popup(m_table->viewport()->mapToGlobal(place));
    });
    auto *copy = new QAction(m_table);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &RefusedList::copyReasons);
    m_table->addAction(copy);
    measure();
}

// As high as its entries, up to a few of them.
void RefusedList::measure()
{
    const int height = entryHeight(font());
    m_table->verticalHeader()->setMinimumSectionSize(height);
    m_table->verticalHeader()->setDefaultSectionSize(height);
    m_table->setColumnWidth(RefusedModel::Name, fontMetrics().averageCharWidth() * nameCharacters);
    m_table->setFixedHeight(std::clamp(count(), 1, mostRowsShown) * height +
                            2 * m_table->frameWidth());
}

void RefusedList::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        measure();
    }
}

void RefusedList::unfold(bool open)
{
    m_title->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
    m_table->setVisible(open);
}

// ---- entries

void RefusedList::add(const QString &source, const QString &reason)
{
    m_model->add(source, reason);
    showCount();
}

void RefusedList::remove(const QString &source)
{
    if (m_model->remove(source)) {
        showCount();
    }
}

void RefusedList::clear()
{
    m_model->clear();
    showCount();
}

void RefusedList::showCount()
{
    m_title->setText(countText(QStringLiteral("btRefused"), count()));
    if (count() <= mostRowsShown) {
        measure();
    }
    setVisible(count() > 0);
}

int RefusedList::count() const
{
    return m_model->rowCount();
}

QList<int> RefusedList::chosen() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_table->selectionModel()->selectedRows()) {
        rows.append(index.row());
    }
    if (rows.isEmpty()) {
        rows.resize(count());
        std::iota(rows.begin(), rows.end(), 0);
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

void RefusedList::copyReasons()
{
    QStringList lines;
    for (const int row : chosen()) {
        const RefusedModel::Entry &entry = m_model->entry(row);
        lines << QStringLiteral("%1: %2").arg(shownPath(entry.source), entry.reason);
    }
    QApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}

void RefusedList::showInFolder()
{
    QStringList paths;
    for (const int row : chosen()) {
        paths << m_model->entry(row).source;
    }
    m_workspace.reveal(paths);
}

std::unique_ptr<QMenu> RefusedList::menu()
{
    auto menu = std::make_unique<QMenu>();
    menu->addAction(localized(QStringLiteral("btCopyReason")), this, &RefusedList::copyReasons);
    menu->addAction(localized(QStringLiteral("btShowInFolder")), this, &RefusedList::showInFolder);
    return menu;
}

} // namespace qv
