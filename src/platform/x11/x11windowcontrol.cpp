// The write seam on X11: EWMH and ICCCM requests to the window manager, XTest keys.
#include "platform/x11/x11windowcontrol.h"

#include "logging.h"
#include "platform/linux/applauncher.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11replies.h"

#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <QMutex>

#include <array>
#include <chrono>
#include <thread>

namespace orvella::platform::x11 {

namespace {

constexpr std::uint32_t kIconicState = 3;
constexpr std::uint32_t kSourcePager = 2;
constexpr std::uint32_t kGravityNorthWest = 1;
constexpr std::uint32_t kMoveX = 1u << 8, kMoveY = 1u << 9, kMoveWidth = 1u << 10, kMoveHeight = 1u << 11;
constexpr std::uint32_t kStackAbove = 0;
constexpr std::uint32_t kMaxSupportedAtoms = 4096;
constexpr std::uint32_t kKeysymControlL = 0xffe3;
constexpr std::uint32_t kKeysymShiftL = 0xffe1;
constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;
// How long the window manager may take to switch desktops or hand the focus over: it
// answers within milliseconds, but a loaded machine can hold it up for a while.
constexpr int kFocusWaitSteps = 200;
constexpr std::chrono::milliseconds kFocusWaitStep{10};
constexpr std::uint32_t kStateRemove = 0;
// How long the window manager may take to leave a maximised or full-screen state.
constexpr int kStateWaitSteps = 100;
constexpr std::chrono::milliseconds kStateWaitStep{10};
constexpr std::uint32_t kMaxStateAtoms = 64;
// Parents walked up from the focus window before giving up on finding the target.
constexpr int kMaxTreeDepth = 64;

void sleepFor(std::chrono::milliseconds duration)
{
    std::this_thread::sleep_for(duration);
}

} // namespace

struct X11WindowControl::Private
{
    ~Private()
    {
        if (connection)
            xcb_disconnect(connection);
    }

    bool alive() const { return connection && !xcb_connection_has_error(connection); }
    std::uint32_t timestamp();
    bool sendToRoot(std::uint32_t window, std::uint32_t type, std::array<std::uint32_t, 5> data);
    std::optional<FrameExtents> extents(std::uint32_t window);
    std::optional<std::uint32_t> activeWindow();
    bool supports(std::uint32_t atom);
    bool exists(std::uint32_t window);
    /// Whether the window is maximised (either way) or full screen; absent when it is gone.
    std::optional<bool> maximized(std::uint32_t window);
    std::optional<std::uint32_t> rootCardinal(std::uint32_t atom);
    bool showDesktopOf(std::uint32_t window);
    /// Asks for the window to become active, on its own desktop (see requestActive()).
    bool requestActive(std::uint32_t window);
    bool activateAndWait(std::uint32_t window);
    bool holdsInputFocus(std::uint32_t window);

    QMutex mutex;
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = 0;
    xcb_window_t ownWindow = 0;
    Atoms atoms;
};

std::uint32_t X11WindowControl::Private::timestamp()
{
    // The server stamps a PropertyNotify with its own time: a zero-length append to a
    // property of our own window costs one round trip and changes nothing.
    xcb_change_property(connection, XCB_PROP_MODE_APPEND, ownWindow, atoms.orvellaTimestamp, XCB_ATOM_STRING,
                        8, 0, nullptr);
    xcb_flush(connection);
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection)) {
        const Reply<xcb_generic_event_t> owned(event);
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            continue;
        const auto *e = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (e->window == ownWindow && e->atom == atoms.orvellaTimestamp)
            return e->time;
    }
    return XCB_CURRENT_TIME;
}

bool X11WindowControl::Private::sendToRoot(std::uint32_t window, std::uint32_t type,
                                           std::array<std::uint32_t, 5> data)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    for (size_t i = 0; i < data.size(); ++i)
        message.data.data32[i] = data[i];
    const xcb_void_cookie_t cookie = xcb_send_event_checked(
        connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char *>(&message));
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    if (error)
        qCWarning(lcPlatform).nospace() << "[OV] client message to window 0x" << Qt::hex << window
                                        << " refused (error " << Qt::dec << error->error_code << ")";
    return !error && alive();
}

std::optional<FrameExtents> X11WindowControl::Private::extents(std::uint32_t window)
{
    ReplyCollector replies(connection);
    const PropertyReply reply = replies.property(
        xcb_get_property(connection, 0, window, atoms.netFrameExtents, XCB_ATOM_CARDINAL, 0, 4));
    if (replies.vanished())
        return std::nullopt;
    // No extents: an undecorated window, or a manager that does not say; both are 0.
    return decodeFrameExtents(reply.raw()).value;
}

bool X11WindowControl::Private::exists(std::uint32_t window)
{
    ReplyCollector replies(connection);
    const auto attributes =
        replies.take(xcb_get_window_attributes_reply, xcb_get_window_attributes(connection, window));
    return attributes && !replies.vanished();
}

std::optional<bool> X11WindowControl::Private::maximized(std::uint32_t window)
{
    ReplyCollector replies(connection);
    const PropertyReply reply = replies.property(
        xcb_get_property(connection, 0, window, atoms.netWmState, XCB_ATOM_ATOM, 0, kMaxStateAtoms));
    if (replies.vanished())
        return std::nullopt;
    const QList<std::uint32_t> states = decodeCardinals(reply.raw(), XCB_ATOM_ATOM, kMaxStateAtoms).value;
    return states.contains(atoms.netWmStateMaximizedVert) || states.contains(atoms.netWmStateMaximizedHorz)
           || states.contains(atoms.netWmStateFullscreen);
}

std::optional<std::uint32_t> X11WindowControl::Private::activeWindow()
{
    ReplyCollector replies(connection);
    const PropertyReply reply =
        replies.property(xcb_get_property(connection, 0, root, atoms.netActiveWindow, XCB_ATOM_WINDOW, 0, 1));
    const auto value = decodeCardinal(reply.raw(), XCB_ATOM_WINDOW);
    return value.hasValue() ? std::optional(value.value) : std::nullopt;
}

std::optional<std::uint32_t> X11WindowControl::Private::rootCardinal(std::uint32_t atom)
{
    ReplyCollector replies(connection);
    const PropertyReply reply =
        replies.property(xcb_get_property(connection, 0, root, atom, XCB_ATOM_CARDINAL, 0, 1));
    const auto value = decodeCardinal(reply.raw(), XCB_ATOM_CARDINAL);
    return value.hasValue() ? std::optional(value.value) : std::nullopt;
}

bool X11WindowControl::Private::showDesktopOf(std::uint32_t window)
{
    ReplyCollector replies(connection);
    const PropertyReply reply = replies.property(
        xcb_get_property(connection, 0, window, atoms.netWmDesktop, XCB_ATOM_CARDINAL, 0, 1));
    const auto desktop = decodeCardinal(reply.raw(), XCB_ATOM_CARDINAL);
    // Without a desktop (a manager without desktops) or sticky: it is already in view.
    if (!desktop.hasValue() || desktop.value == kAllDesktops)
        return true;
    const std::optional<std::uint32_t> current = rootCardinal(atoms.netCurrentDesktop);
    if (current == desktop.value)
        return true;
    if (!sendToRoot(root, atoms.netCurrentDesktop, {desktop.value, timestamp(), 0, 0, 0}))
        return false;
    for (int i = 0; i < kFocusWaitSteps; ++i) {
        if (rootCardinal(atoms.netCurrentDesktop) == desktop.value)
            return true;
        sleepFor(kFocusWaitStep);
    }
    qCWarning(lcPlatform).nospace() << "[OV] the window manager did not switch to desktop "
                                    << desktop.value + 1 << " for window 0x" << Qt::hex << window;
    return false;
}

bool X11WindowControl::Private::requestActive(std::uint32_t window)
{
    // A task list switches to the window's desktop first, as users expect of it;
    // activating in place would leave the window out of sight, or refused: window
    // managers that prevent focus stealing ignore a request for another desktop's window.
    showDesktopOf(window);
    return sendToRoot(window, atoms.netActiveWindow, {kSourcePager, timestamp(), XCB_NONE, 0, 0});
}

bool X11WindowControl::Private::activateAndWait(std::uint32_t window)
{
    if (!requestActive(window))
        return false;
    for (int i = 0; i < kFocusWaitSteps; ++i) {
        if (activeWindow() == window)
            return true;
        sleepFor(kFocusWaitStep);
    }
    qCWarning(lcPlatform).nospace() << "[OV] the window manager did not activate window 0x" << Qt::hex
                                    << window;
    return false;
}

bool X11WindowControl::Private::holdsInputFocus(std::uint32_t window)
{
    ReplyCollector replies(connection);
    const auto focus = replies.take(xcb_get_input_focus_reply, xcb_get_input_focus(connection));
    if (!focus)
        return false;
    // Toolkits often focus a child of the client window; keys typed there still reach it.
    xcb_window_t w = focus->focus;
    for (int depth = 0; depth < kMaxTreeDepth && w != XCB_NONE && w != root; ++depth) {
        if (w == window)
            return true;
        const auto tree = replies.take(xcb_query_tree_reply, xcb_query_tree(connection, w));
        if (!tree)
            return false;
        w = tree->parent;
    }
    return false;
}

bool X11WindowControl::Private::supports(std::uint32_t atom)
{
    ReplyCollector replies(connection);
    const PropertyReply reply = replies.property(
        xcb_get_property(connection, 0, root, atoms.netSupported, XCB_ATOM_ATOM, 0, kMaxSupportedAtoms));
    return decodeCardinals(reply.raw(), XCB_ATOM_ATOM, kMaxSupportedAtoms).value.contains(atom);
}

X11WindowControl::X11WindowControl()
    : d(std::make_unique<Private>())
{}

X11WindowControl::~X11WindowControl() = default;

std::shared_ptr<X11WindowControl> X11WindowControl::open(const QString &display, QString *error)
{
    const DisplayConnection display_ = connectToDisplay(display, error);
    xcb_connection_t *c = display_.connection;
    std::shared_ptr<X11WindowControl> control(new X11WindowControl());
    control->d->connection = c;
    if (!display_.screen)
        return nullptr;
    if (!control->d->atoms.intern(c)) {
        if (error)
            *error = QStringLiteral("the X server did not answer the first requests");
        return nullptr;
    }
    control->d->root = display_.screen->root;
    // An unmapped input-only window: somewhere to change a property and hear the time.
    control->d->ownWindow = xcb_generate_id(c);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, control->d->ownWindow, display_.screen->root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(c);
    return control;
}

std::optional<QRectF> X11WindowControl::frame(qint64 window)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive())
        return std::nullopt;
    xcb_connection_t *c = d->connection;
    const auto w = std::uint32_t(window);
    ReplyCollector replies(c);
    const auto extentsCookie = xcb_get_property(c, 0, w, d->atoms.netFrameExtents, XCB_ATOM_CARDINAL, 0, 4);
    const auto geometryCookie = xcb_get_geometry(c, w);
    const auto originCookie = xcb_translate_coordinates(c, w, d->root, 0, 0);
    const PropertyReply extents = replies.property(extentsCookie);
    const auto geometry = replies.take(xcb_get_geometry_reply, geometryCookie);
    const auto origin = replies.take(xcb_translate_coordinates_reply, originCookie);
    if (replies.vanished() || !geometry || !origin)
        return std::nullopt;
    const FrameExtents e = decodeFrameExtents(extents.raw()).value;
    return QRectF(QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height)
                      .adjusted(-int(e.left), -int(e.top), int(e.right), int(e.bottom)));
}

bool X11WindowControl::setSize(qint64 window, const QSizeF &size)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive())
        return false;
    const auto w = std::uint32_t(window);
    const std::optional<FrameExtents> e = d->extents(w);
    if (!e)
        return false;
    // The request names the client's size; the frame the user sees adds the decoration.
    const auto width = std::uint32_t(std::max(1.0, size.width() - e->left - e->right));
    const auto height = std::uint32_t(std::max(1.0, size.height() - e->top - e->bottom));
    return d->sendToRoot(
        w, d->atoms.netMoveresizeWindow,
        {kGravityNorthWest | kMoveWidth | kMoveHeight | kSourcePager << 12, 0, 0, width, height});
}

bool X11WindowControl::setPosition(qint64 window, const QPointF &topLeft)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive() || !d->exists(std::uint32_t(window)))
        return false;
    // With north-west gravity the position is that of the frame's outer top-left corner.
    return d->sendToRoot(std::uint32_t(window), d->atoms.netMoveresizeWindow,
                         {kGravityNorthWest | kMoveX | kMoveY | kSourcePager << 12,
                          std::uint32_t(qRound(topLeft.x())), std::uint32_t(qRound(topLeft.y())), 0, 0});
}

bool X11WindowControl::setMinimized(qint64 window, bool minimized)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive() || !d->exists(std::uint32_t(window)))
        return false;
    if (minimized)
        return d->sendToRoot(std::uint32_t(window), d->atoms.wmChangeState, {kIconicState, 0, 0, 0, 0});
    return d->requestActive(std::uint32_t(window));
}

bool X11WindowControl::unmaximize(qint64 window)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive())
        return false;
    const auto w = std::uint32_t(window);
    const std::optional<bool> before = d->maximized(w);
    if (!before || !*before)
        return before.has_value();
    // One message removes at most two states.
    if (!d->sendToRoot(w, d->atoms.netWmState,
                       {kStateRemove, d->atoms.netWmStateMaximizedVert, d->atoms.netWmStateMaximizedHorz,
                        kSourcePager, 0})
        || !d->sendToRoot(w, d->atoms.netWmState,
                          {kStateRemove, d->atoms.netWmStateFullscreen, XCB_NONE, kSourcePager, 0}))
        return false;
    for (int i = 0; i < kStateWaitSteps; ++i) {
        const std::optional<bool> now = d->maximized(w);
        if (!now || !*now)
            return now.has_value();
        sleepFor(kStateWaitStep);
    }
    qCInfo(lcPlatform).nospace() << "[OV] window 0x" << Qt::hex << w
                                 << " stayed maximised or full screen; moving it anyway";
    return false;
}

bool X11WindowControl::raise(qint64 window)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive() || !d->exists(std::uint32_t(window)))
        return false;
    if (d->supports(d->atoms.netRestackWindow))
        return d->sendToRoot(std::uint32_t(window), d->atoms.netRestackWindow,
                             {kSourcePager, XCB_NONE, kStackAbove, 0, 0});
    return d->requestActive(std::uint32_t(window));
}

bool X11WindowControl::activate(qint64 window)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive() || !d->exists(std::uint32_t(window)))
        return false;
    return d->activateAndWait(std::uint32_t(window));
}

bool X11WindowControl::close(qint64 window)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive() || !d->exists(std::uint32_t(window)))
        return false;
    return d->sendToRoot(std::uint32_t(window), d->atoms.netCloseWindow,
                         {d->timestamp(), kSourcePager, 0, 0, 0});
}

bool X11WindowControl::sendShortcut(qint64 window, const KeyShortcut &shortcut)
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive() || !d->exists(std::uint32_t(window)))
        return false;
    const auto w = std::uint32_t(window);
    // Like any request to a missing extension, a fake key would close the connection.
    const xcb_query_extension_reply_t *xtest = xcb_get_extension_data(d->connection, &xcb_test_id);
    if (!xtest || !xtest->present) {
        qCWarning(lcPlatform) << "[OV] the X server has no XTEST extension: no keys can be sent";
        return false;
    }
    // XTest types into whatever has the focus: a key typed while another window has it
    // would go to that application, so none is sent until the target holds the focus.
    d->activateAndWait(w);
    bool focused = false;
    for (int i = 0; i < kFocusWaitSteps && !(focused = d->holdsInputFocus(w)); ++i)
        sleepFor(kFocusWaitStep);
    if (!focused) {
        qCWarning(lcPlatform).nospace()
            << "[OV] window 0x" << Qt::hex << w << " never got the input focus; no keys sent";
        return false;
    }

    const QList<xcb_keycode_t> control = keycodesFor(d->connection, kKeysymControlL);
    const QList<xcb_keycode_t> shift = keycodesFor(d->connection, kKeysymShiftL);
    const QList<xcb_keycode_t> key =
        shortcut.keysym ? keycodesFor(d->connection, shortcut.keysym) : QList<xcb_keycode_t>();
    QList<xcb_keycode_t> held;
    // Presses go only into the target; releases always go out, so that no key is left held.
    const auto press = [this, w, &held](xcb_keycode_t code, bool down) {
        if (down && !d->holdsInputFocus(w))
            return false;
        xcb_test_fake_input(d->connection, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, code, XCB_CURRENT_TIME,
                            XCB_NONE, 0, 0, 0);
        xcb_flush(d->connection);
        if (down)
            held.append(code);
        else
            held.removeOne(code);
        return true;
    };
    using namespace std::chrono_literals;
    const bool useControl = shortcut.control && !control.isEmpty();
    const bool useShift = shortcut.shift && !shift.isEmpty();
    bool typed = true;
    if (useControl) {
        typed = press(control.first(), true);
        sleepFor(10ms);
    }
    if (typed && useShift) {
        typed = press(shift.first(), true);
        sleepFor(10ms);
    }
    if (typed && !key.isEmpty()) {
        typed = press(key.first(), true);
        if (typed) {
            sleepFor(30ms);
            press(key.first(), false);
            sleepFor(10ms);
        }
    }
    if (useShift && held.contains(shift.first())) {
        press(shift.first(), false);
        sleepFor(10ms);
    }
    if (useControl && held.contains(control.first()))
        press(control.first(), false);
    if (!typed)
        qCWarning(lcPlatform).nospace()
            << "[OV] window 0x" << Qt::hex << w << " lost the input focus; the shortcut was not finished";
    std::free(xcb_get_input_focus_reply(d->connection, xcb_get_input_focus(d->connection), nullptr));
    return typed && d->alive() && (shortcut.keysym == 0 || !key.isEmpty());
}

QList<ScreenInfo> X11WindowControl::screens()
{
    QMutexLocker lock(&d->mutex);
    if (!d->alive())
        return {};
    xcb_connection_t *c = d->connection;
    ReplyCollector replies(c);
    const auto geometryCookie = xcb_get_geometry(c, d->root);
    // A request to an extension the server lacks would close the connection.
    const xcb_query_extension_reply_t *randr = xcb_get_extension_data(c, &xcb_randr_id);
    std::optional<xcb_randr_get_monitors_cookie_t> monitorsCookie;
    if (randr && randr->present)
        monitorsCookie = xcb_randr_get_monitors(c, d->root, 1);
    const auto desktopCookie =
        xcb_get_property(c, 0, d->root, d->atoms.netCurrentDesktop, XCB_ATOM_CARDINAL, 0, 1);
    const auto workareaCookie =
        xcb_get_property(c, 0, d->root, d->atoms.netWorkarea, XCB_ATOM_CARDINAL, 0, 4 * 64);
    const auto geometry = replies.take(xcb_get_geometry_reply, geometryCookie);
    const Reply<xcb_randr_get_monitors_reply_t> monitors =
        monitorsCookie ? replies.take(xcb_randr_get_monitors_reply, *monitorsCookie) : nullptr;
    const auto desktop = decodeCardinal(replies.property(desktopCookie).raw(), XCB_ATOM_CARDINAL);
    const auto workarea = decodeCardinals(replies.property(workareaCookie).raw(), XCB_ATOM_CARDINAL, 4 * 64);

    QList<ScreenInfo> out;
    if (monitors) {
        for (auto it = xcb_randr_get_monitors_monitors_iterator(monitors.get()); it.rem > 0;
             xcb_randr_monitor_info_next(&it)) {
            const xcb_randr_monitor_info_t *m = it.data;
            if (m->width > 0 && m->height > 0)
                out.append({QRectF(m->x, m->y, m->width, m->height), {}, m->primary != 0});
        }
    }
    if (out.isEmpty() && geometry)
        out.append({QRectF(0, 0, geometry->width, geometry->height), {}, true});
    // `_NET_WORKAREA` is one rectangle per desktop spanning all monitors: each
    // monitor's visible part is its share of it.
    const qsizetype index = desktop.hasValue() ? qsizetype(desktop.value) * 4 : 0;
    std::optional<QRectF> area;
    if (workarea.value.size() >= index + 4)
        area = QRectF(workarea.value[index], workarea.value[index + 1], workarea.value[index + 2],
                      workarea.value[index + 3]);
    bool anyMain = false;
    for (ScreenInfo &s : out) {
        const QRectF visible = area ? s.frame.intersected(*area) : s.frame;
        s.visibleFrame = visible.isEmpty() ? s.frame : visible;
        anyMain = anyMain || s.isMain;
    }
    if (!anyMain && !out.isEmpty())
        out.first().isMain = true;
    return out;
}

bool X11WindowControl::hasApplication(const QString &bundleID)
{
    return applauncher::exists(bundleID);
}

std::optional<QString> X11WindowControl::newWindowAction(const QString &bundleID)
{
    return applauncher::newWindowAction(bundleID);
}

LaunchOutcome X11WindowControl::launch(const QString &bundleID, const QString &action, QString *error,
                                       LaunchedProcess *started)
{
    std::uint32_t now = XCB_CURRENT_TIME;
    {
        QMutexLocker lock(&d->mutex);
        if (d->alive())
            now = d->timestamp();
    }
    // Without a server time the id still identifies the windows; only its _TIME part
    // says nothing, which window managers read as "unknown".
    return applauncher::launch(bundleID, action, applauncher::makeStartupID(bundleID, now), error, started);
}

} // namespace orvella::platform::x11
