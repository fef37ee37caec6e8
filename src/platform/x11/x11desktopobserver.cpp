// Desktop change notifications on X11, read on a thread of their own from a dedicated connection.
#include "platform/x11/x11desktopobserver.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11eventreader.h"
#include "platform/x11/x11replies.h"
#include "platform/x11/x11windowprobe.h"

#include <xcb/res.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

namespace orvella::platform::x11 {

namespace {

using Kind = DesktopEvent::Kind;

} // namespace

struct X11DesktopObserver::Private
{
    void run(quint64 generation);
    void post(quint64 generation, EventReader::Events events);
    /// Sets or clears PropertyChangeMask on `windows`, keeping the rest of this connection's mask.
    void selectProperties(const QList<std::uint32_t> &windows, bool on);
    bool usable() const { return !lost.load() && !xcb_connection_has_error(connection); }

    X11DesktopObserver *q = nullptr;
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = 0;
    Atoms atoms;
    std::unique_ptr<WindowProbe> probe;
    std::unique_ptr<EventReader> reader;
    bool hasScreenSaver = false;
    int wakeFd = -1;
    std::thread thread;
    std::atomic<bool> stopping{false};
    std::atomic<bool> lost{false};
    // The observer's thread only.
    bool running = false;
    quint64 generation = 0;
};

void X11DesktopObserver::Private::run(quint64 gen)
{
    pollfd fds[2] = {{xcb_get_file_descriptor(connection), POLLIN, 0}, {wakeFd, POLLIN, 0}};
    while (!stopping.load()) {
        EventReader::Events out;
        const bool handled = reader->handleQueued(out);
        post(gen, std::move(out));
        if (xcb_connection_has_error(connection)) {
            if (!lost.exchange(true)) {
                qCWarning(lcPlatform) << "[OV] X connection lost; window observation stopped";
                DesktopEvent e;
                e.kind = Kind::ConnectionLost;
                post(gen, {e});
            }
            return;
        }
        // Reading the root may have queued events inside xcb, where poll() cannot see them.
        if (handled)
            continue;
        xcb_flush(connection);
        if (::poll(fds, 2, reader->msUntilDue()) < 0 && errno != EINTR) {
            qCWarning(lcPlatform) << "[OV] waiting for X events failed:" << std::strerror(errno)
                                  << "- window observation stopped";
            return;
        }
    }
}

void X11DesktopObserver::Private::post(quint64 gen, EventReader::Events events)
{
    if (events.empty())
        return;
    for (const DesktopEvent &e : events)
        qCDebug(lcPlatform).nospace()
            << "[OV] " << eventName(e.kind) << " pid " << e.pid << " window 0x" << Qt::hex << e.window;
    QMetaObject::invokeMethod(
        q, [q = q, gen, events = std::move(events)] { q->deliver(gen, events); }, Qt::QueuedConnection);
}

void X11DesktopObserver::Private::selectProperties(const QList<std::uint32_t> &windows, bool on)
{
    if (windows.isEmpty() || !usable())
        return;
    std::vector<xcb_void_cookie_t> changes;
    for (const ProbedWindow &p : probe->probe(windows)) {
        if (p.vanished)
            continue;
        const std::uint32_t mask = on ? p.eventMask | XCB_EVENT_MASK_PROPERTY_CHANGE
                                      : p.eventMask & ~std::uint32_t(XCB_EVENT_MASK_PROPERTY_CHANGE);
        changes.push_back(
            xcb_change_window_attributes_checked(connection, p.window, XCB_CW_EVENT_MASK, &mask));
    }
    xcb_flush(connection);
    // Waiting for the answers means the server has applied the new masks: a change the
    // caller makes happen after this returns is reported. A window that has just ended
    // refuses its mask, which is no loss.
    for (const xcb_void_cookie_t cookie : changes)
        std::free(xcb_request_check(connection, cookie));
}

X11DesktopObserver::X11DesktopObserver()
    : d(std::make_unique<Private>())
{
    d->q = this;
}

X11DesktopObserver::~X11DesktopObserver()
{
    stop();
    d->reader.reset();
    if (d->wakeFd >= 0)
        ::close(d->wakeFd);
    if (d->connection)
        xcb_disconnect(d->connection);
}

std::unique_ptr<X11DesktopObserver> X11DesktopObserver::open(const QString &display, QString *error)
{
    std::unique_ptr<X11DesktopObserver> observer(new X11DesktopObserver());
    Private &p = *observer->d;
    const auto fail = [error](const QString &why) {
        if (error)
            *error = why;
        return nullptr;
    };
    QString why;
    const DisplayConnection display_ = connectToDisplay(display, &why);
    p.connection = display_.connection;
    if (!display_.screen)
        return fail(why);
    xcb_prefetch_extension_data(p.connection, &xcb_res_id);
    xcb_prefetch_extension_data(p.connection, &xcb_screensaver_id);
    if (!p.atoms.intern(p.connection))
        return fail(QStringLiteral("the X server did not answer the first requests"));
    p.root = display_.screen->root;
    p.wakeFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (p.wakeFd < 0)
        return fail(
            QStringLiteral("cannot create an eventfd: %1").arg(QString::fromLocal8Bit(std::strerror(errno))));
    p.probe = std::make_unique<WindowProbe>(p.connection, p.atoms, supportsClientIds(p.connection));
    p.reader = std::make_unique<EventReader>(p.connection, p.root, p.atoms, *p.probe);
    const xcb_query_extension_reply_t *saver = xcb_get_extension_data(p.connection, &xcb_screensaver_id);
    p.hasScreenSaver = saver && saver->present;
    if (!p.hasScreenSaver)
        qCInfo(lcPlatform) << "[OV] no MIT-SCREEN-SAVER on this server: the user's idle time is unknown";
    return observer;
}

bool X11DesktopObserver::start()
{
    if (d->running)
        return true;
    if (!d->usable()) {
        qCWarning(lcPlatform) << "[OV] cannot observe the desktop: no connection to the X server";
        return false;
    }
    // Read here rather than on the reader, so that observeProcess() works as soon as this returns.
    d->reader->readBaseline();
    if (xcb_connection_has_error(d->connection)) {
        qCWarning(lcPlatform) << "[OV] cannot observe the desktop: the X server stopped answering";
        return false;
    }
    d->running = true;
    d->stopping = false;
    const quint64 gen = ++d->generation;
    d->thread = std::thread([this, gen] { d->run(gen); });
    return true;
}

void X11DesktopObserver::stop()
{
    d->running = false;
    if (!d->thread.joinable())
        return;
    d->stopping = true;
    const std::uint64_t one = 1;
    if (::write(d->wakeFd, &one, sizeof one) < 0)
        qCWarning(lcPlatform) << "[OV] cannot wake the X reader:" << std::strerror(errno);
    d->thread.join();
    std::uint64_t count = 0;
    if (::read(d->wakeFd, &count, sizeof count) < 0 && errno != EAGAIN)
        qCDebug(lcPlatform) << "[OV] clearing the X reader's wake-up failed:" << std::strerror(errno);
}

bool X11DesktopObserver::observeProcess(qint32 pid)
{
    QList<std::uint32_t> windows;
    if (pid <= 0 || !d->usable() || !d->reader->observe(pid, &windows))
        return false;
    d->selectProperties(windows, true);
    return true;
}

void X11DesktopObserver::unobserveProcess(qint32 pid)
{
    d->selectProperties(d->reader->unobserve(pid), false);
}

std::optional<double> X11DesktopObserver::userIdleSeconds() const
{
    if (!d->hasScreenSaver || !d->usable())
        return std::nullopt;
    ReplyCollector replies(d->connection);
    const auto info =
        replies.take(xcb_screensaver_query_info_reply, xcb_screensaver_query_info(d->connection, d->root));
    if (!info)
        return std::nullopt;
    return double(info->ms_since_user_input) / 1000.0;
}

void X11DesktopObserver::deliver(quint64 gen, const std::vector<DesktopEvent> &events)
{
    for (const DesktopEvent &e : events) {
        // A receiver may stop the observer from inside the signal.
        if (!d->running || gen != d->generation)
            return;
        emit desktopEvent(e);
    }
}

} // namespace orvella::platform::x11
