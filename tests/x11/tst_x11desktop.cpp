// The X11 desktop against a real server and window manager: what one snapshot reports about
// the test client's applications, windows, frames and states, and when a window's startup id
// is read. (Focus: tst_observationx11.)
#include "desktoplookup.h"
#include "platform/x11/x11desktop.h"
#include "testclientprocess.h"
#include "xtestconnection.h"

#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

using namespace orvella::platform;
using namespace orvella::testsupport;

const QString kProbeId = QStringLiteral("org.orvella.Probe");

class TestX11Desktop : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void applications_data();
    void applications();
    void frames_data();
    void frames();
    void minimized();
    void windowStates_data();
    void windowStates();
    void startupIDOnlyForWindowsOfAWatchedLaunch();

private:
    DesktopSnapshot snapshot() const { return m_desktop->readSnapshot(); }

    std::unique_ptr<QTemporaryDir> m_dataHome;
    std::shared_ptr<x11::X11Desktop> m_desktop;
    std::unique_ptr<XTestConnection> m_x;
};

void TestX11Desktop::initTestCase()
{
    QVERIFY2(inPrivateSession(), "run this test through orvella-xsession");
    // GIO reads XDG_DATA_HOME once per process: the entry must exist before the first read.
    m_dataHome = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_dataHome->path()).mkpath(QStringLiteral("applications")));
    QFile entry(m_dataHome->filePath(QStringLiteral("applications/%1.desktop").arg(kProbeId)));
    QVERIFY(entry.open(QIODevice::WriteOnly));
    entry.write("[Desktop Entry]\nType=Application\nName=Orvella Probe\nExec=true\nIcon=orvella-probe\n"
                "StartupWMClass=ProbeMain\n");
    entry.close();
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome->path()));

    QString error;
    m_desktop = x11::X11Desktop::open(QString(), &error);
    QVERIFY2(m_desktop, qPrintable(error));
    QVERIFY(m_desktop->isTrusted());
    QCOMPARE(m_desktop->ownPid(), qint32(::getpid()));
    m_x = std::make_unique<XTestConnection>();
    QVERIFY(m_x->isConnected());
}

// Whose window it is, and the application's name and identity.
void TestX11Desktop::applications_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<qint32>("pid"); // 0: the client's own
    QTest::addColumn<std::optional<QString>>("bundleID");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("iconName");
    const auto row = [](const char *name, const QStringList &args, qint32 pid, bool probe,
                        const char *appName) {
        QTest::newRow(name) << args << pid << (probe ? std::optional(kProbeId) : std::nullopt)
                            << QString::fromUtf8(probe ? "Orvella Probe" : appName)
                            << (probe ? QStringLiteral("orvella-probe") : QString());
    };
    row("no entry: the class names it", {}, 0, false, "orvella-testclient");
    row("_NET_WM_PID wins over the connection", {"--pid", "4242"}, 4242, false, "orvella-testclient");
    row("GTK application id", {"--gtk-app-id", kProbeId, "--class", "Other"}, 0, true, "");
    row("WM_CLASS is StartupWMClass", {"--class", "probemain"}, 0, true, "");
    row("WM_CLASS is the file id", {"--class", "ORG.ORVELLA.PROBE"}, 0, true, "");
    // The kernel keeps 15 characters of a process name.
    row("no class: the process name", {"--class", ""}, 0, false, "orvella-testcli");
}

void TestX11Desktop::applications()
{
    QFETCH(QStringList, args);
    QFETCH(qint32, pid);
    QFETCH(std::optional<QString>, bundleID);
    QFETCH(QString, name);
    QFETCH(QString, iconName);
    TestClient client(QStringList{"--title", "Whose"} + args);
    QCOMPARE(client.xids.size(), 1);
    pid = pid ? pid : client.pid();
    const DesktopSnapshot s = snapshot();
    const RunningApp *app = appOf(s, pid);
    QVERIFY(app);
    QVERIFY(app->regular);
    QCOMPARE(app->bundleID, bundleID);
    QCOMPARE(app->name, name);
    QCOMPARE(app->iconName, iconName);
    QCOMPARE(serverWindowOf(s, client.xids[0]).value_or(ServerWindow()).ownerPid, pid);
    QCOMPARE(s.windowsByPid.value(pid).value_or(QList<AppWindow>()).size(), 1);
}

// The frame, and the title read back as the client set it: absent, empty or beyond Latin-1.
void TestX11Desktop::frames_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<std::optional<QString>>("title");
    const QString unicode = QString::fromUtf8("Überblick — 日本語 🙂");
    QTest::newRow("unicode") << QStringList{"--title", unicode, "--size", "300x200"} << QSize(300, 200)
                             << std::optional(unicode);
    QTest::newRow("empty") << QStringList{"--title", ""} << QSize(320, 200) << std::optional(QString());
    QTest::newRow("untitled, narrow") << QStringList{"--title", "untitled", "--no-title", "--size", "150x300"}
                                      << QSize(150, 300) << std::optional<QString>();
}

void TestX11Desktop::frames()
{
    QFETCH(QStringList, args);
    QFETCH(QSize, size);
    QFETCH(std::optional<QString>, title);
    TestClient client(args);
    QCOMPARE(client.xids.size(), 1);
    const xcb_window_t xid = client.xids[0];
    QTRY_VERIFY_WITH_TIMEOUT(serverWindowOf(snapshot(), xid).value_or(ServerWindow()).onScreen, kWaitMs);
    const DesktopSnapshot s = snapshot();
    const std::optional<AppWindow> w = windowOf(s, xid);
    const std::optional<ServerWindow> server = serverWindowOf(s, xid);
    QVERIFY(w && server);
    QCOMPARE(w->title, title.value_or(QString()));
    QCOMPARE(server->name, title);
    QVERIFY(!w->minimized);
    // The frame holds the client's own area and the decorations around it.
    xcb_connection_t *c = m_x->connection();
    const std::unique_ptr<xcb_translate_coordinates_reply_t, decltype(&std::free)> origin(
        xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, xid, m_x->root(), 0, 0), nullptr),
        &std::free);
    QVERIFY(origin);
    const QRectF frame = w->frame;
    QVERIFY2(frame.contains(QRectF(QPointF(origin->dst_x, origin->dst_y), size))
                 && frame.width() > size.width() && frame.height() > size.height(),
             qPrintable(QDebug::toString(frame)));
    QCOMPARE(server->bounds, frame);
}

void TestX11Desktop::minimized()
{
    // Started iconic: iconified later, the window carries the same states.
    TestClient client({"--title", "Shown", "--title", "Hidden", "--iconic"});
    QCOMPARE(client.xids.size(), 2);
    const quint32 shown = client.xids[0], hidden = client.xids[1];
    QTRY_VERIFY_WITH_TIMEOUT(windowOf(snapshot(), hidden).value_or(AppWindow()).minimized, kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(serverWindowOf(snapshot(), shown).value_or(ServerWindow()).onScreen, kWaitMs);

    const DesktopSnapshot s = snapshot();
    QVERIFY(serverWindowOf(s, shown) && serverWindowOf(s, hidden));
    QCOMPARE(serverWindowOf(s, shown)->alpha, 1.0);
    // Not drawn at all: otherwise the core would take it for a covered, full-size window.
    const ServerWindow hiddenServer = *serverWindowOf(s, hidden);
    QCOMPARE(hiddenServer.alpha, 0.0);
    QVERIFY(!hiddenServer.onScreen);
    QCOMPARE(hiddenServer.layer, 0);
}

void TestX11Desktop::windowStates_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<bool>("ordinaryLayer");
    QTest::newRow("skip taskbar") << QByteArray("_NET_WM_STATE_SKIP_TASKBAR") << false << true;
    QTest::newRow("above") << QByteArray("_NET_WM_STATE_ABOVE") << true << false;
    QTest::newRow("below") << QByteArray("_NET_WM_STATE_BELOW") << true << false;
}

void TestX11Desktop::windowStates()
{
    QFETCH(QByteArray, state);
    QFETCH(bool, listed);
    QFETCH(bool, ordinaryLayer);
    TestClient client({"--title", "Stateful"});
    QCOMPARE(client.xids.size(), 1);
    const xcb_window_t xid = client.xids[0];
    const xcb_atom_t stateAtom = m_x->atom(state.constData());
    m_x->sendToRoot(xid, "_NET_WM_STATE", {1, stateAtom, 0, 2});
    QTRY_VERIFY_WITH_TIMEOUT(m_x->cardinals(xid, "_NET_WM_STATE", XCB_ATOM_ATOM).contains(stateAtom),
                             kWaitMs);

    const DesktopSnapshot s = snapshot();
    const RunningApp *app = appOf(s, client.pid());
    QVERIFY(app);
    // The client's only window decides whether it is an application the sidebar lists.
    QCOMPARE(app->regular, listed);
    QCOMPARE(windowOf(s, xid).has_value(), listed);
    QVERIFY(serverWindowOf(s, xid));
    QCOMPARE(serverWindowOf(s, xid)->layer == 0, ordinaryLayer);
}

// Reading it costs requests: none without a watch, none for windows from before it.
void TestX11Desktop::startupIDOnlyForWindowsOfAWatchedLaunch()
{
    const QString id = QStringLiteral("host+1-1-probe_TIME7");
    const QStringList env = QProcess::systemEnvironment() << QStringLiteral("DESKTOP_STARTUP_ID=") + id;
    TestClient before({"--title", "Before"}, env);
    QVERIFY(windowTitled(snapshot(), QStringLiteral("Before")));
    QCOMPARE(windowTitled(snapshot(), QStringLiteral("Before"))->startupID, std::nullopt);

    LaunchWatch watch = m_desktop->watchForLaunch();
    TestClient during({"--title", "During", "--startup-on-leader"}, env);
    for (int read = 0; read < 2; ++read) { // the second read answers from what the first learned
        const DesktopSnapshot s = snapshot();
        QCOMPARE(windowTitled(s, QStringLiteral("During"))->startupID, std::optional(id));
        QCOMPARE(windowTitled(s, QStringLiteral("Before"))->startupID, std::nullopt);
    }
    watch.reset();
    QCOMPARE(windowTitled(snapshot(), QStringLiteral("During"))->startupID, std::nullopt);
}

QTEST_GUILESS_MAIN(TestX11Desktop)
#include "tst_x11desktop.moc"
