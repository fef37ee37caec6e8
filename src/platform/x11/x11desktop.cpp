// The desktop seam on X11: applications, their windows and focus, read through xcb.
#include "platform/x11/x11desktop.h"

#include "logging.h"
#include "platform/linux/desktopentries.h"
#include "platform/linux/kernelparsers.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11clientreader.h"
#include "platform/x11/x11replies.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <QFile>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <unistd.h>

namespace orvella::platform::x11 {

namespace {

constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;

// Window-server layers, ordered as stacking puts them; only 0 means "an ordinary
// application window" to the core, the others just have to differ from it and each other.
constexpr int kDesktopLayer = -1000;
constexpr int kBelowLayer = -1;
constexpr int kAboveLayer = 3;
constexpr int kUtilityLayer = 8;
constexpr int kDockLayer = 20;
constexpr int kPopupLayer = 101;

bool isOrdinaryType(WindowType type)
{
    return type == WindowType::Normal || type == WindowType::Dialog || type == WindowType::Unset;
}

// What a taskbar lists: the windows an application shows as its own.
bool isTaskbarWindow(const ClientFacts &c)
{
    return isOrdinaryType(c.type) && !c.skipTaskbar;
}

int layerOf(const ClientFacts &c)
{
    switch (c.type) {
    case WindowType::Desktop: return kDesktopLayer;
    case WindowType::Dock: return kDockLayer;
    case WindowType::Toolbar:
    case WindowType::Menu:
    case WindowType::Utility: return kUtilityLayer;
    case WindowType::Splash:
    case WindowType::Other: return kPopupLayer;
    case WindowType::Normal:
    case WindowType::Dialog:
    case WindowType::Unset: break;
    }
    return c.above ? kAboveLayer : c.below ? kBelowLayer : 0;
}

bool isMinimized(const ClientFacts &c)
{
    return c.hidden || c.iconic;
}

bool onDesktop(const ClientFacts &c, std::optional<std::uint32_t> current)
{
    return !current || !c.desktop || *c.desktop == *current || *c.desktop == kAllDesktops;
}

// The kernel's short process name; empty when the process is gone or not ours to see.
QString processName(qint32 pid)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(64)).trimmed();
}

// 0 when the process is gone or its stat line does not parse.
quint64 processStartTime(qint32 pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return parsers::processStartTime(file.read(4096)).value_or(0);
}

ServerWindow serverWindow(const ClientFacts &c, std::optional<std::uint32_t> currentDesktop)
{
    ServerWindow w;
    w.number = c.window;
    w.layer = layerOf(c);
    // An iconified window is not drawn at all: saying so keeps the core from taking an
    // off-screen, full-size, opaque window for one that is merely covered.
    w.alpha = isMinimized(c) ? 0.0 : c.opacity.value_or(1.0);
    w.ownerPid = qint32(c.pid.value_or(0));
    w.bounds = QRectF(c.frame);
    w.name = c.title;
    w.onScreen = c.viewable && onDesktop(c, currentDesktop) && !c.hidden;
    return w;
}

AppWindow appWindow(const ClientFacts &c, int clientIndex)
{
    return {c.title.value_or(QString()),
            QRectF(c.frame),
            isMinimized(c),
            qint64(c.window),
            clientIndex,
            c.fullscreen,
            c.startupID};
}

// Topmost first; windows the stacking list does not know keep their client-list order.
QList<const ClientFacts *> topmostFirst(QList<const ClientFacts *> clients)
{
    std::stable_sort(clients.begin(), clients.end(), [](const ClientFacts *a, const ClientFacts *b) {
        return a->stackingPosition > b->stackingPosition;
    });
    return clients;
}

} // namespace

struct X11Desktop::Private
{
    ~Private()
    {
        reader.reset();
        if (connection)
            xcb_disconnect(connection);
    }

    std::optional<DesktopEntry> identify(const ClientFacts &c) const;
    RunningApp runningApp(qint32 pid, const QList<const ClientFacts *> &clients) const;
    DesktopSnapshot snapshot(const DesktopFacts &facts) const;

    xcb_connection_t *connection = nullptr;
    Atoms atoms;
    std::unique_ptr<ClientReader> reader;
    DesktopEntries entries;
    std::atomic<bool> trusted{false};
    std::atomic<bool> lossReported{false};
    qint32 ownPid = 0;
};

std::optional<DesktopEntry> X11Desktop::Private::identify(const ClientFacts &c) const
{
    // The explicit ids name the entry exactly; WM_CLASS is a guess, class before instance.
    for (const QString &id : {c.gtkApplicationId, c.kdeDesktopFile}) {
        if (auto entry = id.isEmpty() ? std::nullopt : entries.byId(id))
            return entry;
    }
    if (!c.wmClass)
        return std::nullopt;
    if (auto entry = entries.byWmClass(c.wmClass->className))
        return entry;
    return entries.byWmClass(c.wmClass->instance);
}

RunningApp X11Desktop::Private::runningApp(qint32 pid, const QList<const ClientFacts *> &clients) const
{
    RunningApp app;
    app.pid = pid;
    QString className;
    for (const ClientFacts *c : clients) {
        app.regular = app.regular || isTaskbarWindow(*c);
        if (!app.bundleID) {
            if (const auto entry = identify(*c)) {
                app.bundleID = entry->id;
                app.name = entry->name;
                app.iconName = entry->iconName;
            }
        }
        if (className.isEmpty() && c->wmClass)
            className = c->wmClass->className;
        if (app.icon.isNull())
            app.icon = c->icon;
    }
    if (app.name.isEmpty())
        app.name = className.isEmpty() ? processName(pid) : className;
    app.startTime = processStartTime(pid);
    return app;
}

DesktopSnapshot X11Desktop::Private::snapshot(const DesktopFacts &facts) const
{
    DesktopSnapshot out;
    QList<qint32> pids;
    QHash<qint32, QList<const ClientFacts *>> clientsByPid;
    QList<const ClientFacts *> all;
    all.reserve(facts.clients.size());
    for (const ClientFacts &c : facts.clients) {
        all.append(&c);
        if (!c.pid)
            continue;
        const auto pid = qint32(*c.pid);
        auto it = clientsByPid.find(pid);
        if (it == clientsByPid.end()) {
            pids.append(pid);
            it = clientsByPid.insert(pid, {});
        }
        it->append(&c);
    }

    for (qint32 pid : pids) {
        const QList<const ClientFacts *> &clients = clientsByPid[pid];
        out.apps.append(runningApp(pid, clients));
        // The client list keeps mapping order, so a window's place in it survives raises.
        QHash<const ClientFacts *, int> clientIndex;
        for (const ClientFacts *c : clients) {
            if (isTaskbarWindow(*c))
                clientIndex.insert(c, int(clientIndex.size()));
        }
        QList<AppWindow> windows;
        for (const ClientFacts *c : topmostFirst(clients)) {
            if (isTaskbarWindow(*c))
                windows.append(appWindow(*c, clientIndex.value(c)));
        }
        out.windowsByPid.insert(pid, windows);
    }

    QList<ServerWindow> server;
    server.reserve(all.size());
    for (const ClientFacts *c : topmostFirst(all)) {
        server.append(serverWindow(*c, facts.currentDesktop));
        if (facts.activeWindow == c->window) {
            out.frontmostPid = qint32(c->pid.value_or(0));
            out.focusedTitle = c->title.value_or(QString());
        }
    }
    out.serverWindows = std::move(server);
    return out;
}

X11Desktop::X11Desktop()
    : d(std::make_unique<Private>())
{
    d->ownPid = qint32(::getpid());
}

X11Desktop::~X11Desktop() = default;

std::shared_ptr<X11Desktop> X11Desktop::open(const QString &display, QString *error)
{
    const DisplayConnection display_ = connectToDisplay(display, error);
    xcb_connection_t *c = display_.connection;
    std::shared_ptr<X11Desktop> desktop(new X11Desktop());
    desktop->d->connection = c;
    if (!display_.screen)
        return nullptr;
    xcb_prefetch_extension_data(c, &xcb_res_id);
    if (!desktop->d->atoms.intern(c)) {
        if (error)
            *error = QStringLiteral("the X server did not answer the first requests");
        return nullptr;
    }

    const bool hasXRes = supportsClientIds(c);
    if (!hasXRes)
        qCInfo(lcPlatform)
            << "[OV] no X-Resource 1.2 on this server: windows without _NET_WM_PID have no process";

    desktop->d->reader = std::make_unique<ClientReader>(c, display_.screen->root, desktop->d->atoms, hasXRes);
    const std::optional<DesktopFacts> check = desktop->d->reader->read(false);
    desktop->d->trusted = check && check->trusted;
    return desktop;
}

bool X11Desktop::isTrusted() const
{
    return d->trusted.load();
}

DesktopSnapshot X11Desktop::readSnapshot()
{
    std::optional<DesktopFacts> facts;
    if (!xcb_connection_has_error(d->connection))
        facts = d->reader->read();
    if (!facts) {
        d->trusted = false;
        // xcb never recovers a broken connection: one line says it, the rest is silence.
        if (!d->lossReported.exchange(true))
            qCWarning(lcPlatform) << "[OV] the connection to the X server is lost; no windows can be read";
        return {};
    }
    d->trusted = facts->trusted;
    return d->snapshot(*facts);
}

qint32 X11Desktop::ownPid() const
{
    return d->ownPid;
}

LaunchWatch X11Desktop::watchForLaunch()
{
    return d->reader->watchLaunch();
}

} // namespace orvella::platform::x11
