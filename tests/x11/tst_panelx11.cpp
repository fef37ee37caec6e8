// The sidebar panel on a real X server with Openbox: a dock on its edge that reserves it,
// moves to the right, hides and comes back for the hot key, a full-screen window and the
// pointer, and widens into columns. Expected geometry is written out for the 1280x800 screen.
#include "desktoplookup.h"
#include "platform/preferencesstore.h"
#include "platform/scheduler.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11panelhost.h"
#include "platform/x11/x11replies.h"
#include "settings/appsettings.h"
#include "shell/panelcontroller.h"
#include "shell/sidebarpanel.h"
#include "testclientprocess.h"
#include "tracking/windowmanager.h"
#include "xtestconnection.h"

#include <QCursor>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickView>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xtest.h>

using namespace orvella;
using testsupport::TestClient;

class TestPanelX11 : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void dockReservesItsEdgeWhileShown();
    void hotKeyFullScreenAndPointerHideAndReveal();
    void splitViewWidensToTheColumnsNeeded();
    void followsMonitors();
    void hotKeyHeldElsewhereIsReported();

private:
    QRect rootFrame(QWindow &window);
    QList<quint32> workarea()
    {
        return m_x.cardinals(m_x.root(), "_NET_WORKAREA", XCB_ATOM_CARDINAL).mid(0, 4);
    }
    void press(std::uint32_t keysym, bool down);
    void movePointer(int x, int y);
    bool refreshUntil(const std::function<bool()> &done) { return testsupport::refreshUntil(*m_wm, done); }

    QTemporaryDir m_dir;
    testsupport::XTestConnection m_x;
    std::shared_ptr<platform::x11::X11Desktop> m_desktop;
    std::unique_ptr<platform::PreferencesStore> m_store;
    std::unique_ptr<settings::AppSettings> m_settings;
    std::unique_ptr<tracking::WindowManager> m_wm;
    std::unique_ptr<shell::PanelController> m_panel;
};

void TestPanelX11::initTestCase()
{
    QVERIFY2(testsupport::inPrivateSession(), "run this test through orvella-xsession");
    QString error;
    m_desktop = platform::x11::X11Desktop::open(QString(), &error);
    QVERIFY2(m_desktop, qPrintable(error));
    QVERIFY(m_x.isConnected());
}

void TestPanelX11::init()
{
    m_store = std::make_unique<platform::PreferencesStore>(
        m_dir.filePath(QStringLiteral("%1.json").arg(QTest::currentTestFunction())));
    m_settings = std::make_unique<settings::AppSettings>(*m_store);
    m_wm = std::make_unique<tracking::WindowManager>(m_desktop, m_settings.get(), m_store.get());
    QString error;
    auto host = platform::x11::X11PanelHost::open(QString(), &error);
    QVERIFY2(host, qPrintable(error));
    m_panel = std::make_unique<shell::PanelController>(*m_wm, *m_settings, *m_store, std::move(host),
                                                       platform::Scheduler::system());
    m_panel->launchSidebar();
    m_panel->showSidebar();
    QVERIFY(QTest::qWaitForWindowExposed(&m_panel->panel()->view()));
}

void TestPanelX11::cleanup()
{
    m_panel.reset();
    m_wm.reset();
    m_settings.reset();
    m_store.reset();
}

QRect TestPanelX11::rootFrame(QWindow &window)
{
    xcb_connection_t *c = m_x.connection();
    const auto w = xcb_window_t(window.winId());
    const platform::x11::Reply<xcb_get_geometry_reply_t> g(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, w), nullptr));
    const platform::x11::Reply<xcb_translate_coordinates_reply_t> t(
        xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, w, m_x.root(), 0, 0), nullptr));
    return g && t ? QRect(t->dst_x, t->dst_y, g->width, g->height) : QRect();
}

void TestPanelX11::press(std::uint32_t keysym, bool down)
{
    const QList<xcb_keycode_t> codes = platform::x11::keycodesFor(m_x.connection(), keysym);
    QVERIFY(!codes.isEmpty());
    xcb_test_fake_input(m_x.connection(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, codes.first(),
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    m_x.sync();
}

void TestPanelX11::movePointer(int x, int y)
{
    xcb_test_fake_input(m_x.connection(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_x.root(), std::int16_t(x),
                        std::int16_t(y), 0);
    m_x.sync();
}

void TestPanelX11::dockReservesItsEdgeWhileShown()
{
    QWindow &view = m_panel->panel()->view();
    QCOMPARE(m_x.cardinals(xcb_window_t(view.winId()), "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM),
             QList<quint32>{m_x.atom("_NET_WM_WINDOW_TYPE_DOCK")});
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(0, 0, 250, 800), testsupport::kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(workarea(), (QList<quint32>{250, 0, 1030, 800}), testsupport::kWaitMs);

    // A window maximised now ends beside the panel, not under it.
    TestClient client(TestClient::titled({QStringLiteral("wide")}));
    m_x.sendToRoot(
        client.xids.first(), "_NET_WM_STATE",
        {1, m_x.atom("_NET_WM_STATE_MAXIMIZED_VERT"), m_x.atom("_NET_WM_STATE_MAXIMIZED_HORZ"), 2});
    QVERIFY(refreshUntil([this] {
        const auto w = testsupport::itemTitled(*m_wm, QStringLiteral("wide"));
        return w && w->bounds == QRectF(250, 0, 1030, 800);
    }));

    m_settings->setAvoidSidebar(false);
    QTRY_COMPARE_WITH_TIMEOUT(workarea(), (QList<quint32>{0, 0, 1280, 800}), testsupport::kWaitMs);
    m_settings->setAvoidSidebar(true);
    m_settings->setPosition(QStringLiteral("right"));
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(1030, 0, 250, 800), testsupport::kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(workarea(), (QList<quint32>{0, 0, 1030, 800}), testsupport::kWaitMs);
    m_panel->hideSidebar();
    QTRY_COMPARE_WITH_TIMEOUT(workarea(), (QList<quint32>{0, 0, 1280, 800}), testsupport::kWaitMs);
}

void TestPanelX11::hotKeyFullScreenAndPointerHideAndReveal()
{
    const auto hotKey = [this] {
        // Apart by more than the millisecond that tells a person's presses from auto-repeat.
        QTest::qWait(20);
        press(0xffe3, true); // Control_L
        press(0xffe9, true); // Alt_L
        press('o', true);
        press('o', false);
        press(0xffe9, false);
        press(0xffe3, false);
    };
    hotKey();
    QTRY_VERIFY_WITH_TIMEOUT(!m_panel->isVisible(), testsupport::kWaitMs);
    QVERIFY(m_panel->wasManuallyHidden());
    hotKey();
    QTRY_VERIFY_WITH_TIMEOUT(m_panel->isVisible(), testsupport::kWaitMs);

    // An active full-screen window on the panel's monitor sends it away until it leaves.
    m_settings->setAutoHideFullscreen(true);
    TestClient client(TestClient::titled({QStringLiteral("film")}));
    const quint32 film = client.xids.first();
    m_x.activate(film);
    const QList<quint32> fullscreen{1, m_x.atom("_NET_WM_STATE_FULLSCREEN"), 0, 2};
    m_x.sendToRoot(film, "_NET_WM_STATE", fullscreen);
    QVERIFY(refreshUntil([this] { return !m_panel->isVisible(); }));
    QVERIFY(m_panel->isFullscreenHidden());
    m_x.sendToRoot(film, "_NET_WM_STATE", {0, fullscreen[1], 0, 2});
    QVERIFY(refreshUntil([this] { return m_panel->isVisible(); }));

    // Auto-hide: the pointer leaving hides it, the screen's edge brings it back.
    m_settings->setAutoHide(true);
    movePointer(100, 400);
    QTest::qWait(200);
    movePointer(700, 400);
    QTRY_VERIFY_WITH_TIMEOUT(!m_panel->isVisible(), testsupport::kWaitMs);
    movePointer(0, 400);
    QTRY_VERIFY_WITH_TIMEOUT(m_panel->isVisible(), testsupport::kWaitMs);
}

void TestPanelX11::splitViewWidensToTheColumnsNeeded()
{
    // Six sections of ten windows: each is estimated 36 + 10 x 32 + 18 = 374 points high, so
    // two fit under the 792-point limit of an 800-pixel screen: three columns.
    std::vector<std::unique_ptr<TestClient>> clients;
    for (int app = 0; app < 6; ++app) {
        QStringList titles;
        for (int i = 0; i < 10; ++i)
            titles << QStringLiteral("app%1 window %2").arg(app).arg(i);
        clients.push_back(std::make_unique<TestClient>(
            QStringList{QStringLiteral("--class"), QStringLiteral("split%1").arg(app)}
            + TestClient::titled(titles)));
    }
    QVERIFY(refreshUntil([this] { return m_wm->visibleCategories().size() == 6; }));
    QCOMPARE(rootFrame(m_panel->panel()->view()).width(), 250);
    m_settings->setSidebarListLayoutMode(QStringLiteral("splitView"));
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(m_panel->panel()->view()), QRect(0, 0, 750, 800),
                              testsupport::kWaitMs);
    QCOMPARE(m_wm->state().sidebarWidth, 750.0);

    // Auto split: wide only after the pointer has rested in the sidebar for the delay, and
    // narrow again once it leaves.
    m_settings->setAutoSplitActivationDelay(0.5);
    m_settings->setSidebarListLayoutMode(QStringLiteral("autoSplit"));
    movePointer(700, 400);
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(m_panel->panel()->view()).width(), 250, testsupport::kWaitMs);
    movePointer(100, 400);
    QTest::qWait(300);
    QCOMPARE(rootFrame(m_panel->panel()->view()).width(), 250);
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(m_panel->panel()->view()).width(), 750, testsupport::kWaitMs);
    QVERIFY(m_panel->isAutoSplitActive());
    movePointer(1000, 400);
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(m_panel->panel()->view()).width(), 250, testsupport::kWaitMs);
}

// Two logical monitors side by side on the one Xvfb screen, as xrandr --setmonitor makes them.
void TestPanelX11::followsMonitors()
{
    const auto xrandr = [](const QStringList &args) {
        return QProcess::execute(QStringLiteral("xrandr"), args) == 0;
    };
    if (QStandardPaths::findExecutable(QStringLiteral("xrandr")).isEmpty())
        QSKIP("xrandr is not installed");
    // Monitor A takes the output, so the whole-screen monitor goes.
    QVERIFY(xrandr({"--setmonitor", "A", "640/170x800/220+0+0", "screen"}));
    QVERIFY(xrandr({"--setmonitor", "B", "640/170x800/220+640+0", "none"}));
    const auto monitors = [] {
        QStringList names;
        for (const QScreen *screen : QGuiApplication::screens())
            names << screen->name();
        names.sort();
        return names;
    };
    QTRY_COMPARE_WITH_TIMEOUT(monitors(), QStringList({"A", "B"}), testsupport::kWaitMs);
    QWindow &view = m_panel->panel()->view();
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(0, 0, 250, 800), testsupport::kWaitMs);

    m_panel->cycleSidebarToNextScreen();
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(640, 0, 250, 800), testsupport::kWaitMs);
    m_panel->cycleSidebarToNextScreen();
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(0, 0, 250, 800), testsupport::kWaitMs);
    m_panel->cycleSidebarToNextScreen();
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(640, 0, 250, 800), testsupport::kWaitMs);
    // The monitor the panel is on goes away: it moves to one that remains.
    QVERIFY(xrandr({"--delmonitor", "B"}));
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(0, 0, 250, 800), testsupport::kWaitMs);

    // "mouse": the monitor under the pointer when the panel appears, and there it stays.
    QVERIFY(xrandr({"--setmonitor", "B", "640/170x800/220+640+0", "none"}));
    QTRY_COMPARE_WITH_TIMEOUT(monitors(), QStringList({"A", "B"}), testsupport::kWaitMs);
    m_settings->setSidebarScreen(QStringLiteral("mouse"));
    m_panel->hideSidebar();
    movePointer(1000, 400);
    QTRY_VERIFY_WITH_TIMEOUT(QGuiApplication::screenAt(QCursor::pos()), testsupport::kWaitMs);
    m_panel->showSidebar();
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(640, 0, 250, 800), testsupport::kWaitMs);
    movePointer(300, 400);
    m_settings->setSidebarWidth(260);
    QTRY_COMPARE_WITH_TIMEOUT(rootFrame(view), QRect(640, 0, 260, 800), testsupport::kWaitMs);
}

void TestPanelX11::hotKeyHeldElsewhereIsReported()
{
    // Another program holds Ctrl+Alt+K (with any lock key) before Orvella asks for it.
    const QList<xcb_keycode_t> codes = platform::x11::keycodesFor(m_x.connection(), 'k');
    QVERIFY(!codes.isEmpty());
    xcb_grab_key(m_x.connection(), 1, m_x.root(), XCB_MOD_MASK_ANY, codes.first(), XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    m_x.sync();

    QSignalSpy changed(m_panel.get(), &shell::PanelController::hotkeyConflictChanged);
    m_settings->setGlobalShortcut(QStringLiteral("Ctrl+Alt+K"));
    QTRY_COMPARE_WITH_TIMEOUT(m_panel->hotkeyConflict(), QStringLiteral("Ctrl+Alt+K"), testsupport::kWaitMs);
    m_settings->setGlobalShortcut(QStringLiteral("Ctrl+Alt+J"));
    QCOMPARE(m_panel->hotkeyConflict(), QString());
    QTest::qWait(300); // a free key stays free
    QCOMPARE(m_panel->hotkeyConflict(), QString());
    QCOMPARE(changed.count(), 2);

    xcb_ungrab_key(m_x.connection(), codes.first(), m_x.root(), XCB_MOD_MASK_ANY);
    m_x.sync();
}

QTEST_MAIN(TestPanelX11)
#include "tst_panelx11.moc"
