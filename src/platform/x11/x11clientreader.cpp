// Reads the root window's lists and every managed client's properties in three round trips.
#include "platform/x11/x11clientreader.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11replies.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <QHash>
#include <QSet>

namespace orvella::platform::x11 {

namespace {

// Bounds on what one property can make a read transfer (in 32-bit units).
constexpr std::uint32_t kMaxClients = 16384;
constexpr std::uint32_t kMaxSupportedAtoms = 4096;
constexpr std::uint32_t kMaxTypeAtoms = 32;
constexpr std::uint32_t kMaxStateAtoms = 64;
constexpr std::uint32_t kMaxIdWords = 64; // WM_CLASS and application ids: 256 bytes
// Width, height and one pixel: anything shorter cannot hold an icon.
constexpr std::uint32_t kMinIconBytes = 12;
constexpr std::uint32_t kIconicState = 3;
// WM_HINTS: nine items, the flags first and the group leader last when this flag is set.
constexpr qsizetype kWmHintsItems = 9;
constexpr std::uint32_t kWindowGroupHint = 1u << 6;

} // namespace

struct ClientReader::RootReplies
{
    PropertyReply clientList, stacking, activeWindow, currentDesktop, check, supported;
};

struct ClientReader::ClientCookies
{
    xcb_window_t window;
    xcb_get_property_cookie_t netWmName, wmName, pid, wmClass, type, state, wmState, desktop, extents,
        opacity, gtkApplicationId, kdeDesktopFile, iconSize;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t origin;
    xcb_get_window_attributes_cookie_t attributes;
    /// Only for windows read for their startup id.
    std::optional<xcb_get_property_cookie_t> startupID, hints;
};

struct ClientReader::ReadClient
{
    ClientFacts facts;
    std::uint32_t iconBytes = 0; ///< the size of a plausible `_NET_WM_ICON`, 0 when none
    bool vanished = false;
    /// Read for its startup id; the group leader whose id stands in when it has none.
    bool startupRead = false;
    std::uint32_t groupLeader = 0;
};

struct ClientReader::StartupWatch
{
    QMutex mutex;
    int watches = 0;
    /// The client list of the latest read.
    QList<std::uint32_t> lastClients;
    /// Listed before the first watch began: no launched window, so never read.
    QSet<std::uint32_t> before;
    /// What reads learned while watching, per listed window; absent: it has no startup id.
    QHash<std::uint32_t, std::optional<QString>> learned;
};

struct ClientReader::LateCookies
{
    ReadClient *client;
    std::optional<xcb_res_query_client_ids_cookie_t> clientIds;
    std::optional<xcb_get_property_cookie_t> icon;
};

ClientReader::ClientReader(xcb_connection_t *connection, std::uint32_t root, const Atoms &atoms, bool hasXRes)
    : m_connection(connection)
    , m_root(root)
    , m_atoms(atoms)
    , m_hasXRes(hasXRes)
    , m_startup(std::make_shared<StartupWatch>())
{}

std::shared_ptr<void> ClientReader::watchLaunch()
{
    const std::shared_ptr<StartupWatch> state = m_startup;
    {
        QMutexLocker lock(&state->mutex);
        if (state->watches++ == 0)
            state->before = QSet<std::uint32_t>(state->lastClients.begin(), state->lastClients.end());
    }
    return std::shared_ptr<void>(state.get(), [state](void *) {
        QMutexLocker lock(&state->mutex);
        if (--state->watches == 0) {
            state->before.clear();
            state->learned.clear();
        }
    });
}

std::optional<DesktopFacts> ClientReader::read(bool withClients) const
{
    const std::optional<RootReplies> root = readRoot();
    if (!root)
        return std::nullopt;
    const Atoms &a = m_atoms;
    DesktopFacts facts;
    const auto check = decodeCardinal(root->check.raw(), XCB_ATOM_WINDOW);
    const auto supported = decodeCardinals(root->supported.raw(), XCB_ATOM_ATOM, kMaxSupportedAtoms);
    const auto clientList = decodeCardinals(root->clientList.raw(), XCB_ATOM_WINDOW, kMaxClients);
    const auto stacking = decodeCardinals(root->stacking.raw(), XCB_ATOM_WINDOW, kMaxClients);
    const auto active = decodeCardinal(root->activeWindow.raw(), XCB_ATOM_WINDOW);
    const auto desktop = decodeCardinal(root->currentDesktop.raw(), XCB_ATOM_CARDINAL);
    note(m_root, "_NET_CLIENT_LIST", clientList);
    note(m_root, "_NET_CLIENT_LIST_STACKING", stacking);
    if (active.hasValue() && active.value != XCB_NONE)
        facts.activeWindow = active.value;
    if (desktop.hasValue())
        facts.currentDesktop = desktop.value;

    // Round two: every request about every client goes out before one reply is read.
    std::optional<xcb_get_property_cookie_t> checkCookie;
    if (check.hasValue())
        checkCookie =
            xcb_get_property(m_connection, 0, check.value, a.netSupportingWmCheck, XCB_ATOM_WINDOW, 0, 1);
    std::vector<ClientCookies> pending;
    if (withClients) {
        bool watching = false;
        QSet<std::uint32_t> before;
        QHash<std::uint32_t, std::optional<QString>> learned;
        {
            QMutexLocker lock(&m_startup->mutex);
            watching = m_startup->watches > 0;
            before = m_startup->before;
            learned = m_startup->learned;
        }
        pending.reserve(size_t(clientList.value.size()));
        QSet<std::uint32_t> requested;
        for (std::uint32_t window : clientList.value) {
            // Any client can write the list: one naming the root or a window twice would list
            // the desktop itself, or a window twice.
            if (window == XCB_NONE || window == m_root || requested.contains(window))
                continue;
            requested.insert(window);
            pending.push_back(
                requestClient(window, watching && !before.contains(window) && !learned.contains(window)));
        }
    }
    // xcb writes a full buffer on its own but flushes only up to the request awaited: the
    // tail of the batch would otherwise wait for the first reply, costing a round trip.
    xcb_flush(m_connection);

    if (checkCookie) {
        ReplyCollector replies(m_connection);
        const auto self = decodeCardinal(replies.property(*checkCookie).raw(), XCB_ATOM_WINDOW);
        // A stale check window left by a window manager that died names nothing, or not itself.
        facts.trusted = self.hasValue() && self.value == check.value
                        && supported.value.contains(a.netClientList)
                        && supported.value.contains(a.netActiveWindow);
    }
    QHash<std::uint32_t, int> stackingPosition;
    for (qsizetype i = 0; i < stacking.value.size(); ++i)
        stackingPosition.insert(stacking.value[i], int(i));
    std::vector<ReadClient> clients;
    clients.reserve(pending.size());
    for (const ClientCookies &cookies : pending) {
        if (std::optional<ReadClient> client = collectClient(cookies)) {
            client->facts.stackingPosition = stackingPosition.value(cookies.window, -1);
            clients.push_back(std::move(*client));
        }
    }
    if (xcb_connection_has_error(m_connection))
        return std::nullopt;

    readLate(clients);
    if (xcb_connection_has_error(m_connection))
        return std::nullopt;
    if (withClients)
        settleStartupIDs(clientList.value, clients);
    facts.clients.reserve(qsizetype(clients.size()));
    for (ReadClient &client : clients) {
        if (!client.vanished)
            facts.clients.append(std::move(client.facts));
    }
    return facts;
}

std::optional<ClientReader::RootReplies> ClientReader::readRoot() const
{
    const Atoms &a = m_atoms;
    xcb_connection_t *c = m_connection;
    const auto get = [c, this](std::uint32_t property, xcb_atom_t type, std::uint32_t length) {
        return xcb_get_property(c, 0, m_root, property, type, 0, length);
    };
    const auto clientList = get(a.netClientList, XCB_ATOM_WINDOW, kMaxClients);
    const auto stacking = get(a.netClientListStacking, XCB_ATOM_WINDOW, kMaxClients);
    const auto activeWindow = get(a.netActiveWindow, XCB_ATOM_WINDOW, 1);
    const auto currentDesktop = get(a.netCurrentDesktop, XCB_ATOM_CARDINAL, 1);
    const auto check = get(a.netSupportingWmCheck, XCB_ATOM_WINDOW, 1);
    const auto supported = get(a.netSupported, XCB_ATOM_ATOM, kMaxSupportedAtoms);
    xcb_flush(c);

    ReplyCollector replies(c);
    RootReplies out{replies.property(clientList),   replies.property(stacking),
                    replies.property(activeWindow), replies.property(currentDesktop),
                    replies.property(check),        replies.property(supported)};
    if (xcb_connection_has_error(c))
        return std::nullopt;
    return out;
}

ClientReader::ClientCookies ClientReader::requestClient(std::uint32_t window, bool startupID) const
{
    const Atoms &a = m_atoms;
    xcb_connection_t *c = m_connection;
    const auto get = [c, window](std::uint32_t property, xcb_atom_t type, std::uint32_t length) {
        return xcb_get_property(c, 0, window, property, type, 0, length);
    };
    constexpr std::uint32_t titleWords = kMaxTitleBytes / 4;
    return ClientCookies{
        .window = window,
        .netWmName = get(a.netWmName, a.utf8String, titleWords),
        .wmName = get(XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, titleWords),
        .pid = get(a.netWmPid, XCB_ATOM_CARDINAL, 1),
        .wmClass = get(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, kMaxIdWords),
        .type = get(a.netWmWindowType, XCB_ATOM_ATOM, kMaxTypeAtoms),
        .state = get(a.netWmState, XCB_ATOM_ATOM, kMaxStateAtoms),
        .wmState = get(a.wmState, a.wmState, 1),
        .desktop = get(a.netWmDesktop, XCB_ATOM_CARDINAL, 1),
        .extents = get(a.netFrameExtents, XCB_ATOM_CARDINAL, 4),
        .opacity = get(a.netWmWindowOpacity, XCB_ATOM_CARDINAL, 1),
        .gtkApplicationId = get(a.gtkApplicationId, XCB_GET_PROPERTY_TYPE_ANY, kMaxIdWords),
        .kdeDesktopFile = get(a.kdeNetWmDesktopFile, XCB_GET_PROPERTY_TYPE_ANY, kMaxIdWords),
        // Length 0: only the type and size. The pixels are fetched later, once per process.
        .iconSize = get(a.netWmIcon, XCB_ATOM_CARDINAL, 0),
        .geometry = xcb_get_geometry(c, window),
        .origin = xcb_translate_coordinates(c, window, m_root, 0, 0),
        .attributes = xcb_get_window_attributes(c, window),
        .startupID = startupID ? std::optional(get(a.netStartupId, a.utf8String, kMaxIdWords)) : std::nullopt,
        .hints = startupID ? std::optional(get(XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, kWmHintsItems))
                           : std::nullopt,
    };
}

std::optional<ClientReader::ReadClient> ClientReader::collectClient(const ClientCookies &k) const
{
    const Atoms &a = m_atoms;
    ReplyCollector replies(m_connection);
    const PropertyReply netWmName = replies.property(k.netWmName), wmName = replies.property(k.wmName),
                        pid = replies.property(k.pid), wmClass = replies.property(k.wmClass),
                        type = replies.property(k.type), state = replies.property(k.state),
                        wmState = replies.property(k.wmState), desktop = replies.property(k.desktop),
                        extents = replies.property(k.extents), opacity = replies.property(k.opacity),
                        gtkId = replies.property(k.gtkApplicationId),
                        kdeFile = replies.property(k.kdeDesktopFile), iconSize = replies.property(k.iconSize);
    const auto geometry = replies.take(xcb_get_geometry_reply, k.geometry);
    const auto origin = replies.take(xcb_translate_coordinates_reply, k.origin);
    const auto attributes = replies.take(xcb_get_window_attributes_reply, k.attributes);
    const PropertyReply startupID = k.startupID ? replies.property(*k.startupID) : PropertyReply();
    const PropertyReply hints = k.hints ? replies.property(*k.hints) : PropertyReply();
    if (replies.vanished()) {
        qCDebug(lcPlatform).nospace()
            << "[OV] window 0x" << Qt::hex << k.window << " closed while being read";
        return std::nullopt;
    }

    ReadClient out;
    ClientFacts &f = out.facts;
    f.window = k.window;
    const auto netTitle = decodeUtf8Text(netWmName.raw(), a.utf8String);
    const auto legacyTitle = decodeLegacyText(wmName.raw(), a.utf8String);
    note(k.window, "_NET_WM_NAME", netTitle);
    note(k.window, "WM_NAME", legacyTitle);
    if (netTitle.hasValue() && (!netTitle.value.isEmpty() || !legacyTitle.hasValue()))
        f.title = netTitle.value;
    else if (legacyTitle.hasValue())
        f.title = legacyTitle.value;

    const auto pidValue = decodeCardinal(pid.raw(), XCB_ATOM_CARDINAL);
    note(k.window, "_NET_WM_PID", pidValue);
    if (pidValue.hasValue() && pidValue.value > 0 && pidValue.value <= kMaxPid)
        f.pid = pidValue.value;
    const auto classValue = decodeWmClass(wmClass.raw());
    note(k.window, "WM_CLASS", classValue);
    if (classValue.hasValue())
        f.wmClass = classValue.value;
    f.gtkApplicationId = decodeLegacyText(gtkId.raw(), a.utf8String).value;
    f.kdeDesktopFile = decodeLegacyText(kdeFile.raw(), a.utf8String).value;

    const auto types = decodeCardinals(type.raw(), XCB_ATOM_ATOM, kMaxTypeAtoms);
    note(k.window, "_NET_WM_WINDOW_TYPE", types);
    f.type = windowType(types.value);
    const auto states = decodeCardinals(state.raw(), XCB_ATOM_ATOM, kMaxStateAtoms);
    note(k.window, "_NET_WM_STATE", states);
    f.skipTaskbar = states.value.contains(a.netWmStateSkipTaskbar);
    f.hidden = states.value.contains(a.netWmStateHidden);
    f.fullscreen = states.value.contains(a.netWmStateFullscreen);
    f.above = states.value.contains(a.netWmStateAbove);
    f.below = states.value.contains(a.netWmStateBelow);
    const auto icccmState = decodeCardinal(wmState.raw(), a.wmState);
    note(k.window, "WM_STATE", icccmState);
    f.iconic = icccmState.hasValue() && icccmState.value == kIconicState;

    const auto desktopValue = decodeCardinal(desktop.raw(), XCB_ATOM_CARDINAL);
    note(k.window, "_NET_WM_DESKTOP", desktopValue);
    if (desktopValue.hasValue())
        f.desktop = desktopValue.value;
    const auto opacityValue = decodeCardinal(opacity.raw(), XCB_ATOM_CARDINAL);
    note(k.window, "_NET_WM_WINDOW_OPACITY", opacityValue);
    if (opacityValue.hasValue())
        f.opacity = double(opacityValue.value) / double(0xffffffffu);
    f.viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    if (geometry && origin && origin->same_screen) {
        const auto frame = decodeFrameExtents(extents.raw());
        note(k.window, "_NET_FRAME_EXTENTS", frame);
        const FrameExtents &e = frame.value;
        f.frame = QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height)
                      .adjusted(-int(e.left), -int(e.top), int(e.right), int(e.bottom));
    }

    if (k.startupID) {
        out.startupRead = true;
        const auto id = decodeUtf8Text(startupID.raw(), a.utf8String);
        note(k.window, "_NET_STARTUP_ID", id);
        if (id.hasValue() && !id.value.isEmpty())
            f.startupID = id.value;
        const QList<std::uint32_t> h = decodeCardinals(hints.raw(), XCB_ATOM_WM_HINTS, kWmHintsItems).value;
        if (h.size() == kWmHintsItems && (h[0] & kWindowGroupHint) && h[8] != XCB_NONE && h[8] != k.window)
            out.groupLeader = h[8];
    }

    const RawProperty icon = iconSize.raw();
    if (icon.type == XCB_ATOM_CARDINAL && icon.format == 32 && icon.bytesAfter >= kMinIconBytes)
        out.iconBytes = std::min(icon.bytesAfter, kMaxIconBytes);
    return out;
}

void ClientReader::readLate(std::vector<ReadClient> &clients) const
{
    // Round three, when needed: X-Resource pids and one icon per process.
    QSet<std::uint32_t> pidsWithIcon;
    std::vector<LateCookies> pending;
    for (ReadClient &client : clients) {
        LateCookies late{&client, std::nullopt, std::nullopt};
        const ClientFacts &f = client.facts;
        if (!f.pid && m_hasXRes) {
            const xcb_res_client_id_spec_t spec{f.window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
            late.clientIds = xcb_res_query_client_ids(m_connection, 1, &spec);
        }
        // A window whose pid is still unknown might be its process's only one with an icon.
        if (client.iconBytes > 0 && (!f.pid || !pidsWithIcon.contains(*f.pid))) {
            if (f.pid)
                pidsWithIcon.insert(*f.pid);
            late.icon = xcb_get_property(m_connection, 0, f.window, m_atoms.netWmIcon, XCB_ATOM_CARDINAL, 0,
                                         client.iconBytes / 4);
        }
        if (late.clientIds || late.icon)
            pending.push_back(late);
    }
    // Toolkits put the startup id on the group leader, which is no client of its own.
    QHash<std::uint32_t, xcb_get_property_cookie_t> leaders;
    for (const ReadClient &client : clients) {
        if (client.startupRead && !client.facts.startupID && client.groupLeader
            && !leaders.contains(client.groupLeader))
            leaders.insert(client.groupLeader,
                           xcb_get_property(m_connection, 0, client.groupLeader, m_atoms.netStartupId,
                                            m_atoms.utf8String, 0, kMaxIdWords));
    }
    xcb_flush(m_connection);
    for (const LateCookies &late : pending) {
        ReplyCollector replies(m_connection);
        ClientFacts &f = late.client->facts;
        if (late.clientIds) {
            if (const auto ids = replies.take(xcb_res_query_client_ids_reply, *late.clientIds))
                f.pid = pidFromClientIds(ids.get());
        }
        if (late.icon) {
            const auto icon = decodeIcon(replies.property(*late.icon).raw());
            note(f.window, "_NET_WM_ICON", icon);
            f.icon = icon.value;
        }
        if (replies.vanished()) {
            qCDebug(lcPlatform).nospace()
                << "[OV] window 0x" << Qt::hex << f.window << " closed while being read";
            late.client->vanished = true;
        }
    }
    QHash<std::uint32_t, QString> leaderIDs;
    for (auto it = leaders.cbegin(); it != leaders.cend(); ++it) {
        // A leader that is gone only has nothing to say: the window itself stays.
        ReplyCollector replies(m_connection);
        const auto id = decodeUtf8Text(replies.property(it.value()).raw(), m_atoms.utf8String);
        note(it.key(), "_NET_STARTUP_ID", id);
        if (id.hasValue() && !id.value.isEmpty())
            leaderIDs.insert(it.key(), id.value);
    }
    for (ReadClient &client : clients) {
        if (client.startupRead && !client.facts.startupID && leaderIDs.contains(client.groupLeader))
            client.facts.startupID = leaderIDs.value(client.groupLeader);
    }
}

void ClientReader::settleStartupIDs(const QList<std::uint32_t> &clientList,
                                    std::vector<ReadClient> &clients) const
{
    QMutexLocker lock(&m_startup->mutex);
    m_startup->lastClients = clientList;
    if (m_startup->watches == 0)
        return;
    QHash<std::uint32_t, std::optional<QString>> &learned = m_startup->learned;
    for (ReadClient &client : clients) {
        if (client.startupRead && !client.vanished)
            learned.insert(client.facts.window, client.facts.startupID);
        else if (const auto it = learned.constFind(client.facts.window); it != learned.cend())
            client.facts.startupID = *it;
    }
    // Only listed windows are remembered, so a long watch holds no more than the list.
    const QSet<std::uint32_t> listed(clientList.begin(), clientList.end());
    learned.removeIf([&listed](const auto &entry) { return !listed.contains(entry.key()); });
}

WindowType ClientReader::windowType(const QList<std::uint32_t> &types) const
{
    const Atoms &a = m_atoms;
    const std::pair<std::uint32_t, WindowType> known[] = {
        {a.netWmWindowTypeNormal, WindowType::Normal},
        {a.netWmWindowTypeDialog, WindowType::Dialog},
        {a.netWmWindowTypeDesktop, WindowType::Desktop},
        {a.netWmWindowTypeDock, WindowType::Dock},
        {a.netWmWindowTypeToolbar, WindowType::Toolbar},
        {a.netWmWindowTypeMenu, WindowType::Menu},
        {a.netWmWindowTypeUtility, WindowType::Utility},
        {a.netWmWindowTypeSplash, WindowType::Splash},
        {a.netWmWindowTypeDropdownMenu, WindowType::Other},
        {a.netWmWindowTypePopupMenu, WindowType::Other},
        {a.netWmWindowTypeTooltip, WindowType::Other},
        {a.netWmWindowTypeNotification, WindowType::Other},
        {a.netWmWindowTypeCombo, WindowType::Other},
        {a.netWmWindowTypeDnd, WindowType::Other},
    };
    for (std::uint32_t type : types) {
        for (const auto &[atom, kind] : known) {
            if (atom != XCB_NONE && atom == type)
                return kind;
        }
    }
    return WindowType::Unset;
}

template<typename T>
void ClientReader::note(std::uint32_t window, const char *property, const Decoded<T> &decoded) const
{
    if (!decoded.problem)
        return;
    {
        QMutexLocker lock(&m_mutex);
        // Windows come and go for as long as Orvella runs; the memory of them must not grow.
        if (m_logged.size() >= 4096)
            m_logged.clear();
        if (!m_logged.insert({window, property, decoded.problem}).second)
            return;
    }
    if (decoded.state == Decoded<T>::State::Malformed)
        qCWarning(lcPlatform).nospace()
            << "[OV] window 0x" << Qt::hex << window << ": " << property << " ignored: " << decoded.problem;
    else
        qCInfo(lcPlatform).nospace() << "[OV] window 0x" << Qt::hex << window << ": " << property
                                     << " read in part: " << decoded.problem;
}

} // namespace orvella::platform::x11
