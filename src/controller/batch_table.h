#pragma once

#include "controller/batch_item.h"

#include <QHash>
#include <QSet>

#include <memory>
#include <vector>

// The rows of the batch, in order, with the table's selection.
namespace qv
{

struct RemovedRow {
    int index = 0; // in the table that it was removed from
    std::unique_ptr<BatchItem> item;
};

class BatchTable
{
public:
    int count() const { return static_cast<int>(m_rows.size()); }
    bool isEmpty() const { return m_rows.empty(); }
    BatchItem &row(int index) { return *m_rows.at(static_cast<size_t>(index)); }
    const BatchItem &row(int index) const { return *m_rows.at(static_cast<size_t>(index)); }

    // Appends the row and sets its order.
    void add(BatchItem item);
    // Removes rows; those behind are renumbered so that the orders read 1 to n.
    void remove(const QSet<int> &indexes) { take(indexes); }
    // The same, with the rows that are gone, in their order.
    std::vector<RemovedRow> take(const QSet<int> &indexes);
    void clear();
    // Puts rows back at their former indexes, or at the end of a table that is shorter now. Those
    // whose source has come in again meanwhile are dropped.
    void restore(std::vector<RemovedRow> rows);

    // Index of the row with this source, or -1.
    int indexOfSource(const QString &path) const;

    // Selected indexes, ascending; those that no longer exist are forgotten.
    QList<int> selection() const { return m_selection; }
    void select(const QList<int> &indexes);

private:
    void renumber();

    std::vector<std::unique_ptr<BatchItem>> m_rows;
    QHash<QString, const BatchItem *> m_bySource;
    QList<int> m_selection;
};

} // namespace qv
