// What the settings window and the diagnostics say about the X session.
#pragma once

#include <QString>

namespace orvella::platform::x11 {

struct SessionFacts
{
    /// The EWMH window manager's own name; empty when none announces itself.
    QString windowManager;
    /// A compositing manager holds the screen's _NET_WM_CM_Sn selection: translucency works.
    bool compositor = false;
    /// The server offers the Composite extension, which window thumbnails are read through.
    bool compositeExtension = false;
};

/// Asks the server on `display` (empty: `$DISPLAY`) on a short-lived connection of its own;
/// all false and empty, logged, when it cannot be reached.
SessionFacts readSessionFacts(const QString &display = QString());

} // namespace orvella::platform::x11
