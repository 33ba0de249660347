#pragma once

#include <QMenu>

#include <memory>

namespace qv
{

class BatchView;

// What can be done with the rows that are selected in the view, as a menu.
std::unique_ptr<QMenu> batchMenu(BatchView &view);

} // namespace qv
