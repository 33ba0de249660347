#include "controller/batch_table.h"

#include <algorithm>

namespace qv
{

void BatchTable::add(BatchItem item)
{
    item.order = count() + 1;
    m_rows.push_back(std::make_unique<BatchItem>(std::move(item)));
    m_bySource.insert(m_rows.back()->sourcePath(), m_rows.back().get());
}

std::vector<RemovedRow> BatchTable::take(const QSet<int> &indexes)
{
    std::vector<RemovedRow> removed;
    int index = 0;
    std::erase_if(m_rows, [&](std::unique_ptr<BatchItem> &row) {
        const bool gone = indexes.contains(index);
        if (gone) {
            m_bySource.remove(row->sourcePath());
            removed.push_back({index, std::move(row)});
        }
        ++index;
        return gone;
    });
    renumber();
    m_selection.clear();
    return removed;
}

void BatchTable::restore(std::vector<RemovedRow> rows)
{
    for (RemovedRow &row : rows) {
        if (indexOfSource(row.item->sourcePath()) >= 0) {
            continue;
        }
        m_bySource.insert(row.item->sourcePath(), row.item.get());
        m_rows.insert(m_rows.begin() + std::min(row.index, count()), std::move(row.item));
    }
    renumber();
    m_selection.clear();
}

void BatchTable::renumber()
{
    for (size_t i = 0; i < m_rows.size(); ++i) {
        m_rows[i]->order = static_cast<int>(i) + 1;
    }
}

void BatchTable::clear()
{
    m_rows.clear();
    m_bySource.clear();
    m_selection.clear();
}

int BatchTable::indexOfSource(const QString &path) const
{
    const BatchItem *row = m_bySource.value(path);
    return row == nullptr ? -1 : row->order - 1;
}

void BatchTable::select(const QList<int> &indexes)
{
    m_selection = indexes;
    m_selection.removeIf([this](int index) { return index < 0 || index >= count(); });
    std::sort(m_selection.begin(), m_selection.end());
}

} // namespace qv
