// Routing one window: the precedence of the rules, the fuzzy steps of the one editor,
// the miss cache, and recording manual choices.
#include "tracking/identity.h"
#include "tracking/sectionrouter.h"

#include <QTest>

using namespace orvella::tracking;

namespace {

WindowItem window(const QString &title = QStringLiteral("report.odt"), std::optional<qint64> number = 9)
{
    WindowItem w;
    w.pid = 812;
    w.axIndex = 0;
    w.appName = QStringLiteral("Writer");
    w.bundleIdentifier = QStringLiteral("libreoffice-writer");
    w.windowTitle = title;
    w.windowNumber = number;
    w.id = identity::baseSignature(w.owner(), number, title);
    return w;
}

} // namespace

class TestSectionRouter : public QObject
{
    Q_OBJECT
private slots:
    void precedence_data();
    void precedence();
    void aShelfResultIsRememberedForThePlace();
    void vsCodeTitlesMatchLoosely();
    void otherAppsNeedTheExactTitle();
    void missCacheSkipsTheScanUntilCleared();
    void manualChoicesAreRecordedAndForgotten();
};

// Each row sets up some memories; the first rule that applies wins.
void TestSectionRouter::precedence_data()
{
    QTest::addColumn<QStringList>("memories");
    QTest::addColumn<QString>("expected");
    const QString app = QStringLiteral("libreoffice-writer");
    QTest::newRow("nothing: app section") << QStringList{} << app;
    QTest::newRow("previous place") << QStringList{"previous"} << "shelf-previous";
    QTest::newRow("stored beats previous") << QStringList{"previous", "stored"} << "shelf-stored";
    QTest::newRow("manual beats stored") << QStringList{"previous", "stored", "manual"} << "shelf-manual";
    QTest::newRow("live beats manual") << QStringList{"stored", "manual", "live"} << "shelf-live";
    QTest::newRow("removed descriptor beats live")
        << QStringList{"live", "manual", "removedDescriptor"} << app;
    QTest::newRow("removed id beats everything")
        << QStringList{"live", "manual", "stored", "previous", "removedSig"} << app;
    QTest::newRow("previous of another window") << QStringList{"previousOtherNumber"} << app;
    QTest::newRow("previous of an unseen place") << QStringList{"previousUnseen"} << app;
    QTest::newRow("previous of a numberless window") << QStringList{"previousNumberless"} << "shelf-previous";
}

void TestSectionRouter::precedence()
{
    QFETCH(QStringList, memories);
    QFETCH(QString, expected);
    WindowItem w = window();
    TrackingState state;
    const QString place = identity::pidIdx(w.pid, w.axIndex);
    state.lastSeenPidIdx.insert(place);
    for (const QString &m : memories) {
        if (m == QLatin1String("live"))
            state.liveWindowCategoryAssignmentByWindowNumber.insert(9, QStringLiteral("shelf-live"));
        else if (m == QLatin1String("manual"))
            state.manualShelfAssignmentByDescriptor.insert(*identity::manualShelfDescriptor(w, false),
                                                           QStringLiteral("shelf-manual"));
        else if (m == QLatin1String("stored"))
            state.windowCategoryAssignment.insert(w.id, QStringLiteral("shelf-stored"));
        else if (m.startsWith(QLatin1String("previous"))) {
            state.lastShelfByPidAndIndex.insert(place, QStringLiteral("shelf-previous"));
            state.lastWindowNumberByPidIdx.insert(place, m == QLatin1String("previousOtherNumber") ? 5 : 9);
            if (m == QLatin1String("previousUnseen"))
                state.lastSeenPidIdx.clear();
            if (m == QLatin1String("previousNumberless")) {
                w = window(QStringLiteral("report.odt"), std::nullopt);
                state.lastWindowNumberByPidIdx.insert(place, 5);
            }
        } else if (m == QLatin1String("removedSig"))
            state.explicitlyRemovedSigs.insert(w.id);
        else if (m == QLatin1String("removedDescriptor"))
            state.explicitlyRemovedDescriptors.insert(*identity::manualShelfDescriptor(w, false));
    }
    QCOMPARE(sectionRouter::route(w, state), expected);
}

void TestSectionRouter::aShelfResultIsRememberedForThePlace()
{
    TrackingState state;
    const WindowItem w = window();
    state.windowCategoryAssignment.insert(w.id, QStringLiteral("shelf-1"));
    QCOMPARE(sectionRouter::route(w, state), QStringLiteral("shelf-1"));
    QCOMPARE(state.lastShelfByPidAndIndex.value(QStringLiteral("812:0")), QStringLiteral("shelf-1"));
    QCOMPARE(state.lastWindowNumberByPidIdx.value(QStringLiteral("812:0")), 9);

    TrackingState appOnly;
    QCOMPARE(sectionRouter::route(w, appOnly), QStringLiteral("libreoffice-writer"));
    QVERIFY(appOnly.lastShelfByPidAndIndex.isEmpty());
}

void TestSectionRouter::vsCodeTitlesMatchLoosely()
{
    TrackingState state;
    state.windowCategoryAssignment.insert(QStringLiteral("code::main.cpp — orvella"),
                                          QStringLiteral("shelf-1"));
    QTest::ignoreMessage(QtInfoMsg, "wca normalized-match: 'code::main.cpp — orvella — Modified' → "
                                    "'code::main.cpp — orvella' → shelf-1");
    QCOMPARE(sectionRouter::lookupShelfAssignment(QStringLiteral("code::main.cpp — orvella — Modified"),
                                                  QStringLiteral("code"), state),
             std::optional(QStringLiteral("shelf-1")));

    // A stored title with noise matches a clean one, and is cached under the clean one.
    TrackingState reverse;
    reverse.windowCategoryAssignment.insert(QStringLiteral("code::a.h • 2 problems in this file"),
                                            QStringLiteral("shelf-2"));
    QCOMPARE(sectionRouter::lookupShelfAssignment(QStringLiteral("code::a.h"),
                                                  QStringLiteral("com.microsoft.VSCode"), reverse),
             std::optional(QStringLiteral("shelf-2")));
    QCOMPARE(reverse.windowCategoryAssignment.value(QStringLiteral("code::a.h")), QStringLiteral("shelf-2"));
}

void TestSectionRouter::otherAppsNeedTheExactTitle()
{
    TrackingState state;
    state.windowCategoryAssignment.insert(QStringLiteral("org.gnome.TextEditor::notes — Modified"),
                                          QStringLiteral("shelf-1"));
    QCOMPARE(sectionRouter::lookupShelfAssignment(QStringLiteral("org.gnome.TextEditor::notes"),
                                                  QStringLiteral("org.gnome.TextEditor"), state),
             std::nullopt);
    WindowItem w = window(QStringLiteral("notes"));
    state.manualShelfAssignmentByDescriptor.insert(QStringLiteral("libreoffice-writer::notes — Modified"),
                                                   QStringLiteral("shelf-1"));
    QCOMPARE(sectionRouter::manualShelfTarget(w, state), std::nullopt);
}

void TestSectionRouter::missCacheSkipsTheScanUntilCleared()
{
    TrackingState state;
    WindowItem w = window(QStringLiteral("main.cpp"));
    w.bundleIdentifier = QStringLiteral("code");
    QCOMPARE(sectionRouter::manualShelfTarget(w, state), std::nullopt);
    QVERIFY(state.manualShelfMissCache.contains(QStringLiteral("code::main.cpp")));

    // A matching choice appears behind the cache's back: the cached miss still answers.
    state.manualShelfAssignmentByDescriptor.insert(QStringLiteral("code::main.cpp — Modified"),
                                                   QStringLiteral("shelf-3"));
    QCOMPARE(sectionRouter::manualShelfTarget(w, state), std::nullopt);
    // Recording any choice clears the cache, and the scan finds it.
    WindowItem other = window(QStringLiteral("other.txt"));
    sectionRouter::updateManualShelfDescriptor(other, QStringLiteral("shelf-1"), other.owner(), state);
    QTest::ignoreMessage(QtInfoMsg, "manualShelf reverse-match+cache: 'code::main.cpp' matched stored "
                                    "'code::main.cpp — Modified' → shelf-3");
    QCOMPARE(sectionRouter::manualShelfTarget(w, state), std::optional(QStringLiteral("shelf-3")));
}

void TestSectionRouter::manualChoicesAreRecordedAndForgotten()
{
    TrackingState state;
    WindowItem w = window(QStringLiteral("  main.cpp — Modified "));
    w.bundleIdentifier = QStringLiteral("code");
    state.manualShelfAssignmentByDescriptor.insert(QStringLiteral("code::main.cpp — Modified"),
                                                   QStringLiteral("shelf-old"));
    QTest::ignoreMessage(QtInfoMsg, "manualShelf stored: 'code::main.cpp' → shelf-1");
    sectionRouter::updateManualShelfDescriptor(w, QStringLiteral("shelf-1"), QStringLiteral("code"), state);
    QCOMPARE(state.manualShelfAssignmentByDescriptor,
             (QHash<QString, QString>{{QStringLiteral("code::main.cpp"), QStringLiteral("shelf-1")}}));
    // Back to its own section: the choice is forgotten instead of pointing at the app.
    sectionRouter::updateManualShelfDescriptor(w, QStringLiteral("code"), QStringLiteral("code"), state);
    QVERIFY(state.manualShelfAssignmentByDescriptor.isEmpty());
    // No title, no descriptor: nothing recorded.
    sectionRouter::updateManualShelfDescriptor(window(QString()), QStringLiteral("shelf-1"),
                                               QStringLiteral("x"), state);
    QVERIFY(state.manualShelfAssignmentByDescriptor.isEmpty());
}

QTEST_GUILESS_MAIN(TestSectionRouter)
#include "tst_sectionrouter.moc"
