// Reads served from the property cache against a real server: each kind of change shows in
// the very next read, and a change whose event was lost is put right by the full read.
#include "desktoplookup.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "testclientprocess.h"
#include "xtestconnection.h"

#include <QRandomGenerator>
#include <QtTest>

#include <xcb/xcb.h>

using namespace orvella::platform;
using namespace orvella::testsupport;

namespace {

enum class Change { Title, Minimise, Move, Icon };

// The client's top-left corner in root coordinates, asked of the server directly.
QPoint clientOrigin(XTestConnection &x, xcb_window_t window)
{
    xcb_connection_t *c = x.connection();
    auto *reply =
        xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, window, x.root(), 0, 0), nullptr);
    const QPoint origin = reply ? QPoint(reply->dst_x, reply->dst_y) : QPoint();
    std::free(reply);
    return origin;
}

// Everything a snapshot says, one line per record, for comparing two reads.
QString describe(const DesktopSnapshot &s)
{
    QString out;
    QDebug d(&out);
    for (const RunningApp &a : s.apps) {
        d << a.pid << a.name << a.bundleID.value_or(QString()) << a.regular << a.icon.size()
          << (a.icon.isNull() ? 0u : a.icon.pixel(0, 0)) << "\n";
        for (const AppWindow &w : s.windowsByPid.value(a.pid).value_or(QList<AppWindow>()))
            d << " " << w.title << w.frame << w.minimized << w.windowNumber.value_or(0) << w.clientIndex
              << w.fullscreen << "\n";
    }
    for (const ServerWindow &w : s.serverWindows.value_or(QList<ServerWindow>()))
        d << w.number << w.layer << w.alpha << w.ownerPid << w.bounds << w.name.value_or(QString())
          << w.onScreen << "\n";
    d << s.frontmostPid << s.focusedTitle.value_or(QString());
    return out;
}

} // namespace

class TestPropertyCacheX11 : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void changeShowsInTheNextRead_data();
    void changeShowsInTheNextRead();
    void lostInvalidationIsRepairedByTheFullRead();
    void agreesWithFullReadsOverRandomChanges();

private:
    const AppWindow *window(const DesktopSnapshot &s) const
    {
        const auto windows = s.windowsByPid.value(m_client->pid());
        return windows && windows->size() == 1 ? &windows->first() : nullptr;
    }

    std::shared_ptr<x11::X11Desktop> m_desktop;
    std::unique_ptr<x11::X11DesktopObserver> m_observer;
    std::unique_ptr<TestClient> m_client;
    std::unique_ptr<XTestConnection> m_x;
    DesktopSnapshot m_last;
};

void TestPropertyCacheX11::init()
{
    QVERIFY2(inPrivateSession(), "run this test through orvella-xsession");
    QString error;
    m_desktop = x11::X11Desktop::open(QString(), &error);
    m_observer = x11::X11DesktopObserver::open(QString(), &error);
    QVERIFY2(m_desktop && m_observer, qPrintable(error));
    QVERIFY(m_observer->start());
    m_x = std::make_unique<XTestConnection>();
    m_client = std::make_unique<TestClient>(QStringList{"--title", "cached", "--icon", "16"});
    QCOMPARE(m_client->xids.size(), 1);
    // Two reads: the first fills the cache, the second is served from it.
    m_desktop->readSnapshot();
    m_last = m_desktop->readSnapshot();
    QVERIFY(window(m_last));
}

void TestPropertyCacheX11::cleanup()
{
    m_client.reset();
    m_observer.reset();
    m_desktop.reset();
}

void TestPropertyCacheX11::changeShowsInTheNextRead_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("title") << Change::Title;
    QTest::newRow("minimise") << Change::Minimise;
    QTest::newRow("move") << Change::Move;
    QTest::newRow("icon") << Change::Icon;
}

void TestPropertyCacheX11::changeShowsInTheNextRead()
{
    QFETCH(Change, change);
    const xcb_window_t xid = m_client->xids[0];
    const QRectF before = window(m_last)->frame;
    switch (change) {
    case Change::Title: m_x->setProperty(xid, "_NET_WM_NAME", m_x->atom("UTF8_STRING"), 8, "renamed"); break;
    case Change::Minimise: {
        QCOMPARE(m_client->command("iconify 0"), QStringLiteral("ok iconify 0"));
        const xcb_atom_t wmState = m_x->atom("WM_STATE");
        QTRY_COMPARE(m_x->cardinals(xid, "WM_STATE", wmState).value(0), 3u);
        break;
    }
    case Change::Move: {
        const QPoint origin = clientOrigin(*m_x, xid);
        // NorthWest gravity, x and y given, from a pager.
        m_x->sendToRoot(xid, "_NET_MOVERESIZE_WINDOW", {1u | 3u << 8 | 2u << 12, 97, 83, 0, 0});
        QTRY_VERIFY(clientOrigin(*m_x, xid) != origin);
        break;
    }
    case Change::Icon:
        m_x->setCardinals(xid, "_NET_WM_ICON", XCB_ATOM_CARDINAL,
                          {2, 2, 0xff00ff00, 0xff00ff00, 0xff00ff00, 0xff00ff00});
        break;
    }

    const DesktopSnapshot s = m_desktop->readSnapshot();
    const AppWindow *w = window(s);
    QVERIFY(w);
    switch (change) {
    case Change::Title: QCOMPARE(w->title, QStringLiteral("renamed")); break;
    case Change::Minimise: QVERIFY(w->minimized); break;
    case Change::Move: {
        const QList<quint32> e = m_x->cardinals(xid, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL);
        QCOMPARE(w->frame.topLeft().toPoint(),
                 clientOrigin(*m_x, xid) - QPoint(int(e.value(0)), int(e.value(2))));
        QVERIFY(w->frame != before);
        break;
    }
    case Change::Icon: {
        const RunningApp *app = appOf(s, m_client->pid());
        QVERIFY(app);
        QCOMPARE(app->icon.size(), QSize(2, 2));
        QCOMPARE(app->icon.pixel(1, 1), 0xff00ff00u);
        const QImage scaled = m_desktop->propertyCache()->scaledIcon(xid);
        QCOMPARE(scaled.size(), QSize(32, 32));
        QCOMPARE(scaled.pixel(16, 16), 0xff00ff00u);
        break;
    }
    }
}

void TestPropertyCacheX11::lostInvalidationIsRepairedByTheFullRead()
{
    const xcb_window_t xid = m_client->xids[0];
    m_desktop->propertyCache()->dropNextInvalidation();
    m_x->setProperty(xid, "_NET_WM_NAME", m_x->atom("UTF8_STRING"), 8, "poisoned");
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression("property cache was out of step for window .* \\(title"));
    int reads = 0;
    QString title;
    do {
        title = window(m_desktop->readSnapshot())->title;
        // The first read believes the cache, which never heard of the change.
        if (reads++ == 0)
            QCOMPARE(title, QStringLiteral("cached"));
    } while (title != QStringLiteral("poisoned") && reads <= x11::X11Desktop::kFullReadEvery);
    QCOMPARE(title, QStringLiteral("poisoned"));
}

// Clients and the window manager change windows in every way the cache follows; whenever
// the desktop holds still, a cached read says exactly what a full read says.
void TestPropertyCacheX11::agreesWithFullReadsOverRandomChanges()
{
    QTest::failOnWarning(QRegularExpression("out of step"));
    QString error;
    const auto reference = x11::X11Desktop::open(QString(), &error, false);
    QVERIFY2(reference, qPrintable(error));
    TestClient client(TestClient::titled({"a", "b", "c", "d", "e"}));
    QCOMPARE(client.xids.size(), 5);
    QRandomGenerator random(20261125);
    const xcb_atom_t utf8 = m_x->atom("UTF8_STRING");
    const char *states[] = {"_NET_WM_STATE_HIDDEN", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_FULLSCREEN",
                            "_NET_WM_STATE_ABOVE"};
    for (int step = 0; step < 1000; ++step) {
        const xcb_window_t xid = client.xids[random.bounded(int(client.xids.size()))];
        const QByteArray text = QByteArray::number(random.bounded(50));
        switch (random.bounded(9)) {
        case 0: m_x->setProperty(xid, "_NET_WM_NAME", utf8, 8, "net " + text); break;
        case 1: m_x->setProperty(xid, "WM_NAME", XCB_ATOM_STRING, 8, "legacy " + text); break;
        case 2:
            m_x->setCardinals(xid, "_NET_WM_STATE", XCB_ATOM_ATOM, {m_x->atom(states[random.bounded(4)])});
            break;
        case 3: {
            const quint32 side = 1 + random.bounded(3);
            m_x->setCardinals(xid, "_NET_WM_ICON", XCB_ATOM_CARDINAL,
                              QList<quint32>{side, side} + QList<quint32>(side * side, random.generate()));
            break;
        }
        case 4:
            m_x->setCardinals(xid, "_NET_WM_WINDOW_OPACITY", XCB_ATOM_CARDINAL, {random.generate()});
            break;
        case 5:
            m_x->sendToRoot(xid, "_NET_MOVERESIZE_WINDOW",
                            {1u | 15u << 8 | 2u << 12, random.bounded(400u), random.bounded(300u),
                             100 + random.bounded(200u), 80 + random.bounded(200u)});
            break;
        case 6:
            QVERIFY(
                client.command("iconify " + QByteArray::number(client.xids.indexOf(xid))).startsWith("ok"));
            break;
        case 7: m_x->activate(xid); break;
        case 8: QCOMPARE(client.command("churn 1"), QStringLiteral("ok churn 1")); break;
        }
        m_x->sync();
        // Full, cached, full: when both full reads agree, nothing moved in between.
        QString before, cached, after;
        for (int tries = 0; tries < 50 && (tries == 0 || before != after); ++tries) {
            before = describe(reference->readSnapshot());
            cached = describe(m_desktop->readSnapshot());
            after = describe(reference->readSnapshot());
        }
        QCOMPARE(before, after);
        QVERIFY2(cached == after,
                 qPrintable(QStringLiteral("step %1:\n%2\n---\n%3").arg(step).arg(cached, after)));
    }
}

QTEST_GUILESS_MAIN(TestPropertyCacheX11)
#include "tst_propertycachex11.moc"
