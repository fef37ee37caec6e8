// The stored shelf state: hand-written stores in every documented shape, round trips,
// and the descriptor bootstrap of older stores.
#include "platform/preferencesstore.h"
#include "tracking/shelfpersistence.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using platform::PreferencesStore;

class TestShelfPersistence : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void handWrittenStoreRestoresTheDescribedState();
    void mistypedKeysKeepTheirFields_data();
    void mistypedKeysKeepTheirFields();
    void roundTripIsLosslessAndEmptiesAreWritten();
    void olderStoresGainDescriptorsAtOnce();

private:
    std::unique_ptr<PreferencesStore> storeWith(const QByteArray &json);
    QTemporaryDir m_dir;
    QString m_path;
    int m_n = 0;
};

void TestShelfPersistence::init()
{
    m_path = m_dir.filePath(QStringLiteral("p%1.json").arg(++m_n));
}

std::unique_ptr<PreferencesStore> TestShelfPersistence::storeWith(const QByteArray &json)
{
    QFile f(m_path);
    if (f.open(QIODevice::WriteOnly))
        f.write(json);
    f.close();
    return std::make_unique<PreferencesStore>(m_path);
}

void TestShelfPersistence::handWrittenStoreRestoresTheDescribedState()
{
    // Hand edits and hostile writers: a repeat, ids without the shelf prefix or with nothing after
    // it, a control character, and an id of 100,000 characters are dropped.
    QByteArray json = R"({
      "ov.shelfIDs": ["shelf-1", "shelf-3", "shelf-1", "notes", "shelf-", "shelf-\u001b", "HUGE"],
      "ov.defaultShelfNames": {"shelf-1": "Shelf 1", "shelf-3": "Shelf 3"},
      "ov.categoryCollapsed": {"shelf-1": true, "firefox-esr": false},
      "ov.categoryHidden": ["code"],
      "ov.categoryCustomNames": {"shelf-3": "Research"},
      "ov.categoryOrder": ["shelf-3", "shelf-1", "shelf-3", "firefox-esr", "", "HUGE"],
      "ov.categoryWindowOrder": {"shelf-1": [
          "code::wn:41__812:0__code::main.cpp",
          "code::notes.md__812:1",
          "firefox-esr::Inbox",
          "code::wn:41__812:0__code::main.cpp"]},
      "ov.windowCategoryAssignment": {"code::wn:41": "shelf-1", "firefox-esr::Inbox": "shelf-3",
                                      "code::wn:8": "shelf-1"},
      "ov.manualShelfAssignmentByDescriptor": {"code::main.cpp": "shelf-1"},
      "ov.explicitlyRemovedSigs": ["code::wn:7"],
      "ov.explicitlyRemovedDescriptors": ["code::scratch"],
      "ov.lastSigByWindowNum": {"41": "code::wn:41", "0x2a": "junk", "-3": "x::wn:-3", "": "empty",
                                "8": "code::wn:8"},
      "ov.windowNumberOwners": {"41": {"owner": "code", "pid": 812, "startTime": "4711"},
                                "-3": {"owner": "x", "pid": 9, "startTime": "0"},
                                "7": {"owner": "code", "pid": 812, "startTime": "4711"},
                                "8": {"owner": "code", "pid": "812"}}
    })";
    auto store = storeWith(json.replace("HUGE", "shelf-" + QByteArray(100'000, '7')));
    TrackingState state;
    state.lastSignatureByWindowNumber.insert(41, QStringLiteral("in memory"));
    state.lastSignatureByWindowNumber.insert(99, QStringLiteral("kept"));
    // Number 8's owner does not parse: its entries are not trusted.
    QTest::ignoreMessage(QtWarningMsg,
                         "[OV] restoreState() — 5 malformed or repeated ids in ov.shelfIDs dropped");
    QTest::ignoreMessage(QtWarningMsg,
                         "[OV] restoreState() — 3 malformed or repeated ids in ov.categoryOrder dropped");
    QTest::ignoreMessage(QtWarningMsg, "[OV] restoreState() — 1 malformed window-number owners ignored");
    QTest::ignoreMessage(QtInfoMsg,
                         "[OV] restoreState() — 1 window-number entries without a known owner dropped");
    QTest::ignoreMessage(QtInfoMsg, "[OV] restoreState() — shelves: 2, assignments: 2, sigMap: 3, order: 3");
    shelfPersistence::restoreState(state, *store);

    QCOMPARE(state.shelfIDs, QStringList({"shelf-1", "shelf-3"}));
    QCOMPARE(state.defaultShelfNames.value(QStringLiteral("shelf-3")), QStringLiteral("Shelf 3"));
    QCOMPARE(state.categoryCollapsed.value(QStringLiteral("shelf-1")), true);
    QCOMPARE(state.categoryHidden, QSet<QString>({"code"}));
    QCOMPARE(state.categoryCustomNames.value(QStringLiteral("shelf-3")), QStringLiteral("Research"));
    QCOMPARE(state.categoryOrder, QStringList({"shelf-3", "shelf-1", "firefox-esr"}));
    // All three entry forms are kept; the repeated one only at its first place.
    QCOMPARE(
        state.categoryWindowOrder.value(QStringLiteral("shelf-1")),
        QStringList({"code::wn:41__812:0__code::main.cpp", "code::notes.md__812:1", "firefox-esr::Inbox"}));
    QCOMPARE(state.windowCategoryAssignment.size(), 2);
    // Descriptors were stored, so none are bootstrapped.
    QCOMPARE(state.manualShelfAssignmentByDescriptor.size(), 1);
    QCOMPARE(state.explicitlyRemovedSigs, QSet<QString>({"code::wn:7"}));
    QCOMPARE(state.explicitlyRemovedDescriptors, QSet<QString>({"code::scratch"}));
    QCOMPARE(state.lastSignatureByWindowNumber.value(41), QStringLiteral("code::wn:41")); // stored wins
    QCOMPARE(state.lastSignatureByWindowNumber.value(-3), QStringLiteral("x::wn:-3"));
    QCOMPARE(state.lastSignatureByWindowNumber.value(99), QStringLiteral("kept"));
    QCOMPARE(state.lastSignatureByWindowNumber.size(), 3);
    QCOMPARE(state.ownerByWindowNumber.value(41).startTime, 4711u);
}

void TestShelfPersistence::mistypedKeysKeepTheirFields_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("shelf ids as text") << QByteArray(R"({"ov.shelfIDs": "shelf-1"})");
    QTest::newRow("collapsed with a number") << QByteArray(R"({"ov.categoryCollapsed": {"a": 1}})");
    QTest::newRow("order with a number")
        << QByteArray(R"({"ov.categoryWindowOrder": {"shelf-1": ["a", 2]}})");
    QTest::newRow("assignment to a list")
        << QByteArray(R"({"ov.windowCategoryAssignment": {"a::b": ["shelf-1"]}})");
    QTest::newRow("removed sigs as object") << QByteArray(R"({"ov.explicitlyRemovedSigs": {"a": "b"}})");
}

void TestShelfPersistence::mistypedKeysKeepTheirFields()
{
    QFETCH(QByteArray, json);
    auto store = storeWith(json);
    TrackingState state;
    state.shelfIDs = {QStringLiteral("shelf-9")};
    state.categoryCollapsed.insert(QStringLiteral("x"), true);
    state.categoryWindowOrder.insert(QStringLiteral("shelf-9"), {QStringLiteral("e")});
    state.windowCategoryAssignment.insert(QStringLiteral("x::y"), QStringLiteral("x"));
    state.explicitlyRemovedSigs.insert(QStringLiteral("r"));
    const TrackingState before = state;
    shelfPersistence::restoreState(state, *store);
    QCOMPARE(state.shelfIDs, before.shelfIDs);
    QCOMPARE(state.categoryCollapsed, before.categoryCollapsed);
    QCOMPARE(state.categoryWindowOrder, before.categoryWindowOrder);
    QCOMPARE(state.windowCategoryAssignment, before.windowCategoryAssignment);
    QCOMPARE(state.explicitlyRemovedSigs, before.explicitlyRemovedSigs);
}

void TestShelfPersistence::roundTripIsLosslessAndEmptiesAreWritten()
{
    TrackingState state;
    state.shelfIDs = {QStringLiteral("shelf-2"), QStringLiteral("shelf-1")};
    state.defaultShelfNames = {{QStringLiteral("shelf-1"), QStringLiteral("Shelf 1")}};
    state.categoryCollapsed = {{QStringLiteral("shelf-2"), true}, {QStringLiteral("code"), false}};
    state.categoryHidden = {QStringLiteral("xterm"), QStringLiteral("code")};
    state.categoryCustomNames = {{QStringLiteral("shelf-2"), QStringLiteral("Écriture ✍")}};
    state.categoryOrder = {QStringLiteral("shelf-1"), QStringLiteral("code"), QStringLiteral("shelf-2")};
    state.categoryWindowOrder = {
        {QStringLiteral("shelf-2"), {QStringLiteral("a::wn:1__1:0__a::t"), QStringLiteral("a::u")}}};
    state.windowCategoryAssignment = {{QStringLiteral("a::wn:1"), QStringLiteral("shelf-2")}};
    state.manualShelfAssignmentByDescriptor = {{QStringLiteral("a::t"), QStringLiteral("shelf-2")}};
    state.explicitlyRemovedSigs = {QStringLiteral("a::wn:9")};
    state.explicitlyRemovedDescriptors = {QStringLiteral("a::gone")};
    state.lastSignatureByWindowNumber = {{1, QStringLiteral("a::wn:1")}, {-7, QStringLiteral("b::wn:-7")}};
    state.ownerByWindowNumber = {{1, {QStringLiteral("a"), 10, 123456789012}},
                                 {-7, {QStringLiteral("b"), 11, 0}},
                                 {9, {QStringLiteral("a"), 10, 5}}};
    state.categoryLastSeen = {{QStringLiteral("code"), QDate(2026, 2, 28)}};
    {
        PreferencesStore store(m_path);
        shelfPersistence::persistState(state, store);
    }
    PreferencesStore store(m_path);
    TrackingState restored;
    shelfPersistence::restoreState(restored, store);
    QCOMPARE(restored.shelfIDs, state.shelfIDs);
    QCOMPARE(restored.defaultShelfNames, state.defaultShelfNames);
    QCOMPARE(restored.categoryCollapsed, state.categoryCollapsed);
    QCOMPARE(restored.categoryHidden, state.categoryHidden);
    QCOMPARE(restored.categoryCustomNames, state.categoryCustomNames);
    QCOMPARE(restored.categoryOrder, state.categoryOrder);
    QCOMPARE(restored.categoryWindowOrder, state.categoryWindowOrder);
    QCOMPARE(restored.windowCategoryAssignment, state.windowCategoryAssignment);
    QCOMPARE(restored.manualShelfAssignmentByDescriptor, state.manualShelfAssignmentByDescriptor);
    QCOMPARE(restored.explicitlyRemovedSigs, state.explicitlyRemovedSigs);
    QCOMPARE(restored.explicitlyRemovedDescriptors, state.explicitlyRemovedDescriptors);
    QCOMPARE(restored.lastSignatureByWindowNumber, state.lastSignatureByWindowNumber);
    QCOMPARE(restored.ownerByWindowNumber.keys(), state.ownerByWindowNumber.keys());
    for (auto it = state.ownerByWindowNumber.cbegin(); it != state.ownerByWindowNumber.cend(); ++it) {
        const WindowOwner back = restored.ownerByWindowNumber.value(it.key());
        QVERIFY(back.owner == it->owner && back.pid == it->pid && back.startTime == it->startTime);
    }
    QCOMPARE(restored.categoryLastSeen, state.categoryLastSeen);

    // Emptied collections are written, not removed: restoring leaves a field alone when its
    // key is missing, so a removed key would bring the old contents back.
    const QStringList keys = store.snapshot().keys();
    shelfPersistence::persistState(TrackingState(), store);
    const QJsonObject emptied = store.snapshot();
    QCOMPARE(emptied.keys(), keys);
    for (const QJsonValue &v : emptied)
        QVERIFY((v.isArray() && v.toArray().isEmpty()) || (v.isObject() && v.toObject().isEmpty()));
}

void TestShelfPersistence::olderStoresGainDescriptorsAtOnce()
{
    auto store = storeWith(R"({
      "ov.shelfIDs": ["shelf-1", "shelf-2"],
      "ov.windowCategoryAssignment": {
        "code::main.cpp — Modified": "shelf-1",
        "code::main.cpp": "shelf-2",
        "org.gnome.TextEditor::todo.txt-ghost": "shelf-2",
        "xterm::wn:12": "shelf-1",
        "xterm::": "shelf-1",
        "firefox::Inbox": "firefox"
      }
    })");
    TrackingState state;
    state.manualShelfMissCache.insert(QStringLiteral("stale"));
    QTest::ignoreMessage(QtInfoMsg, "bootstrapped manual shelf assignments from persisted state: count=2");
    shelfPersistence::restoreState(state, *store);
    QCOMPARE(state.manualShelfAssignmentByDescriptor,
             (QHash<QString, QString>{{"code::main.cpp", "shelf-2"},
                                      {"org.gnome.TextEditor::todo.txt", "shelf-2"}}));
    QVERIFY(state.manualShelfMissCache.isEmpty());
    // Written at once, before anything else persists.
    QCOMPARE(store->dictionaryValue(QStringLiteral("ov.manualShelfAssignmentByDescriptor"))->size(), 2);
}

QTEST_GUILESS_MAIN(TestShelfPersistence)
#include "tst_shelfpersistence.moc"
