// One listed window, as the sidebar shows it.
#include "tracking/windowitem.h"

namespace orvella::tracking {

bool windowsUIEqual(const QList<WindowItem> &a, const QList<WindowItem> &b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        const WindowItem &x = a[i];
        const WindowItem &y = b[i];
        if (x.id != y.id || x.appName != y.appName || x.windowTitle != y.windowTitle
            || x.isMinimized != y.isMinimized || x.isFullScreen != y.isFullScreen || x.isActive != y.isActive
            || x.isClosed != y.isClosed)
            return false;
    }
    return true;
}

} // namespace orvella::tracking
