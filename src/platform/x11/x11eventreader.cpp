// Turns the X events of the observer's connection into desktop events, keeping what they refer to.
#include "platform/x11/x11eventreader.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11replies.h"
#include "platform/x11/x11windowprobe.h"

#include <xcb/xcb.h>

namespace orvella::platform::x11 {

namespace {

using Kind = DesktopEvent::Kind;

constexpr std::uint32_t kMaxClients = 16384;
// A window manager being replaced leaves no check window for a moment; waiting this long
// before calling it gone turns the replacement into one change instead of two.
constexpr int kWindowManagerGraceMs = 2000;

DesktopEvent makeEvent(Kind kind, qint32 pid = 0, std::uint32_t window = 0)
{
    DesktopEvent e;
    e.kind = kind;
    e.pid = pid;
    e.window = qint64(window);
    return e;
}

void select(xcb_connection_t *connection, std::uint32_t window, std::uint32_t mask)
{
    xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &mask);
}

} // namespace

EventReader::EventReader(xcb_connection_t *connection, std::uint32_t root, const Atoms &atoms,
                         const WindowProbe &probe)
    : m_connection(connection)
    , m_root(root)
    , m_atoms(atoms)
    , m_probe(probe)
{}

void EventReader::readBaseline()
{
    // Selected before the read, so that no change after it goes unnoticed.
    select(m_connection, m_root, XCB_EVENT_MASK_PROPERTY_CHANGE);
    Events ignored;
    refreshRoot(ignored);
}

bool EventReader::handleQueued(Events &out)
{
    bool handled = false;
    QSet<std::pair<int, std::uint32_t>> seen; // one title or state change per window and wake-up
    while (xcb_generic_event_t *raw = xcb_poll_for_event(m_connection)) {
        const Reply<xcb_generic_event_t> owned(raw);
        handled = true;
        handle(raw, seen, out);
    }
    if (m_rootDirty || m_windowManagerGrace)
        refreshRoot(out);
    return handled;
}

int EventReader::msUntilDue() const
{
    return m_windowManagerGrace ? int(m_windowManagerGrace->remainingTime()) : -1;
}

void EventReader::handle(const void *event, QSet<std::pair<int, std::uint32_t>> &seen, Events &out)
{
    const auto *raw = static_cast<const xcb_generic_event_t *>(event);
    const std::uint8_t type = raw->response_type & 0x7f;
    if (type == 0) {
        // Selecting on a window that has just ended: expected, and harmless.
        const auto *error = static_cast<const xcb_generic_error_t *>(event);
        qCDebug(lcPlatform) << "[OV] X error" << error->error_code << "for resource" << error->resource_id;
    } else if (type == XCB_DESTROY_NOTIFY) {
        // The server gives a destroyed window's id to the next client that asks: a window
        // that ends between two reads of the client list may be back in it under another
        // process, so its end is taken from here and the list read again.
        const auto *e = static_cast<const xcb_destroy_notify_event_t *>(event);
        QMutexLocker lock(&m_mutex);
        if (e->window == m_watchedCheck || m_windows.contains(e->window))
            m_rootDirty = true;
        if (m_windows.contains(e->window))
            forget(e->window, out);
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto *e = static_cast<const xcb_property_notify_event_t *>(event);
        const Atoms &a = m_atoms;
        if (e->window == m_root) {
            m_rootDirty = m_rootDirty || e->atom == a.netClientList || e->atom == a.netActiveWindow
                          || e->atom == a.netSupportingWmCheck;
            return;
        }
        const bool title = e->atom == a.netWmName || e->atom == XCB_ATOM_WM_NAME;
        const bool state = e->atom == a.netWmState || e->atom == a.wmState || e->atom == a.netWmDesktop;
        if (!title && !state)
            return;
        const Kind kind = title ? Kind::TitleChanged : Kind::StateChanged;
        QMutexLocker lock(&m_mutex);
        const auto it = m_windows.constFind(e->window);
        // Events queued before unobserve() still arrive; they are no longer wanted.
        if (it != m_windows.cend() && m_observed.contains(*it) && !seen.contains({int(kind), e->window})) {
            seen.insert({int(kind), e->window});
            out.push_back(makeEvent(kind, *it, e->window));
        }
    }
}

void EventReader::refreshRoot(Events &out)
{
    m_rootDirty = false;
    xcb_connection_t *c = m_connection;
    const Atoms &a = m_atoms;
    const auto list = xcb_get_property(c, 0, m_root, a.netClientList, XCB_ATOM_WINDOW, 0, kMaxClients);
    const auto active = xcb_get_property(c, 0, m_root, a.netActiveWindow, XCB_ATOM_WINDOW, 0, 1);
    const auto check = xcb_get_property(c, 0, m_root, a.netSupportingWmCheck, XCB_ATOM_WINDOW, 0, 1);
    xcb_flush(c);
    ReplyCollector replies(c);
    const PropertyReply listReply = replies.property(list);
    const PropertyReply activeReply = replies.property(active);
    const PropertyReply checkReply = replies.property(check);
    if (xcb_connection_has_error(c))
        return;

    const auto listed = decodeCardinals(listReply.raw(), XCB_ATOM_WINDOW, kMaxClients);
    if (listed.state == DecodeState::Malformed)
        qCWarning(lcPlatform) << "[OV] _NET_CLIENT_LIST ignored:" << listed.problem
                              << "- keeping the windows known so far";
    else
        applyClients(listed.value, out);
    const auto activeValue = decodeCardinal(activeReply.raw(), XCB_ATOM_WINDOW);
    applyActive(activeValue.hasValue() ? activeValue.value : 0, out);
    const auto checkValue = decodeCardinal(checkReply.raw(), XCB_ATOM_WINDOW);
    applyWindowManager(checkValue.hasValue() ? confirmedCheck(checkValue.value) : 0, out);
}

void EventReader::applyClients(const QList<std::uint32_t> &listed, Events &out)
{
    QSet<std::uint32_t> current;
    QList<std::uint32_t> added;
    {
        QMutexLocker lock(&m_mutex);
        for (std::uint32_t w : listed) {
            if (w == XCB_NONE || w == m_root || current.contains(w))
                continue;
            current.insert(w);
            if (!m_windows.contains(w))
                added.append(w);
        }
    }
    // Its end is asked for before anything is read of it: a window that ends after this
    // reports it, and one that ends before cannot be read either, so an id that the server
    // hands to the next client in between is never taken for the old window.
    for (std::uint32_t w : std::as_const(added))
        select(m_connection, w, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    const std::vector<ProbedWindow> probed =
        added.isEmpty() ? std::vector<ProbedWindow>() : m_probe.probe(added);

    QMutexLocker lock(&m_mutex);
    QList<std::uint32_t> gone;
    for (auto it = m_windows.cbegin(); it != m_windows.cend(); ++it) {
        if (!current.contains(it.key()))
            gone.append(it.key());
    }
    for (std::uint32_t window : gone)
        forget(window, out);
    QHash<qint32, bool> launched; // pid -> regular, for the processes new in this batch
    for (const ProbedWindow &p : probed) {
        if (!p.vanished && p.pid != 0 && !m_windowCounts.contains(qint32(p.pid)))
            launched[qint32(p.pid)] = launched.value(qint32(p.pid)) || p.taskbar;
    }
    for (const ProbedWindow &p : probed) {
        if (p.vanished) {
            qCDebug(lcPlatform).nospace()
                << "[OV] window 0x" << Qt::hex << p.window << " closed while being read";
            continue;
        }
        const auto pid = qint32(p.pid);
        if (pid != 0 && !m_windowCounts.contains(pid)) {
            DesktopEvent e = makeEvent(Kind::AppLaunched, pid);
            e.regular = launched.value(pid);
            out.push_back(e);
        }
        m_windows.insert(p.window, pid);
        if (pid != 0)
            ++m_windowCounts[pid];
        out.push_back(makeEvent(Kind::WindowCreated, pid, p.window));
        // Its end is reported to this connection, and an observed process's new windows
        // are observed too. Only this connection's own mask on the window is extended;
        // other clients' masks are their own.
        const bool observed = pid != 0 && m_observed.contains(pid);
        select(m_connection, p.window,
               p.eventMask | XCB_EVENT_MASK_STRUCTURE_NOTIFY
                   | (observed ? XCB_EVENT_MASK_PROPERTY_CHANGE : 0));
    }
}

void EventReader::forget(std::uint32_t window, Events &out)
{
    const qint32 pid = m_windows.take(window);
    out.push_back(makeEvent(Kind::WindowDestroyed, pid, window));
    if (pid != 0 && --m_windowCounts[pid] <= 0) {
        m_windowCounts.remove(pid);
        out.push_back(makeEvent(Kind::AppTerminated, pid));
    }
}

void EventReader::applyActive(std::uint32_t window, Events &out)
{
    if (window == m_active)
        return;
    qint32 pid = 0;
    {
        QMutexLocker lock(&m_mutex);
        pid = m_windows.value(window, 0);
    }
    m_active = window;
    out.push_back(makeEvent(Kind::FocusChanged, pid, window));
    if (pid == m_activePid)
        return;
    if (m_activePid != 0)
        out.push_back(makeEvent(Kind::AppDeactivated, m_activePid));
    if (pid != 0)
        out.push_back(makeEvent(Kind::AppActivated, pid));
    m_activePid = pid;
}

void EventReader::applyWindowManager(std::uint32_t check, Events &out)
{
    if (check != m_watchedCheck) {
        // Its DestroyNotify tells that the window manager ended even when the root
        // property it leaves behind does not change.
        if (check != 0)
            select(m_connection, check, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
        m_watchedCheck = check;
    }
    if (check == m_windowManager) {
        m_windowManagerGrace.reset();
        return;
    }
    if (check == 0 && !m_windowManagerGrace) {
        m_windowManagerGrace = QDeadlineTimer(kWindowManagerGraceMs);
        return;
    }
    if (check == 0 && !m_windowManagerGrace->hasExpired())
        return;
    m_windowManagerGrace.reset();
    m_windowManager = check;
    out.push_back(makeEvent(Kind::WindowManagerChanged, 0, check));
}

std::uint32_t EventReader::confirmedCheck(std::uint32_t check) const
{
    if (check == XCB_NONE)
        return 0;
    // A window manager that died may leave the root property naming a window that is gone,
    // or one that another client now owns and that does not name itself.
    ReplyCollector replies(m_connection);
    const PropertyReply self = replies.property(
        xcb_get_property(m_connection, 0, check, m_atoms.netSupportingWmCheck, XCB_ATOM_WINDOW, 0, 1));
    const auto value = decodeCardinal(self.raw(), XCB_ATOM_WINDOW);
    return value.hasValue() && value.value == check ? check : 0;
}

bool EventReader::observe(qint32 pid, QList<std::uint32_t> *windows)
{
    QMutexLocker lock(&m_mutex);
    *windows = windowsOf(pid);
    if (windows->isEmpty())
        return false;
    m_observed.insert(pid);
    return true;
}

QList<std::uint32_t> EventReader::unobserve(qint32 pid)
{
    QMutexLocker lock(&m_mutex);
    return m_observed.remove(pid) ? windowsOf(pid) : QList<std::uint32_t>();
}

QList<std::uint32_t> EventReader::windowsOf(qint32 pid) const
{
    QList<std::uint32_t> out;
    for (auto it = m_windows.cbegin(); it != m_windows.cend(); ++it) {
        if (it.value() == pid)
            out.append(it.key());
    }
    return out;
}

} // namespace orvella::platform::x11
