// Keeping a window clear of the sidebar under a real window manager: with a 250-pixel
// sidebar at the left of the 1280x800 screen, a window at x=100 is moved to x=250 by the
// refresh, and goes back to x=100 when avoidance ends.
#include "actions/actionrunner.h"
#include "actions/screenpixels.h"
#include "desktoplookup.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11windowcontrol.h"
#include "testclientprocess.h"
#include "xtestconnection.h"

#include <QGuiApplication>
#include <QScreen>

using namespace orvella;

class TestSidebarAvoidanceX11 : public QObject
{
    Q_OBJECT
private slots:
    void windowUnderTheSidebarIsMovedClearAndBack();
};

void TestSidebarAvoidanceX11::windowUnderTheSidebarIsMovedClearAndBack()
{
    QVERIFY(testsupport::inPrivateSession());
    QString error;
    const auto desktop = platform::x11::X11Desktop::open(QString(), &error);
    const auto control = platform::x11::X11WindowControl::open(QString(), &error);
    QVERIFY2(desktop && control, qPrintable(error));
    QScreen *screen = QGuiApplication::primaryScreen();
    QCOMPARE(actions::deviceScreen(*screen).frame, QRectF(0, 0, 1280, 800));

    testsupport::TestClient client({"--title", "under", "--size", "400x300"});
    QCOMPARE(client.xids.size(), 1);
    const quint32 xid = client.xids.first();
    // Openbox's decorations: left, right, top, bottom.
    const QList<quint32> extents =
        testsupport::XTestConnection().cardinals(xid, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL);
    QCOMPARE(extents.size(), 4);
    const QSizeF size(400 + extents[0] + extents[1], 300 + extents[2] + extents[3]);
    const auto frame = [&] {
        const auto w = testsupport::windowOf(desktop->readSnapshot(), xid);
        return w ? w->frame : QRectF();
    };
    QVERIFY(control->setPosition(xid, {100, 120}));
    QTRY_COMPARE_WITH_TIMEOUT(frame(), QRectF(QPointF(100, 120), size), 15000);

    tracking::WindowManager wm(desktop, nullptr, nullptr);
    actions::ActionRunner::attach(wm, control);
    wm.setSidebarPlacement(screen, 250, QStringLiteral("left"), true);
    QVERIFY(testsupport::refreshUntil(wm, [&] { return frame() == QRectF(QPointF(250, 120), size); }));
    QTRY_VERIFY_WITH_TIMEOUT(!wm.state().nudgedWindowFrames.isEmpty(), 15000);

    wm.setSidebarPlacement(screen, 250, QStringLiteral("left"), false);
    QTRY_COMPARE_WITH_TIMEOUT(frame(), QRectF(QPointF(100, 120), size), 15000);
}

QTEST_MAIN(TestSidebarAvoidanceX11)
#include "tst_sidebaravoidancex11.moc"
