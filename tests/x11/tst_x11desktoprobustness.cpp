// The X11 desktop against a real server when clients misbehave: huge titles, bad icons,
// hostile properties, windows that end while being read, a stale window manager check and a
// server that goes away.
#include "desktoplookup.h"
#include "platform/x11/x11desktop.h"
#include "testclientprocess.h"
#include "xsession.h"
#include "xtestconnection.h"

#include <QtTest>

#include <atomic>
#include <thread>
#include <unistd.h>

using namespace orvella::platform;
using namespace orvella::testsupport;

class TestX11DesktopRobustness : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void hugeTitleIsBounded();
    void iconBeyondTheReadBound();
    void listedWindowsThatMisbehave();
    void windowsChurningDuringReads();
    void trustFollowsTheWindowManagerCheck();
    void lostServer();

private:
    DesktopSnapshot snapshot() const { return m_desktop->readSnapshot(); }

    std::shared_ptr<x11::X11Desktop> m_desktop;
    std::unique_ptr<XTestConnection> m_x;
};

void TestX11DesktopRobustness::initTestCase()
{
    QVERIFY2(inPrivateSession(), "run this test through orvella-xsession");
    QString error;
    m_desktop = x11::X11Desktop::open(QString(), &error);
    QVERIFY2(m_desktop, qPrintable(error));
    m_x = std::make_unique<XTestConnection>();
    QVERIFY(m_x->isConnected());
}

void TestX11DesktopRobustness::hugeTitleIsBounded()
{
    TestClient client({"--title", "short"});
    QCOMPARE(client.xids.size(), 1);
    // 1 MiB of a two-byte character: the bound falls on a character boundary.
    const QByteArray huge = QString(512 * 1024, QChar(0x00e9)).toUtf8();
    QCOMPARE(client.command("title 0 " + huge), QStringLiteral("ok title 0"));
    QCOMPARE(windowOf(snapshot(), client.xids[0]).value_or(AppWindow()).title, QString(2048, QChar(0x00e9)));
}

// Choosing among images and skipping hostile ones are checked on bytes in tst_x11properties;
// here the property is read from the server, 4 MiB of it: more than one read takes.
void TestX11DesktopRobustness::iconBeyondTheReadBound()
{
    TestClient client({"--title", "Icon", "--icon", "16", "--icon", "48", "--icon", "32", "--icon", "1024"});
    QCOMPARE(client.xids.size(), 1);
    const DesktopSnapshot s = snapshot();
    const RunningApp *app = appOf(s, client.pid());
    QVERIFY(app);
    QCOMPARE(app->icon.size(), QSize(32, 32));
    QCOMPARE(app->icon.format(), QImage::Format_ARGB32_Premultiplied);
}

// A window manager may list a window that has just ended, or one whose properties it never
// checked; between two of the client's windows, neither may cost the reader the second one.
void TestX11DesktopRobustness::listedWindowsThatMisbehave()
{
    TestClient client({"--title", "Survivor A", "--title", "Survivor B"});
    QCOMPARE(client.xids.size(), 2);
    xcb_connection_t *c = m_x->connection();
    const xcb_window_t gone = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, gone, m_x->root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_destroy_window(c, gone);
    const xcb_window_t hostile = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, hostile, m_x->root(), 0, 0, 400, 300, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    m_x->setProperty(hostile, "_NET_WM_NAME", m_x->atom("UTF8_STRING"), 8, "bad \xff\xfe title");
    m_x->setProperty(hostile, "WM_CLASS", XCB_ATOM_STRING, 8, "no-terminator");
    m_x->setProperty(hostile, "_NET_WM_PID", XCB_ATOM_STRING, 8, "1234");
    m_x->setCardinals(hostile, "_NET_WM_WINDOW_TYPE", XCB_ATOM_CARDINAL, {1});
    m_x->setCardinals(hostile, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL, {5, 5, 5});
    m_x->setCardinals(hostile, "_NET_WM_ICON", XCB_ATOM_CARDINAL,
                      QList<quint32>{65535, 65535} + QList<quint32>(16, ~0u));

    // Each problem is reported once, with the window and property it concerns.
    const auto expect = [](QtMsgType type, xcb_window_t w, const char *what) {
        QTest::ignoreMessage(
            type, QRegularExpression(QStringLiteral("window 0x%1:? %2").arg(QString::number(w, 16), what)));
    };
    expect(QtDebugMsg, gone, "closed while being read");
    expect(QtWarningMsg, hostile, "_NET_WM_PID ignored");
    expect(QtWarningMsg, hostile, "_NET_WM_WINDOW_TYPE ignored");
    expect(QtWarningMsg, hostile, "_NET_FRAME_EXTENTS ignored");
    expect(QtWarningMsg, hostile,
           "_NET_WM_ICON ignored: icon image declares more pixels than the data holds");
    expect(QtInfoMsg, hostile, "WM_CLASS read in part");
    const QList<quint32> real = m_x->cardinals(m_x->root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
    const qsizetype between = real.indexOf(client.xids[1]);
    m_x->setCardinals(m_x->root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW,
                      real.first(between) + QList<quint32>{hostile, gone, m_x->root(), XCB_NONE, hostile}
                          + real.sliced(between));
    QLoggingCategory::setFilterRules(QStringLiteral("orvella.platform.debug=true"));
    const DesktopSnapshot s = snapshot();
    QLoggingCategory::setFilterRules(QString());
    // Read again and again, the same window is not reported again.
    QTest::failOnWarning(QRegularExpression(QStringLiteral("window 0x%1").arg(hostile, 0, 16)));
    snapshot();
    m_x->setCardinals(m_x->root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, real);
    xcb_destroy_window(c, hostile);

    QVERIFY(windowOf(s, client.xids[0]) && windowOf(s, client.xids[1]));
    QVERIFY(!serverWindowOf(s, gone));
    QVERIFY(!serverWindowOf(s, m_x->root()));
    const std::optional<ServerWindow> server = serverWindowOf(s, hostile);
    QVERIFY(server);
    // No _NET_WM_PID that can be believed: the X-Resource answer is this process.
    QCOMPARE(server->ownerPid, qint32(::getpid()));
    QCOMPARE(server->name, std::optional<QString>(QString::fromUtf8("bad \xef\xbf\xbd\xef\xbf\xbd title")));
    QCOMPARE(server->bounds, QRectF(0, 0, 400, 300));
    QCOMPARE(server->layer, 0);
    QVERIFY(!server->onScreen);
    const RunningApp *app = appOf(s, qint32(::getpid()));
    QVERIFY(app);
    QVERIFY(app->icon.isNull());
    // WM_CLASS had no class part: the process name stands in, as the kernel keeps 15 characters of it.
    QCOMPARE(app->name, QCoreApplication::applicationName().left(15));
}

void TestX11DesktopRobustness::windowsChurningDuringReads()
{
    TestClient client({"--title", "Steady"});
    QCOMPARE(client.xids.size(), 1);
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::atomic<int> listedDead{0};
    // Two readers at once: refreshes may overlap, and a window may end between any two rounds.
    const auto reader = [&] {
        while (!stop) {
            const DesktopSnapshot s = m_desktop->readSnapshot();
            ++reads;
            if (!s.serverWindows || !serverWindowOf(s, client.xids[0]))
                ++listedDead;
        }
    };
    std::thread first(reader), second(reader);
    const QString answer = client.command("churn 150");
    stop = true;
    first.join();
    second.join();
    QCOMPARE(answer, QStringLiteral("ok churn 150"));
    QVERIFY(reads > 0);
    // Whatever ended mid-read, the window that stayed was never lost.
    QCOMPARE(listedDead.load(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(snapshot().windowsByPid.value(client.pid()).value_or(QList<AppWindow>()).size(),
                              1, kWaitMs);
}

void TestX11DesktopRobustness::trustFollowsTheWindowManagerCheck()
{
    const QList<quint32> check = m_x->cardinals(m_x->root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW);
    QCOMPARE(check.size(), 1);
    // A check window that does not name itself, as a dead window manager leaves behind.
    m_x->setCardinals(m_x->root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, {m_x->ownWindow()});
    snapshot();
    const bool trustedWithStaleCheck = m_desktop->isTrusted();
    m_x->setCardinals(m_x->root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, check);
    QVERIFY(!trustedWithStaleCheck);
    snapshot();
    QVERIFY(m_desktop->isTrusted());
}

void TestX11DesktopRobustness::lostServer()
{
    XSession session;
    QString error;
    QVERIFY2(session.start(&error), qPrintable(error));
    auto desktop = x11::X11Desktop::open(session.display(), &error);
    QVERIFY2(desktop, qPrintable(error));
    QVERIFY(desktop->isTrusted());
    QVERIFY(desktop->readSnapshot().serverWindows);

    session.stop();
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("connection to the X server is lost")));
    const DesktopSnapshot s = desktop->readSnapshot();
    QVERIFY(s.apps.isEmpty() && s.windowsByPid.isEmpty() && !s.serverWindows && s.frontmostPid == 0);
    QVERIFY(!desktop->isTrusted());
    // One line says it; later reads stay quiet.
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
    QVERIFY(!desktop->readSnapshot().serverWindows);
}

QTEST_GUILESS_MAIN(TestX11DesktopRobustness)
#include "tst_x11desktoprobustness.moc"
