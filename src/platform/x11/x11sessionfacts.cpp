// What the settings window and the diagnostics say about the X session.
#include "platform/x11/x11sessionfacts.h"

#include "logging.h"
#include "platform/x11/x11replies.h"

#include <xcb/xcb.h>

#include <cstring>

namespace orvella::platform::x11 {

namespace {

xcb_atom_t intern(xcb_connection_t *c, const QByteArray &name)
{
    Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(name.size()), name.constData()), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_NONE);
}

Reply<xcb_get_property_reply_t> property(xcb_connection_t *c, xcb_window_t window, xcb_atom_t atom,
                                         xcb_atom_t type)
{
    return Reply<xcb_get_property_reply_t>(
        xcb_get_property_reply(c, xcb_get_property(c, 0, window, atom, type, 0, 1024), nullptr));
}

QString windowManagerName(xcb_connection_t *c, xcb_window_t root)
{
    const auto check = property(c, root, intern(c, "_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW);
    if (!check || check->format != 32 || xcb_get_property_value_length(check.get()) < 4)
        return {};
    xcb_window_t wm = 0;
    std::memcpy(&wm, xcb_get_property_value(check.get()), sizeof wm);
    const auto name = property(c, wm, intern(c, "_NET_WM_NAME"), intern(c, "UTF8_STRING"));
    if (!name || name->format != 8)
        return {};
    return QString::fromUtf8(static_cast<const char *>(xcb_get_property_value(name.get())),
                             xcb_get_property_value_length(name.get()));
}

} // namespace

SessionFacts readSessionFacts(const QString &display)
{
    SessionFacts facts;
    const DisplayConnection display_ = connectToDisplay(display, nullptr);
    xcb_connection_t *c = display_.connection;
    if (!display_.screen) {
        qCInfo(lcPlatform) << "[OV] session facts: cannot connect to the X server";
        xcb_disconnect(c);
        return facts;
    }
    facts.windowManager = windowManagerName(c, display_.screen->root);
    const xcb_atom_t cm = intern(c, "_NET_WM_CM_S" + QByteArray::number(display_.screenNumber));
    Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, cm), nullptr));
    facts.compositor = cm != XCB_NONE && owner && owner->owner != XCB_NONE;
    const QByteArray composite("Composite");
    Reply<xcb_query_extension_reply_t> ext(xcb_query_extension_reply(
        c, xcb_query_extension(c, quint16(composite.size()), composite.constData()), nullptr));
    facts.compositeExtension = ext && ext->present;
    xcb_disconnect(c);
    return facts;
}

} // namespace orvella::platform::x11
