#pragma once

#include "controller/batch_item.h"

#include <QHash>
#include <QSet>

#include <memory>
#include <vector>

// The rows of the batch, in order, with the table's selection.
namespace qv
{

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
    void remove(const QSet<int> &indexes);
    void clear();

    // Index of the row with this source, or -1.
    int indexOfSource(const QString &path) const;

    // Selected indexes, ascending; those that no longer exist are forgotten.
    QList<int> selection() const { return m_selection; }
    void select(const QList<int> &indexes);

private:
    std::vector<std::unique_ptr<BatchItem>> m_rows;
    QHash<QString, const BatchItem *> m_bySource;
    QList<int> m_selection;
};

} // namespace qv
