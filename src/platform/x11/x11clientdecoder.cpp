// Decoding one client's properties into what the reader and the cache keep of it.
#include "platform/x11/x11clientdecoder.h"

#include "logging.h"
#include "platform/x11/x11atoms.h"
#include "platform/x11/x11replies.h"

#include <xcb/xcb.h>

namespace orvella::platform::x11 {

namespace {

constexpr std::uint32_t kIconicState = 3;

} // namespace

ClientDecoder::ClientDecoder(const Atoms &atoms)
    : m_atoms(atoms)
{}

void ClientDecoder::decodeProperties(std::uint32_t window, const ClientPropertyReplies &r,
                                     PropertyCache::Entry &entry) const
{
    const Atoms &a = m_atoms;
    // Starting afresh: a property that went away must not leave its old value behind.
    ClientFacts f;
    f.window = window;
    f.viewable = entry.facts.viewable;
    const auto netTitle = decodeUtf8Text(r.netWmName, a.utf8String);
    const auto legacyTitle = decodeLegacyText(r.wmName, a.utf8String);
    note(window, "_NET_WM_NAME", netTitle);
    note(window, "WM_NAME", legacyTitle);
    if (netTitle.hasValue() && (!netTitle.value.isEmpty() || !legacyTitle.hasValue()))
        f.title = netTitle.value;
    else if (legacyTitle.hasValue())
        f.title = legacyTitle.value;

    const auto pidValue = decodeCardinal(r.pid, XCB_ATOM_CARDINAL);
    note(window, "_NET_WM_PID", pidValue);
    if (pidValue.hasValue() && pidValue.value > 0 && pidValue.value <= kMaxPid)
        f.pid = pidValue.value;
    const auto classValue = decodeWmClass(r.wmClass);
    note(window, "WM_CLASS", classValue);
    if (classValue.hasValue())
        f.wmClass = classValue.value;
    f.gtkApplicationId = decodeLegacyText(r.gtkApplicationId, a.utf8String).value;
    f.kdeDesktopFile = decodeLegacyText(r.kdeDesktopFile, a.utf8String).value;

    const auto types = decodeCardinals(r.type, XCB_ATOM_ATOM, kMaxTypeAtoms);
    note(window, "_NET_WM_WINDOW_TYPE", types);
    f.type = windowType(types.value);
    const auto states = decodeCardinals(r.state, XCB_ATOM_ATOM, kMaxStateAtoms);
    note(window, "_NET_WM_STATE", states);
    f.skipTaskbar = states.value.contains(a.netWmStateSkipTaskbar);
    f.hidden = states.value.contains(a.netWmStateHidden);
    f.fullscreen = states.value.contains(a.netWmStateFullscreen);
    f.above = states.value.contains(a.netWmStateAbove);
    f.below = states.value.contains(a.netWmStateBelow);
    const auto icccmState = decodeCardinal(r.wmState, a.wmState);
    note(window, "WM_STATE", icccmState);
    f.iconic = icccmState.hasValue() && icccmState.value == kIconicState;

    const auto desktopValue = decodeCardinal(r.desktop, XCB_ATOM_CARDINAL);
    note(window, "_NET_WM_DESKTOP", desktopValue);
    if (desktopValue.hasValue())
        f.desktop = desktopValue.value;
    const auto opacityValue = decodeCardinal(r.opacity, XCB_ATOM_CARDINAL);
    note(window, "_NET_WM_WINDOW_OPACITY", opacityValue);
    if (opacityValue.hasValue())
        f.opacity = double(opacityValue.value) / double(0xffffffffu);
    const auto frame = decodeFrameExtents(r.extents);
    note(window, "_NET_FRAME_EXTENTS", frame);
    entry.extents = frame.value;
    entry.facts = std::move(f);
}

WindowType ClientDecoder::windowType(const QList<std::uint32_t> &types) const
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

void ClientDecoder::note(std::uint32_t window, const char *property, DecodeState state,
                         const char *problem) const
{
    {
        QMutexLocker lock(&m_mutex);
        // Windows come and go for as long as Orvella runs; the memory of them must not grow.
        if (m_logged.size() >= 4096)
            m_logged.clear();
        if (!m_logged.insert({window, property, problem}).second)
            return;
    }
    if (state == DecodeState::Malformed)
        qCWarning(lcPlatform).nospace()
            << "[OV] window 0x" << Qt::hex << window << ": " << property << " ignored: " << problem;
    else
        qCInfo(lcPlatform).nospace() << "[OV] window 0x" << Qt::hex << window << ": " << property
                                     << " read in part: " << problem;
}

} // namespace orvella::platform::x11
