// The desktop seam for change notifications: the names changes are logged under.
#include "platform/desktopobserver.h"

namespace orvella::platform {

const char *eventName(DesktopEvent::Kind kind)
{
    using Kind = DesktopEvent::Kind;
    switch (kind) {
    case Kind::WindowCreated: return "AXWindowCreated";
    case Kind::WindowDestroyed: return "AXUIElementDestroyed";
    case Kind::FocusChanged: return "AXFocusedWindowChanged";
    case Kind::TitleChanged: return "AXTitleChanged";
    case Kind::StateChanged: return "AXWindowMiniaturized";
    case Kind::AppLaunched: return "application launched";
    case Kind::AppTerminated: return "application terminated";
    case Kind::AppActivated: return "application activated";
    case Kind::AppDeactivated: return "application deactivated";
    case Kind::WindowManagerChanged: return "window manager changed";
    case Kind::ConnectionLost: return "connection lost";
    }
    return "?";
}

bool isWindowNotification(DesktopEvent::Kind kind)
{
    using Kind = DesktopEvent::Kind;
    return kind == Kind::WindowCreated || kind == Kind::WindowDestroyed || kind == Kind::FocusChanged
           || kind == Kind::TitleChanged || kind == Kind::StateChanged;
}

} // namespace orvella::platform
