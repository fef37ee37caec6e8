// What `orvella list` prints: the tracked windows and the sections they are grouped into.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace orvella::tracking {
class WindowManager;
}

namespace orvella::shell::windowListing {

/// {"windows": [...], "activeWindowID": ..., "sections": [{..., "windows": [ids]}]}.
QJsonObject toJson(const tracking::WindowManager &manager);
/// One line per section, then one indented line per window.
QByteArray toText(const tracking::WindowManager &manager);
/// Why neither `list` nor `watch` can show windows while no window manager runs.
QString noWindowManagerText();

} // namespace orvella::shell::windowListing
