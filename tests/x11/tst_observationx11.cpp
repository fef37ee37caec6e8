// The window list follows a real X session by itself: bursts, closes and focus changes
// show up without waiting for the heartbeat, also after the window manager is replaced.
#include "desktoplookup.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "testclientprocess.h"
#include "tracking/observationscheduler.h"
#include "tracking/windowmanager.h"
#include "xsession.h"
#include "xtestconnection.h"

#include <QSignalSpy>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using testsupport::TestClient;

namespace {

constexpr int kTimeoutMs = 10000;

int countTitled(const WindowManager &wm, const QString &prefix)
{
    int n = 0;
    for (const WindowItem &w : wm.windows())
        n += w.windowTitle.startsWith(prefix) ? 1 : 0;
    return n;
}

} // namespace

class TestObservationX11 : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void burstOfWindowsIsOneRefresh();
    void focusAndCloseGoWithoutTheHeartbeat();
    void replacedWindowManagerIsSurvived();

private:
    std::shared_ptr<platform::x11::X11Desktop> m_desktop;
    std::unique_ptr<platform::x11::X11DesktopObserver> m_observer;
    std::unique_ptr<WindowManager> m_wm;
};

void TestObservationX11::init()
{
    QVERIFY2(testsupport::inPrivateSession(), "run this test through orvella-xsession");
    QString error;
    m_desktop = platform::x11::X11Desktop::open(QString(), &error);
    QVERIFY2(m_desktop, qPrintable(error));
    m_observer = platform::x11::X11DesktopObserver::open(QString(), &error);
    QVERIFY2(m_observer, qPrintable(error));
    m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, nullptr);
    m_wm->setObserver(m_observer.get());
    m_wm->startObserving();
    // A slow heartbeat: whatever happens below happens because of notifications.
    m_wm->setRefreshInterval(60);
    QTRY_VERIFY(!m_wm->state().isRefreshing);
}

void TestObservationX11::cleanup()
{
    m_wm.reset();
    m_observer.reset();
}

void TestObservationX11::burstOfWindowsIsOneRefresh()
{
    QTest::qWait(300); // let the start-up refresh and its notifications settle
    QSignalSpy refreshes(m_wm.get(), &WindowManager::refreshApplied);
    QStringList titles;
    for (int i = 0; i < 10; ++i)
        titles.append(QStringLiteral("burst %1").arg(i));
    TestClient client(TestClient::titled(titles));
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("burst ")), 10, kTimeoutMs);
    QTest::qWait(500); // a late refresh would show up here
    // The client's launch, its ten windows and Openbox focusing each in turn: one refresh.
    QVERIFY2(refreshes.count() == 1, qPrintable(QString::number(refreshes.count())));
}

void TestObservationX11::focusAndCloseGoWithoutTheHeartbeat()
{
    TestClient client(TestClient::titled({"first", "second"}));
    QCOMPARE(client.xids.size(), 2);
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("second")), 1, kTimeoutMs);
    testsupport::XTestConnection x;
    for (quint32 xid : client.xids) {
        x.activate(xid);
        QTRY_COMPARE_WITH_TIMEOUT(m_wm->activeWindowID(),
                                  QStringLiteral("orvella-testclient::wn:%1").arg(xid), 3000);
    }
    QCOMPARE(client.command("destroy 1"), QStringLiteral("ok destroy 1"));
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("second")), 0, 3000);
    QCOMPARE(countTitled(*m_wm, QStringLiteral("first")), 1);
}

void TestObservationX11::replacedWindowManagerIsSurvived()
{
    testsupport::XSession session;
    QString error;
    QVERIFY2(session.start(&error), qPrintable(error));
    const auto desktop = platform::x11::X11Desktop::open(session.display(), &error);
    const auto observer = platform::x11::X11DesktopObserver::open(session.display(), &error);
    QVERIFY2(desktop && observer, qPrintable(error));
    WindowManager wm(desktop, nullptr, nullptr);
    wm.setObserver(observer.get());
    wm.startObserving();
    wm.setRefreshInterval(60);
    TestClient client(TestClient::titled({"kept 1", "kept 2"}), session.clientEnvironment());
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(wm, QStringLiteral("kept ")), 2, kTimeoutMs);

    // The new window manager is noticed once and observation starts over.
    qRegisterMetaType<platform::DesktopEvent>();
    QSignalSpy events(observer.get(), &platform::DesktopObserver::desktopEvent);
    QTest::ignoreMessage(QtInfoMsg, "[OV] startObserving() called");
    QVERIFY2(session.replaceWindowManager(&error), qPrintable(error));
    const auto managerChanges = [&events] {
        return testsupport::eventsOf(events, platform::DesktopEvent::Kind::WindowManagerChanged);
    };
    QTRY_VERIFY_WITH_TIMEOUT(!managerChanges().isEmpty(), kTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(wm, QStringLiteral("kept ")), 2, kTimeoutMs);

    // Notifications flow again from the new window manager, well before the heartbeat.
    TestClient later({"--title", "after"}, session.clientEnvironment());
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(wm, QStringLiteral("after")), 1, 3000);
    QVERIFY(wm.observation().isObserving());

    // And the list is what a fresh look at the session finds.
    WindowManager fresh(desktop, nullptr, nullptr);
    fresh.refresh();
    QVERIFY(fresh.waitForRefresh(kTimeoutMs));
    QTRY_VERIFY_WITH_TIMEOUT(windowsUIEqual(wm.windows(), fresh.windows()), 3000);
    QCOMPARE(wm.windows().size(), 3);
    const testsupport::XTestConnection x(session.display());
    QCOMPARE(managerChanges().size(), 1);
    QCOMPARE(managerChanges().first().window,
             qint64(x.cardinals(x.root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW).value(0)));
}

QTEST_GUILESS_MAIN(TestObservationX11)
#include "tst_observationx11.moc"
