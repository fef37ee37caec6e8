// Decides, for one window, the section it belongs to: a shelf or its app section.
#include "tracking/sectionrouter.h"

#include "logging.h"
#include "tracking/appaliases.h"
#include "tracking/identity.h"
#include "tracking/windowcategory.h"

namespace orvella::tracking::sectionRouter {

QString appSectionID(const WindowItem &window)
{
    return window.owner();
}

namespace {

std::optional<QString> manualShelfTarget(const WindowItem &window, const std::optional<QString> &d,
                                         TrackingState &state);

} // namespace

QString route(const WindowItem &window, TrackingState &state)
{
    const QString pidIdx = identity::pidIdx(window.pid, window.axIndex);
    std::optional<QString> live;
    if (window.windowNumber) {
        if (auto it = state.liveWindowCategoryAssignmentByWindowNumber.constFind(*window.windowNumber);
            it != state.liveWindowCategoryAssignmentByWindowNumber.constEnd())
            live = *it;
    }
    const std::optional<QString> descriptor = identity::manualShelfDescriptor(window, false);
    const std::optional<QString> manual = manualShelfTarget(window, descriptor, state);
    std::optional<QString> previous;
    if (auto it = state.lastShelfByPidAndIndex.constFind(pidIdx);
        it != state.lastShelfByPidAndIndex.constEnd() && state.lastSeenPidIdx.contains(pidIdx)) {
        const auto recorded = state.lastWindowNumberByPidIdx.constFind(pidIdx);
        // A different window now stands at that place: it does not inherit the shelf.
        if (!window.windowNumber || recorded == state.lastWindowNumberByPidIdx.constEnd()
            || *recorded == *window.windowNumber)
            previous = *it;
    }

    QString target;
    if (state.explicitlyRemovedSigs.contains(window.id)
        || (descriptor && state.explicitlyRemovedDescriptors.contains(*descriptor)))
        target = appSectionID(window);
    else if (live)
        target = *live;
    else if (manual)
        target = *manual;
    else if (auto stored = lookupShelfAssignment(window.id, window.bundleIdentifier, state))
        target = *stored;
    else if (previous)
        target = *previous;
    else
        target = appSectionID(window);

    if (target.startsWith(kShelfPrefix)) {
        state.lastShelfByPidAndIndex.insert(pidIdx, target);
        if (window.windowNumber)
            state.lastWindowNumberByPidIdx.insert(pidIdx, *window.windowNumber);
    }
    return target;
}

std::optional<QString> lookupShelfAssignment(const QString &sig, const std::optional<QString> &bundleID,
                                             TrackingState &state)
{
    QHash<QString, QString> &assignments = state.windowCategoryAssignment;
    if (auto it = assignments.constFind(sig); it != assignments.constEnd())
        return *it;
    // Only the one editor whose titles carry volatile state gets the fuzzy steps.
    if (!appAliases::is(bundleID, appAliases::kVSCode))
        return std::nullopt;
    const QString n = identity::normalizedTitleForMatching(sig, bundleID);
    if (n != sig) {
        if (auto it = assignments.constFind(n); it != assignments.constEnd()) {
            qCInfo(lcTracking).noquote() << "wca normalized-match: '" + sig + "' → '" + n + "' → " + *it;
            return *it;
        }
    }
    for (auto it = assignments.constBegin(); it != assignments.constEnd(); ++it) {
        if (it.key() == sig || it.key() == n || !it.value().startsWith(kShelfPrefix))
            continue;
        if (identity::normalizedTitleForMatching(it.key(), bundleID) == n) {
            const QString value = it.value();
            const QString key = it.key();
            assignments.insert(n, value);
            qCInfo(lcTracking).noquote()
                << "wca reverse-match+cache: '" + sig + "' matched stored '" + key + "' → " + value;
            return value;
        }
    }
    return std::nullopt;
}

std::optional<QString> manualShelfTarget(const WindowItem &window, TrackingState &state)
{
    return manualShelfTarget(window, identity::manualShelfDescriptor(window, false), state);
}

namespace {

std::optional<QString> manualShelfTarget(const WindowItem &window, const std::optional<QString> &d,
                                         TrackingState &state)
{
    if (!d)
        return std::nullopt;
    QHash<QString, QString> &manual = state.manualShelfAssignmentByDescriptor;
    if (auto it = manual.constFind(*d); it != manual.constEnd())
        return *it;
    const QString n = identity::normalizedTitleForMatching(*d, window.bundleIdentifier);
    if (n != *d) {
        if (auto it = manual.constFind(n); it != manual.constEnd()) {
            qCInfo(lcTracking).noquote()
                << "manualShelf normalized-match: '" + *d + "' → '" + n + "' → " + *it;
            return *it;
        }
    }
    if (state.manualShelfMissCache.contains(n))
        return std::nullopt;
    for (auto it = manual.constBegin(); it != manual.constEnd(); ++it) {
        if (it.key() == *d || it.key() == n)
            continue;
        if (identity::normalizedTitleForMatching(it.key(), window.bundleIdentifier) == n) {
            const QString value = it.value();
            const QString key = it.key();
            manual.insert(n, value);
            qCInfo(lcTracking).noquote()
                << "manualShelf reverse-match+cache: '" + *d + "' matched stored '" + key + "' → " + value;
            return value;
        }
    }
    state.manualShelfMissCache.insert(n);
    return std::nullopt;
}

} // namespace

void updateManualShelfDescriptor(const WindowItem &window, const QString &targetCategoryID,
                                 const QString &naturalKey, TrackingState &state)
{
    const std::optional<QString> normalized = identity::manualShelfDescriptor(window, true);
    if (!normalized)
        return;
    state.manualShelfMissCache.clear();
    const std::optional<QString> plain = identity::manualShelfDescriptor(window, false);
    if (plain && *plain != *normalized)
        state.manualShelfAssignmentByDescriptor.remove(*plain);
    if (targetCategoryID != naturalKey) {
        state.manualShelfAssignmentByDescriptor.insert(*normalized, targetCategoryID);
        qCInfo(lcTracking).noquote() << "manualShelf stored: '" + *normalized + "' → " + targetCategoryID;
    } else {
        state.manualShelfAssignmentByDescriptor.remove(*normalized);
    }
}

} // namespace orvella::tracking::sectionRouter
