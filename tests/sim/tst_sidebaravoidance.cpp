// Keeping windows clear of the sidebar on the simulated desktop: where a nudge puts each
// kind of window, what a restore gives back, and the refresh's nudge on the model's clock.
#include "actions/actionrunner.h"
#include "actions/screenpixels.h"
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "tracking/windowmanager.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using platform::sim::SimulatedDesktop;
using namespace std::chrono_literals;

namespace {

constexpr qint32 kApp = 100;
// The offscreen platform's screen (the sidebar's), and one to its right that Qt does not know.
const QRectF kScreen(0, 0, 800, 800);
const QRectF kRightScreen(800, 0, 800, 800);

SimulatedDesktop::Window window(qint64 number, const QRectF &frame)
{
    SimulatedDesktop::Window w;
    w.number = number;
    w.title = QStringLiteral("w%1").arg(number);
    w.frame = frame;
    return w;
}

} // namespace

class TestSidebarAvoidance : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void nudge_data();
    void nudge();
    void restoreGivesBackOnlyWindowsLeftWhereTheNudgePutThem();
    void refreshNudgesAtMostEveryFiveSeconds();

private:
    void place(double width, const char *position, bool avoid);
    void refresh();
    bool run(const std::function<bool(WindowManager &, Completion)> &verb);

    std::shared_ptr<SimulatedDesktop> m_desktop;
    std::unique_ptr<platform::sim::ManualScheduler> m_clock;
    std::unique_ptr<WindowManager> m_wm;
};

void TestSidebarAvoidance::init()
{
    QCOMPARE(actions::deviceScreen(*QGuiApplication::primaryScreen()).frame, kScreen);
    m_desktop = std::make_shared<SimulatedDesktop>();
    m_desktop->addApp({kApp, QStringLiteral("Editor"), QStringLiteral("org.gnome.TextEditor"), true, {}});
    m_desktop->setScreens({{kScreen, kScreen, true}, {kRightScreen, kRightScreen, false}});
    m_clock = std::make_unique<platform::sim::ManualScheduler>();
    m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, nullptr, *m_clock);
    actions::ActionRunner::attach(*m_wm, m_desktop);
}

void TestSidebarAvoidance::cleanup()
{
    m_wm.reset();
}

void TestSidebarAvoidance::place(double width, const char *position, bool avoid)
{
    m_wm->setSidebarPlacement(QGuiApplication::primaryScreen(), width, QLatin1String(position), avoid);
}

void TestSidebarAvoidance::refresh()
{
    m_wm->refresh(true);
    QTRY_VERIFY(!m_wm->state().isRefreshing);
}

bool TestSidebarAvoidance::run(const std::function<bool(WindowManager &, Completion)> &verb)
{
    bool done = false;
    if (!verb(*m_wm, [&done] { done = true; }))
        return false;
    for (QDeadlineTimer deadline(10000); !done && !deadline.hasExpired(); m_clock->advance(50ms))
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done;
}

void TestSidebarAvoidance::nudge_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<double>("width");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QRectF>("frame");
    QTest::addColumn<QRectF>("expected");
    const auto row = [](const char *name, const char *position, double width, const char *kind, QRectF frame,
                        QRectF expected) {
        QTest::newRow(name) << QString::fromLatin1(position) << width << QString::fromLatin1(kind) << frame
                            << expected;
    };
    const QRectF a(100, 100, 400, 300);
    const QRectF acrossScreens(700, 100, 400, 300); // mostly on the right-hand screen
    row("left: to the strip's edge", "left", 250, "", a, {250, 100, 400, 300});
    row("left: too wide, narrowed", "left", 250, "", {0, 50, 700, 300}, {250, 50, 550, 300});
    row("left: never below the minimum", "left", 700, "", {50, 100, 400, 300}, {700, 100, 200, 300});
    row("right: to the strip's edge", "right", 250, "", {500, 100, 200, 300}, {350, 100, 200, 300});
    row("right: too wide, narrowed", "right", 250, "", {100, 100, 600, 300}, {0, 100, 550, 300});
    row("touching the strip", "left", 250, "", {250, 0, 300, 300}, {250, 0, 300, 300});
    row("minimised", "left", 250, "minimized", a, a);
    row("full screen", "left", 250, "fullScreen", kScreen, kScreen);
    row("on another desktop", "left", 250, "otherDesktop", a, a);
    row("on another screen", "right", 250, "", acrossScreens, acrossScreens);
}

void TestSidebarAvoidance::nudge()
{
    QFETCH(QString, position);
    QFETCH(double, width);
    QFETCH(QString, kind);
    QFETCH(QRectF, frame);
    QFETCH(QRectF, expected);
    SimulatedDesktop::Window w = window(1, frame);
    w.maximized = kind == QLatin1String("fullScreen"); // and so ignores moves
    w.onScreen = kind != QLatin1String("otherDesktop");
    m_desktop->addWindow(kApp, w);
    if (kind == QLatin1String("minimized"))
        m_desktop->setMinimized(1, true);
    place(width, qPrintable(position), false);
    refresh();

    QVERIFY(run(&WindowManager::nudgeWindowsFromSidebar));
    QCOMPARE(*m_desktop->frameOf(1), expected);
    const bool moved = expected != frame;
    QCOMPARE(m_wm->state().nudgedWindowFrames.value(m_wm->windows().first().id), moved ? frame : QRectF());
}

void TestSidebarAvoidance::restoreGivesBackOnlyWindowsLeftWhereTheNudgePutThem()
{
    m_desktop->addWindow(kApp, window(1, {100, 100, 400, 300})); // nudged twice
    m_desktop->addWindow(kApp, window(2, {50, 450, 300, 200}));  // moved by the user since
    m_desktop->addWindow(kApp, window(3, {0, 0, 300, 200}));     // closed since
    place(250, "left", false);
    refresh();
    QVERIFY(run(&WindowManager::nudgeWindowsFromSidebar));
    m_desktop->setPosition(1, {20, 120});
    QVERIFY(run(&WindowManager::nudgeWindowsFromSidebar));
    QCOMPARE(*m_desktop->frameOf(1), QRectF(250, 120, 400, 300));
    m_desktop->setPosition(2, {400, 450});
    m_desktop->removeWindow(3);
    refresh();

    m_desktop->clearControlLog();
    QVERIFY(run(&WindowManager::restoreNudgedWindows));
    QCOMPARE(*m_desktop->frameOf(1), QRectF(100, 100, 400, 300));
    QCOMPARE(m_desktop->controlLog(), QStringList{"setPosition 1 100,100"});
    QVERIFY(m_wm->state().nudgedWindowFrames.isEmpty());
}

void TestSidebarAvoidance::refreshNudgesAtMostEveryFiveSeconds()
{
    m_desktop->addWindow(kApp, window(1, {100, 100, 400, 300}));
    refresh(); // no sidebar screen yet: nothing to avoid
    place(250, "left", true);
    const QDateTime start = m_clock->now();
    refresh();
    QCOMPARE(m_wm->state().lastPeriodicNudgeAt, start);
    QTRY_COMPARE(*m_desktop->frameOf(1), QRectF(250, 100, 400, 300));

    m_desktop->setPosition(1, {60, 100});
    m_clock->advance(400ms); // the refresh that follows the nudge
    refresh();
    m_clock->advance(4500ms);
    refresh();
    QCOMPARE(m_wm->state().lastPeriodicNudgeAt, start);
    m_clock->advance(100ms);
    refresh();
    QCOMPARE(m_wm->state().lastPeriodicNudgeAt, start.addSecs(5));
    QTRY_COMPARE(*m_desktop->frameOf(1), QRectF(250, 100, 400, 300));

    // Avoidance ending gives the window back where the user first had it.
    place(250, "left", false);
    QTRY_COMPARE(*m_desktop->frameOf(1), QRectF(100, 100, 400, 300));
}

QTEST_MAIN(TestSidebarAvoidance)
#include "tst_sidebaravoidance.moc"
