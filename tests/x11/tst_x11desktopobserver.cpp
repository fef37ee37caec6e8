// The X11 desktop observer against a real server and window manager: which events the test
// client's windows, focus changes, renames and a window manager replacement produce.
#include "platform/x11/x11desktopobserver.h"
#include "xsession.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <xcb/xcb.h>

#include <memory>

using namespace orvella::platform;
using Kind = DesktopEvent::Kind;

namespace {

constexpr int kTimeoutMs = 20000;

template<typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

/// One orvella-testclient process, its windows in creation order.
class Client
{
public:
    explicit Client(const QStringList &titles)
    {
        QStringList args;
        for (const QString &title : titles)
            args << "--title" << title;
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(ORVELLA_TESTCLIENT), args);
        static const QRegularExpression ready(QStringLiteral("^ready 0x([0-9a-f]+) "));
        while (xids.size() < titles.size()) {
            const QRegularExpressionMatch match = ready.match(nextLine());
            if (!match.hasMatch())
                return;
            xids.append(match.captured(1).toUInt(nullptr, 16));
        }
    }
    ~Client() { quit(); }
    QString command(const QByteArray &line)
    {
        m_process.write(line + '\n');
        return nextLine();
    }
    void quit()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.write("quit\n");
        if (!m_process.waitForFinished(kTimeoutMs))
            m_process.kill();
    }
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(kTimeoutMs);
    }
    qint32 pid() const { return m_pid; }

    QList<quint32> xids;

private:
    QString nextLine()
    {
        m_pid = qint32(m_process.processId());
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(kTimeoutMs))
                return QStringLiteral("no answer");
        }
        return QString::fromUtf8(m_process.readLine()).chopped(1);
    }

    QProcess m_process;
    qint32 m_pid = 0;
};

QList<DesktopEvent> eventsOf(const QSignalSpy &spy, Kind kind, qint32 pid = -1, qint64 window = -1)
{
    QList<DesktopEvent> out;
    for (const QList<QVariant> &arguments : spy) {
        const auto e = arguments.at(0).value<DesktopEvent>();
        if (e.kind == kind && (pid < 0 || e.pid == pid) && (window < 0 || e.window == window))
            out.append(e);
    }
    return out;
}

} // namespace

class TestX11DesktopObserver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void clientLifecycle();
    void activation();
    void titleAndState_data();
    void titleAndState();
    void reusedWindowIdsBelongToTheNewProcess();
    void processWithoutWindows();
    void nothingAfterStop();
    void idleTimeGrows();
    void windowManagerReplaced();
    void connectionLost();

private:
    xcb_atom_t atom(const char *name) const;
    quint32 rootWindowProperty(const char *name) const;
    quint32 windowCardinal(xcb_window_t window, const char *name) const;
    bool hasProperty(xcb_window_t window, const char *name) const;
    void activate(xcb_window_t window);
    xcb_timestamp_t serverTime();

    std::unique_ptr<x11::X11DesktopObserver> m_observer;
    std::unique_ptr<QSignalSpy> m_spy;
    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = 0;
    xcb_window_t m_helper = 0; ///< an unmapped window of ours, for timestamps
    std::unique_ptr<QProcess> m_replacement;
    std::unique_ptr<QTemporaryDir> m_replacementDir;
};

void TestX11DesktopObserver::initTestCase()
{
    const QByteArray display = qgetenv("DISPLAY");
    QVERIFY2(!display.isEmpty() && display == qgetenv("ORVELLA_XSESSION_DISPLAY"),
             "run this test through orvella-xsession");
    qRegisterMetaType<DesktopEvent>();
    QString error;
    m_observer = x11::X11DesktopObserver::open(QString(), &error);
    QVERIFY2(m_observer, qPrintable(error));
    QVERIFY(m_observer->start());
    m_spy = std::make_unique<QSignalSpy>(m_observer.get(), &DesktopObserver::desktopEvent);

    int screen = 0;
    m_connection = xcb_connect(display.constData(), &screen);
    QVERIFY(!xcb_connection_has_error(m_connection));
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (; screen > 0; --screen)
        xcb_screen_next(&it);
    m_root = it.data->root;
    m_helper = xcb_generate_id(m_connection);
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_helper, m_root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_flush(m_connection);
}

void TestX11DesktopObserver::cleanupTestCase()
{
    m_spy.reset();
    m_observer.reset();
    if (m_replacement) {
        m_replacement->kill();
        m_replacement->waitForFinished();
    }
    if (m_connection)
        xcb_disconnect(m_connection);
}

void TestX11DesktopObserver::init()
{
    m_spy->clear();
}

void TestX11DesktopObserver::clientLifecycle()
{
    Client client({"One", "Two", "Three"});
    QCOMPARE(client.xids.size(), 3);
    const qint32 pid = client.pid();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(*m_spy, Kind::WindowCreated, pid).size(), 3, kTimeoutMs);
    QSet<qint64> created;
    for (const DesktopEvent &e : eventsOf(*m_spy, Kind::WindowCreated, pid))
        created.insert(e.window);
    QCOMPARE(created, (QSet<qint64>{client.xids[0], client.xids[1], client.xids[2]}));
    const QList<DesktopEvent> launched = eventsOf(*m_spy, Kind::AppLaunched, pid);
    QCOMPARE(launched.size(), 1);
    QVERIFY(launched.first().regular);

    QCOMPARE(client.command("destroy 1"), QStringLiteral("ok destroy 1"));
    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::WindowDestroyed).isEmpty(), kTimeoutMs);
    const QList<DesktopEvent> destroyed = eventsOf(*m_spy, Kind::WindowDestroyed);
    QCOMPARE(destroyed.size(), 1);
    QCOMPARE(destroyed.first().window, qint64(client.xids[1]));
    QCOMPARE(destroyed.first().pid, pid);
    QVERIFY(eventsOf(*m_spy, Kind::AppTerminated).isEmpty());

    client.quit();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(*m_spy, Kind::AppTerminated, pid).size(), 1, kTimeoutMs);
    QCOMPARE(eventsOf(*m_spy, Kind::WindowDestroyed, pid).size(), 3);
    QCOMPARE(eventsOf(*m_spy, Kind::AppLaunched, pid).size(), 1);
}

void TestX11DesktopObserver::activation()
{
    Client first({"First"});
    Client second({"Second"});
    QVERIFY(!first.xids.isEmpty() && !second.xids.isEmpty());
    // The window manager may still be busy focusing the windows it has just mapped; each
    // step waits until its own activation is the last focus change reported, and checks
    // that the owners' changes pair up along the way, whatever came between.
    qint32 activePid = 0;
    for (Client *target : {&first, &second, &first}) {
        m_spy->clear();
        const quint32 xid = target->xids.first();
        activate(xid);
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                const QList<DesktopEvent> focus = eventsOf(*m_spy, Kind::FocusChanged);
                return !focus.isEmpty() && focus.last().window == qint64(xid);
            }(),
            kTimeoutMs);
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
    for (const char *observation : {"observed", "never", "unobserved"}) {
        QTest::addRow("retitle, %s", observation)
            << QByteArray("title 0 new") << int(Kind::TitleChanged) << QString::fromLatin1(observation);
        QTest::addRow("iconify, %s", observation)
            << QByteArray("iconify 0") << int(Kind::StateChanged) << QString::fromLatin1(observation);
    }
}

void TestX11DesktopObserver::titleAndState()
{
    QFETCH(QByteArray, command);
    QFETCH(int, kind);
    QFETCH(QString, observation);
    Client client({"Subject"});
    Client marker({"Marker"});
    QVERIFY(!client.xids.isEmpty() && !marker.xids.isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::WindowCreated, marker.pid()).isEmpty(), kTimeoutMs);
    if (observation != QLatin1String("never"))
        QVERIFY(m_observer->observeProcess(client.pid()));
    if (observation == QLatin1String("unobserved"))
        m_observer->unobserveProcess(client.pid());
    QVERIFY(m_observer->observeProcess(marker.pid()));

    QVERIFY(client.command(command).startsWith(QLatin1String("ok")));
    // Iconifying is the window manager's work, done once it gets to the request.
    if (Kind(kind) == Kind::StateChanged)
        QTRY_COMPARE_WITH_TIMEOUT(windowCardinal(client.xids.first(), "WM_STATE"), quint32(3), kTimeoutMs);
    // The server reports in order: once the marker's rename arrives, the subject's change
    // has arrived too, if it was going to.
    QVERIFY(marker.command("title 0 done").startsWith(QLatin1String("ok")));
    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::TitleChanged, marker.pid()).isEmpty(), kTimeoutMs);
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
        auto old = std::make_unique<Client>(QStringList{"Old"});
        QVERIFY(!old->xids.isEmpty());
        const quint32 oldWindow = old->xids.first();
        old->kill(); // no goodbye: the window manager unlists it while the next one starts
        Client fresh({"Fresh"});
        QVERIFY(!fresh.xids.isEmpty());
        reused += fresh.xids.first() == oldWindow ? 1 : 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            !eventsOf(*m_spy, Kind::WindowCreated, fresh.pid(), fresh.xids.first()).isEmpty(), kTimeoutMs);
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
    Client client({"A", "B"});
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 1, kTimeoutMs);
    QCoreApplication::processEvents();
    QCOMPARE(spy.size(), 1);

    // Started again, it reports what happened since, and only that.
    disconnect(observer.get(), nullptr, observer.get(), nullptr);
    QVERIFY(observer->start());
    spy.clear();
    client.quit();
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(spy, Kind::AppTerminated, client.pid()).size(), 1, kTimeoutMs);
    QVERIFY(eventsOf(spy, Kind::AppLaunched).isEmpty());
}

void TestX11DesktopObserver::idleTimeGrows()
{
    const std::optional<double> first = m_observer->userIdleSeconds();
    QVERIFY(first);
    QVERIFY(*first >= 0);
    // Nobody touches Xvfb's keyboard or pointer.
    QTRY_VERIFY_WITH_TIMEOUT(m_observer->userIdleSeconds().value_or(0) > *first + 0.1, kTimeoutMs);
}

void TestX11DesktopObserver::windowManagerReplaced()
{
    const quint32 before = rootWindowProperty("_NET_SUPPORTING_WM_CHECK");
    QVERIFY(before != 0);
    m_replacementDir = std::make_unique<QTemporaryDir>();
    QFile config(m_replacementDir->filePath("rc.xml"));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write(R"(<openbox_config xmlns="http://openbox.org/3.4/rc">
  <theme><name>Clearlooks</name><animateIconify>no</animateIconify></theme>
  <desktops><number>4</number><popupTime>0</popupTime></desktops>
</openbox_config>
)");
    config.close();
    QStringList env = QProcess::systemEnvironment();
    env << "XDG_CONFIG_HOME=" + m_replacementDir->filePath("config")
        << "XDG_CACHE_HOME=" + m_replacementDir->filePath("cache");
    m_replacement = std::make_unique<QProcess>();
    m_replacement->setEnvironment(env);
    m_replacement->setProcessChannelMode(QProcess::ForwardedChannels);
    orvella::testsupport::XSession::bindToParent(m_replacement.get());
    // It announces itself before it handles map requests; its start-up command runs once it does.
    m_replacement->start("openbox",
                         {"--sm-disable", "--replace", "--config-file", config.fileName(), "--startup",
                          "xprop -root -f _ORVELLA_TEST_REPLACED 8s -set _ORVELLA_TEST_REPLACED 1"});
    QVERIFY2(m_replacement->waitForStarted(), qPrintable(m_replacement->errorString()));

    QTRY_VERIFY_WITH_TIMEOUT(!eventsOf(*m_spy, Kind::WindowManagerChanged).isEmpty(), kTimeoutMs);
    const quint32 after = rootWindowProperty("_NET_SUPPORTING_WM_CHECK");
    QVERIFY(after != 0 && after != before);
    const QList<DesktopEvent> changes = eventsOf(*m_spy, Kind::WindowManagerChanged);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().window, qint64(after));

    // The new window manager's windows are reported as before.
    QTRY_VERIFY_WITH_TIMEOUT(hasProperty(m_root, "_ORVELLA_TEST_REPLACED"), kTimeoutMs);
    m_spy->clear();
    Client client({"After"});
    QVERIFY(!client.xids.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(*m_spy, Kind::WindowCreated, client.pid(), client.xids.first()).size(),
                              1, kTimeoutMs);
    QCOMPARE(eventsOf(*m_spy, Kind::AppLaunched, client.pid()).size(), 1);
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
    QTRY_COMPARE_WITH_TIMEOUT(eventsOf(spy, Kind::ConnectionLost).size(), 1, kTimeoutMs);
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

xcb_atom_t TestX11DesktopObserver::atom(const char *name) const
{
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, 0, qstrlen(name), name), nullptr),
        &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

quint32 TestX11DesktopObserver::rootWindowProperty(const char *name) const
{
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, 0, m_root, atom(name), XCB_ATOM_WINDOW, 0, 1),
                               nullptr),
        &std::free);
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) != 4)
        return 0;
    return *static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
}

// The first 32-bit item of a property of any type; 0 when it is not set.
quint32 TestX11DesktopObserver::windowCardinal(xcb_window_t window, const char *name) const
{
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(
            m_connection,
            xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1), nullptr),
        &std::free);
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) != 4)
        return 0;
    return *static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
}

bool TestX11DesktopObserver::hasProperty(xcb_window_t window, const char *name) const
{
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(
            m_connection,
            xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 0), nullptr),
        &std::free);
    return reply && reply->type != XCB_ATOM_NONE;
}

void TestX11DesktopObserver::activate(xcb_window_t window)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2; // a pager asks
    message.data.data32[1] = serverTime();
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(m_connection);
}

// The server's current time: the stamp of a PropertyNotify that this call provokes.
xcb_timestamp_t TestX11DesktopObserver::serverTime()
{
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_helper, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    xcb_flush(m_connection);
    while (xcb_generic_event_t *event = xcb_wait_for_event(m_connection)) {
        const Reply<xcb_generic_event_t> owned(event, &std::free);
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t *>(event)->time;
    }
    return XCB_CURRENT_TIME;
}

QTEST_GUILESS_MAIN(TestX11DesktopObserver)
#include "tst_x11desktopobserver.moc"
