// A connection to the X server: window-manager trust check and the managed-window list.
#include "platform/x11/x11session.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11properties.h"
#include "platform/x11/x11replies.h"

#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace orvella::platform::x11 {

namespace {

// Titles longer than this are cut: no window can make us hold megabytes of name.
constexpr uint32_t kMaxTitleWords = kMaxTitleBytes / 4;
constexpr uint32_t kMaxListWords = 16384; // windows in _NET_CLIENT_LIST, atoms in _NET_SUPPORTED

QList<quint32> cardinals(const xcb_get_property_reply_t *reply, xcb_atom_t expectedType)
{
    return decodeCardinals(rawProperty(reply), expectedType, kMaxListWords).value;
}

} // namespace

X11Session::X11Session(xcb_connection_t *connection, int screen)
    : m_connection(connection)
{
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && it.rem; ++i)
        xcb_screen_next(&it);
    m_root = it.data ? it.data->root : 0;
    m_atoms = std::make_unique<Atoms>();
    m_atoms->intern(connection);
}

X11Session::~X11Session()
{
    xcb_disconnect(m_connection);
}

std::unique_ptr<X11Session> X11Session::open(const QString &display, QString *error)
{
    int screen = 0;
    const QByteArray name = display.toLocal8Bit();
    xcb_connection_t *c = xcb_connect(name.isEmpty() ? nullptr : name.constData(), &screen);
    if (!c || xcb_connection_has_error(c)) {
        if (error)
            *error = QStringLiteral("cannot connect to X display \"%1\"")
                         .arg(display.isEmpty() ? qEnvironmentVariable("DISPLAY") : display);
        if (c)
            xcb_disconnect(c);
        return nullptr;
    }
    return std::unique_ptr<X11Session>(new X11Session(c, screen));
}

bool X11Session::isConnected() const
{
    return xcb_connection_has_error(m_connection) == 0;
}

WindowManagerInfo X11Session::windowManager() const
{
    WindowManagerInfo info;
    const Atoms &a = *m_atoms;
    auto checkCookie =
        xcb_get_property(m_connection, 0, m_root, a.netSupportingWmCheck, XCB_ATOM_WINDOW, 0, 1);
    auto supportedCookie =
        xcb_get_property(m_connection, 0, m_root, a.netSupported, XCB_ATOM_ATOM, 0, kMaxListWords);
    Reply<xcb_get_property_reply_t> checkReply(xcb_get_property_reply(m_connection, checkCookie, nullptr));
    Reply<xcb_get_property_reply_t> supportedReply(
        xcb_get_property_reply(m_connection, supportedCookie, nullptr));

    const QList<quint32> check = cardinals(checkReply.get(), XCB_ATOM_WINDOW);
    if (!check.isEmpty()) {
        // A stale check window from a window manager that died names nothing, or not itself.
        const xcb_window_t wm = check.constFirst();
        auto selfCookie =
            xcb_get_property(m_connection, 0, wm, a.netSupportingWmCheck, XCB_ATOM_WINDOW, 0, 1);
        auto nameCookie = xcb_get_property(m_connection, 0, wm, a.netWmName, a.utf8String, 0, kMaxTitleWords);
        Reply<xcb_get_property_reply_t> self(xcb_get_property_reply(m_connection, selfCookie, nullptr));
        Reply<xcb_get_property_reply_t> wmName(xcb_get_property_reply(m_connection, nameCookie, nullptr));
        const QList<quint32> selfCheck = cardinals(self.get(), XCB_ATOM_WINDOW);
        info.ewmh = !selfCheck.isEmpty() && selfCheck.constFirst() == wm;
        info.name = decodeUtf8Text(rawProperty(wmName.get()), a.utf8String).value;
    }
    const QList<quint32> supported = cardinals(supportedReply.get(), XCB_ATOM_ATOM);
    info.listsClients = supported.contains(a.netClientList);
    info.reportsActive = supported.contains(a.netActiveWindow);
    return info;
}

QList<ClientSummary> X11Session::clients() const
{
    const Atoms &a = *m_atoms;
    auto listCookie =
        xcb_get_property(m_connection, 0, m_root, a.netClientList, XCB_ATOM_WINDOW, 0, kMaxListWords);
    Reply<xcb_get_property_reply_t> listReply(xcb_get_property_reply(m_connection, listCookie, nullptr));
    const QList<quint32> windows = cardinals(listReply.get(), XCB_ATOM_WINDOW);

    struct Pending
    {
        xcb_get_property_cookie_t netName, name, pid, wmClass;
    };
    std::vector<Pending> pending;
    pending.reserve(size_t(windows.size()));
    for (quint32 w : windows) {
        pending.push_back({
            xcb_get_property(m_connection, 0, w, a.netWmName, a.utf8String, 0, kMaxTitleWords),
            xcb_get_property(m_connection, 0, w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, 0,
                             kMaxTitleWords),
            xcb_get_property(m_connection, 0, w, a.netWmPid, XCB_ATOM_CARDINAL, 0, 1),
            xcb_get_property(m_connection, 0, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64),
        });
    }

    QList<ClientSummary> out;
    out.reserve(windows.size());
    for (qsizetype i = 0; i < windows.size(); ++i) {
        const Pending &p = pending[size_t(i)];
        xcb_generic_error_t *errors[4] = {};
        Reply<xcb_get_property_reply_t> netName(xcb_get_property_reply(m_connection, p.netName, &errors[0]));
        Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(m_connection, p.name, &errors[1]));
        Reply<xcb_get_property_reply_t> pid(xcb_get_property_reply(m_connection, p.pid, &errors[2]));
        Reply<xcb_get_property_reply_t> wmClass(xcb_get_property_reply(m_connection, p.wmClass, &errors[3]));
        bool vanished = false;
        for (xcb_generic_error_t *e : errors) {
            vanished = vanished || (e && e->error_code == XCB_WINDOW);
            std::free(e);
        }
        if (vanished) {
            qCDebug(lcPlatform) << "[OV] window" << Qt::hex << windows[i] << "closed while being read";
            continue;
        }
        ClientSummary client;
        client.window = windows[i];
        const QString utf8 = decodeUtf8Text(rawProperty(netName.get()), a.utf8String).value;
        client.title = utf8.isEmpty() ? decodeLegacyText(rawProperty(name.get()), a.utf8String).value : utf8;
        if (const QList<quint32> pids = cardinals(pid.get(), XCB_ATOM_CARDINAL); !pids.isEmpty())
            client.pid = pids.constFirst();
        client.wmClass = decodeWmClass(rawProperty(wmClass.get())).value.className;
        out.append(client);
    }
    return out;
}

} // namespace orvella::platform::x11
