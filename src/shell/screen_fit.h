#pragma once

#include <QSize>

class QWidget;

namespace qv
{

// The largest size of a window's content with which the window and its frame fit onto its screen.
QSize largestOnScreen(const QWidget &window);

} // namespace qv
