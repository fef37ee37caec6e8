// What is remembered under window numbers, and when a number stops naming the window
// it named: the X server reuses the ids of clients that quit.
#include "tracking/windownumbers.h"

#include "logging.h"
#include "tracking/identity.h"
#include "tracking/shelforder.h"

namespace orvella::tracking::windowNumbers {

namespace {

WindowOwner ownerOf(const WindowItem &w)
{
    return {w.owner(), w.pid, w.processStartTime};
}

// Everything remembered under `number`, for any owner it had, goes.
void forget(qint64 number, const QStringList &owners, TrackingState &state)
{
    for (const QString &owner : owners) {
        const QString sig = identity::windowNumberSignature(owner, number);
        state.windowCategoryAssignment.remove(sig);
        state.explicitlyRemovedSigs.remove(sig);
        state.userMinimizedSignatures.remove(sig);
        state.confirmedMinimizedSignatures.remove(sig);
        state.showDesktopSavedSignatures.remove(sig);
        shelfOrder::detach(state, sig);
    }
    state.liveWindowCategoryAssignmentByWindowNumber.remove(number);
    state.lastDescriptorByWindowNumber.remove(number);
    state.lastSignatureByWindowNumber.remove(number);
    state.memoryKeyByWindowNumber.remove(number);
    state.ownerByWindowNumber.remove(number);
    state.numberAbsenceCount.remove(number);
    for (auto it = state.lastWindowNumberByPidIdx.begin(); it != state.lastWindowNumberByPidIdx.end();) {
        if (*it == number) {
            state.lastShelfByPidAndIndex.remove(it.key());
            it = state.lastWindowNumberByPidIdx.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace

void forgetReused(const QList<WindowItem> &windows, TrackingState &state)
{
    QSet<qint64> present;
    for (const WindowItem &w : windows) {
        if (!w.windowNumber)
            continue;
        const qint64 number = *w.windowNumber;
        present.insert(number);
        WindowOwner now = ownerOf(w);
        const auto known = state.ownerByWindowNumber.constFind(number);
        if (known != state.ownerByWindowNumber.constEnd()) {
            if (known->sameAs(now)) {
                if (now.startTime == 0)
                    now.startTime = known->startTime;
            } else {
                qCInfo(lcTracking).noquote()
                    << QStringLiteral("[OV] window number %1 now belongs to %2 (pid %3), not %4 (pid %5); "
                                      "forgetting what was remembered under it")
                           .arg(QString::number(number), now.owner, QString::number(now.pid), known->owner,
                                QString::number(known->pid));
                forget(number, {known->owner, now.owner}, state);
            }
        }
        state.ownerByWindowNumber.insert(number, now);
    }
    // A placement made in this run holds only while its window lives.
    state.liveWindowCategoryAssignmentByWindowNumber.removeIf(
        [&present](const auto &it) { return !present.contains(it.key()); });
}

QList<SigChange> migrateRenamed(const QList<WindowItem> &windows, TrackingState &state,
                                bool *descriptorsChanged)
{
    forgetReused(windows, state);
    QList<SigChange> changes;
    QSet<QString> liveDescriptors;
    for (const WindowItem &w : windows) {
        if (auto d = identity::manualShelfDescriptor(w, false))
            liveDescriptors.insert(*d);
    }
    const auto noteDescriptorChange = [descriptorsChanged] {
        if (descriptorsChanged)
            *descriptorsChanged = true;
    };
    for (const WindowItem &w : windows) {
        if (!w.windowNumber)
            continue;
        const qint64 number = *w.windowNumber;
        const QString oldSig = state.lastSignatureByWindowNumber.value(number);
        // Only the same owner's window can have been renamed; another owner's id under
        // this number is a reused number, whose state stays behind.
        if (!oldSig.isEmpty() && oldSig != w.id && oldSig.startsWith(w.owner() + QStringLiteral("::"))) {
            changes.append({oldSig, w.id});
            if (auto it = state.windowCategoryAssignment.constFind(oldSig);
                it != state.windowCategoryAssignment.constEnd()) {
                state.windowCategoryAssignment.insert(w.id, *it);
                state.windowCategoryAssignment.remove(oldSig);
            }
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
                    noteDescriptorChange();
                    break;
                }
            }
            if (state.explicitlyRemovedDescriptors.remove(oldDescriptor)) {
                state.explicitlyRemovedDescriptors.insert(*descriptor);
                noteDescriptorChange();
            }
        }
        if (descriptor)
            state.lastDescriptorByWindowNumber.insert(number, *descriptor);
    }
    return changes;
}

bool pruneAbsent(const QList<WindowItem> &windows, TrackingState &state, int cycles)
{
    QSet<qint64> present;
    for (const WindowItem &w : windows) {
        if (w.windowNumber)
            present.insert(*w.windowNumber);
    }
    // Every remembered number, with every owner something was remembered for.
    QHash<qint64, QStringList> owners;
    for (auto it = state.ownerByWindowNumber.cbegin(); it != state.ownerByWindowNumber.cend(); ++it)
        owners[it.key()].append(it->owner);
    for (auto it = state.lastSignatureByWindowNumber.cbegin(); it != state.lastSignatureByWindowNumber.cend();
         ++it)
        owners[it.key()].append(identity::ownerOf(*it));
    for (const QString &key : state.windowCategoryAssignment.keys()) {
        if (const std::optional<qint64> number = identity::windowNumberOf(key))
            owners[*number].append(identity::ownerOf(key));
    }

    const qsizetype assignmentsBefore = state.windowCategoryAssignment.size();
    bool forgotten = false;
    for (auto it = owners.cbegin(); it != owners.cend(); ++it) {
        if (present.contains(it.key())) {
            state.numberAbsenceCount.remove(it.key());
        } else if (++state.numberAbsenceCount[it.key()] >= cycles) {
            forget(it.key(), it.value(), state);
            forgotten = true;
        }
    }
    if (const qsizetype pruned = assignmentsBefore - state.windowCategoryAssignment.size(); pruned > 0)
        qCInfo(lcTracking).noquote()
            << QStringLiteral(
                   "[OV] pruned %1 stale wn: entries from windowCategoryAssignment (absent ≥%2 cycles)")
                   .arg(pruned)
                   .arg(cycles);
    return forgotten;
}

} // namespace orvella::tracking::windowNumbers
