// The grouping step: routes windows to shelves and app sections, orders them, prunes
// stale memory and adds ghost and closed-app rows.
#include "tracking/categorybuilder.h"

#include "logging.h"
#include "tracking/identity.h"
#include "tracking/sectionrouter.h"

namespace orvella::tracking::categoryBuilder {

namespace {

constexpr int kAbsentCyclesBeforePrune = 4;

// Remembered places at positions that are gone for good are forgotten.
void trackPositions(const QList<WindowItem> &windows, TrackingState &state)
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
    state.lastSeenPidIdx = current;
}

// Window numbers are not reused within a session, so an assignment keyed by a number
// that has been absent for a few regroupings belongs to a window that is gone; its
// title-based descriptor keeps the shelf for a reopened window. Entries pointing at a
// shelf that no longer exists are dropped whatever their form.
bool pruneAssignments(const QList<WindowItem> &windows, TrackingState &state)
{
    QSet<QString> present;
    for (const WindowItem &w : windows)
        present.insert(w.id);
    ++state.wnAbsenceCleanupCycle;
    int prunedNumbers = 0;
    int prunedStale = 0;
    const QSet<QString> shelves(state.shelfIDs.begin(), state.shelfIDs.end());
    for (auto it = state.windowCategoryAssignment.begin(); it != state.windowCategoryAssignment.end();) {
        const QString &key = it.key();
        bool drop = false;
        if (it.value().startsWith(kShelfPrefix) && !shelves.contains(it.value())) {
            drop = true;
            ++prunedStale;
        } else if (key.contains(QStringLiteral("::wn:"))) {
            if (present.contains(key)) {
                state.wnAbsenceCount.remove(key);
            } else if (++state.wnAbsenceCount[key] >= kAbsentCyclesBeforePrune) {
                drop = true;
                ++prunedNumbers;
                state.wnAbsenceCount.remove(key);
                state.pidByWindowNumber.remove(key.section(QStringLiteral("::wn:"), -1).toLongLong());
            }
        }
        it = drop ? state.windowCategoryAssignment.erase(it) : std::next(it);
    }
    for (auto it = state.manualShelfAssignmentByDescriptor.begin();
         it != state.manualShelfAssignmentByDescriptor.end();) {
        const bool stale = it.value().startsWith(kShelfPrefix) && !shelves.contains(it.value());
        prunedStale += stale ? 1 : 0;
        it = stale ? state.manualShelfAssignmentByDescriptor.erase(it) : std::next(it);
    }
    if (prunedNumbers > 0)
        qCInfo(lcTracking).noquote() << QStringLiteral(
                                            "[OV] pruned %1 stale wn: entries from windowCategoryAssignment "
                                            "(absent ≥4 cycles)")
                                            .arg(prunedNumbers);
    if (prunedStale > 0) {
        state.manualShelfMissCache.clear();
        qCInfo(lcTracking).noquote()
            << QStringLiteral("[OV] pruned %1 stale title-based entries of deleted shelves").arg(prunedStale);
    }
    return prunedNumbers + prunedStale > 0;
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

// Stored order entries hardly change between regroupings; decoding each one again
// every time would dominate the grouping of a large desktop.
const identity::OrderEntry &decodedEntry(const QString &entry)
{
    thread_local QHash<QString, identity::OrderEntry> memo;
    if (auto it = memo.constFind(entry); it != memo.constEnd())
        return *it;
    if (memo.size() > 20000)
        memo.clear();
    return *memo.insert(entry, identity::decodeOrderEntry(entry));
}

// Puts a shelf's windows in the user's order and repairs entries whose window came
// back under another id (new window number after a restart, a retitle).
bool applyWindowOrder(const QString &shelf, QList<WindowItem> &windows, const QList<WindowItem> &allWindows,
                      TrackingState &state)
{
    QStringList entries = state.categoryWindowOrder.value(shelf);
    bool changed = false;
    QList<identity::OrderEntry> decoded;
    {
        QSet<QString> seenSigs;
        QStringList unique;
        for (const QString &e : std::as_const(entries)) {
            const identity::OrderEntry &d = decodedEntry(e);
            if (seenSigs.contains(d.sig))
                continue;
            seenSigs.insert(d.sig);
            unique.append(e);
            decoded.append(d);
        }
        if (unique.size() != entries.size()) {
            qCInfo(lcTracking).noquote()
                << QStringLiteral("deduped categoryWindowOrder['%1']: %2 → %3 entries")
                       .arg(shelf)
                       .arg(entries.size())
                       .arg(unique.size());
            entries = unique;
            changed = true;
        }
    }
    QHash<QString, qsizetype> bySig;
    for (qsizetype i = 0; i < decoded.size(); ++i)
        bySig.insert(decoded[i].sig, i);
    QList<bool> claimed(decoded.size(), false);

    const auto claim = [&](const QString &fresh, qsizetype i, const char *fixup) {
        claimed[i] = true;
        if (fixup)
            qCInfo(lcTracking).noquote() << QStringLiteral("%1 shelf='%2' '%3' → '%4'")
                                                .arg(QLatin1String(fixup), shelf, entries[i], fresh);
        if (entries[i] != fresh) {
            entries[i] = fresh;
            decoded[i] = decodedEntry(fresh);
            changed = true;
        }
        return i;
    };
    const auto findUnclaimed = [&](auto predicate) -> qsizetype {
        for (qsizetype i = 0; i < decoded.size(); ++i) {
            if (!claimed[i] && predicate(decoded[i]))
                return i;
        }
        return -1;
    };
    // Fingerprints of every listed window by id: an entry whose id now names a window
    // with another fingerprint (a reused window number) is up for taking.
    QHash<QString, QString> liveFingerprints;
    for (const WindowItem &w : allWindows)
        liveFingerprints.insert(w.id, identity::fingerprint(w));

    QList<std::pair<qsizetype, WindowItem>> placed;
    for (const WindowItem &w : windows) {
        const QString pidIdx = identity::pidIdx(w.pid, w.axIndex);
        const QString fp = identity::fingerprint(w);
        const QString fresh = w.id + QStringLiteral("__") + pidIdx + QStringLiteral("__") + fp;
        qsizetype index = -1;
        if (auto it = bySig.constFind(w.id); it != bySig.constEnd() && !claimed[*it]) {
            index = claim(fresh, *it, nullptr);
        } else {
            // Entries of windows that are still listed under their own id are not taken over.
            const auto free = [&](const identity::OrderEntry &d) {
                const auto live = liveFingerprints.constFind(d.sig);
                return live == liveFingerprints.constEnd() || (d.fingerprint && *d.fingerprint != *live);
            };
            qsizetype i = findUnclaimed([&](const identity::OrderEntry &d) {
                return free(d) && d.pidIdx == pidIdx && d.fingerprint == fp;
            });
            if (i >= 0) {
                index = claim(fresh, i, "order-fixup(pid+fp)");
            } else if ((i = findUnclaimed(
                            [&](const identity::OrderEntry &d) { return free(d) && d.fingerprint == fp; }))
                       >= 0) {
                index = claim(fresh, i, "order-fixup(fp)");
            } else if ((i = findUnclaimed([&](const identity::OrderEntry &d) {
                            return free(d) && !d.fingerprint && d.pidIdx == pidIdx;
                        }))
                       >= 0) {
                index = claim(fresh, i, "order-fixup");
            }
        }
        if (index < 0) {
            entries.append(fresh);
            decoded.append(decodedEntry(fresh));
            claimed.append(true);
            index = entries.size() - 1;
            changed = true;
        }
        placed.append({index, w});
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    windows.clear();
    for (auto &p : placed)
        windows.append(std::move(p.second));
    if (changed)
        state.categoryWindowOrder.insert(shelf, entries);
    return changed;
}

QString sectionName(const QString &id, const QString &fallback, const TrackingState &state)
{
    return state.categoryCustomNames.value(id, fallback);
}

} // namespace

void forgetReusedWindowNumbers(const QList<WindowItem> &windows, TrackingState &state)
{
    QSet<qint64> present;
    for (const WindowItem &w : windows) {
        if (!w.windowNumber)
            continue;
        const qint64 number = *w.windowNumber;
        present.insert(number);
        const auto known = state.pidByWindowNumber.constFind(number);
        if (known != state.pidByWindowNumber.constEnd() && *known != w.pid) {
            qCInfo(lcTracking).noquote()
                << QStringLiteral("[OV] window number %1 now belongs to pid %2 (was %3); "
                                  "forgetting the old window")
                       .arg(number)
                       .arg(w.pid)
                       .arg(*known);
            state.liveWindowCategoryAssignmentByWindowNumber.remove(number);
            state.lastDescriptorByWindowNumber.remove(number);
            state.lastSignatureByWindowNumber.remove(number);
            // Marks keyed by the number were the old window's; its title-based marks and
            // choices still apply to whichever window has its title.
            if (w.id.contains(QStringLiteral("::wn:"))) {
                state.windowCategoryAssignment.remove(w.id);
                state.wnAbsenceCount.remove(w.id);
                state.explicitlyRemovedSigs.remove(w.id);
                state.shelfWindowMemory.remove(w.id);
            }
        }
        state.pidByWindowNumber.insert(number, w.pid);
    }
    // A placement made in this run holds only while its window lives.
    state.liveWindowCategoryAssignmentByWindowNumber.removeIf(
        [&present](const auto &it) { return !present.contains(it.key()); });
}

Result build(const QList<WindowItem> &windows, TrackingState &state, const Options &options)
{
    Result result;
    result.stateChanged = fillDefaultShelfNames(state, options);
    trackPositions(windows, state);
    result.stateChanged |= pruneAssignments(windows, state);

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
            state.shelfWindowMemory.insert(
                w.id, {w.bundleIdentifier, w.appName, w.windowTitle, w.icon, target, w.bounds});
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

    for (auto it = shelves.begin(); it != shelves.end(); ++it)
        result.stateChanged |= applyWindowOrder(it.key(), it->windows, windows, state);

    if (options.showClosedShelfApps) {
        QStringList keys = state.shelfWindowMemory.keys();
        keys.sort();
        for (const QString &key : std::as_const(keys)) {
            const ShelfWindowInfo &info = state.shelfWindowMemory[key];
            const QString owner = info.bundleIdentifier.value_or(info.appName);
            if (!shelves.contains(info.shelfID) || runningOwners.contains(owner))
                continue;
            WindowItem placeholder;
            placeholder.id = identity::closedID(key);
            placeholder.appName = info.appName;
            placeholder.bundleIdentifier = info.bundleIdentifier;
            placeholder.windowTitle = info.windowTitle;
            placeholder.icon = info.icon;
            placeholder.bounds = info.bounds;
            placeholder.assignedShelfName = info.shelfID;
            placeholder.isClosed = true;
            shelves[info.shelfID].windows.append(placeholder);
        }
    }

    // New sections get a stable place: shelves in creation order, then app sections.
    for (const QString &id : std::as_const(state.shelfIDs) + appOrder) {
        if (!state.categoryOrder.contains(id)) {
            state.categoryOrder.append(id);
            result.stateChanged = true;
        }
    }
    for (const QString &id : std::as_const(state.categoryOrder)) {
        if (auto shelf = shelves.constFind(id); shelf != shelves.constEnd())
            result.categories.append(*shelf);
        else if (auto app = apps.constFind(id); app != apps.constEnd())
            result.categories.append(*app);
    }
    return result;
}

QList<SigChange> migrateStateForRenamedWindows(const QList<WindowItem> &windows, TrackingState &state,
                                               bool *descriptorsChanged)
{
    forgetReusedWindowNumbers(windows, state);
    QList<SigChange> changes;
    QSet<QString> liveDescriptors;
    for (const WindowItem &w : windows) {
        if (auto d = identity::manualShelfDescriptor(w, false))
            liveDescriptors.insert(*d);
    }
    for (const WindowItem &w : windows) {
        if (!w.windowNumber)
            continue;
        const qint64 number = *w.windowNumber;
        const QString oldSig = state.lastSignatureByWindowNumber.value(number);
        if (!oldSig.isEmpty() && oldSig != w.id) {
            changes.append({oldSig, w.id});
            if (auto it = state.windowCategoryAssignment.constFind(oldSig);
                it != state.windowCategoryAssignment.constEnd()) {
                state.windowCategoryAssignment.insert(w.id, *it);
                state.windowCategoryAssignment.remove(oldSig);
            }
            if (state.shelfWindowMemory.contains(oldSig))
                state.shelfWindowMemory.insert(w.id, state.shelfWindowMemory.take(oldSig));
            if (state.explicitlyRemovedSigs.remove(oldSig))
                state.explicitlyRemovedSigs.insert(w.id);
            for (QStringList &entries : state.categoryWindowOrder) {
                for (QString &e : entries) {
                    if (identity::decodeOrderEntry(e).sig == oldSig)
                        e = identity::encodeOrderEntry(w);
                }
            }
        }
        state.lastSignatureByWindowNumber.insert(number, w.id);

        // The same window under a new title keeps the user's choice for it, unless
        // another listed window still has the old title.
        const std::optional<QString> descriptor = identity::manualShelfDescriptor(w, false);
        const QString oldDescriptor = state.lastDescriptorByWindowNumber.value(number);
        if (descriptor && !oldDescriptor.isEmpty() && oldDescriptor != *descriptor
            && !liveDescriptors.contains(oldDescriptor)) {
            const QString oldNormalized =
                identity::normalizedTitleForMatching(oldDescriptor, w.bundleIdentifier);
            for (const QString &key : {oldDescriptor, oldNormalized}) {
                if (auto it = state.manualShelfAssignmentByDescriptor.constFind(key);
                    it != state.manualShelfAssignmentByDescriptor.constEnd()) {
                    const QString shelf = *it;
                    state.manualShelfAssignmentByDescriptor.remove(key);
                    state.manualShelfAssignmentByDescriptor.insert(*identity::manualShelfDescriptor(w, true),
                                                                   shelf);
                    state.manualShelfMissCache.clear();
                    if (descriptorsChanged)
                        *descriptorsChanged = true;
                    break;
                }
            }
            if (state.explicitlyRemovedDescriptors.remove(oldDescriptor)) {
                state.explicitlyRemovedDescriptors.insert(*descriptor);
                if (descriptorsChanged)
                    *descriptorsChanged = true;
            }
        }
        if (descriptor)
            state.lastDescriptorByWindowNumber.insert(number, *descriptor);
    }
    return changes;
}

QList<WindowCategory> visibleCategories(const QList<WindowCategory> &categories, const TrackingState &state)
{
    QList<WindowCategory> out;
    for (const WindowCategory &c : categories) {
        if (state.onlyCategory ? c.id == *state.onlyCategory : !c.isHidden)
            out.append(c);
    }
    return out;
}

} // namespace orvella::tracking::categoryBuilder
