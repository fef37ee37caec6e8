// Writes the shelf state to the preferences and reads it back: the stored-data format
// of shelves, orders and assignments.
#include "tracking/shelfpersistence.h"

#include "logging.h"
#include "platform/preferencesstore.h"
#include "tracking/identity.h"
#include "tracking/shelforder.h"
#include "tracking/windowcategory.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>

namespace orvella::tracking::shelfPersistence {

namespace {

const QString kShelfIDs = QStringLiteral("ov.shelfIDs");
const QString kDefaultShelfNames = QStringLiteral("ov.defaultShelfNames");
const QString kCategoryCollapsed = QStringLiteral("ov.categoryCollapsed");
const QString kCategoryHidden = QStringLiteral("ov.categoryHidden");
const QString kCategoryCustomNames = QStringLiteral("ov.categoryCustomNames");
const QString kCategoryOrder = QStringLiteral("ov.categoryOrder");
const QString kCategoryWindowOrder = QStringLiteral("ov.categoryWindowOrder");
const QString kWindowCategoryAssignment = QStringLiteral("ov.windowCategoryAssignment");
const QString kManualByDescriptor = QStringLiteral("ov.manualShelfAssignmentByDescriptor");
const QString kExplicitlyRemovedSigs = QStringLiteral("ov.explicitlyRemovedSigs");
const QString kExplicitlyRemovedDescriptors = QStringLiteral("ov.explicitlyRemovedDescriptors");
const QString kLastSigByWindowNum = QStringLiteral("ov.lastSigByWindowNum");
const QString kWindowNumberOwners = QStringLiteral("ov.windowNumberOwners");
const QString kCategoryLastSeen = QStringLiteral("ov.categoryLastSeen");

QJsonObject stringMap(const QHash<QString, QString> &map)
{
    QJsonObject o;
    for (auto it = map.begin(); it != map.end(); ++it)
        o.insert(it.key(), it.value());
    return o;
}

QStringList sorted(const QSet<QString> &set)
{
    QStringList list(set.begin(), set.end());
    list.sort(); // sets have no order; a stable file keeps diffs of the store readable
    return list;
}

// A dictionary whose every value is a string; absent otherwise.
std::optional<QHash<QString, QString>> readStringMap(const platform::PreferencesStore &store,
                                                     const QString &key)
{
    const auto object = store.dictionaryValue(key);
    if (!object)
        return std::nullopt;
    QHash<QString, QString> map;
    for (auto it = object->begin(); it != object->end(); ++it) {
        if (!it.value().isString())
            return std::nullopt;
        map.insert(it.key(), it.value().toString());
    }
    return map;
}

QStringList withoutRepeats(const QStringList &list)
{
    QStringList out;
    QSet<QString> seen;
    for (const QString &entry : list) {
        if (!seen.contains(entry)) {
            seen.insert(entry);
            out.append(entry);
        }
    }
    return out;
}

// The longest section id kept from the file: a shelf id is "shelf-" and a number, an
// application section's id its desktop-file id or class; anything longer was not written by us.
constexpr qsizetype kMaxStoredIDLength = 256;

bool wellFormedID(const QString &id, bool shelvesOnly)
{
    if (id.isEmpty() || id.size() > kMaxStoredIDLength)
        return false;
    if (shelvesOnly && (!id.startsWith(kShelfPrefix) || id.size() == kShelfPrefix.size()))
        return false;
    return std::none_of(id.begin(), id.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

// Section ids come back from a file anyone can edit: keep the first of each well-formed one
// and drop the rest, so they are neither shown nor written back.
QStringList validIDs(const QStringList &ids, const QString &key, bool shelvesOnly)
{
    QStringList kept;
    QSet<QString> seen;
    for (const QString &id : ids) {
        if (wellFormedID(id, shelvesOnly) && !seen.contains(id)) {
            seen.insert(id);
            kept.append(id);
        }
    }
    if (kept.size() < ids.size())
        qCWarning(lcTracking).noquote()
            << QStringLiteral("[OV] restoreState() — %1 malformed or repeated ids in %2 dropped")
                   .arg(QString::number(ids.size() - kept.size()), key);
    return kept;
}

// A window number is trusted only with its owner: entries under a number without a
// (well-formed) owner record are dropped, and the title-based rules place its window.
void restoreWindowNumberOwners(TrackingState &state, const platform::PreferencesStore &store)
{
    const auto object = store.dictionaryValue(kWindowNumberOwners);
    if (!object)
        return;
    int malformed = 0;
    for (auto it = object->begin(); it != object->end(); ++it) {
        bool isNumber = false;
        const qint64 number = it.key().toLongLong(&isNumber);
        const QJsonObject record = it.value().toObject();
        bool isTime = false;
        WindowOwner owner{record.value(QStringLiteral("owner")).toString(),
                          qint32(record.value(QStringLiteral("pid")).toInt()),
                          record.value(QStringLiteral("startTime")).toString().toULongLong(&isTime)};
        if (!isNumber || !isTime || owner.owner.isEmpty() || owner.pid <= 0) {
            ++malformed;
            continue;
        }
        state.ownerByWindowNumber.insert(number, owner);
    }
    if (malformed > 0)
        qCWarning(lcTracking).noquote()
            << QStringLiteral("[OV] restoreState() — %1 malformed window-number owners ignored")
                   .arg(malformed);
}

void dropNumbersWithoutOwner(TrackingState &state)
{
    const auto untrusted = [&state](const QString &sig) {
        const std::optional<qint64> number = identity::windowNumberOf(sig);
        return number && !state.ownerByWindowNumber.contains(*number);
    };
    QSet<QString> dropped;
    for (const QString &sig : state.windowCategoryAssignment.keys() + state.explicitlyRemovedSigs.values()) {
        if (untrusted(sig))
            dropped.insert(sig);
    }
    for (const QString &sig : std::as_const(dropped)) {
        state.windowCategoryAssignment.remove(sig);
        state.explicitlyRemovedSigs.remove(sig);
        shelfOrder::detach(state, sig);
    }
    if (!dropped.isEmpty())
        qCInfo(lcTracking).noquote()
            << QStringLiteral("[OV] restoreState() — %1 window-number entries without a known owner dropped")
                   .arg(dropped.size());
}

} // namespace

void persistState(const TrackingState &state, platform::PreferencesStore &store)
{
    store.setStringList(kShelfIDs, state.shelfIDs);
    store.setDictionary(kDefaultShelfNames, stringMap(state.defaultShelfNames));
    QJsonObject collapsed;
    for (auto it = state.categoryCollapsed.begin(); it != state.categoryCollapsed.end(); ++it)
        collapsed.insert(it.key(), it.value());
    store.setDictionary(kCategoryCollapsed, collapsed);
    store.setStringList(kCategoryHidden, sorted(state.categoryHidden));
    store.setDictionary(kCategoryCustomNames, stringMap(state.categoryCustomNames));
    store.setStringList(kCategoryOrder, state.categoryOrder);
    QJsonObject windowOrder;
    for (auto it = state.categoryWindowOrder.begin(); it != state.categoryWindowOrder.end(); ++it)
        windowOrder.insert(it.key(), QJsonArray::fromStringList(it.value()));
    store.setDictionary(kCategoryWindowOrder, windowOrder);
    store.setDictionary(kWindowCategoryAssignment, stringMap(state.windowCategoryAssignment));
    store.setDictionary(kManualByDescriptor, stringMap(state.manualShelfAssignmentByDescriptor));
    store.setStringList(kExplicitlyRemovedSigs, sorted(state.explicitlyRemovedSigs));
    store.setStringList(kExplicitlyRemovedDescriptors, sorted(state.explicitlyRemovedDescriptors));
    QJsonObject sigs;
    for (auto it = state.lastSignatureByWindowNumber.begin(); it != state.lastSignatureByWindowNumber.end();
         ++it)
        sigs.insert(QString::number(it.key()), it.value());
    store.setDictionary(kLastSigByWindowNum, sigs);
    QJsonObject owners;
    for (auto it = state.ownerByWindowNumber.begin(); it != state.ownerByWindowNumber.end(); ++it)
        owners.insert(QString::number(it.key()),
                      QJsonObject{{QStringLiteral("owner"), it->owner},
                                  {QStringLiteral("pid"), it->pid},
                                  {QStringLiteral("startTime"), QString::number(it->startTime)}});
    store.setDictionary(kWindowNumberOwners, owners);
    QJsonObject seen;
    for (auto it = state.categoryLastSeen.begin(); it != state.categoryLastSeen.end(); ++it)
        seen.insert(it.key(), it->toString(Qt::ISODate));
    store.setDictionary(kCategoryLastSeen, seen);
}

void restoreState(TrackingState &state, platform::PreferencesStore &store)
{
    if (auto ids = store.stringListValue(kShelfIDs))
        state.shelfIDs = validIDs(*ids, kShelfIDs, true);
    if (auto names = readStringMap(store, kDefaultShelfNames))
        state.defaultShelfNames = *names;
    if (auto object = store.dictionaryValue(kCategoryCollapsed)) {
        QHash<QString, bool> collapsed;
        bool ok = true;
        for (auto it = object->begin(); ok && it != object->end(); ++it) {
            ok = it.value().isBool();
            collapsed.insert(it.key(), it.value().toBool());
        }
        if (ok)
            state.categoryCollapsed = collapsed;
    }
    if (auto hidden = store.stringListValue(kCategoryHidden))
        state.categoryHidden = QSet<QString>(hidden->begin(), hidden->end());
    if (auto names = readStringMap(store, kCategoryCustomNames))
        state.categoryCustomNames = *names;
    if (auto order = store.stringListValue(kCategoryOrder))
        state.categoryOrder = validIDs(*order, kCategoryOrder, false);
    if (auto object = store.dictionaryValue(kCategoryWindowOrder)) {
        QHash<QString, QStringList> orders;
        bool ok = true;
        for (auto it = object->begin(); ok && it != object->end(); ++it) {
            QStringList entries;
            ok = it.value().isArray();
            for (const QJsonValue &v : it.value().toArray()) {
                ok = ok && v.isString();
                entries.append(v.toString());
            }
            orders.insert(it.key(), withoutRepeats(entries));
        }
        if (ok)
            state.categoryWindowOrder = orders;
    }
    if (auto assignments = readStringMap(store, kWindowCategoryAssignment))
        state.windowCategoryAssignment = *assignments;
    if (auto manual = readStringMap(store, kManualByDescriptor))
        state.manualShelfAssignmentByDescriptor = *manual;
    bootstrapManualShelfAssignmentsFromPersistedState(state, store);
    state.manualShelfMissCache.clear();
    if (auto sigs = store.stringListValue(kExplicitlyRemovedSigs))
        state.explicitlyRemovedSigs = QSet<QString>(sigs->begin(), sigs->end());
    if (auto descriptors = store.stringListValue(kExplicitlyRemovedDescriptors))
        state.explicitlyRemovedDescriptors = QSet<QString>(descriptors->begin(), descriptors->end());
    restoreWindowNumberOwners(state, store);
    dropNumbersWithoutOwner(state);
    if (auto sigs = readStringMap(store, kLastSigByWindowNum)) {
        for (auto it = sigs->begin(); it != sigs->end(); ++it) {
            bool isNumber = false;
            const qint64 number = it.key().toLongLong(&isNumber);
            if (isNumber && state.ownerByWindowNumber.contains(number))
                state.lastSignatureByWindowNumber.insert(number, it.value()); // the stored one wins
        }
    }
    if (auto seen = readStringMap(store, kCategoryLastSeen)) {
        for (auto it = seen->begin(); it != seen->end(); ++it) {
            if (const QDate day = QDate::fromString(it.value(), Qt::ISODate); day.isValid())
                state.categoryLastSeen.insert(it.key(), day);
        }
    }
    qCInfo(lcTracking).noquote() << QStringLiteral(
                                        "[OV] restoreState() — shelves: %1, assignments: %2, sigMap: %3, "
                                        "order: %4")
                                        .arg(QString::number(state.shelfIDs.size()),
                                             QString::number(state.windowCategoryAssignment.size()),
                                             QString::number(state.lastSignatureByWindowNumber.size()),
                                             QString::number(state.categoryOrder.size()));
}

void bootstrapManualShelfAssignmentsFromPersistedState(TrackingState &state,
                                                       platform::PreferencesStore &store)
{
    if (!state.manualShelfAssignmentByDescriptor.isEmpty())
        return;
    QHash<QString, QString> built;
    // Sorted, so that two ids sharing a descriptor resolve the same way on every start.
    QStringList ids = state.windowCategoryAssignment.keys();
    ids.sort();
    for (const QString &key : std::as_const(ids)) {
        const QString shelf = state.windowCategoryAssignment.value(key);
        if (!shelf.startsWith(kShelfPrefix))
            continue;
        const QString id = identity::withoutGhostSuffix(key);
        const qsizetype sep = id.indexOf(QStringLiteral("::"));
        if (sep < 0)
            continue;
        const QString owner = id.left(sep);
        const QString rest = id.mid(sep + 2);
        if (rest.isEmpty() || rest.startsWith(QStringLiteral("wn:")))
            continue;
        const QString descriptor =
            owner + QStringLiteral("::") + identity::normalizedTitleForMatching(rest, owner);
        if (!built.contains(descriptor))
            built.insert(descriptor, shelf);
    }
    if (built.isEmpty())
        return;
    state.manualShelfMissCache.clear();
    state.manualShelfAssignmentByDescriptor = built;
    store.setDictionary(kManualByDescriptor, stringMap(built));
    qCInfo(lcTracking).noquote() << "bootstrapped manual shelf assignments from persisted state: count="
                                        + QString::number(built.size());
}

} // namespace orvella::tracking::shelfPersistence
