// The user's changes to shelves, as changes of the tracking state. The window manager
// regroups and persists after each.
#include "tracking/shelfoperations.h"

#include "logging.h"
#include "tracking/identity.h"
#include "tracking/sectionrouter.h"
#include "tracking/windowcategory.h"

namespace orvella::tracking::shelfOperations {

namespace {

template<typename Map>
void removeValues(Map &map, const QString &value)
{
    map.removeIf([&value](const auto &it) { return it.value() == value; });
}

void removeFromOrders(TrackingState &state, const WindowItem &window)
{
    for (QStringList &entries : state.categoryWindowOrder)
        entries.removeIf(
            [&window](const QString &e) { return identity::decodeOrderEntry(e).sig == window.id; });
}

} // namespace

QString addShelf(TrackingState &state, const std::function<QString(const QString &number)> &defaultName)
{
    int highest = 0;
    for (const QString &id : std::as_const(state.shelfIDs)) {
        bool ok = false;
        const int n = id.mid(kShelfPrefix.size()).toInt(&ok);
        if (ok)
            highest = std::max(highest, n);
    }
    const QString number = QString::number(highest + 1);
    const QString id = kShelfPrefix + number;
    state.defaultShelfNames.insert(id, defaultName(number));
    state.shelfIDs.append(id);
    return id;
}

bool removeShelf(TrackingState &state, const QString &shelfID)
{
    if (!state.shelfIDs.removeAll(shelfID))
        return false;
    state.categoryOrder.removeAll(shelfID);
    state.defaultShelfNames.remove(shelfID);
    state.categoryCustomNames.remove(shelfID);
    state.categoryCollapsed.remove(shelfID);
    state.categoryHidden.remove(shelfID);
    state.categoryWindowOrder.remove(shelfID);
    removeValues(state.windowCategoryAssignment, shelfID);
    removeValues(state.manualShelfAssignmentByDescriptor, shelfID);
    removeValues(state.liveWindowCategoryAssignmentByWindowNumber, shelfID);
    removeValues(state.lastShelfByPidAndIndex, shelfID);
    state.shelfWindowMemory.removeIf([&shelfID](const auto &it) { return it.value().shelfID == shelfID; });
    state.manualShelfMissCache.clear();
    if (state.onlyCategory == shelfID)
        state.onlyCategory.reset();
    return true;
}

bool renameCategory(TrackingState &state, const QString &categoryID, const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return false;
    state.categoryCustomNames.insert(categoryID, trimmed);
    return true;
}

void toggleCategoryCollapsed(TrackingState &state, const QString &categoryID)
{
    state.categoryCollapsed.insert(categoryID, !state.categoryCollapsed.value(categoryID, false));
}

bool moveCategory(TrackingState &state, const QString &categoryID, const std::optional<QString> &beforeID)
{
    if (!state.categoryOrder.contains(categoryID))
        return false;
    state.categoryOrder.removeAll(categoryID);
    const qsizetype at = beforeID ? state.categoryOrder.indexOf(*beforeID) : -1;
    if (at >= 0)
        state.categoryOrder.insert(at, categoryID);
    else
        state.categoryOrder.append(categoryID);
    return true;
}

bool setCategoryHidden(TrackingState &state, const QString &categoryID, bool hidden)
{
    if (state.categoryHidden.contains(categoryID) == hidden)
        return false;
    if (hidden)
        state.categoryHidden.insert(categoryID);
    else
        state.categoryHidden.remove(categoryID);
    return true;
}

void moveWindow(TrackingState &state, const WindowItem &window, const QString &targetID,
                const std::optional<WindowItem> &before)
{
    const QString natural = sectionRouter::appSectionID(window);
    if (!targetID.startsWith(kShelfPrefix) || targetID == natural) {
        removeWindowFromShelf(state, window);
        return;
    }
    state.explicitlyRemovedSigs.remove(window.id);
    if (auto descriptor = identity::manualShelfDescriptor(window, false))
        state.explicitlyRemovedDescriptors.remove(*descriptor);
    state.windowCategoryAssignment.insert(window.id, targetID);
    if (window.windowNumber)
        state.liveWindowCategoryAssignmentByWindowNumber.insert(*window.windowNumber, targetID);
    sectionRouter::updateManualShelfDescriptor(window, targetID, natural, state);

    removeFromOrders(state, window);
    QStringList &entries = state.categoryWindowOrder[targetID];
    qsizetype at = entries.size();
    if (before) {
        for (qsizetype i = 0; i < entries.size(); ++i) {
            if (identity::decodeOrderEntry(entries[i]).sig == before->id) {
                at = i;
                break;
            }
        }
    }
    entries.insert(at, identity::encodeOrderEntry(window));
    state.dragJustHappened = true;
}

void removeWindowFromShelf(TrackingState &state, const WindowItem &window)
{
    const QString natural = sectionRouter::appSectionID(window);
    qCInfo(lcTracking).noquote() << "[OV] Remove from Shelf: sig=" + window.id + " → back to app category";
    state.windowCategoryAssignment.remove(window.id);
    if (window.windowNumber)
        state.liveWindowCategoryAssignmentByWindowNumber.remove(*window.windowNumber);
    state.lastShelfByPidAndIndex.remove(identity::pidIdx(window.pid, window.axIndex));
    state.shelfWindowMemory.remove(identity::fingerprint(window));
    removeFromOrders(state, window);
    state.explicitlyRemovedSigs.insert(window.id);
    if (auto descriptor = identity::manualShelfDescriptor(window, false))
        state.explicitlyRemovedDescriptors.insert(*descriptor);
    sectionRouter::updateManualShelfDescriptor(window, natural, natural, state);
    state.dragJustHappened = true;
}

} // namespace orvella::tracking::shelfOperations
