// The docked sidebar on X11: EWMH dock and strut properties, an edge window and a key grab.
#include "platform/x11/x11panelhost.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11replies.h"

#include <QKeySequence>
#include <QSocketNotifier>
#include <QWindow>

#include <array>

namespace orvella::platform::x11 {

namespace {

constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;
constexpr std::uint8_t kGrabKeyRequest = 33;
// A grabbed key must work whatever the state of Caps Lock and Num Lock (Mod2).
constexpr std::array<std::uint16_t, 4> kLockVariants{0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                                     XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

struct KeyChoice
{
    std::uint32_t keysym = 0;
    std::uint16_t modifiers = 0;
};

// Letters, digits, function keys and Space: the keys a global shortcut is made of.
std::optional<KeyChoice> keyChoice(const QString &text)
{
    const QKeySequence sequence = QKeySequence::fromString(text, QKeySequence::PortableText);
    if (sequence.count() != 1)
        return std::nullopt;
    const QKeyCombination combination = sequence[0];
    const int key = combination.key();
    KeyChoice choice;
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        choice.keysym = std::uint32_t('a' + (key - Qt::Key_A));
    else if (key >= Qt::Key_0 && key <= Qt::Key_9)
        choice.keysym = std::uint32_t('0' + (key - Qt::Key_0));
    else if (key >= Qt::Key_F1 && key <= Qt::Key_F12)
        choice.keysym = 0xffbe + std::uint32_t(key - Qt::Key_F1);
    else if (key == Qt::Key_Space)
        choice.keysym = 0x20;
    else
        return std::nullopt;
    const Qt::KeyboardModifiers mods = combination.keyboardModifiers();
    if (mods & Qt::ShiftModifier)
        choice.modifiers |= XCB_MOD_MASK_SHIFT;
    if (mods & Qt::ControlModifier)
        choice.modifiers |= XCB_MOD_MASK_CONTROL;
    if (mods & Qt::AltModifier)
        choice.modifiers |= XCB_MOD_MASK_1;
    if (mods & Qt::MetaModifier)
        choice.modifiers |= XCB_MOD_MASK_4;
    return choice;
}

} // namespace

struct X11PanelHost::Private
{
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = XCB_NONE;
    Atoms atoms;
    QSocketNotifier *notifier = nullptr;
    xcb_window_t edgeWindow = XCB_NONE;
    QString hotkey;
    xcb_keycode_t hotkeyCode = 0;
    std::uint16_t hotkeyModifiers = 0;
    xcb_timestamp_t lastRelease = 0;
    bool reportedTaken = false;

    bool alive() const { return connection && !xcb_connection_has_error(connection); }
    void sync() const
    {
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    }
    void setAtoms(xcb_window_t window, std::uint32_t property,
                  std::initializer_list<std::uint32_t> values) const
    {
        const std::vector<std::uint32_t> list(values);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, XCB_ATOM_ATOM, 32,
                            std::uint32_t(list.size()), list.data());
    }
};

X11PanelHost::X11PanelHost()
    : d(std::make_unique<Private>())
{}

X11PanelHost::~X11PanelHost()
{
    if (d->alive()) {
        ungrab();
        if (d->edgeWindow != XCB_NONE)
            xcb_destroy_window(d->connection, d->edgeWindow);
        xcb_flush(d->connection);
    }
    if (d->connection)
        xcb_disconnect(d->connection);
}

std::unique_ptr<X11PanelHost> X11PanelHost::open(const QString &display, QString *error)
{
    const DisplayConnection display_ = connectToDisplay(display, error);
    xcb_connection_t *c = display_.connection;
    std::unique_ptr<X11PanelHost> host(new X11PanelHost);
    host->d->connection = c;
    if (!display_.screen)
        return nullptr;
    if (!host->d->atoms.intern(c)) {
        if (error)
            *error = QStringLiteral("the X server did not answer the first requests");
        return nullptr;
    }
    host->d->root = display_.screen->root;
    X11PanelHost *self = host.get();
    host->d->notifier = new QSocketNotifier(xcb_get_file_descriptor(c), QSocketNotifier::Read, self);
    connect(host->d->notifier, &QSocketNotifier::activated, self, [self] { self->drain(); });
    return host;
}

void X11PanelHost::makeDock(QWindow &window)
{
    if (!d->alive())
        return;
    const auto w = xcb_window_t(window.winId());
    const Atoms &a = d->atoms;
    d->setAtoms(w, a.netWmWindowType, {a.netWmWindowTypeDock});
    d->setAtoms(w, a.netWmState,
                {a.netWmStateSticky, a.netWmStateSkipTaskbar, a.netWmStateSkipPager, a.netWmStateAbove});
    xcb_change_property(d->connection, XCB_PROP_MODE_REPLACE, w, a.netWmDesktop, XCB_ATOM_CARDINAL, 32, 1,
                        &kAllDesktops);
    // The window manager reads the type when the window is mapped, and the toolkit maps it on
    // another connection: these properties must have reached the server before that.
    d->sync();
    drain();
}

void X11PanelHost::reserveEdge(QWindow &window, Edge edge, const QRect &monitor, int width)
{
    if (!d->alive())
        return;
    const auto w = xcb_window_t(window.winId());
    if (width <= 0 || monitor.isEmpty()) {
        xcb_delete_property(d->connection, w, d->atoms.netWmStrutPartial);
        xcb_delete_property(d->connection, w, d->atoms.netWmStrut);
        xcb_flush(d->connection);
        return;
    }
    // Struts are measured from the root window's edges, so a right edge needs the root's width.
    const Reply<xcb_get_geometry_reply_t> root(
        xcb_get_geometry_reply(d->connection, xcb_get_geometry(d->connection, d->root), nullptr));
    if (!root) {
        qCWarning(lcPlatform) << "[OV] panel: the root window's size is unreadable; the edge stays free";
        return;
    }
    std::array<std::uint32_t, 12> strut{};
    const auto top = std::uint32_t(monitor.top());
    const auto bottom = std::uint32_t(monitor.bottom());
    if (edge == Edge::Left) {
        strut[0] = std::uint32_t(monitor.left() + width);
        strut[4] = top;
        strut[5] = bottom;
    } else {
        strut[1] = std::uint32_t(std::max(0, int(root->width) - (monitor.right() + 1) + width));
        strut[6] = top;
        strut[7] = bottom;
    }
    xcb_change_property(d->connection, XCB_PROP_MODE_REPLACE, w, d->atoms.netWmStrutPartial,
                        XCB_ATOM_CARDINAL, 32, std::uint32_t(strut.size()), strut.data());
    xcb_change_property(d->connection, XCB_PROP_MODE_REPLACE, w, d->atoms.netWmStrut, XCB_ATOM_CARDINAL, 32,
                        4, strut.data());
    xcb_flush(d->connection);
    drain();
}

void X11PanelHost::watchEdge(const QRect &strip)
{
    if (!d->alive())
        return;
    if (strip.isEmpty()) {
        if (d->edgeWindow != XCB_NONE)
            xcb_destroy_window(d->connection, d->edgeWindow);
        d->edgeWindow = XCB_NONE;
        xcb_flush(d->connection);
        return;
    }
    if (d->edgeWindow == XCB_NONE) {
        d->edgeWindow = xcb_generate_id(d->connection);
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_ENTER_WINDOW};
        xcb_create_window(d->connection, 0, d->edgeWindow, d->root, std::int16_t(strip.x()),
                          std::int16_t(strip.y()), std::uint16_t(strip.width()),
                          std::uint16_t(strip.height()), 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    } else {
        const std::uint32_t geometry[] = {std::uint32_t(strip.x()), std::uint32_t(strip.y()),
                                          std::uint32_t(strip.width()), std::uint32_t(strip.height())};
        xcb_configure_window(d->connection, d->edgeWindow,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH
                                 | XCB_CONFIG_WINDOW_HEIGHT,
                             geometry);
    }
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(d->connection, d->edgeWindow, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_map_window(d->connection, d->edgeWindow);
    xcb_flush(d->connection);
}

bool X11PanelHost::setHotkey(const QString &keys)
{
    if (!d->alive())
        return false;
    ungrab();
    d->hotkey.clear();
    if (keys.trimmed().isEmpty())
        return true;
    const std::optional<KeyChoice> choice = keyChoice(keys);
    const QList<xcb_keycode_t> codes =
        choice ? keycodesFor(d->connection, choice->keysym) : QList<xcb_keycode_t>();
    if (codes.isEmpty()) {
        qCWarning(lcPlatform).noquote()
            << "[OV] hot key" << keys << "names no key of this keyboard; none is set";
        return false;
    }
    d->hotkey = keys;
    d->hotkeyCode = codes.first();
    d->hotkeyModifiers = choice->modifiers;
    d->reportedTaken = false;
    for (const std::uint16_t lock : kLockVariants) {
        xcb_grab_key(d->connection, 1, d->root, d->hotkeyModifiers | lock, d->hotkeyCode, XCB_GRAB_MODE_ASYNC,
                     XCB_GRAB_MODE_ASYNC);
    }
    xcb_flush(d->connection);
    qCInfo(lcPlatform).noquote() << "[OV] hot key" << keys << "requested";
    return true;
}

void X11PanelHost::ungrab()
{
    if (d->hotkeyCode == 0)
        return;
    for (const std::uint16_t lock : kLockVariants)
        xcb_ungrab_key(d->connection, d->hotkeyCode, d->root, d->hotkeyModifiers | lock);
    d->hotkeyCode = 0;
    xcb_flush(d->connection);
}

void X11PanelHost::drain()
{
    while (xcb_generic_event_t *event = xcb_poll_for_event(d->connection)) {
        const Reply<xcb_generic_event_t> owned(event);
        const std::uint8_t type = event->response_type & 0x7f;
        if (type == 0) {
            const auto *error = reinterpret_cast<const xcb_generic_error_t *>(event);
            if (error->major_code == kGrabKeyRequest && error->error_code == XCB_ACCESS
                && !d->reportedTaken) {
                d->reportedTaken = true;
                const QString keys = d->hotkey;
                qCWarning(lcPlatform).noquote() << "[OV] hot key" << keys << "is taken by another program";
                ungrab();
                emit hotkeyTaken(keys);
            }
        } else if (type == XCB_ENTER_NOTIFY) {
            if (reinterpret_cast<const xcb_enter_notify_event_t *>(event)->event == d->edgeWindow)
                emit edgeTouched();
        } else if (type == XCB_KEY_RELEASE) {
            d->lastRelease = reinterpret_cast<const xcb_key_release_event_t *>(event)->time;
        } else if (type == XCB_KEY_PRESS) {
            const auto *press = reinterpret_cast<const xcb_key_press_event_t *>(event);
            // Auto-repeat sends a release and a press with one time stamp: one toggle per press.
            const std::uint16_t mods = press->state & ~(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
            if (press->detail == d->hotkeyCode && mods == d->hotkeyModifiers && press->time != d->lastRelease)
                emit hotkeyPressed();
        }
    }
    if (!d->alive() && d->notifier->isEnabled()) {
        d->notifier->setEnabled(false);
        qCWarning(lcPlatform) << "[OV] panel: the X connection was lost; edge and hot key stop";
    }
}

} // namespace orvella::platform::x11
