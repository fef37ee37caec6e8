// The window list follows a real X session by itself: bursts, closes and focus changes
// show up without waiting for the heartbeat, and a dying X server ends observation.
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "tracking/observationscheduler.h"
#include "tracking/windowmanager.h"
#include "xsession.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;

namespace {

constexpr int kTimeoutMs = 10000;

// Starts the test client and waits for its "ready" lines.
std::unique_ptr<QProcess> startClient(const QStringList &titles, QList<qint64> *xids = nullptr,
                                      const QStringList &environment = {})
{
    auto client = std::make_unique<QProcess>();
    if (!environment.isEmpty())
        client->setEnvironment(environment);
    QStringList args;
    for (const QString &t : titles)
        args << QStringLiteral("--title") << t;
    client->start(QStringLiteral(ORVELLA_TESTCLIENT), args);
    QByteArray out;
    QDeadlineTimer deadline(kTimeoutMs);
    while (out.count("ready") < titles.size() && !deadline.hasExpired())
        if (client->waitForReadyRead(100))
            out += client->readAllStandardOutput();
    for (const QByteArray &line : out.split('\n')) {
        if (xids && line.startsWith("ready "))
            xids->append(line.split(' ').value(1).toLongLong(nullptr, 16));
    }
    return client;
}

int countTitled(const WindowManager &wm, const QString &prefix)
{
    int n = 0;
    for (const WindowItem &w : wm.windows())
        n += w.windowTitle.startsWith(prefix) ? 1 : 0;
    return n;
}

/// A window manager observing a private session of its own, which a test may end or change.
struct PrivateSession
{
    bool start(QString *error)
    {
        if (!session.start(error))
            return false;
        desktop = platform::x11::X11Desktop::open(session.display(), error);
        observer = desktop ? platform::x11::X11DesktopObserver::open(session.display(), error) : nullptr;
        if (!observer)
            return false;
        wm = std::make_unique<WindowManager>(desktop, nullptr, nullptr);
        wm->setObserver(observer.get());
        wm->startObserving();
        return true;
    }

    testsupport::XSession session;
    std::shared_ptr<platform::x11::X11Desktop> desktop;
    std::unique_ptr<platform::x11::X11DesktopObserver> observer;
    std::unique_ptr<WindowManager> wm;
};

} // namespace

class TestObservationX11 : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void burstOfWindowsIsOneRefresh();
    void closedWindowGoesWithoutTheHeartbeat();
    void focusChangeUpdatesTheActiveWindow();
    void replacedWindowManagerIsSurvived();
    void dyingServerEndsObservation();

private:
    std::shared_ptr<platform::x11::X11Desktop> m_desktop;
    std::unique_ptr<platform::x11::X11DesktopObserver> m_observer;
    std::unique_ptr<WindowManager> m_wm;
};

void TestObservationX11::init()
{
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
    auto client = startClient(titles);
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("burst ")), 10, kTimeoutMs);
    QTest::qWait(500); // a late refresh would show up here
    // The client's launch, its ten windows and Openbox focusing each in turn: one refresh.
    QVERIFY2(refreshes.count() == 1, qPrintable(QString::number(refreshes.count())));
    client->kill();
    client->waitForFinished();
}

void TestObservationX11::closedWindowGoesWithoutTheHeartbeat()
{
    auto client = startClient({QStringLiteral("stays"), QStringLiteral("closes")});
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("closes")), 1, kTimeoutMs);
    client->write("destroy 1\n");
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("closes")), 0, 3000);
    QCOMPARE(countTitled(*m_wm, QStringLiteral("stays")), 1);
    client->kill();
    client->waitForFinished();
}

void TestObservationX11::focusChangeUpdatesTheActiveWindow()
{
    QList<qint64> xids;
    auto client = startClient({QStringLiteral("first"), QStringLiteral("second")}, &xids);
    QCOMPARE(xids.size(), 2);
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(*m_wm, QStringLiteral("first")), 1, kTimeoutMs);
    for (qint64 xid : xids) {
        QProcess::execute(QStringLiteral("wmctrl"), {QStringLiteral("-i"), QStringLiteral("-a"),
                                                     QStringLiteral("0x%1").arg(xid, 0, 16)});
        const QString expected = QStringLiteral("orvella-testclient::wn:%1").arg(xid);
        QTRY_COMPARE_WITH_TIMEOUT(m_wm->activeWindowID(), expected, 3000);
    }
    client->kill();
    client->waitForFinished();
}

void TestObservationX11::replacedWindowManagerIsSurvived()
{
    PrivateSession own;
    QString error;
    QVERIFY2(own.start(&error), qPrintable(error));
    testsupport::XSession &session = own.session;
    WindowManager &wm = *own.wm;
    wm.setRefreshInterval(60);
    auto client = startClient({QStringLiteral("kept 1"), QStringLiteral("kept 2")}, nullptr,
                              session.clientEnvironment());
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(wm, QStringLiteral("kept ")), 2, kTimeoutMs);

    // The new window manager is noticed and observation starts over.
    QTest::ignoreMessage(QtInfoMsg, "[OV] startObserving() called");
    QVERIFY2(session.replaceWindowManager(&error), qPrintable(error));
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(wm, QStringLiteral("kept ")), 2, kTimeoutMs);

    // Notifications flow again from the new window manager, well before the heartbeat.
    auto later = startClient({QStringLiteral("after")}, nullptr, session.clientEnvironment());
    QTRY_COMPARE_WITH_TIMEOUT(countTitled(wm, QStringLiteral("after")), 1, 3000);
    QVERIFY(wm.observation().isObserving());

    // And the list is what a fresh look at the session finds.
    WindowManager fresh(own.desktop, nullptr, nullptr);
    fresh.refresh();
    QVERIFY(fresh.waitForRefresh(kTimeoutMs));
    QTRY_VERIFY_WITH_TIMEOUT(windowsUIEqual(wm.windows(), fresh.windows()), 3000);
    QCOMPARE(wm.windows().size(), 3);
    for (QProcess *c : {client.get(), later.get()}) {
        c->kill();
        c->waitForFinished();
    }
}

void TestObservationX11::dyingServerEndsObservation()
{
    PrivateSession own;
    QString error;
    QVERIFY2(own.start(&error), qPrintable(error));
    WindowManager &wm = *own.wm;
    QTRY_VERIFY(!wm.state().isRefreshing);
    QSignalSpy lost(&wm, &WindowManager::desktopLost);
    own.session.stop();
    QTRY_COMPARE_WITH_TIMEOUT(lost.count(), 1, kTimeoutMs);
    QVERIFY(!wm.observation().isObserving());
    wm.refresh(); // harmless now
    QTest::qWait(100);
    QCOMPARE(lost.count(), 1);
}

QTEST_GUILESS_MAIN(TestObservationX11)
#include "tst_observationx11.moc"
