// The grouping step: routes windows to shelves and app sections, orders them, prunes
// stale memory and adds ghost and closed-app rows.
#include "tracking/categorybuilder.h"

#include "logging.h"
#include "tracking/identity.h"
#include "tracking/sectionrouter.h"
#include "tracking/shelforder.h"
#include "tracking/windownumbers.h"

#include <algorithm>

namespace orvella::tracking::categoryBuilder {

namespace {

constexpr int kAbsentCyclesBeforePrune = 4;
// A remembered window missing this many regroupings while its application runs was
// closed; it is not just slow to come back after a restart of the application.
constexpr int kClosedAfterCycles = 20;
constexpr int kAppSectionForgottenAfterDays = 30;

// Remembered places at positions that are gone for good are forgotten. Returns the
// positions listed now; they become `lastSeenPidIdx` once this regrouping has routed.
QSet<QString> trackPositions(const QList<WindowItem> &windows, TrackingState &state)
{
    QSet<QString> current;
    for (const WindowItem &w : windows)
        current.insert(identity::pidIdx(w.pid, w.axIndex));
    for (const QString &key : state.lastShelfByPidAndIndex.keys()) {
        if (current.contains(key)) {
            state.pidIdxAbsenceCount.remove(key);
        } else if (++state.pidIdxAbsenceCount[key] >= kAbsentCyclesBeforePrune) {
            state.lastShelfByPidAndIndex.remove(key);
            state.lastWindowNumberByPidIdx.remove(key);
            state.pidIdxAbsenceCount.remove(key);
        }
    }
    return current;
}

// Entries pointing at a shelf that no longer exists are dropped whatever their form.
bool pruneDeletedShelves(TrackingState &state)
{
    const QSet<QString> shelves(state.shelfIDs.begin(), state.shelfIDs.end());
    const auto stale = [&shelves](const auto &it) {
        return it.value().startsWith(kShelfPrefix) && !shelves.contains(it.value());
    };
    const qsizetype pruned = state.windowCategoryAssignment.removeIf(stale)
                             + state.manualShelfAssignmentByDescriptor.removeIf(stale);
    if (pruned == 0)
        return false;
    state.manualShelfMissCache.clear();
    qCInfo(lcTracking).noquote()
        << QStringLiteral("[OV] pruned %1 stale title-based entries of deleted shelves").arg(pruned);
    return true;
}

bool fillDefaultShelfNames(TrackingState &state, const Options &options)
{
    bool changed = false;
    for (const QString &id : std::as_const(state.shelfIDs)) {
        if (!state.defaultShelfNames.contains(id) && options.defaultShelfName) {
            state.defaultShelfNames.insert(id, options.defaultShelfName(id.mid(kShelfPrefix.size())));
            changed = true;
        }
    }
    return changed;
}

QString sectionName(const QString &id, const QString &fallback, const TrackingState &state)
{
    return state.categoryCustomNames.value(id, fallback);
}

// Keeps one memory per shelved window: a retitled window replaces its old one.
// Returns the memory's key.
QString remember(const WindowItem &w, const QString &shelf, TrackingState &state)
{
    const QString key = identity::fingerprint(w);
    if (w.windowNumber) {
        const QString previous = state.memoryKeyByWindowNumber.value(*w.windowNumber);
        if (!previous.isEmpty() && previous != key)
            state.shelfWindowMemory.remove(previous);
        state.memoryKeyByWindowNumber.insert(*w.windowNumber, key);
    }
    state.shelfWindowMemory.insert(key,
                                   {w.bundleIdentifier, w.appName, w.windowTitle, w.icon, shelf, w.bounds});
    state.closedAbsenceCount.remove(key);
    return key;
}

// Memories of windows that were closed while their application kept running go;
// those of applications that are not running stay, for their placeholders.
void forgetClosedWindows(const QSet<QString> &listed, const QSet<QString> &runningOwners,
                         TrackingState &state)
{
    state.shelfWindowMemory.removeIf([&](const auto &it) {
        if (listed.contains(it.key()) || !runningOwners.contains(it->bundleIdentifier.value_or(it->appName)))
            return false;
        if (++state.closedAbsenceCount[it.key()] < kClosedAfterCycles)
            return false;
        state.closedAbsenceCount.remove(it.key());
        return true;
    });
}

// Each section once, in the user's order; app sections of applications not listed for
// a month leave it, so that the order does not keep every application ever run.
bool tidyCategoryOrder(const QStringList &listedApps, TrackingState &state, const QDate &today)
{
    bool changed = false;
    QStringList order;
    for (const QString &id : std::as_const(state.categoryOrder)) {
        if (!order.contains(id))
            order.append(id);
    }
    if (today.isValid()) {
        for (const QString &id : listedApps) {
            if (state.categoryLastSeen.value(id) != today) {
                state.categoryLastSeen.insert(id, today);
                changed = true;
            }
        }
        order.removeIf([&](const QString &id) {
            if (state.shelfIDs.contains(id) || listedApps.contains(id))
                return false;
            const QDate seen = state.categoryLastSeen.value(id);
            if (!seen.isValid()) {
                state.categoryLastSeen.insert(id, today); // its month starts now
                changed = true;
                return false;
            }
            if (seen.daysTo(today) <= kAppSectionForgottenAfterDays)
                return false;
            qCInfo(lcTracking).noquote()
                << QStringLiteral("[OV] section '%1' not seen since %2; leaving the order")
                       .arg(id, seen.toString(Qt::ISODate));
            state.categoryLastSeen.remove(id);
            return true;
        });
        state.categoryLastSeen.removeIf([&order](const auto &it) { return !order.contains(it.key()); });
    }
    if (order != state.categoryOrder) {
        state.categoryOrder = order;
        changed = true;
    }
    return changed;
}

WindowItem placeholder(const QString &key, const ShelfWindowInfo &info)
{
    WindowItem item;
    item.id = identity::closedID(key);
    item.appName = info.appName;
    item.bundleIdentifier = info.bundleIdentifier;
    item.windowTitle = info.windowTitle;
    item.icon = info.icon;
    item.bounds = info.bounds;
    item.assignedShelfName = info.shelfID;
    item.isClosed = true;
    return item;
}

} // namespace

Result build(const QList<WindowItem> &windows, TrackingState &state, const Options &options)
{
    Result result;
    result.stateChanged = fillDefaultShelfNames(state, options);
    const QSet<QString> positions = trackPositions(windows, state);
    result.stateChanged |= windowNumbers::pruneAbsent(windows, state, kAbsentCyclesBeforePrune);
    result.stateChanged |= pruneDeletedShelves(state);

    QHash<QString, WindowCategory> shelves;
    for (const QString &id : std::as_const(state.shelfIDs)) {
        shelves.insert(id, {id,
                            sectionName(id, state.defaultShelfNames.value(id, id), state),
                            {},
                            state.categoryCollapsed.value(id, false),
                            state.categoryHidden.contains(id)});
    }
    QHash<QString, WindowCategory> apps;
    QStringList appOrder;
    QSet<QString> runningOwners;
    QSet<QString> remembered;
    for (WindowItem w : windows) {
        runningOwners.insert(w.owner());
        QString target = sectionRouter::route(w, state);
        if (target.startsWith(kShelfPrefix) && !shelves.contains(target))
            target = sectionRouter::appSectionID(w);
        const QString appID = sectionRouter::appSectionID(w);
        if (!apps.contains(appID)) {
            apps.insert(appID, {appID,
                                sectionName(appID, w.appName, state),
                                {},
                                state.categoryCollapsed.value(appID, false),
                                state.categoryHidden.contains(appID)});
            appOrder.append(appID);
        }
        if (target.startsWith(kShelfPrefix)) {
            w.assignedShelfName = target;
            remembered.insert(remember(w, target, state));
            shelves[target].windows.append(w);
            if (options.showAllWindowsInAppSection) {
                WindowItem ghost = w;
                ghost.id = identity::ghostID(w.id);
                apps[appID].windows.append(ghost);
            }
        } else {
            w.assignedShelfName.reset();
            apps[appID].windows.append(w);
        }
        result.windows.append(w);
    }
    // The routing above compared positions with the previous refresh's.
    state.lastSeenPidIdx = positions;
    forgetClosedWindows(remembered, runningOwners, state);

    for (auto it = shelves.begin(); it != shelves.end(); ++it)
        result.stateChanged |=
            shelfOrder::apply(it.key(), it->windows, windows, runningOwners, state, kClosedAfterCycles);

    if (options.showClosedShelfApps) {
        QStringList keys = state.shelfWindowMemory.keys();
        keys.sort();
        for (const QString &key : std::as_const(keys)) {
            const ShelfWindowInfo &info = state.shelfWindowMemory[key];
            if (shelves.contains(info.shelfID)
                && !runningOwners.contains(info.bundleIdentifier.value_or(info.appName)))
                shelves[info.shelfID].windows.append(placeholder(key, info));
        }
    }

    // New sections get a stable place: shelves in creation order, then app sections.
    for (const QString &id : std::as_const(state.shelfIDs) + appOrder) {
        if (!state.categoryOrder.contains(id)) {
            state.categoryOrder.append(id);
            result.stateChanged = true;
        }
    }
    result.stateChanged |= tidyCategoryOrder(appOrder, state, options.today);
    for (const QString &id : std::as_const(state.categoryOrder)) {
        if (auto shelf = shelves.constFind(id); shelf != shelves.constEnd())
            result.categories.append(*shelf);
        else if (auto app = apps.constFind(id); app != apps.constEnd())
            result.categories.append(*app);
    }
    return result;
}

QList<WindowCategory> visibleCategories(const QList<WindowCategory> &categories, const TrackingState &state)
{
    // A section shown alone that is gone (its application quit) shows nothing; then
    // everything is shown rather than a blank sidebar.
    const bool only = state.onlyCategory
                      && std::any_of(categories.begin(), categories.end(),
                                     [&](const auto &c) { return c.id == *state.onlyCategory; });
    QList<WindowCategory> out;
    for (const WindowCategory &c : categories) {
        if (only ? c.id == *state.onlyCategory : !c.isHidden)
            out.append(c);
    }
    return out;
}

} // namespace orvella::tracking::categoryBuilder
