// What `orvella list` prints for a known desktop.
#include "platform/sim/simulateddesktop.h"
#include "shell/windowlisting.h"
#include "tracking/windowmanager.h"

#include <QJsonArray>
#include <QTest>

using namespace orvella;
using platform::sim::SimulatedDesktop;

class TestListing : public QObject
{
    Q_OBJECT
private slots:
    void jsonAndTextDescribeWindowsAndSections();
};

void TestListing::jsonAndTextDescribeWindowsAndSections()
{
    auto desktop = std::make_shared<SimulatedDesktop>();
    desktop->addApp({10, QStringLiteral("Text Editor"), QStringLiteral("org.gnome.TextEditor"), true, {}});
    desktop->addApp({20, QStringLiteral("xterm"), std::nullopt, true, {}});
    SimulatedDesktop::Window w;
    w.number = 0x400001;
    w.title = QStringLiteral("notes — ü.txt");
    w.frame = QRectF(10, 20, 640, 480);
    desktop->addWindow(10, w);
    w.number = 0x500001;
    w.title = QStringLiteral("bash");
    w.minimized = true;
    w.onScreen = false;
    w.alpha = 0;
    w.reportsNumber = false;
    w.serverKnowsName = false;
    w.serverBounds = QRectF(0, 0, 1, 1);
    desktop->addWindow(20, w);
    desktop->setFocus(0x400001);

    tracking::WindowManager manager(desktop, nullptr, nullptr);
    manager.refresh();
    QVERIFY(manager.waitForRefresh(5000));

    const QJsonObject json = shell::windowListing::toJson(manager);
    const QJsonArray windows = json.value("windows").toArray();
    QCOMPARE(windows.size(), 2);
    const QJsonObject editor = windows[0].toObject();
    QCOMPARE(editor.value("id"), QJsonValue("org.gnome.TextEditor::wn:4194305"));
    QCOMPARE(editor.value("title"), QJsonValue("notes — ü.txt"));
    QCOMPARE(editor.value("pid"), QJsonValue(10));
    QCOMPARE(editor.value("windowNumber"), QJsonValue(0x400001));
    QCOMPARE(editor.value("isActive"), QJsonValue(true));
    QCOMPARE(editor.value("bounds").toObject().value("width"), QJsonValue(640));
    const QJsonObject terminal = windows[1].toObject();
    QVERIFY(terminal.value("bundleIdentifier").isNull());
    QVERIFY(terminal.value("windowNumber").isNull());
    QCOMPARE(terminal.value("isMinimized"), QJsonValue(true));
    QCOMPARE(json.value("activeWindowID"), editor.value("id"));

    const QJsonArray sections = json.value("sections").toArray();
    QCOMPARE(sections.size(), 2);
    QCOMPARE(sections[1].toObject().value("id"), QJsonValue("xterm"));
    QCOMPARE(sections[1].toObject().value("windows"), QJsonValue(QJsonArray{"xterm::bash"}));

    const QList<QByteArray> lines = shell::windowListing::toText(manager).split('\n');
    QCOMPARE(lines.value(0), QByteArray("Text Editor (org.gnome.TextEditor)"));
    QCOMPARE(lines.value(1), QStringLiteral("  0x00400001  pid 10  notes — ü.txt [active]").toUtf8());
    QCOMPARE(lines.value(2), QByteArray("xterm"));
    QCOMPARE(lines.value(3), QByteArray("  -  pid 20  bash [minimized]"));
}

QTEST_GUILESS_MAIN(TestListing)
#include "tst_listing.moc"
