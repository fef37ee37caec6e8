// Reads served from the property cache against a real server: each kind of change shows in
// the very next read, and a change whose event was lost is put right by the full read.
#include "desktoplookup.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "testclientprocess.h"
#include "xtestconnection.h"

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
    auto *reply = xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, window, x.root(), 0, 0), nullptr);
    const QPoint origin = reply ? QPoint(reply->dst_x, reply->dst_y) : QPoint();
    std::free(reply);
    return origin;
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
        m_x->setCardinals(xid, "_NET_WM_ICON", XCB_ATOM_CARDINAL, {2, 2, 0xff00ff00, 0xff00ff00, 0xff00ff00, 0xff00ff00});
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
        QCOMPARE(w->frame.topLeft().toPoint(), clientOrigin(*m_x, xid) - QPoint(int(e.value(0)), int(e.value(2))));
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
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("property cache was out of step for window .* \\(title"));
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

QTEST_GUILESS_MAIN(TestPropertyCacheX11)
#include "tst_propertycachex11.moc"
