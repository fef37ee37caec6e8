// One sidebar section: a shelf or an application's section.
#pragma once

#include "tracking/windowitem.h"

namespace orvella::tracking {

/// Shelf ids begin with this prefix; every other section is an application's.
inline const QString kShelfPrefix = QStringLiteral("shelf-");

struct WindowCategory
{
    /// "shelf-" + suffix for a shelf; the owner (bundle id or app name) for an app section.
    QString id;
    QString displayName;
    QList<WindowItem> windows;
    bool isCollapsed = false;
    bool isHidden = false;

    bool isShelf() const { return id.startsWith(kShelfPrefix); }
};

/// Pairwise the same id, name, collapsed and hidden state and window count, and the
/// windows pairwise the same in what the sidebar shows (assigned shelf included).
bool categoriesUIEqual(const QList<WindowCategory> &a, const QList<WindowCategory> &b);

} // namespace orvella::tracking
