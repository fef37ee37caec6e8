// A real-X test's own connection to the server: raw property reads and writes, pager requests.
#include "xtestconnection.h"

#include <QTest>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace orvella::testsupport {

namespace {

template<typename T>
std::unique_ptr<T, decltype(&std::free)> owned(T *reply)
{
    return {reply, &std::free};
}

} // namespace

XTestConnection::XTestConnection(const QString &display)
{
    int screen = 0;
    const QByteArray name = display.toLocal8Bit();
    m_connection = xcb_connect(name.isEmpty() ? nullptr : name.constData(), &screen);
    if (!isConnected())
        return;
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (; screen > 0; --screen)
        xcb_screen_next(&it);
    m_root = it.data->root;
}

XTestConnection::~XTestConnection()
{
    xcb_disconnect(m_connection);
}

bool XTestConnection::isConnected() const
{
    return !xcb_connection_has_error(m_connection);
}

xcb_atom_t XTestConnection::atom(const char *name) const
{
    const auto reply = owned(
        xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, 0, qstrlen(name), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

QList<quint32> XTestConnection::cardinals(xcb_window_t window, const char *name, xcb_atom_t type) const
{
    const auto reply = owned(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, atom(name), type, 0, 65536), nullptr));
    // An unset property comes back with format 0; one of another type with that type and no value.
    if (!reply || reply->format != 32 || reply->type != type)
        return {};
    const auto *items = static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
    return QList<quint32>(items, items + xcb_get_property_value_length(reply.get()) / 4);
}

void XTestConnection::setProperty(xcb_window_t window, const char *name, xcb_atom_t type, int format,
                                  const QByteArray &value)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom(name), type, uint8_t(format),
                        uint32_t(value.size() / (format / 8)), value.constData());
    sync();
}

void XTestConnection::setCardinals(xcb_window_t window, const char *name, xcb_atom_t type,
                                   const QList<quint32> &values)
{
    setProperty(window, name, type, 32,
                QByteArray(reinterpret_cast<const char *>(values.constData()), values.size() * 4));
}

xcb_window_t XTestConnection::ownWindow()
{
    if (m_own == 0) {
        m_own = xcb_generate_id(m_connection);
        const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_own, m_root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    }
    return m_own;
}

void XTestConnection::sync()
{
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

// The stamp of the PropertyNotify that an empty append to our own window provokes.
xcb_timestamp_t XTestConnection::serverTime()
{
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, ownWindow(), XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        0, nullptr);
    xcb_flush(m_connection);
    while (const auto event = owned(xcb_wait_for_event(m_connection))) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t *>(event.get())->time;
    }
    return XCB_CURRENT_TIME;
}

void XTestConnection::sendToRoot(xcb_window_t window, const char *type, const QList<quint32> &data)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::copy_n(data.begin(), std::min<qsizetype>(data.size(), 5), message.data.data32);
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
    sync();
}

void XTestConnection::activate(xcb_window_t window)
{
    // Source 2: a pager asks, which window managers obey without focus-stealing checks.
    sendToRoot(window, "_NET_ACTIVE_WINDOW", {2, serverTime(), 0});
}

bool XTestConnection::waitUntilUnlisted(const QList<quint32> &windows, int timeoutMs)
{
    return QTest::qWaitFor(
        [&] {
            const QList<quint32> listed = cardinals(m_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
            return std::none_of(windows.begin(), windows.end(),
                                [&](quint32 w) { return listed.contains(w); });
        },
        timeoutMs);
}

} // namespace orvella::testsupport
