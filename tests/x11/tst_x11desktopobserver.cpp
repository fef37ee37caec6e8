// The X11 desktop observer against a real server and window manager: which events the test
// client's windows, focus changes and renames produce, and what is left once the server is gone.
#include "desktoplookup.h"
#include "platform/x11/x11desktopobserver.h"
#include "testclientprocess.h"
#include "xsession.h"
#include "xtestconnection.h"

#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace orvella::platform;
using namespace orvella::testsupport;
using Kind = DesktopEvent::Kind;

class TestX11DesktopObserver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void clientLifecycle();
    void activation();
    void titleAndState_data();
    void titleAndState();
    void reusedWindowIdsBelongToTheNewProcess();
    void processWithoutWindows();
    void nothingAfterStop();
    void idleTimeGrows();
    void connectionLost();

private:
    std::unique_ptr<x11::X11DesktopObserver> m_observer;
    std::unique_ptr<QSignalSpy> m_spy;
    std::unique_ptr<XTestConnection> m_x;
};

void TestX11DesktopObserver::initTestCase()
{
    QVERIFY2(inPrivateSession(), "run this test through orvella-xsession");
    qRegisterMetaType<DesktopEvent>();
    QString error;
    m_observer = x11::X11DesktopObserver::open(QString(), &error);
    QVERIFY2(m_observer, qPrintable(error));
    QVERIFY(m_observer->start());
    m_spy = std::make_unique<QSignalSpy>(m_observer.get(), &DesktopObserver::desktopEvent);
    m_x = std::make_unique<XTestConnection>();
    QVERIFY(m_x->isConnected());
}

void TestX11DesktopObserver::init()
{
    m_spy->clear();
}

void TestX11DesktopObserver::clientLifecycle()
{
    TestClient client(TestClient::titled({"One", "Two", "Three"}));
    QCOMPARE(client.xids.size(), 3);
    const qint32 pid = client.pid();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(*m_spy, Kind::WindowCreated, pid).size(), 3, kWaitMs);
    QSet<qint64> created;
    for (const DesktopEvent &e : eventsOf(*m_spy, Kind::WindowCreated, pid))
        created.insert(e.window);
    QCOMPARE(created, (QSet<qint64>{client.xids[0], client.xids[1], client.xids[2]}));
    const QList<DesktopEvent> launched = eventsOf(*m_spy, Kind::AppLaunched, pid);
    QCOMPARE(launched.size(), 1);
    QVERIFY(launched.first().regular);

    QCOMPARE(client.command("destroy 1"), QStringLiteral("ok destroy 1"));
    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::WindowDestroyed).isEmpty(), kWaitMs);
    const QList<DesktopEvent> destroyed = eventsOf(*m_spy, Kind::WindowDestroyed);
    QCOMPARE(destroyed.size(), 1);
    QCOMPARE(destroyed.first().window, qint64(client.xids[1]));
    QCOMPARE(destroyed.first().pid, pid);
    QVERIFY(eventsOf(*m_spy, Kind::AppTerminated).isEmpty());

    client.quit();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(*m_spy, Kind::AppTerminated, pid).size(), 1, kWaitMs);
    QCOMPARE(eventsOf(*m_spy, Kind::WindowDestroyed, pid).size(), 3);
    QCOMPARE(eventsOf(*m_spy, Kind::AppLaunched, pid).size(), 1);
}

void TestX11DesktopObserver::activation()
{
    TestClient first({"--title", "First"});
    TestClient second({"--title", "Second"});
    QVERIFY(!first.xids.isEmpty() && !second.xids.isEmpty());
    // The window manager may still be busy focusing the windows it has just mapped; each
    // step waits until its own activation is the last focus change reported, and checks
    // that the owners' changes pair up along the way, whatever came between.
    qint32 activePid = 0;
    for (TestClient *target : {&first, &second, &first}) {
        m_spy->clear();
        const quint32 xid = target->xids.first();
        m_x->activate(xid);
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                const QList<DesktopEvent> focus = eventsOf(*m_spy, Kind::FocusChanged);
                return !focus.isEmpty() && focus.last().window == qint64(xid);
            }(),
            kWaitMs);
        QCOMPARE(eventsOf(*m_spy, Kind::FocusChanged).last().pid, target->pid());
        const qint32 before = activePid;
        bool sawDeactivation = before == 0 || before == target->pid();
        for (const QList<QVariant> &arguments : *m_spy) {
            const auto e = arguments.at(0).value<DesktopEvent>();
            if (e.kind == Kind::AppActivated) {
                QVERIFY(e.pid != activePid);
                activePid = e.pid;
            } else if (e.kind == Kind::AppDeactivated) {
                if (activePid != 0) // the first step does not know who was active before it
                    QCOMPARE(e.pid, activePid);
                sawDeactivation = sawDeactivation || e.pid == before;
                activePid = 0;
            }
        }
        QCOMPARE(activePid, target->pid());
        QVERIFY2(sawDeactivation, "the previous owner of the active window was not deactivated");
    }
}

void TestX11DesktopObserver::titleAndState_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("observation"); // "observed", "never" or "unobserved"
    for (const char *observation : {"observed", "never", "unobserved"})
        QTest::addRow("retitle, %s", observation)
            << QByteArray("title 0 new") << int(Kind::TitleChanged) << QString::fromLatin1(observation);
    // Whether a process is observed decides for state changes the same way.
    QTest::newRow("iconify, observed")
        << QByteArray("iconify 0") << int(Kind::StateChanged) << QStringLiteral("observed");
}

void TestX11DesktopObserver::titleAndState()
{
    QFETCH(QByteArray, command);
    QFETCH(int, kind);
    QFETCH(QString, observation);
    TestClient client({"--title", "Subject"});
    TestClient marker({"--title", "Marker"});
    QVERIFY(!client.xids.isEmpty() && !marker.xids.isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::WindowCreated, marker.pid()).isEmpty(), kWaitMs);
    if (observation != QLatin1String("never"))
        QVERIFY(m_observer->observeProcess(client.pid()));
    if (observation == QLatin1String("unobserved"))
        m_observer->unobserveProcess(client.pid());
    QVERIFY(m_observer->observeProcess(marker.pid()));

    QVERIFY(client.command(command).startsWith(QLatin1String("ok")));
    // Iconifying is the window manager's work, done once it gets to the request.
    if (Kind(kind) == Kind::StateChanged)
        QTRY_COMPARE_WITH_TIMEOUT(
            m_x->cardinals(client.xids.first(), "WM_STATE", m_x->atom("WM_STATE")).value(0), quint32(3),
            kWaitMs);
    // The server reports in order: once the marker's rename arrives, the subject's change
    // has arrived too, if it was going to.
    QVERIFY(marker.command("title 0 done").startsWith(QLatin1String("ok")));
    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::TitleChanged, marker.pid()).isEmpty(), kWaitMs);
    QCOMPARE(eventsOf(*m_spy, Kind::TitleChanged, marker.pid()).first().window, qint64(marker.xids.first()));

    const QList<DesktopEvent> changes = eventsOf(*m_spy, Kind(kind), client.pid(), client.xids.first());
    if (observation == QLatin1String("observed"))
        QVERIFY(!changes.isEmpty());
    else
        QVERIFY2(changes.isEmpty(), "a process that is not observed reported a change");
    // A rename is never reported as a state change, nor the other way round.
    const Kind other = Kind(kind) == Kind::TitleChanged ? Kind::StateChanged : Kind::TitleChanged;
    QVERIFY(eventsOf(*m_spy, other, client.pid()).isEmpty());
    m_observer->unobserveProcess(client.pid());
    m_observer->unobserveProcess(marker.pid());
}

void TestX11DesktopObserver::reusedWindowIdsBelongToTheNewProcess()
{
    // Bug: the server hands a quitted client's window ids to the next client. When the
    // close and the new window fell between two reads of the client list, the id never
    // left the list and the window stayed attributed to the dead process.
    int reused = 0;
    for (int round = 0; round < 20; ++round) {
        auto old = std::make_unique<TestClient>(QStringList{"--title", "Old"});
        QVERIFY(!old->xids.isEmpty());
        const quint32 oldWindow = old->xids.first();
        old->kill(); // no goodbye: the window manager unlists it while the next one starts
        old->waitForFinished();
        TestClient fresh({"--title", "Fresh"});
        QVERIFY(!fresh.xids.isEmpty());
        reused += fresh.xids.first() == oldWindow ? 1 : 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            !eventsOf(*m_spy, Kind::WindowCreated, fresh.pid(), fresh.xids.first()).isEmpty(), kWaitMs);
        QVERIFY(m_observer->observeProcess(fresh.pid()));
        m_observer->unobserveProcess(fresh.pid());
    }
    if (reused == 0)
        QSKIP("this server never reused a window id; nothing was shown");
}

void TestX11DesktopObserver::processWithoutWindows()
{
    QVERIFY(!m_observer->observeProcess(qint32(QCoreApplication::applicationPid())));
    QVERIFY(!m_observer->observeProcess(0));
    QVERIFY(!m_observer->observeProcess(-5));
    m_observer->unobserveProcess(4242); // never observed: nothing to undo
}

void TestX11DesktopObserver::nothingAfterStop()
{
    QString error;
    auto observer = x11::X11DesktopObserver::open(QString(), &error);
    QVERIFY2(observer, qPrintable(error));
    QVERIFY(observer->start());
    QSignalSpy spy(observer.get(), &DesktopObserver::desktopEvent);
    // The first event stops the observer; the rest of its batch must not follow.
    connect(observer.get(), &DesktopObserver::desktopEvent, observer.get(), [&] { observer->stop(); });
    TestClient client(TestClient::titled({"A", "B"}));
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 1, kWaitMs);
    QCoreApplication::processEvents();
    QCOMPARE(spy.size(), 1);

    // Started again, it reports what happened since, and only that.
    disconnect(observer.get(), nullptr, observer.get(), nullptr);
    QVERIFY(observer->start());
    spy.clear();
    client.quit();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(spy, Kind::AppTerminated, client.pid()).size(), 1, kWaitMs);
    QVERIFY(eventsOf(spy, Kind::AppLaunched).isEmpty());
}

void TestX11DesktopObserver::idleTimeGrows()
{
    const std::optional<double> first = m_observer->userIdleSeconds();
    QVERIFY(first);
    QVERIFY(*first >= 0);
    // Nobody touches Xvfb's keyboard or pointer.
    QTRY_VERIFY_WITH_TIMEOUT(m_observer->userIdleSeconds().value_or(0) > *first + 0.1, kWaitMs);
}

void TestX11DesktopObserver::connectionLost()
{
    orvella::testsupport::XSession session;
    QString error;
    QVERIFY2(session.start(&error), qPrintable(error));
    auto observer = x11::X11DesktopObserver::open(session.display(), &error);
    QVERIFY2(observer, qPrintable(error));
    QVERIFY(observer->start());
    QVERIFY(observer->userIdleSeconds());
    QSignalSpy spy(observer.get(), &DesktopObserver::desktopEvent);

    QTest::ignoreMessage(QtWarningMsg, "[OV] X connection lost; window observation stopped");
    session.stop();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(spy, Kind::ConnectionLost).size(), 1, kWaitMs);
    // The reader posts the loss last and ends; what is left to deliver arrives now.
    QCoreApplication::processEvents();
    QCOMPARE(eventsOf(spy, Kind::ConnectionLost).size(), 1);
    QVERIFY(!observer->userIdleSeconds());
    QVERIFY(!observer->observeProcess(qint32(QCoreApplication::applicationPid())));
    observer->unobserveProcess(1);
    observer->stop();
    QTest::ignoreMessage(QtWarningMsg, "[OV] cannot observe the desktop: no connection to the X server");
    QVERIFY(!observer->start());
    QCOMPARE(eventsOf(spy, Kind::ConnectionLost).size(), 1);
}

QTEST_GUILESS_MAIN(TestX11DesktopObserver)
#include "tst_x11desktopobserver.moc"
