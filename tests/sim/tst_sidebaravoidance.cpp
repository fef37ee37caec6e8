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
// The offscreen platform's screen, and a second one to its right that Qt does not know.
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
    void initTestCase();
    void init();
    void cleanup();
    void nudge_data();
    void nudge();
    void restoreGivesBackOnlyWindowsLeftWhereTheNudgePutThem();
    void refreshNudgesAtMostEveryFiveSeconds();

private:
    void refresh();
    bool run(const std::function<bool(Completion)> &action);
    QString idOf(qint64 number) const;

    std::shared_ptr<SimulatedDesktop> m_desktop;
    std::unique_ptr<platform::sim::ManualScheduler> m_clock;
    std::unique_ptr<WindowManager> m_wm;
};

void TestSidebarAvoidance::initTestCase()
{
    QCOMPARE(actions::deviceScreen(*QGuiApplication::primaryScreen()).frame, kScreen);
}

void TestSidebarAvoidance::init()
{
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

void TestSidebarAvoidance::refresh()
{
    m_wm->refresh(true);
    QTRY_VERIFY(!m_wm->state().isRefreshing);
}

bool TestSidebarAvoidance::run(const std::function<bool(Completion)> &action)
{
    bool done = false;
    if (!action([&done] { done = true; }))
        return false;
    QDeadlineTimer deadline(10000);
    while (!done && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        m_clock->advance(50ms);
    }
    return done;
}

QString TestSidebarAvoidance::idOf(qint64 number) const
{
    for (const WindowItem &w : m_wm->windows()) {
        if (w.windowNumber == number)
            return w.id;
    }
    return {};
}

void TestSidebarAvoidance::nudge_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<double>("width");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QRectF>("frame");
    QTest::addColumn<QRectF>("expected");
    const QRectF a(100, 100, 400, 300);
    QTest::newRow("left: to the strip's edge") << "left" << 250.0 << "" << a << QRectF(250, 100, 400, 300);
    QTest::newRow("left: too wide, narrowed to the space left")
        << "left" << 250.0 << "" << QRectF(0, 50, 700, 300) << QRectF(250, 50, 550, 300);
    QTest::newRow("left: narrowed no further than the minimum")
        << "left" << 700.0 << "" << QRectF(50, 100, 400, 300) << QRectF(700, 100, 200, 300);
    QTest::newRow("right: to the strip's edge")
        << "right" << 250.0 << "" << QRectF(500, 100, 200, 300) << QRectF(350, 100, 200, 300);
    QTest::newRow("right: too wide, narrowed to the space left")
        << "right" << 250.0 << "" << QRectF(100, 100, 600, 300) << QRectF(0, 100, 550, 300);
    QTest::newRow("touching the strip is clear") << "left" << 250.0 << "" << QRectF(250, 0, 300, 300)
                                                 << QRectF(250, 0, 300, 300);
    QTest::newRow("minimised: untouched") << "left" << 250.0 << "minimized" << a << a;
    QTest::newRow("full screen: untouched") << "left" << 250.0 << "fullScreen" << kScreen << kScreen;
    QTest::newRow("on another desktop: untouched") << "left" << 250.0 << "otherDesktop" << a << a;
    const QRectF acrossScreens(700, 100, 400, 300); // mostly on the right-hand screen
    QTest::newRow("on another screen: untouched")
        << "right" << 250.0 << "" << acrossScreens << acrossScreens;
}

void TestSidebarAvoidance::nudge()
{
    QFETCH(QString, position);
    QFETCH(double, width);
    QFETCH(QString, kind);
    QFETCH(QRectF, frame);
    QFETCH(QRectF, expected);
    SimulatedDesktop::Window w = window(1, frame);
    w.maximized = kind == QLatin1String("fullScreen");
    w.onScreen = kind != QLatin1String("otherDesktop");
    m_desktop->addWindow(kApp, w);
    if (kind == QLatin1String("minimized"))
        m_desktop->setMinimized(1, true);
    m_wm->setSidebarPlacement(QGuiApplication::primaryScreen(), width, position, false);
    refresh();
    QCOMPARE(m_wm->state().lastPeriodicNudgeAt, QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));

    QVERIFY(run([this](Completion done) { return m_wm->nudgeWindowsFromSidebar(std::move(done)); }));
    QCOMPARE(*m_desktop->frameOf(1), expected);
    const bool moved = expected != frame;
    QCOMPARE(m_wm->state().nudgedWindowFrames.value(idOf(1)), moved ? frame : QRectF());
}

void TestSidebarAvoidance::restoreGivesBackOnlyWindowsLeftWhereTheNudgePutThem()
{
    m_desktop->addWindow(kApp, window(1, {100, 100, 400, 300})); // nudged twice
    m_desktop->addWindow(kApp, window(2, {50, 450, 300, 200}));  // moved by the user since
    m_desktop->addWindow(kApp, window(3, {0, 0, 300, 200}));     // closed since
    m_wm->setSidebarPlacement(QGuiApplication::primaryScreen(), 250, QStringLiteral("left"), false);
    refresh();
    const auto nudge = [this](Completion done) { return m_wm->nudgeWindowsFromSidebar(std::move(done)); };
    QVERIFY(run(nudge));
    QCOMPARE(m_wm->state().nudgedWindowFrames.size(), 3);
    m_desktop->setPosition(1, {20, 120});
    QVERIFY(run(nudge));
    QCOMPARE(*m_desktop->frameOf(1), QRectF(250, 120, 400, 300));
    m_desktop->setPosition(2, {400, 450});
    m_desktop->removeWindow(3);
    refresh();

    m_desktop->clearControlLog();
    QVERIFY(run([this](Completion done) { return m_wm->restoreNudgedWindows(std::move(done)); }));
    QCOMPARE(*m_desktop->frameOf(1), QRectF(100, 100, 400, 300));
    QCOMPARE(*m_desktop->frameOf(2), QRectF(400, 450, 300, 200));
    QCOMPARE(m_desktop->controlLog(), QStringList{"setPosition 1 100,100"});
    QVERIFY(m_wm->state().nudgedWindowFrames.isEmpty());
    QVERIFY(m_wm->state().lastObservedSidebarFrames.isEmpty());
}

void TestSidebarAvoidance::refreshNudgesAtMostEveryFiveSeconds()
{
    m_desktop->addWindow(kApp, window(1, {100, 100, 400, 300}));
    refresh(); // no sidebar screen yet: nothing to avoid
    QCOMPARE(*m_desktop->frameOf(1), QRectF(100, 100, 400, 300));

    m_wm->setSidebarPlacement(QGuiApplication::primaryScreen(), 250, QStringLiteral("left"), true);
    const QDateTime start = m_clock->now();
    refresh();
    QCOMPARE(m_wm->state().lastPeriodicNudgeAt, start);
    QTRY_COMPARE(*m_desktop->frameOf(1), QRectF(250, 100, 400, 300));
    QTRY_VERIFY(m_wm->state().nudgedWindowFrames.contains(idOf(1)));

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
    m_wm->setSidebarPlacement(QGuiApplication::primaryScreen(), 250, QStringLiteral("left"), false);
    QTRY_COMPARE(*m_desktop->frameOf(1), QRectF(100, 100, 400, 300));
}

QTEST_MAIN(TestSidebarAvoidance)
#include "tst_sidebaravoidance.moc"
