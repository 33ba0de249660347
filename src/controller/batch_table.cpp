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

void BatchTable::remove(const QSet<int> &indexes)
{
    int index = 0;
    std::erase_if(m_rows, [&](const std::unique_ptr<BatchItem> &row) {
        const bool gone = indexes.contains(index++);
        if (gone) {
            m_bySource.remove(row->sourcePath());
        }
        return gone;
    });
    for (size_t i = 0; i < m_rows.size(); ++i) {
        m_rows[i]->order = static_cast<int>(i) + 1;
    }
    m_selection.clear();
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
