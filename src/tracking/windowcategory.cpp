// One sidebar section: a shelf or an application's section.
#include "tracking/windowcategory.h"

namespace orvella::tracking {

bool categoriesUIEqual(const QList<WindowCategory> &a, const QList<WindowCategory> &b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        const WindowCategory &x = a[i];
        const WindowCategory &y = b[i];
        if (x.id != y.id || x.displayName != y.displayName || x.isCollapsed != y.isCollapsed
            || x.isHidden != y.isHidden || x.windows.size() != y.windows.size())
            return false;
        if (!windowsUIEqual(x.windows, y.windows))
            return false;
        for (qsizetype w = 0; w < x.windows.size(); ++w) {
            if (x.windows[w].assignedShelfName != y.windows[w].assignedShelfName)
                return false;
        }
    }
    return true;
}

} // namespace orvella::tracking
