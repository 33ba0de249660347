#include "shell/screen_fit.h"

#include <QScreen>
#include <QStyle>
#include <QWidget>

namespace qv
{

QSize largestOnScreen(const QWidget &window)
{
    QSize frame = window.frameGeometry().size() - window.size();
    if (frame.isNull()) { // not known before the window is shown
        frame.setHeight(window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window));
    }
    return window.screen()->availableGeometry().size() - frame;
}

} // namespace qv
