#include "shell/batch_model.h"

#include "shell/choice_labels.h"
#include "shell/readable.h"
#include "shell/reason_text.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/variant_values.h"

#include <algorithm>

namespace qv
{
namespace
{

constexpr int previewCacheKilobytes = 24 * 1024;
// Beyond so many runs of removed rows, showing the table anew is cheaper than telling each.
constexpr qsizetype mostRemovedRuns = 64;

QString headerText(int column)
{
    static const char *const keys[] = {"@@btHeadOrder", "@@btHeadStatus", "@@btHeadPreview",
                                       "@@btHeadVideo", "@@btHeadLayout", "@@btHeadFormat"};
    return localizeText(QLatin1String(keys[column])).text;
}

struct Run {
    int first = 0;
    int last = 0;
};

// Of entries that are null, the last run first.
QList<Run> nullRunsFromBehind(const std::vector<const BatchItem *> &rows, int first)
{
    QList<Run> runs;
    for (int i = static_cast<int>(rows.size()) - 1; i >= first; --i) {
        if (rows[static_cast<size_t>(i)] != nullptr) {
            continue;
        }
        if (!runs.isEmpty() && runs.last().first == i + 1) {
            runs.last().first = i;
        } else {
            runs.append({i, i});
        }
    }
    return runs;
}

QPixmap fitted(const QImage &picture, const QSize &box, qreal devicePixelRatio)
{
    if (picture.isNull()) {
        return {};
    }
    const QSize size = picture.size().scaled(box * devicePixelRatio, Qt::KeepAspectRatio);
    QPixmap pixmap = QPixmap::fromImage(
        picture.scaled(size.expandedTo({1, 1}), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

} // namespace

BatchModel::BatchModel(appDelegate &controller, QObject *parent)
    : QAbstractTableModel(parent), m_controller(controller), m_layouts(layoutLabels()),
      m_pictures(pictureChoiceLabels()), m_previews(previewCacheKilobytes)
{
    for (int column = 0; column < ColumnCount; ++column) {
        m_headers << headerText(column);
    }
    appendNewRows();
}

// ---- what changed

void BatchModel::rowsChanged()
{
    if (!keepsAllRows()) {
        removeGoneRows();
    } else if (m_controller.table().count() == rowCount()) {
        refresh(0, rowCount() - 1);
    }
    appendNewRows();
}

void BatchModel::rowChanged(int row)
{
    if (item(row) != nullptr) {
        refresh(row, row);
    }
}

// Rows never change their places, so the last one stands where it stood only when none before it
// went.
bool BatchModel::keepsAllRows() const
{
    return m_shown.empty() || item(rowCount() - 1) != nullptr;
}

void BatchModel::appendNewRows()
{
    const BatchTable &table = m_controller.table();
    const int first = rowCount();
    if (table.count() <= first) {
        return;
    }
    beginInsertRows({}, first, table.count() - 1);
    for (int i = first; i < table.count(); ++i) {
        m_shown.push_back(&table.row(i));
    }
    endInsertRows();
}

void BatchModel::removeGoneRows()
{
    m_previews.clear(); // another row's picture may get the name of one that went
    const int first = markGoneRows();
    const QList<Run> runs = nullRunsFromBehind(m_shown, first);
    if (runs.size() > mostRemovedRuns) {
        beginResetModel();
        std::erase(m_shown, nullptr);
        endResetModel();
        return;
    }
    for (const Run &run : runs) {
        beginRemoveRows({}, run.first, run.last);
        m_shown.erase(m_shown.begin() + run.first, m_shown.begin() + run.last + 1);
        endRemoveRows();
    }
    refresh(first, rowCount() - 1); // they have new numbers
}

// Those that stay keep their order. Gives the first one that went.
int BatchModel::markGoneRows()
{
    const BatchTable &table = m_controller.table();
    int first = rowCount();
    int kept = 0;
    for (int i = 0; i < rowCount(); ++i) {
        const BatchItem *&shown = m_shown[static_cast<size_t>(i)];
        if (kept < table.count() && &table.row(kept) == shown) {
            ++kept;
        } else {
            shown = nullptr;
            first = std::min(first, i);
        }
    }
    return first;
}

void BatchModel::refresh(int first, int last)
{
    if (first <= last) {
        Q_EMIT dataChanged(index(first, 0), index(last, ColumnCount - 1));
    }
}

// ---- facts of a row

const BatchItem *BatchModel::item(int row) const
{
    const BatchTable &table = m_controller.table();
    if (row < 0 || row >= rowCount() || row >= table.count()) {
        return nullptr;
    }
    const BatchItem *there = &table.row(row);
    return there == m_shown[static_cast<size_t>(row)] ? there : nullptr;
}

bool BatchModel::isInProgress(int row) const
{
    return row >= 0 && row == m_controller.encBatchInprogressRowIdentification();
}

QString BatchModel::sheet(int row) const
{
    const BatchItem *item = this->item(row);
    const bool hasSheet = item != nullptr && (item->resultat == RowMark::PuceSuccess ||
                                              item->resultat == RowMark::PuceKept);
    if (!hasSheet) {
        return {};
    }
    const QString path = stringIn(item->dico, QStringLiteral("dstPathStr"));
    return fileExists(path) ? path : QString();
}

QString BatchModel::reason(int row) const
{
    const BatchItem *item = this->item(row);
    return item != nullptr && item->resultat == RowMark::PuceFailure ? reasonText(item->reason)
                                                                     : QString();
}

QString BatchModel::damage(int row) const
{
    const BatchItem *item = this->item(row);
    const QString damage = item == nullptr ? QString() : item->damage();
    return damage.isNull() ? QString() : reasonText(damage);
}

QString BatchModel::statusWords(int row) const
{
    const BatchItem *item = this->item(row);
    switch (item == nullptr ? RowMark::Puce : item->mark()) {
    case RowMark::Puce:
        break;
    case RowMark::PuceCurrent:
        return localized(QStringLiteral("btCurrent"));
    case RowMark::PuceSuccess:
        return localized(item->isQuick ? QStringLiteral("btDoneQuick") : QStringLiteral("btDone"));
    case RowMark::PuceKept:
        return localized(QStringLiteral("btKept"));
    case RowMark::PuceStopped:
        return localized(QStringLiteral("btStopped"));
    case RowMark::PuceFailure:
        return localized(QStringLiteral("btFailedWhy")).arg(reasonText(item->reason));
    case RowMark::PuceDamaged:
        return localized(QStringLiteral("btDamagedWhy")).arg(damage(row));
    }
    return localized(QStringLiteral("btWaiting"));
}

QPixmap BatchModel::preview(int row, const QSize &box, qreal devicePixelRatio) const
{
    const BatchItem *item = this->item(row);
    if (item == nullptr || box.isEmpty()) {
        return {};
    }
    const QString key = QStringLiteral("%1x%2@%3 ")
                            .arg(QString::number(box.width()), QString::number(box.height()),
                                 QString::number(devicePixelRatio)) +
                        stringIn(item->dico, QStringLiteral("imgPathStr"));
    if (const QPixmap *known = m_previews.object(key)) {
        return *known;
    }
    // One that can't be read is remembered as well: a view asks for it at every painting.
    const QPixmap pixmap = fitted(item->img(), box, devicePixelRatio);
    const qsizetype bytes = qsizetype{pixmap.width()} * pixmap.height() * 4;
    m_previews.insert(key, new QPixmap(pixmap), static_cast<int>(1 + bytes / 1024));
    return pixmap;
}

// ---- choices

QStringList BatchModel::choices(int column) const
{
    return column == Layout ? m_layouts : column == Picture ? m_pictures : QStringList();
}

bool BatchModel::setChoice(const QList<int> &rows, int column, int value)
{
    if (value < 0 || value >= choices(column).size()) {
        return false;
    }
    const int inProgress = m_controller.encBatchInprogressRowIdentification();
    Run changed{rowCount(), -1};
    for (const int row : rows) {
        if (item(row) == nullptr || row == inProgress) {
            continue;
        }
        BatchItem &item = m_controller.whichArrayController().row(row);
        (column == Layout ? item.out : item.dpi) = value;
        changed = {std::min(changed.first, row), std::max(changed.last, row)};
    }
    refresh(changed.first, changed.last);
    return changed.last >= 0;
}

// ---- the model's face

int BatchModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
}

int BatchModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant BatchModel::data(const QModelIndex &index, int role) const
{
    const BatchItem *item = this->item(index.row());
    if (item == nullptr) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return shownText(*item, index.column());
    case Qt::EditRole:
        return index.column() == Layout    ? QVariant(item->out)
               : index.column() == Picture ? QVariant(item->dpi)
                                           : shownText(*item, index.column());
    case Qt::ToolTipRole:
        return plainToolTip(description(index.row(), index.column()));
    case Qt::AccessibleTextRole:
        return spokenText(index.row(), index.column());
    case Qt::AccessibleDescriptionRole:
        return description(index.row(), index.column());
    default:
        return {};
    }
}

QVariant BatchModel::shownText(const BatchItem &item, int column) const
{
    switch (column) {
    case Order:
        return item.order;
    case Caption:
        return plainText(item.src);
    case Layout:
        return m_layouts.value(item.out);
    case Picture:
        return m_pictures.value(item.dpi);
    default:
        return {};
    }
}

QString BatchModel::spokenText(int row, int column) const
{
    const BatchItem &item = *this->item(row);
    switch (column) {
    case Mark:
        return statusWords(row);
    case Preview:
        return localized(QStringLiteral("btPreviewOf"))
            .arg(lastPathComponent(shownPath(item.sourcePath())));
    default:
        return shownText(item, column).toString();
    }
}

QString BatchModel::description(int row, int column) const
{
    const QString path = shownPath(item(row)->sourcePath());
    if (item(row)->resultat == RowMark::PuceKept) {
        return path + QLatin1Char('\n') + statusWords(row) + QStringLiteral(": ") +
               reasonText(item(row)->reason);
    }
    const bool hasMore =
        column == Mark || !reason(row).isEmpty() || item(row)->mark() == RowMark::PuceDamaged;
    return hasMore ? path + QLatin1Char('\n') + statusWords(row) : path;
}

bool BatchModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    bool isNumber = false;
    const int choice = value.toInt(&isNumber);
    return role == Qt::EditRole && isNumber && setChoice({index.row()}, index.column(), choice);
}

Qt::ItemFlags BatchModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
    if (isChoice(index.column()) && item(index.row()) != nullptr && !isInProgress(index.row())) {
        flags |= Qt::ItemIsEditable;
    }
    return flags;
}

QVariant BatchModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) {
        return {};
    }
    // A mark is narrower than the word for it.
    if (role == Qt::DisplayRole) {
        return section == Mark ? QVariant(QString()) : QVariant(m_headers.at(section));
    }
    if (role == Qt::TextAlignmentRole && section == Order) {
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
    const bool isSpoken = role == Qt::AccessibleTextRole || role == Qt::ToolTipRole;
    return isSpoken ? QVariant(m_headers.at(section)) : QVariant();
}

} // namespace qv
