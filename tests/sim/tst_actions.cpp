// Window actions through the window manager's verbs on the simulated desktop: each
// verb by id, actions kept in order, tiling with windows that refuse to shrink, show
// desktop bookkeeping and timing, new windows.
#include "actions/actionrunner.h"
#include "actions/newwindowopener.h"
#include "platform/preferencesstore.h"
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "settings/appsettings.h"
#include "tracking/windowmanager.h"

#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using platform::sim::SimulatedDesktop;
using namespace std::chrono_literals;

namespace {

constexpr qint32 kEditor = 100;
constexpr qint32 kTerminal = 200;
const QString kEditorID = QStringLiteral("org.gnome.TextEditor");
const QString kTerminalID = QStringLiteral("org.gnome.Terminal");
const QRectF kScreen(0, 0, 1000, 800);

SimulatedDesktop::Window window(qint64 number, const QString &title, QRectF frame = {100, 100, 400, 300})
{
    SimulatedDesktop::Window w;
    w.number = number;
    w.title = title;
    w.frame = frame;
    return w;
}

} // namespace

class TestActions : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void verbsById_data();
    void verbsById();
    void focusThenMinimizeEndsMinimized();
    void tilingWithWindowsThatRefuseToShrink();
    void tilingRecoversFromWhatTheWindowsDid();
    void tilingFollowsTheSidebarSettings();
    void tilingUnmaximizesReportsWhatStaysAndPicksTheWindowsMonitor();
    void showDesktopTogglesExactlyItsWindows();
    void newWindow_data();
    void newWindow();
    void newWindowOfAnUnknownApplication();

private:
    void refresh();
    /// Runs `action` and drives the pool and the manual clock until it completes.
    bool run(const std::function<void(Completion)> &action);
    QString shelfOf(const QList<qint64> &numbers);

    std::shared_ptr<SimulatedDesktop> m_desktop;
    std::unique_ptr<platform::sim::ManualScheduler> m_clock;
    std::unique_ptr<WindowManager> m_wm;
    actions::ActionRunner *m_runner = nullptr;
};

void TestActions::init()
{
    m_desktop = std::make_shared<SimulatedDesktop>();
    m_desktop->addApp({kEditor, QStringLiteral("Text Editor"), kEditorID, true, {}});
    m_desktop->addApp({kTerminal, QStringLiteral("Terminal"), kTerminalID, true, {}});
    m_desktop->setScreens({{kScreen, kScreen, true}});
    m_clock = std::make_unique<platform::sim::ManualScheduler>();
    m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, nullptr, *m_clock);
    m_runner = actions::ActionRunner::attach(*m_wm, m_desktop);
}

void TestActions::cleanup()
{
    m_wm.reset();
}

void TestActions::refresh()
{
    m_wm->refresh(true);
    QTRY_VERIFY(!m_wm->state().isRefreshing);
}

bool TestActions::run(const std::function<void(Completion)> &action)
{
    bool done = false;
    action([&done] { done = true; });
    QDeadlineTimer deadline(10000);
    while (!done && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        m_clock->advance(50ms);
    }
    return done;
}

QString TestActions::shelfOf(const QList<qint64> &numbers)
{
    const QString shelf = m_wm->addShelf();
    for (qint64 n : numbers) {
        const QList<WindowItem> windows = m_wm->windows(); // a move regroups the model's list
        for (const WindowItem &w : windows) {
            if (w.windowNumber == n)
                m_wm->dragMoveWindow(w.id, shelf);
        }
    }
    return shelf;
}

void TestActions::verbsById_data()
{
    QTest::addColumn<QString>("verb");
    QTest::addColumn<QStringList>("sent");
    // Windows 1 and 2 (minimised) are on a shelf; window 3 is not.
    QTest::newRow("focus") << "focus" << QStringList{"raise 1", "activate 1"};
    QTest::newRow("minimize") << "minimize" << QStringList{"setMinimized 1 1"};
    QTest::newRow("close") << "close" << QStringList{"close 1"};
    QTest::newRow("tile window") << "tileWindow"
                                 << QStringList{"setSize 1 500x800", "setPosition 1 0,0", "raise 1"};
    QTest::newRow("new window for item")
        << "openNewWindowForItem" << QStringList{"activate 1", "sendShortcut 1 ctrl+shift+6e"};
    QTest::newRow("minimize section") << "minimizeCategoryWindows" << QStringList{"setMinimized 1 1"};
    QTest::newRow("restore section") << "restoreCategoryWindows" << QStringList{"setMinimized 2 0"};
    // The shelf's first window is raised last, so that it ends in front.
    QTest::newRow("raise section") << "restoreAndRaiseCategoryWindows"
                                   << QStringList{"setMinimized 2 0", "raise 2", "activate 2", "raise 1",
                                                  "activate 1"};
    QTest::newRow("minimize all") << "minimizeAllWindows"
                                  << QStringList{"setMinimized 1 1", "setMinimized 3 1"};
    QTest::newRow("show desktop") << "toggleShowDesktop"
                                  << QStringList{"setMinimized 1 1", "setMinimized 3 1"};
}

void TestActions::verbsById()
{
    QFETCH(QString, verb);
    QFETCH(QStringList, sent);
    m_desktop->addWindow(kEditor, window(1, QStringLiteral("one")));
    m_desktop->addWindow(kTerminal, window(2, QStringLiteral("two")));
    m_desktop->addWindow(kTerminal, window(3, QStringLiteral("three")));
    m_desktop->setMinimized(2, true);
    m_desktop->setInstalledApps({kEditorID});
    refresh();
    const QString shelf = shelfOf({1, 2});
    const QString windowID = m_wm->windows().first().id;
    using Verb = std::function<bool(WindowManager &, const QString &, Completion)>;
    const QHash<QString, std::pair<QString, Verb>> verbs{
        {"focus", {windowID, &WindowManager::focusWindow}},
        {"minimize", {windowID, &WindowManager::minimizeWindow}},
        {"close", {windowID, &WindowManager::closeWindow}},
        {"tileWindow",
         {windowID, [](auto &wm, auto &id, Completion done) { return wm.tileWindow(id, "leftHalf", done); }}},
        {"openNewWindowForItem", {windowID, &WindowManager::openNewWindowForItem}},
        {"minimizeCategoryWindows", {shelf, &WindowManager::minimizeCategoryWindows}},
        {"restoreCategoryWindows", {shelf, &WindowManager::restoreCategoryWindows}},
        {"restoreAndRaiseCategoryWindows", {shelf, &WindowManager::restoreAndRaiseCategoryWindows}},
        {"minimizeAllWindows",
         {{}, [](auto &wm, auto &, Completion done) { return wm.minimizeAllWindows(done); }}},
        {"toggleShowDesktop",
         {{}, [](auto &wm, auto &, Completion done) { return wm.toggleShowDesktop(done); }}},
    };
    const auto [target, call] = verbs.value(verb);
    m_desktop->clearControlLog();
    if (!target.isEmpty()) {
        // An id nobody knows moves nothing and never completes.
        bool completed = false;
        QVERIFY(!call(*m_wm, QStringLiteral("no-such-id"), [&completed] { completed = true; }));
        QTest::qWait(20);
        QVERIFY(!completed);
        QVERIFY(m_desktop->controlLog().isEmpty());
    }
    QVERIFY(run([&](Completion done) { QVERIFY(call(*m_wm, target, std::move(done))); }));
    QCOMPARE(m_desktop->controlLog(), sent);
}

void TestActions::focusThenMinimizeEndsMinimized()
{
    // A click and a double click on one row: whatever the threads do, the window
    // manager is asked in the order the user asked.
    m_desktop->addWindow(kEditor, window(1, QStringLiteral("clicked")));
    refresh();
    const QString id = m_wm->windows().first().id;
    for (int round = 0; round < 100; ++round) {
        int done = 0;
        QVERIFY(m_wm->focusWindow(id, [&done] { ++done; }));
        QVERIFY(m_wm->minimizeWindow(id, [&done] { ++done; }));
        QDeadlineTimer deadline(5000);
        while (done < 2 && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            m_clock->advance(100ms);
        }
        QCOMPARE(done, 2);
        QCOMPARE(m_desktop->minimizedOf(1), std::optional(true));
    }
    QTRY_VERIFY(!m_wm->state().isRefreshing);
    QVERIFY(m_wm->windows().first().isMinimized);
    // The minimise is remembered until the user brings the window back, here or elsewhere.
    QVERIFY(m_wm->state().userMinimizedSignatures.contains(id));
    QVERIFY(m_wm->focusWindow(id));
    QVERIFY(!m_wm->state().userMinimizedSignatures.contains(id));
    QVERIFY(run([&](Completion done) { QVERIFY(m_wm->minimizeWindow(id, std::move(done))); }));
    refresh(); // seen minimized: from now on, a focus elsewhere ends the mark
    m_desktop->setMinimized(1, false);
    m_desktop->setFocus(1);
    refresh();
    QVERIFY(!m_wm->state().userMinimizedSignatures.contains(id));
    refresh();
    QVERIFY(!m_wm->windows().first().isMinimized);
    // Without an action layer a verb is refused instead of lost silently.
    WindowManager bare(m_desktop, nullptr, nullptr, *m_clock);
    QTest::ignoreMessage(QtWarningMsg, "[OV] window action ignored: no window control");
    QVERIFY(!bare.toggleShowDesktop());
}

void TestActions::tilingWithWindowsThatRefuseToShrink()
{
    // Ten windows; three of them insist on 300 points of height.
    for (int i = 1; i <= 10; ++i) {
        SimulatedDesktop::Window w = window(i, QStringLiteral("w%1").arg(i));
        if (i == 2 || i == 5 || i == 9)
            w.minSize = {100, 300};
        m_desktop->addWindow(i % 2 ? kEditor : kTerminal, w);
    }
    refresh();
    const QString shelf = shelfOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    QVERIFY(run([&](Completion done) {
        QVERIFY(m_wm->tileCategoryWindows(shelf, QStringLiteral("right"), 0.3, std::move(done)));
    }));

    // 900 points are taken by the fixed windows: the others get the 50-point floor, and
    // the column, too long for the screen, piles up at its bottom edge instead of
    // putting windows below it.
    const QList<double> tops{0, 50, 350, 400, 450, 750, 750, 750, 750, 750};
    for (qint64 n = 1; n <= 10; ++n) {
        const double height = (n == 2 || n == 5 || n == 9) ? 300 : 50;
        QCOMPARE(*m_desktop->frameOf(n), QRectF(700, tops[n - 1], 300, height));
    }
    // First placement, two fitting rounds (the second changes nothing), two final passes.
    QCOMPARE(m_clock->pausedTotal(), 150ms + 2 * 80ms + 80ms + 100ms);
    // The second pass raises in the shelf's order, so the first ends up below the last.
    QStringList raises = m_desktop->controlLog().filter(QStringLiteral("raise"));
    QCOMPARE(raises.first(), QStringLiteral("raise 1"));
    QCOMPARE(raises.last(), QStringLiteral("raise 10"));
}

void TestActions::tilingRecoversFromWhatTheWindowsDid()
{
    m_desktop->addWindow(kEditor, window(1, QStringLiteral("kept")));
    m_desktop->addWindow(kEditor, window(2, QStringLiteral("gone")));
    SimulatedDesktop::Window down = window(3, QStringLiteral("down"));
    down.ignoredMoves = 3; // the first placement and both final passes
    m_desktop->addWindow(kTerminal, down);
    m_desktop->setMinimized(3, true);
    refresh();
    const QString shelf = shelfOf({1, 2, 3});
    m_desktop->removeWindow(2);
    m_wm->state().sidebarWidth = 200;
    QTest::ignoreMessage(QtInfoMsg, "[OV] Tile verification: correcting positions");
    QVERIFY(run([&](Completion done) {
        QVERIFY(m_wm->tileCategoryWindows(shelf, QStringLiteral("left"), 0.5, std::move(done)));
    }));
    QCOMPARE(m_desktop->minimizedOf(3), std::optional(false));
    QVERIFY(!m_desktop->controlLog().join(u' ').contains(QStringLiteral(" 2 ")));
    // The two found stack from the top, the one that ignored its moves put right afterwards.
    QCOMPARE(m_desktop->frameOf(1), std::optional(QRectF(200, 0, 400, 400)));
    QCOMPARE(m_desktop->frameOf(3), std::optional(QRectF(200, 400, 400, 400)));
    QVERIFY(m_clock->pausedTotal() >= 500ms);
    // The refresh afterwards shows the new state.
    QTRY_VERIFY(!m_wm->state().isRefreshing);
    QCOMPARE(m_wm->windows().size(), 2);
}

void TestActions::tilingFollowsTheSidebarSettings()
{
    QTest::ignoreMessage(QtWarningMsg, "[OV] tile: unknown position sideways");
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.path().toUtf8());
    platform::PreferencesStore store(dir.filePath(QStringLiteral("preferences.json")));
    settings::AppSettings settings(store);
    settings.setSidebarWidth(200);
    settings.setPosition(QStringLiteral("left"));
    m_wm = std::make_unique<WindowManager>(m_desktop, &settings, nullptr, *m_clock);
    actions::ActionRunner::attach(*m_wm, m_desktop);
    m_desktop->addWindow(kEditor, window(1, QStringLiteral("doc")));
    m_desktop->setMinimized(1, true);
    refresh();
    const QString id = m_wm->windows().first().id;
    QVERIFY(!m_wm->tileWindow(id, QStringLiteral("sideways")));
    const auto tileLeftHalf = [&] {
        return run([&](Completion done) { QVERIFY(m_wm->tileWindow(id, QStringLiteral("leftHalf"), done)); });
    };
    QVERIFY(tileLeftHalf());
    // A minimised window is brought back, or it would be moved where nobody sees it.
    QCOMPARE(m_desktop->minimizedOf(1), std::optional(false));
    QCOMPARE(m_desktop->frameOf(1), std::optional(QRectF(200, 0, 400, 800)));
    // Changed while running: the next tile uses the new width and edge.
    settings.setSidebarWidth(300);
    settings.setPosition(QStringLiteral("right"));
    QVERIFY(tileLeftHalf());
    QCOMPARE(m_desktop->frameOf(1), std::optional(QRectF(0, 0, 350, 800)));
    m_wm.reset();
}

// A maximised window ignores moves until it is unmaximised (it used to stay, and push the
// rest of the column off the screen); a window that never moves is a failure, logged.
// Without a sidebar a window is tiled on the monitor it is on.
void TestActions::tilingUnmaximizesReportsWhatStaysAndPicksTheWindowsMonitor()
{
    const QRectF right(1000, 0, 800, 600);
    m_desktop->setScreens({{kScreen, kScreen, true}, {right, right, false}});
    SimulatedDesktop::Window big = window(1, QStringLiteral("big"), kScreen);
    big.maximized = true;
    SimulatedDesktop::Window stuck = window(2, QStringLiteral("stuck"));
    stuck.ignoredMoves = 1000;
    m_desktop->addWindow(kEditor, big);
    m_desktop->addWindow(kEditor, stuck);
    m_desktop->addWindow(kTerminal, window(3, QStringLiteral("away"), QRectF(1100, 100, 400, 300)));
    refresh();
    const QString shelf = shelfOf({1, 2});
    QTest::ignoreMessage(QtInfoMsg, "[OV] Tile verification: correcting positions");
    QTest::ignoreMessage(QtWarningMsg,
                         "[OV] Tile verification: window 2 stays at (100, 100), expected (0, 400)");
    QVERIFY(run([&](Completion done) {
        QVERIFY(m_wm->tileCategoryWindows(shelf, QStringLiteral("left"), 0.5, std::move(done)));
    }));
    QCOMPARE(m_desktop->frameOf(1), std::optional(QRectF(0, 0, 500, 400)));
    QVERIFY(m_desktop->controlLog().contains(QStringLiteral("unmaximize 1")));
    QCOMPARE(m_wm->state().lastTilingFailures, 1);

    QString away;
    for (const WindowItem &w : m_wm->windows())
        away = w.windowNumber == 3 ? w.id : away;
    QVERIFY(run([&](Completion done) { QVERIFY(m_wm->tileWindow(away, QStringLiteral("leftHalf"), done)); }));
    QCOMPARE(m_desktop->frameOf(3), std::optional(QRectF(1000, 0, 400, 600)));
    QCOMPARE(m_wm->state().lastTilingFailures, 0);
}

void TestActions::showDesktopTogglesExactlyItsWindows()
{
    m_desktop->addWindow(kEditor, window(1, QStringLiteral("a")));
    m_desktop->addWindow(kTerminal, window(2, QStringLiteral("b")));
    m_desktop->addWindow(kTerminal, window(3, QStringLiteral("was down")));
    m_desktop->setMinimized(3, true);
    refresh();

    // Which windows it asks for is verbsById's; the sidebar shows the new state at once.
    m_wm->toggleShowDesktop();
    for (const WindowItem &w : m_wm->windows())
        QVERIFY(w.isMinimized);
    QCOMPARE(m_wm->state().showDesktopSavedSignatures.size(), 2);
    QTRY_VERIFY(m_desktop->minimizedOf(1) == std::optional(true)
                && m_desktop->minimizedOf(2) == std::optional(true));
    refresh();

    m_desktop->clearControlLog();
    const int pending = m_clock->pendingCount();
    m_wm->toggleShowDesktop();
    QTRY_COMPARE(m_desktop->controlLog(), QStringList({"setMinimized 1 0", "setMinimized 2 0"}));
    QTRY_COMPARE(m_clock->pendingCount(), pending + 1);
    // The set stays until the settling delay is over.
    m_clock->advance(499ms);
    QCOMPARE(m_wm->state().showDesktopSavedSignatures.size(), 2);
    m_clock->advance(1ms);
    QVERIFY(m_wm->state().showDesktopSavedSignatures.isEmpty());
    QCOMPARE(m_desktop->minimizedOf(3), std::optional(true));

    // With everything minimised already there is nothing to save: done at once.
    m_desktop->setMinimized(1, true);
    m_desktop->setMinimized(2, true);
    refresh();
    bool done = false;
    m_wm->toggleShowDesktop([&done] { done = true; });
    QVERIFY(done);
    QVERIFY(m_wm->state().showDesktopSavedSignatures.isEmpty());

    // Shown again, then one window brought back by hand: the next toggle is a new show
    // desktop of what is open, not a restore.
    m_desktop->setMinimized(1, false);
    m_desktop->setMinimized(2, false);
    refresh();
    m_wm->toggleShowDesktop();
    QTRY_VERIFY(m_desktop->minimizedOf(2) == std::optional(true));
    refresh();
    m_desktop->setMinimized(2, false);
    refresh();
    m_wm->toggleShowDesktop();
    QCOMPARE(m_wm->state().showDesktopSavedSignatures.size(), 1);
    QTRY_VERIFY(m_desktop->minimizedOf(2) == std::optional(true));
    QCOMPARE(m_desktop->minimizedOf(1), std::optional(true));
}

void TestActions::newWindow_data()
{
    QTest::addColumn<QString>("bundleID");
    QTest::addColumn<QRectF>("opensAt");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QRectF>("endsAt");
    // The sidebar's screen is a second display right of the first, with a panel on top.
    const QString writer = QStringLiteral("org.example.Writer");
    QTest::newRow("opened elsewhere: centred on the sidebar's screen")
        << writer << QRectF(10, 10, 400, 300) << "ctrl+6e" << QRectF(1200, 175, 400, 300);
    QTest::newRow("already on the sidebar's screen: left alone")
        << writer << QRectF(1500, 100, 400, 300) << "ctrl+6e" << QRectF(1500, 100, 400, 300);
    QTest::newRow("larger than the screen: kept at its top-left")
        << writer << QRectF(10, 10, 900, 700) << "ctrl+6e" << QRectF(1000, 50, 900, 700);
    QTest::newRow("an editor gets Shift too") << QStringLiteral("code") << QRectF(10, 10, 400, 300)
                                              << "ctrl+shift+6e" << QRectF(1200, 175, 400, 300);
}

void TestActions::newWindow()
{
    QFETCH(QString, bundleID);
    QFETCH(QRectF, opensAt);
    QFETCH(QString, keys);
    QFETCH(QRectF, endsAt);
    m_desktop->addApp({300, QStringLiteral("App"), bundleID, true, {window(30, QStringLiteral("old"))}});
    m_desktop->setInstalledApps({bundleID});
    m_desktop->setShortcutOpens(300, window(31, QStringLiteral("new"), opensAt));
    const platform::ScreenInfo sidebarScreen{QRectF(1000, 0, 800, 600), QRectF(1000, 50, 800, 550), false};
    m_runner->newWindowOpener().setSidebarScreen(sidebarScreen);

    QVERIFY(run([&](Completion done) { m_wm->openNewWindow(bundleID, std::move(done)); }));
    QCOMPARE(m_desktop->controlLog().filter(QStringLiteral("sendShortcut")),
             QStringList{QStringLiteral("sendShortcut 30 ") + keys});
    // Running already: activated, not started a second time.
    QVERIFY(m_desktop->controlLog().filter(QStringLiteral("launch")).isEmpty());
    QCOMPARE(m_desktop->frameOf(31), std::optional(endsAt));
    QCOMPARE(m_desktop->frameOf(30), std::optional(QRectF(100, 100, 400, 300)));
}

void TestActions::newWindowOfAnUnknownApplication()
{
    const QString notes = QStringLiteral("org.example.Notes");
    m_desktop->setInstalledApps({notes});
    QVERIFY(
        run([&](Completion done) { m_wm->openNewWindow(QStringLiteral("no.such.app"), std::move(done)); }));
    QVERIFY(m_desktop->controlLog().isEmpty());

    // Installed but not running: started, and no window of it ever comes.
    QVERIFY(run([&](Completion done) { m_wm->openNewWindow(notes, std::move(done)); }));
    QCOMPARE(m_desktop->controlLog(), QStringList{QStringLiteral("launch ") + notes});

    // Relaunching a shelved application that was closed.
    m_desktop->clearControlLog();
    QTest::ignoreMessage(QtWarningMsg, "[OV] No app URL found for bundleID: no.such.app");
    m_wm->relaunchClosedApp(QStringLiteral("no.such.app"));
    m_wm->relaunchClosedApp(notes);
    QTRY_COMPARE(m_desktop->controlLog(), QStringList{QStringLiteral("launch ") + notes});
}

QTEST_GUILESS_MAIN(TestActions)
#include "tst_actions.moc"
