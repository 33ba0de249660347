#pragma once

#include "controller/app_delegate.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QPixmap>

#include <vector>

// The rows of the batch for a view. It reads the controller's table whenever it is asked and keeps
// only which rows stood there last, so that a change can be told to the view row by row.
namespace qv
{

class BatchModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Order, Mark, Preview, Caption, Layout, Picture, ColumnCount };

    explicit BatchModel(appDelegate &controller, QObject *parent = nullptr);

    // To be called after the controller's table changed: rows were added at its end, removed, or
    // changed in numbers; and after one row changed.
    void rowsChanged();
    void rowChanged(int row);

    // Null for a row that the controller's table doesn't have.
    const BatchItem *item(int row) const;
    bool isInProgress(int row) const;
    // The sheet that the row's last encoding wrote or kept, if it still exists; else empty.
    QString sheet(int row) const;
    // Why a row failed; empty for all others.
    QString reason(int row) const;
    // What is wrong with a row's source that is used all the same; null when nothing is known.
    QString damage(int row) const;
    // "Waiting", "Waiting: what is wrong", "In progress", "Done", "Kept", "Stopped" or "Failed:
    // why".
    QString statusWords(int row) const;
    // The preview fitted into the box of device-independent pixels; null when there is none.
    QPixmap preview(int row, const QSize &box, qreal devicePixelRatio) const;

    // The words of a column with a choice, by value.
    QStringList choices(int column) const;
    static bool isChoice(int column) { return column == Layout || column == Picture; }
    // Sets the choice of all these rows but the one in progress; false when none took it.
    bool setChoice(const QList<int> &rows, int column, int value);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    bool keepsAllRows() const;
    void appendNewRows();
    void removeGoneRows();
    int markGoneRows();
    void refresh(int first, int last);

    QVariant shownText(const BatchItem &item, int column) const;
    QString spokenText(int row, int column) const;
    QString description(int row, int column) const;

    appDelegate &m_controller;
    QStringList m_headers;
    QStringList m_layouts;
    QStringList m_pictures;
    std::vector<const BatchItem *> m_shown; // compared, never followed
    mutable QCache<QString, QPixmap> m_previews;
};

} // namespace qv
