// The refresh on the simulated desktop: what is listed and how, stale and forced
// refreshes, the watchdog, failures, and the relaunch request.
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "tracking/windowmanager.h"

#include <QSignalSpy>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using platform::sim::SimulatedDesktop;
using Window = SimulatedDesktop::Window;
using namespace std::chrono_literals;

namespace {

constexpr qint32 kEditor = 100;
constexpr qint32 kFiles = 200;

Window window(qint64 number, const QString &title, QRectF frame = {100, 100, 800, 600})
{
    Window w;
    w.number = number;
    w.title = title;
    w.frame = frame;
    return w;
}

QStringList ids(const QList<WindowItem> &items)
{
    QStringList out;
    for (const WindowItem &w : items)
        out.append(w.id);
    return out;
}

const WindowItem *byTitle(const QList<WindowItem> &items, const QString &title)
{
    for (const WindowItem &w : items) {
        if (w.windowTitle == title)
            return &w;
    }
    return nullptr;
}

} // namespace

class TestRefresh : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void listsWindowsWithTheirIdentity();
    void leavesOutWhatIsNotAReadableWindow();
    void correctsTheMinimizedState();
    void marksTheActiveWindowAndRepublishesNoMereMove();
    void staleResultIsDroppedAndAStuckOneCleared();
    void untrustedShowsTheBannerAndReadsNoWindows();
    void deafWindowListRequestsARelaunchAtMostEvery30Seconds();

private:
    void refreshAndWait(bool force = false);

    std::shared_ptr<SimulatedDesktop> m_desktop;
    std::unique_ptr<platform::sim::ManualScheduler> m_clock;
    std::unique_ptr<WindowManager> m_wm;
};

void TestRefresh::init()
{
    m_desktop = std::make_shared<SimulatedDesktop>();
    m_desktop->addApp(
        {kEditor, QStringLiteral("Text Editor"), QStringLiteral("org.gnome.TextEditor"), true, {}});
    m_desktop->addApp({kFiles, QStringLiteral("Files"), std::nullopt, true, {}});
    m_clock = std::make_unique<platform::sim::ManualScheduler>();
    m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, nullptr, *m_clock);
}

void TestRefresh::cleanup()
{
    m_desktop->holdReads(false);
    m_wm.reset();
}

void TestRefresh::refreshAndWait(bool force)
{
    m_wm->refresh(force);
    QTRY_VERIFY(!m_wm->state().isRefreshing);
}

void TestRefresh::listsWindowsWithTheirIdentity()
{
    // Files reports no numbers: one is matched by title, one by frame, two by neither.
    Window named = window(31, QStringLiteral("Pictures"), {0, 0, 300, 200});
    named.reportsNumber = false;
    m_desktop->addWindow(kFiles, named);
    Window unnamed = window(32, QStringLiteral("Music"), QRectF(400, 300, 600, 500));
    unnamed.reportsNumber = false;
    unnamed.serverKnowsName = false;
    unnamed.serverBounds = QRectF(405, 296, 600, 510);
    m_desktop->addWindow(kFiles, unnamed);
    // Added on top: the application lists them topmost first.
    m_desktop->addWindow(kEditor, window(11, QStringLiteral("notes.txt")));
    m_desktop->addWindow(kEditor, window(12, QStringLiteral("todo.txt")));
    Window twin = window(21, QStringLiteral("Downloads"));
    twin.reportsNumber = false;
    twin.serverKnowsName = false;
    twin.serverBounds = QRectF(0, 0, 10, 10); // too small to be matched by frame
    m_desktop->addWindow(kFiles, twin);
    twin.number = 22;
    m_desktop->addWindow(kFiles, twin);

    QSignalSpy windowsChanged(m_wm.get(), &WindowManager::windowsChanged);
    QTest::ignoreMessage(QtInfoMsg, "[OV] refresh() — windows: -1 → 6");
    refreshAndWait();
    QCOMPARE(ids(m_wm->windows()),
             QStringList({"org.gnome.TextEditor::wn:12", "org.gnome.TextEditor::wn:11", "Files::Downloads",
                          "Files::Downloads#1", "Files::wn:32", "Files::wn:31"}));
    // The index is the mapping order, oldest first, not the stacking order.
    QCOMPARE(m_wm->windows().constFirst().axIndex, 1);
    QCOMPARE(m_wm->windows().at(3).axIndex, 2);
    QCOMPARE(windowsChanged.count(), 1);
}

void TestRefresh::leavesOutWhatIsNotAReadableWindow()
{
    m_desktop->addApp({300, QStringLiteral("Nautilus"), QStringLiteral("org.gnome.Nautilus"), true, {}});
    m_desktop->addWindow(300, window(41, QString()));                       // the file manager's desktop
    m_desktop->addWindow(kEditor, window(42, QStringLiteral(" Window ")));  // a nameless helper
    m_desktop->addWindow(kEditor, window(43, QString(), {0, 0, 150, 300})); // a small untitled popup
    Window minimizedPopup = window(44, QString(), {0, 0, 150, 300});
    minimizedPopup.minimized = true;
    minimizedPopup.onScreen = false;
    minimizedPopup.alpha = 0;
    m_desktop->addWindow(kEditor, minimizedPopup);
    m_desktop->addWindow(kEditor, window(45, QString(), {0, 0, 400, 300})); // large enough
    m_desktop->addApp({400, QStringLiteral("Tray helper"), std::nullopt, false, {}});
    m_desktop->addWindow(400, window(46, QStringLiteral("Tray helper"))); // background-only app
    m_desktop->addWindow(kEditor, window(72, QStringLiteral("closing")));
    m_desktop->vanishFromAppList(72);
    m_desktop->addWindow(kFiles, window(73, QStringLiteral("Home")));
    m_desktop->setWindowsUnreadable(kFiles, true);
    refreshAndWait();
    QCOMPARE(ids(m_wm->windows()),
             QStringList({"org.gnome.TextEditor::wn:45", "org.gnome.TextEditor::wn:44"}));
}

void TestRefresh::correctsTheMinimizedState()
{
    struct Case
    {
        qint64 number;
        bool onScreen;
        int layer;
        double alpha;
        QRectF frame;
        bool expected;
    };
    const QList<Case> cases{
        {51, true, 0, 1, {0, 0, 800, 600}, false},  // on screen after all
        {52, false, 0, 1, {0, 0, 800, 600}, false}, // off screen but full size and opaque
        {53, false, 0, 0, {0, 0, 800, 600}, true},  // off screen and transparent
        {54, false, 0, 1, {0, 0, 50, 600}, true},   // shrunk to 50 points
        {55, false, 3, 1, {0, 0, 800, 600}, true},  // not an ordinary window
    };
    for (const Case &c : cases) {
        Window w = window(c.number, QStringLiteral("w%1").arg(c.number), c.frame);
        w.minimized = true;
        w.onScreen = c.onScreen;
        w.layer = c.layer;
        w.alpha = c.alpha;
        m_desktop->addWindow(kEditor, w);
    }
    m_desktop->addWindow(kEditor, window(56, QStringLiteral("hidden by the user")));
    m_wm->state().userMinimizedSignatures.insert(QStringLiteral("org.gnome.TextEditor::hidden by the user"));
    refreshAndWait();
    for (const Case &c : cases)
        QVERIFY2(byTitle(m_wm->windows(), QStringLiteral("w%1").arg(c.number))->isMinimized == c.expected,
                 qPrintable(QString::number(c.number)));
    QVERIFY(byTitle(m_wm->windows(), QStringLiteral("hidden by the user"))->isMinimized);
}

void TestRefresh::marksTheActiveWindowAndRepublishesNoMereMove()
{
    m_desktop->addWindow(kEditor, window(61, QStringLiteral("a.txt")));
    m_desktop->addWindow(kEditor, window(62, QStringLiteral("b.txt")));
    m_desktop->setFocus(61);
    QSignalSpy activeChanged(m_wm.get(), &WindowManager::activeWindowIDChanged);
    refreshAndWait();
    QCOMPARE(m_wm->activeWindowID(), QStringLiteral("org.gnome.TextEditor::wn:61"));
    QVERIFY(byTitle(m_wm->windows(), QStringLiteral("a.txt"))->isActive);
    QVERIFY(!byTitle(m_wm->windows(), QStringLiteral("b.txt"))->isActive);

    QSignalSpy windowsChanged(m_wm.get(), &WindowManager::windowsChanged);
    QSignalSpy categoriesChanged(m_wm.get(), &WindowManager::categoriesChanged);
    m_desktop->setPosition(62, QPointF(300, 300));
    refreshAndWait();
    QCOMPARE(windowsChanged.count(), 0);
    QCOMPARE(categoriesChanged.count(), 0);
    QCOMPARE(byTitle(m_wm->windows(), QStringLiteral("b.txt"))->bounds, QRectF(300, 300, 800, 600));

    m_desktop->setMinimized(61, true); // a minimized window is never the active one
    refreshAndWait();
    QCOMPARE(m_wm->activeWindowID(), QString());
    QCOMPARE(activeChanged.count(), 2);
    QCOMPARE(windowsChanged.count(), 1);
    QCOMPARE(categoriesChanged.count(), 1);
}

void TestRefresh::staleResultIsDroppedAndAStuckOneCleared()
{
    m_desktop->addWindow(kEditor, window(91, QStringLiteral("old title")));
    m_desktop->holdReads(true);
    m_wm->refresh();
    QTRY_COMPARE(m_desktop->readsWaiting(), 1);
    // A plain refresh leaves the running one to finish; only a forced one starts anew.
    m_wm->refresh();
    QCOMPARE(m_wm->state().refreshGeneration, quint64(1));

    m_desktop->setTitle(91, QStringLiteral("new title"));
    QTest::ignoreMessage(
        QtInfoMsg, "[OV] force refresh requested while a refresh is in progress — starting a new refresh");
    m_wm->refresh(true);
    QCOMPARE(m_wm->state().refreshGeneration, quint64(2));
    QTRY_COMPARE(m_desktop->readsWaiting(), 2);

    // The newer reading lands first; the older one, arriving later, must not undo it.
    m_desktop->releaseRead(2);
    QTRY_VERIFY(!m_wm->state().isRefreshing);
    QCOMPARE(m_wm->windows().constFirst().windowTitle, QStringLiteral("new title"));
    QSignalSpy windowsChanged(m_wm.get(), &WindowManager::windowsChanged);
    m_desktop->releaseRead(1);
    QTRY_COMPARE(m_desktop->readsWaiting(), 0);
    QTest::qWait(50); // let a wrongly accepted result land, if any
    QCOMPARE(m_wm->windows().constFirst().windowTitle, QStringLiteral("new title"));
    QCOMPARE(windowsChanged.count(), 0);

    // A refresh that never returns is cleared by its watchdog, not an earlier one's.
    m_clock->advance(1s);
    m_wm->refresh();
    m_clock->advance(3900ms);
    QVERIFY(m_wm->state().isRefreshing);
    QTest::ignoreMessage(QtWarningMsg,
                         "[OV] refresh() watchdog — refresh appears stuck; clearing isRefreshing");
    m_clock->advance(100ms);
    QVERIFY(!m_wm->state().isRefreshing);
    // Once cleared, a plain refresh may start again.
    m_wm->refresh();
    QCOMPARE(m_wm->state().refreshGeneration, quint64(4));
}

void TestRefresh::untrustedShowsTheBannerAndReadsNoWindows()
{
    m_desktop->addWindow(kEditor, window(101, QStringLiteral("a.txt")));
    refreshAndWait();
    QSignalSpy banner(m_wm.get(), &WindowManager::showsTrustBannerChanged);
    // The window manager goes away while a read is under way: what it read is not applied.
    m_desktop->addWindow(kEditor, window(102, QStringLiteral("b.txt")));
    m_wm->refresh();
    m_desktop->setTrusted(false);
    QTRY_VERIFY(m_wm->showsTrustBanner());
    QVERIFY(!m_wm->state().isRefreshing);
    QCOMPARE(m_wm->windows().size(), 1);
    m_wm->refresh();
    QTRY_COMPARE(m_wm->lastLikelyCGWindowCount(), 2); // the window server is still counted
    QCOMPARE(m_wm->windows().size(), 1);

    m_desktop->setTrusted(true);
    refreshAndWait();
    QVERIFY(!m_wm->showsTrustBanner());
    QCOMPARE(m_wm->windows().size(), 2);
    QCOMPARE(banner.count(), 2);
}

void TestRefresh::deafWindowListRequestsARelaunchAtMostEvery30Seconds()
{
    m_desktop->addWindow(kEditor, window(111, QStringLiteral("a.txt")));
    m_desktop->setWindowsUnreadable(kEditor, true);
    QSignalSpy relaunch(m_wm.get(), &WindowManager::relaunchRequested);
    const char *warning = "[OV] refresh() — AX returned 0 windows but CG sees 1; requesting relaunch";
    for (const auto &[wait, requests] : {std::pair(0s, 1), {30s, 1}, {1s, 2}}) {
        m_clock->advance(wait);
        if (requests > relaunch.count())
            QTest::ignoreMessage(QtWarningMsg, warning);
        refreshAndWait();
        QCOMPARE(relaunch.count(), requests);
    }
}

QTEST_GUILESS_MAIN(TestRefresh)
#include "tst_refresh.moc"
