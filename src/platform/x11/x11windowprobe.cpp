// What the desktop observer learns about newly listed windows: owner, kind and event mask.
#include "platform/x11/x11windowprobe.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11replies.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <iterator>

namespace orvella::platform::x11 {

namespace {

constexpr std::uint32_t kMaxTypeAtoms = 32;
constexpr std::uint32_t kMaxStateAtoms = 64;

struct Cookies
{
    xcb_get_property_cookie_t pid, type, state;
    xcb_get_window_attributes_cookie_t attributes;
};

} // namespace

WindowProbe::WindowProbe(xcb_connection_t *connection, const Atoms &atoms, bool hasXRes)
    : m_connection(connection)
    , m_atoms(atoms)
    , m_hasXRes(hasXRes)
{}

std::vector<ProbedWindow> WindowProbe::probe(const QList<std::uint32_t> &windows) const
{
    xcb_connection_t *c = m_connection;
    std::vector<Cookies> cookies;
    cookies.reserve(size_t(windows.size()));
    for (std::uint32_t w : windows) {
        cookies.push_back(
            {xcb_get_property(c, 0, w, m_atoms.netWmPid, XCB_ATOM_CARDINAL, 0, 1),
             xcb_get_property(c, 0, w, m_atoms.netWmWindowType, XCB_ATOM_ATOM, 0, kMaxTypeAtoms),
             xcb_get_property(c, 0, w, m_atoms.netWmState, XCB_ATOM_ATOM, 0, kMaxStateAtoms),
             xcb_get_window_attributes(c, w)});
    }
    xcb_flush(c);

    std::vector<ProbedWindow> out(size_t(windows.size()));
    for (size_t i = 0; i < out.size(); ++i) {
        ReplyCollector replies(c);
        const PropertyReply pid = replies.property(cookies[i].pid);
        const PropertyReply type = replies.property(cookies[i].type);
        const PropertyReply state = replies.property(cookies[i].state);
        const auto attributes = replies.take(xcb_get_window_attributes_reply, cookies[i].attributes);
        ProbedWindow &p = out[i];
        p.window = windows[qsizetype(i)];
        p.vanished = replies.vanished() || !attributes;
        if (p.vanished)
            continue;
        p.eventMask = attributes->your_event_mask;
        const auto pidValue = decodeCardinal(pid.raw(), XCB_ATOM_CARDINAL);
        if (pidValue.hasValue() && pidValue.value > 0 && pidValue.value <= kMaxPid)
            p.pid = pidValue.value;
        else if (pidValue.state == DecodeState::Malformed)
            qCDebug(lcPlatform).nospace()
                << "[OV] window 0x" << Qt::hex << p.window << ": _NET_WM_PID ignored: " << pidValue.problem;
        const auto types = decodeCardinals(type.raw(), XCB_ATOM_ATOM, kMaxTypeAtoms);
        const auto states = decodeCardinals(state.raw(), XCB_ATOM_ATOM, kMaxStateAtoms);
        p.taskbar = isTaskbarType(types.value) && !states.value.contains(m_atoms.netWmStateSkipTaskbar);
    }

    if (!m_hasXRes)
        return out;
    std::vector<std::pair<ProbedWindow *, xcb_res_query_client_ids_cookie_t>> late;
    for (ProbedWindow &p : out) {
        if (p.vanished || p.pid != 0)
            continue;
        const xcb_res_client_id_spec_t spec{p.window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        late.emplace_back(&p, xcb_res_query_client_ids(c, 1, &spec));
    }
    xcb_flush(c);
    for (auto &[p, cookie] : late) {
        ReplyCollector replies(c);
        if (const auto ids = replies.take(xcb_res_query_client_ids_reply, cookie))
            p->pid = pidFromClientIds(ids.get()).value_or(0);
    }
    return out;
}

bool WindowProbe::isTaskbarType(const QList<std::uint32_t> &types) const
{
    const Atoms &a = m_atoms;
    const std::uint32_t other[] = {
        a.netWmWindowTypeDesktop,      a.netWmWindowTypeDock,      a.netWmWindowTypeToolbar,
        a.netWmWindowTypeMenu,         a.netWmWindowTypeUtility,   a.netWmWindowTypeSplash,
        a.netWmWindowTypeDropdownMenu, a.netWmWindowTypePopupMenu, a.netWmWindowTypeTooltip,
        a.netWmWindowTypeNotification, a.netWmWindowTypeCombo,     a.netWmWindowTypeDnd,
    };
    // The list is in preference order and private types are to be skipped: the first
    // type EWMH defines decides, and a list of only private types counts as unset.
    for (std::uint32_t type : types) {
        if (type == XCB_NONE)
            continue;
        if (type == a.netWmWindowTypeNormal || type == a.netWmWindowTypeDialog)
            return true;
        if (std::find(std::begin(other), std::end(other), type) != std::end(other))
            return false;
    }
    return true;
}

} // namespace orvella::platform::x11
