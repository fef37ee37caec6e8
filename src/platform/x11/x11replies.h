// Owned xcb replies, and collecting them for one window while noticing that it has gone.
#pragma once

#include "platform/x11/x11properties.h"

#include <QList>

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <optional>

namespace orvella::platform::x11 {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};
/// An xcb reply, freed with free() as xcb requires.
template<typename T>
using Reply = std::unique_ptr<T, FreeDeleter>;

/// The value of a property reply as the pure decoders take it; "not set" for no reply.
inline RawProperty rawProperty(const xcb_get_property_reply_t *reply)
{
    if (!reply)
        return {};
    const auto *data = static_cast<const char *>(xcb_get_property_value(reply));
    return {reply->type, reply->format, QByteArrayView(data, xcb_get_property_value_length(reply)),
            reply->bytes_after};
}

/// A property reply that owns its buffer and lends it to the pure decoders.
class PropertyReply
{
public:
    PropertyReply() = default;
    explicit PropertyReply(Reply<xcb_get_property_reply_t> reply)
        : m_reply(std::move(reply))
    {}

    RawProperty raw() const { return rawProperty(m_reply.get()); }

private:
    Reply<xcb_get_property_reply_t> m_reply;
};

/**
 * Collects the replies about one window. Every reply is taken with its error, so that
 * no error lands in the event queue of a connection nobody reads events from, and a
 * BadWindow or BadDrawable among them means the window ended while it was being read.
 */
class ReplyCollector
{
public:
    explicit ReplyCollector(xcb_connection_t *connection)
        : m_connection(connection)
    {}

    template<typename R, typename Cookie>
    Reply<R> take(R *(*fetch)(xcb_connection_t *, Cookie, xcb_generic_error_t **), Cookie cookie)
    {
        xcb_generic_error_t *error = nullptr;
        Reply<R> reply(fetch(m_connection, cookie, &error));
        if (error) {
            m_vanished = m_vanished || error->error_code == XCB_WINDOW || error->error_code == XCB_DRAWABLE;
            std::free(error);
        }
        return reply;
    }
    PropertyReply property(xcb_get_property_cookie_t cookie)
    {
        return PropertyReply(take(xcb_get_property_reply, cookie));
    }
    /// Whether any reply so far said that the window no longer exists.
    bool vanished() const { return m_vanished; }

private:
    xcb_connection_t *m_connection;
    bool m_vanished = false;
};

/// Larger process ids are no process's (pid_t is signed).
inline constexpr std::uint32_t kMaxPid = 0x7fffffff;

/// Whether the server answers X-Resource QueryClientIds (version 1.2), the pid of a
/// window's client for windows without `_NET_WM_PID`.
bool supportsClientIds(xcb_connection_t *connection);
/// A new connection and its default screen, as every reader of the server opens one.
struct DisplayConnection
{
    /// Set even when connecting failed: the caller disconnects it, as xcb asks.
    xcb_connection_t *connection = nullptr;
    xcb_screen_t *screen = nullptr; ///< null when connecting failed
    int screenNumber = 0;
};
/// Connects to `display` (empty: `$DISPLAY`); without a screen, `error` says why.
DisplayConnection connectToDisplay(const QString &display, QString *error);
/// The keycodes that type `keysym` without Shift; one round trip.
QList<xcb_keycode_t> keycodesFor(xcb_connection_t *connection, std::uint32_t keysym);
/// The local client pid in a QueryClientIds reply; absent when the server names none.
std::optional<std::uint32_t> pidFromClientIds(const xcb_res_query_client_ids_reply_t *reply);

} // namespace orvella::platform::x11
