// Every X atom Orvella uses, declared once and interned in one batch.
#include "platform/x11/x11atoms.h"

#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace orvella::platform::x11 {

namespace {

struct AtomName
{
    const char *name;
    std::uint32_t Atoms::*member;
};

// The one table: a new atom is one line here and one member in the header.
constexpr std::array kAtomNames{
    AtomName{"UTF8_STRING", &Atoms::utf8String},
    AtomName{"WM_STATE", &Atoms::wmState},
    AtomName{"_NET_SUPPORTED", &Atoms::netSupported},
    AtomName{"_NET_SUPPORTING_WM_CHECK", &Atoms::netSupportingWmCheck},
    AtomName{"_NET_CLIENT_LIST", &Atoms::netClientList},
    AtomName{"_NET_CLIENT_LIST_STACKING", &Atoms::netClientListStacking},
    AtomName{"_NET_ACTIVE_WINDOW", &Atoms::netActiveWindow},
    AtomName{"_NET_CURRENT_DESKTOP", &Atoms::netCurrentDesktop},
    AtomName{"_NET_WM_NAME", &Atoms::netWmName},
    AtomName{"_NET_WM_PID", &Atoms::netWmPid},
    AtomName{"_NET_WM_DESKTOP", &Atoms::netWmDesktop},
    AtomName{"_NET_WM_ICON", &Atoms::netWmIcon},
    AtomName{"_NET_FRAME_EXTENTS", &Atoms::netFrameExtents},
    AtomName{"_NET_WM_WINDOW_OPACITY", &Atoms::netWmWindowOpacity},
    AtomName{"_NET_WM_WINDOW_TYPE", &Atoms::netWmWindowType},
    AtomName{"_NET_WM_WINDOW_TYPE_NORMAL", &Atoms::netWmWindowTypeNormal},
    AtomName{"_NET_WM_WINDOW_TYPE_DIALOG", &Atoms::netWmWindowTypeDialog},
    AtomName{"_NET_WM_WINDOW_TYPE_DESKTOP", &Atoms::netWmWindowTypeDesktop},
    AtomName{"_NET_WM_WINDOW_TYPE_DOCK", &Atoms::netWmWindowTypeDock},
    AtomName{"_NET_WM_WINDOW_TYPE_TOOLBAR", &Atoms::netWmWindowTypeToolbar},
    AtomName{"_NET_WM_WINDOW_TYPE_MENU", &Atoms::netWmWindowTypeMenu},
    AtomName{"_NET_WM_WINDOW_TYPE_UTILITY", &Atoms::netWmWindowTypeUtility},
    AtomName{"_NET_WM_WINDOW_TYPE_SPLASH", &Atoms::netWmWindowTypeSplash},
    AtomName{"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", &Atoms::netWmWindowTypeDropdownMenu},
    AtomName{"_NET_WM_WINDOW_TYPE_POPUP_MENU", &Atoms::netWmWindowTypePopupMenu},
    AtomName{"_NET_WM_WINDOW_TYPE_TOOLTIP", &Atoms::netWmWindowTypeTooltip},
    AtomName{"_NET_WM_WINDOW_TYPE_NOTIFICATION", &Atoms::netWmWindowTypeNotification},
    AtomName{"_NET_WM_WINDOW_TYPE_COMBO", &Atoms::netWmWindowTypeCombo},
    AtomName{"_NET_WM_WINDOW_TYPE_DND", &Atoms::netWmWindowTypeDnd},
    AtomName{"_NET_WM_STATE", &Atoms::netWmState},
    AtomName{"_NET_WM_STATE_HIDDEN", &Atoms::netWmStateHidden},
    AtomName{"_NET_WM_STATE_SKIP_TASKBAR", &Atoms::netWmStateSkipTaskbar},
    AtomName{"_NET_WM_STATE_ABOVE", &Atoms::netWmStateAbove},
    AtomName{"_NET_WM_STATE_BELOW", &Atoms::netWmStateBelow},
    AtomName{"_NET_WM_STATE_MAXIMIZED_VERT", &Atoms::netWmStateMaximizedVert},
    AtomName{"_NET_WM_STATE_MAXIMIZED_HORZ", &Atoms::netWmStateMaximizedHorz},
    AtomName{"_NET_WM_STATE_FULLSCREEN", &Atoms::netWmStateFullscreen},
    AtomName{"_NET_WM_STATE_STICKY", &Atoms::netWmStateSticky},
    AtomName{"_NET_WM_STATE_SKIP_PAGER", &Atoms::netWmStateSkipPager},
    AtomName{"_NET_WM_STRUT", &Atoms::netWmStrut},
    AtomName{"_NET_WM_STRUT_PARTIAL", &Atoms::netWmStrutPartial},
    AtomName{"_GTK_APPLICATION_ID", &Atoms::gtkApplicationId},
    AtomName{"_KDE_NET_WM_DESKTOP_FILE", &Atoms::kdeNetWmDesktopFile},
    AtomName{"_NET_STARTUP_ID", &Atoms::netStartupId},
    AtomName{"_NET_MOVERESIZE_WINDOW", &Atoms::netMoveresizeWindow},
    AtomName{"_NET_RESTACK_WINDOW", &Atoms::netRestackWindow},
    AtomName{"_NET_CLOSE_WINDOW", &Atoms::netCloseWindow},
    AtomName{"_NET_WORKAREA", &Atoms::netWorkarea},
    AtomName{"WM_CHANGE_STATE", &Atoms::wmChangeState},
    AtomName{"_ORVELLA_TIMESTAMP", &Atoms::orvellaTimestamp},
};

} // namespace

bool Atoms::intern(xcb_connection_t *connection)
{
    std::array<xcb_intern_atom_cookie_t, kAtomNames.size()> cookies{};
    for (size_t i = 0; i < kAtomNames.size(); ++i) {
        const char *name = kAtomNames[i].name;
        cookies[i] = xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name);
    }
    bool complete = true;
    for (size_t i = 0; i < kAtomNames.size(); ++i) {
        xcb_generic_error_t *error = nullptr;
        const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(connection, cookies[i], &error), &std::free);
        std::free(error);
        if (reply)
            this->*kAtomNames[i].member = reply->atom;
        complete = complete && reply != nullptr;
    }
    return complete;
}

} // namespace orvella::platform::x11
