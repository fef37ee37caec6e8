// The user's order of windows inside a shelf: stored order entries, matched to the
// listed windows, repaired when windows come back under other ids, and forgotten once
// their window is gone for good.
#include "tracking/shelforder.h"

#include "logging.h"
#include "tracking/identity.h"

#include <functional>

namespace orvella::tracking::shelfOrder {

namespace {

const QString kSep = QStringLiteral("__");

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

// Whether anything would still put the window an entry describes on `shelf` when it
// comes back: an assignment of its id, or the user's choice for its title.
bool stillShelved(const identity::OrderEntry &d, const QString &shelf, const TrackingState &state)
{
    if (state.windowCategoryAssignment.value(d.sig) == shelf)
        return true;
    if (!d.fingerprint)
        return false;
    const QString owner = identity::ownerOf(*d.fingerprint);
    const QString title = d.fingerprint->mid(owner.size() + 2).trimmed();
    const QString plain = owner + QStringLiteral("::") + title;
    const QString normalized =
        owner + QStringLiteral("::") + identity::normalizedTitleForMatching(title, owner);
    return state.manualShelfAssignmentByDescriptor.value(plain) == shelf
           || state.manualShelfAssignmentByDescriptor.value(normalized) == shelf;
}

// Stored entries with one entry per id, in their stored order.
struct Entries
{
    QStringList text;
    QList<identity::OrderEntry> decoded;
    QList<bool> claimed;
};

Entries withoutRepeatedIds(const QString &shelf, const QStringList &stored)
{
    Entries out;
    QSet<QString> seen;
    for (const QString &e : stored) {
        const identity::OrderEntry &d = decodedEntry(e);
        if (seen.contains(d.sig))
            continue;
        seen.insert(d.sig);
        out.text.append(e);
        out.decoded.append(d);
    }
    if (out.text.size() != stored.size())
        qCInfo(lcTracking).noquote() << QStringLiteral("deduped categoryWindowOrder['%1']: %2 → %3 entries")
                                            .arg(shelf, QString::number(stored.size()),
                                                 QString::number(out.text.size()));
    out.claimed.fill(false, out.text.size());
    return out;
}

} // namespace

bool apply(const QString &shelf, QList<WindowItem> &windows, const QList<WindowItem> &allWindows,
           const QSet<QString> &runningOwners, TrackingState &state, int cycles)
{
    const QStringList stored = state.categoryWindowOrder.value(shelf);
    Entries entries = withoutRepeatedIds(shelf, stored);

    // Fingerprints of every listed window by id: an entry whose id names a listed
    // window with the same fingerprint is that window's, and no other takes it over.
    QHash<QString, QString> liveFingerprints;
    for (const WindowItem &w : allWindows)
        liveFingerprints.insert(w.id, identity::fingerprint(w));
    const auto free = [&](const identity::OrderEntry &d) {
        const auto live = liveFingerprints.constFind(d.sig);
        return live == liveFingerprints.constEnd() || (d.fingerprint && *d.fingerprint != *live);
    };

    struct Listed
    {
        QString pidIdx;
        QString fingerprint;
        qsizetype slot = -1;
    };
    QList<Listed> listed;
    for (const WindowItem &w : windows)
        listed.append({identity::pidIdx(w.pid, w.axIndex), identity::fingerprint(w)});

    using Match = std::function<bool(const WindowItem &, const Listed &, const identity::OrderEntry &)>;
    const std::pair<const char *, Match> passes[] = {
        {nullptr,
         [](const WindowItem &w, const Listed &l, const identity::OrderEntry &d) {
             return d.sig == w.id && (!d.fingerprint || *d.fingerprint == l.fingerprint);
         }},
        {"order-fixup(pid+fp)",
         [&](const WindowItem &, const Listed &l, const identity::OrderEntry &d) {
             return free(d) && d.pidIdx == l.pidIdx && d.fingerprint == l.fingerprint;
         }},
        {"order-fixup(fp)",
         [&](const WindowItem &, const Listed &l, const identity::OrderEntry &d) {
             return free(d) && d.fingerprint == l.fingerprint;
         }},
        // Same id, other title: the window was retitled. Its id is still its own, since
        // an id whose number changed owner has been detached.
        {nullptr,
         [](const WindowItem &w, const Listed &, const identity::OrderEntry &d) { return d.sig == w.id; }},
        {"order-fixup",
         [&](const WindowItem &, const Listed &l, const identity::OrderEntry &d) {
             return free(d) && !d.fingerprint && d.pidIdx == l.pidIdx;
         }},
    };
    for (const auto &[fixup, match] : passes) {
        for (qsizetype k = 0; k < windows.size(); ++k) {
            if (listed[k].slot >= 0)
                continue;
            for (qsizetype i = 0; i < entries.decoded.size(); ++i) {
                if (entries.claimed[i] || !match(windows[k], listed[k], entries.decoded[i]))
                    continue;
                entries.claimed[i] = true;
                listed[k].slot = i;
                if (fixup)
                    qCInfo(lcTracking).noquote()
                        << QStringLiteral("%1 shelf='%2' '%3' → '%4'")
                               .arg(QLatin1String(fixup), shelf, entries.text[i], windows[k].id);
                break;
            }
        }
    }

    // Entries nobody claimed: kept while their window may still come back.
    QStringList kept;
    QList<std::pair<qsizetype, WindowItem>> placed;
    for (qsizetype i = 0; i < entries.text.size(); ++i) {
        const QString &e = entries.text[i];
        if (entries.claimed[i]) {
            state.closedAbsenceCount.remove(e);
            for (qsizetype k = 0; k < windows.size(); ++k) {
                if (listed[k].slot == i) {
                    placed.append({kept.size(), windows[k]});
                    kept.append(identity::encodeOrderEntry(windows[k]));
                }
            }
            continue;
        }
        const bool closed = runningOwners.contains(identity::ownerOf(entries.decoded[i].sig))
                                ? ++state.closedAbsenceCount[e] >= cycles
                                : !stillShelved(entries.decoded[i], shelf, state);
        if (closed)
            state.closedAbsenceCount.remove(e);
        else
            kept.append(e);
    }
    for (qsizetype k = 0; k < windows.size(); ++k) {
        if (listed[k].slot < 0) {
            placed.append({kept.size(), windows[k]});
            kept.append(identity::encodeOrderEntry(windows[k]));
        }
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    windows.clear();
    for (auto &p : placed)
        windows.append(std::move(p.second));
    if (kept == stored)
        return false;
    state.categoryWindowOrder.insert(shelf, kept);
    return true;
}

void detach(TrackingState &state, const QString &sig)
{
    for (QStringList &entries : state.categoryWindowOrder) {
        for (qsizetype i = entries.size() - 1; i >= 0; --i) {
            const identity::OrderEntry &d = decodedEntry(entries[i]);
            if (d.sig != sig)
                continue;
            if (d.fingerprint && d.pidIdx && *d.fingerprint != sig)
                entries[i] = *d.fingerprint + kSep + *d.pidIdx + kSep + *d.fingerprint;
            else
                entries.removeAt(i);
        }
    }
}

} // namespace orvella::tracking::shelfOrder
