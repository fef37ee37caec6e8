// Tiling geometry: positions, the usable area beside the sidebar, the column, height
// sharing; finding a window's element again; the new-window shortcut table.
#include "actions/axwindowmatch.h"
#include "actions/newwindowshortcut.h"
#include "actions/screenpixels.h"
#include "actions/tilegeometry.h"
#include "tracking/trackingstate.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <cmath>

using namespace orvella;
using namespace orvella::actions;
using platform::ScreenInfo;

namespace {

const QRectF kScreen(0, 0, 1000, 800);
const QRectF kVisible(0, 25, 1000, 775);

platform::AppWindow element(const QString &title, std::optional<qint64> number)
{
    return {title, QRectF(0, 0, 400, 300), false, number};
}

} // namespace

class TestTileGeometry : public QObject
{
    Q_OBJECT
private slots:
    void positionFrames_data();
    void positionFrames();
    void positionNames();
    void usableArea_data();
    void usableArea();
    void scaledScreenInDevicePixels();
    void column_data();
    void column();
    void heightSharing_data();
    void heightSharing();
    void verification();
    void findsElement_data();
    void findsElement();
    void newWindowShortcuts_data();
    void newWindowShortcuts();
};

void TestTileGeometry::positionFrames_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<QRectF>("frame");
    // A 1000 x 800 area whose origin is not the screen's: every x and y is offset.
    const auto at = [](double x, double y, double w, double h) { return QRectF(10 + x, 20 + y, w, h); };
    QTest::newRow("leftHalf") << int(TilePosition::leftHalf) << at(0, 0, 500, 800);
    QTest::newRow("rightHalf") << int(TilePosition::rightHalf) << at(500, 0, 500, 800);
    QTest::newRow("topHalf") << int(TilePosition::topHalf) << at(0, 0, 1000, 400);
    QTest::newRow("bottomHalf") << int(TilePosition::bottomHalf) << at(0, 400, 1000, 400);
    QTest::newRow("topLeft") << int(TilePosition::topLeft) << at(0, 0, 500, 400);
    QTest::newRow("topRight") << int(TilePosition::topRight) << at(500, 0, 500, 400);
    QTest::newRow("bottomLeft") << int(TilePosition::bottomLeft) << at(0, 400, 500, 400);
    QTest::newRow("bottomRight") << int(TilePosition::bottomRight) << at(500, 400, 500, 400);
    QTest::newRow("maximize") << int(TilePosition::maximize) << at(0, 0, 1000, 800);
    QTest::newRow("center") << int(TilePosition::center) << at(125, 100, 750, 600);
}

void TestTileGeometry::positionFrames()
{
    QFETCH(int, position);
    QFETCH(QRectF, frame);
    QCOMPARE(tilePosition::frame(TilePosition(position), QRectF(10, 20, 1000, 800)), frame);
}

void TestTileGeometry::positionNames()
{
    QStringList raw;
    for (TilePosition p : kAllTilePositions) {
        raw.append(tilePosition::rawValue(p));
        QCOMPARE(tilePosition::fromRawValue(tilePosition::rawValue(p)), std::optional(p));
    }
    QCOMPARE(raw, QStringList({"leftHalf", "rightHalf", "topHalf", "bottomHalf", "topLeft", "topRight",
                               "bottomLeft", "bottomRight", "maximize", "center"}));
    QCOMPARE(tilePosition::fromRawValue(QStringLiteral("LeftHalf")), std::nullopt);
    QCOMPARE(tilePosition::fromRawValue(QString()), std::nullopt);
    QCOMPARE(tileAlignmentFromString(QStringLiteral("center")), std::optional(TileAlignment::center));
    QCOMPARE(tileAlignmentFromString(QStringLiteral("middle")), std::nullopt);
}

void TestTileGeometry::usableArea_data()
{
    QTest::addColumn<QList<ScreenInfo>>("screens");
    QTest::addColumn<double>("width");
    QTest::addColumn<QString>("position");
    QTest::addColumn<std::optional<QPointF>>("sidebarScreen");
    QTest::addColumn<QList<QRectF>>("windows");
    QTest::addColumn<std::optional<QRectF>>("area");
    const auto row = [](const char *name, const QList<ScreenInfo> &screens, double width,
                        const char *position, std::optional<QPointF> sidebarScreen,
                        const QList<QRectF> &windows, std::optional<QRectF> area) {
        QTest::newRow(name) << screens << width << QString::fromLatin1(position) << sidebarScreen << windows
                            << area;
    };
    const QList<ScreenInfo> one{{kScreen, kVisible, true}};
    const QRectF leftScreen(-1200, 0, 1200, 900);
    const QList<ScreenInfo> two{{leftScreen, leftScreen, false}, {kScreen, kVisible, true}};
    const QList<QRectF> onTheLeft{QRectF(-1000, 100, 400, 300), QRectF(-300, 0, 400, 300)};
    row("sidebar left", one, 250, "left", {}, {}, QRectF(250, 25, 750, 775));
    row("sidebar right", one, 250, "right", {}, {}, QRectF(0, 25, 750, 775));
    // Regression: with the panel's edge reserved, the work area lost the sidebar twice.
    row("reserved left edge: counted once", {{kScreen, QRectF(250, 25, 750, 775), true}}, 250, "left", {}, {},
        QRectF(250, 25, 750, 775));
    row("reserved right edge: counted once", {{kScreen, QRectF(0, 25, 750, 775), true}}, 250, "right", {}, {},
        QRectF(0, 25, 750, 775));
    row("any other position is the right edge", one, 250, "bottom", {}, {}, QRectF(0, 25, 750, 775));
    row("sidebar on the main screen", two, 250, "left", QPointF(0, 0), onTheLeft, QRectF(250, 25, 750, 775));
    row("sidebar on another screen: tiled there", two, 250, "left", QPointF(-1200, 0), {},
        QRectF(-950, 0, 950, 900));
    row("sidebar's screen gone: the main one, whole", two, 250, "left", QPointF(500, 0), onTheLeft, kVisible);
    row("no sidebar width", one, 0, "left", {}, {}, kVisible);
    row("no sidebar: where most windows are (a window counts where most of it is)", two, 0, "left", {},
        onTheLeft + QList<QRectF>{QRectF(100, 100, 400, 300)}, leftScreen);
    row("no sidebar, a tie: the main screen", two, 0, "left", {},
        {QRectF(-1000, 100, 400, 300), QRectF(100, 100, 400, 300), QRectF(5000, 0, 10, 10)}, kVisible);
    row("first screen without a main one",
        {{kScreen, kVisible, false}, {QRectF(1000, 0, 800, 600), QRectF(1000, 0, 800, 600), false}}, 0,
        "left", {}, {}, kVisible);
    row("no screens", {}, 250, "left", {}, {}, {});
}

void TestTileGeometry::usableArea()
{
    QFETCH(QList<ScreenInfo>, screens);
    QFETCH(double, width);
    QFETCH(QString, position);
    QFETCH(std::optional<QPointF>, sidebarScreen);
    QFETCH(QList<QRectF>, windows);
    QFETCH(std::optional<QRectF>, area);
    QCOMPARE(actions::usableArea(screens, {width, position, sidebarScreen}, windows), area);
}

// At a scale of 2 the sidebar took only half its width off the area: Qt halves screen sizes
// (the offscreen screen is 800x800 device pixels), X does not.
void TestTileGeometry::scaledScreenInDevicePixels()
{
    QScreen *screen = QGuiApplication::primaryScreen();
    QCOMPARE(screen->geometry(), QRect(0, 0, 400, 400));
    const ScreenInfo device = deviceScreen(*screen);
    QCOMPARE(device.frame, QRectF(0, 0, 800, 800));
    QCOMPARE(device.visibleFrame, QRectF(0, 0, 800, 800));
    tracking::TrackingState state;
    state.sidebarScreen = screen;
    state.sidebarWidth = 250;
    const SidebarPlacement sidebar = deviceSidebar(state);
    QCOMPARE(sidebar.width, 500.0);
    QCOMPARE(sidebar.screenOrigin, std::optional(QPointF(0, 0)));
    QCOMPARE(actions::usableArea({device}, sidebar), std::optional(QRectF(500, 0, 300, 800)));
}

void TestTileGeometry::column_data()
{
    QTest::addColumn<int>("alignment");
    QTest::addColumn<double>("fraction");
    QTest::addColumn<int>("windows");
    QTest::addColumn<QList<double>>("xWidthRowHeight");
    using L = QList<double>;
    QTest::newRow("left half") << int(TileAlignment::left) << 0.5 << 3 << L{100, 500, 200};
    QTest::newRow("center half") << int(TileAlignment::center) << 0.5 << 3 << L{350, 500, 200};
    QTest::newRow("right 30%") << int(TileAlignment::right) << 0.3 << 2 << L{800, 300, 300};
    QTest::newRow("too narrow is 10%") << int(TileAlignment::right) << 0.05 << 1 << L{1000, 100, 600};
    QTest::newRow("too wide is 100%") << int(TileAlignment::center) << 1.5 << 4 << L{100, 1000, 150};
    QTest::newRow("not a number is the whole width")
        << int(TileAlignment::left) << std::nan("") << 2 << L{100, 1000, 300};
    QTest::newRow("one window, whole height") << int(TileAlignment::left) << 0.5 << 1 << L{100, 500, 600};
}

void TestTileGeometry::column()
{
    QFETCH(int, alignment);
    QFETCH(double, fraction);
    QFETCH(int, windows);
    QFETCH(QList<double>, xWidthRowHeight);
    const ColumnPlan plan =
        planColumn(QRectF(100, 50, 1000, 600), TileAlignment(alignment), fraction, windows);
    QCOMPARE((QList<double>{plan.columnX, plan.columnWidth, plan.rowHeight}), xWidthRowHeight);
}

void TestTileGeometry::heightSharing_data()
{
    QTest::addColumn<double>("area");
    QTest::addColumn<QList<double>>("planned");
    QTest::addColumn<QList<bool>>("fixed");
    QTest::addColumn<QList<double>>("actual");
    QTest::addColumn<QList<double>>("plannedAfter");
    QTest::addColumn<QList<bool>>("fixedAfter");
    QTest::addColumn<bool>("changed");
    // Fixed heights are written as "F" for each fixed window, "." for each flexible one.
    const auto flags = [](const char *text) {
        QList<bool> out;
        for (const char *c = text; *c; ++c)
            out.append(*c == 'F');
        return out;
    };
    const auto row = [&](const char *name, double area, const QList<double> &planned, const char *fixed,
                         const QList<double> &actual, const QList<double> &after, const char *fixedAfter) {
        QTest::newRow(name) << area << planned << flags(fixed) << actual << after << flags(fixedAfter)
                            << (fixedAfter != QByteArray(fixed) || after != planned);
    };
    row("everyone fits: no change", 600, {200, 200, 200}, "...", {200, 201, 199}, {200, 200, 200}, "...");
    row("2 points over is still flexible", 600, {200, 200, 200}, "...", {202, 200, 200}, {200, 200, 200},
        "...");
    row("a tall window becomes fixed, the others share the rest", 600, {200, 200, 200}, "...",
        {200, 300, 200}, {150, 300, 150}, ".F.");
    row("never under 50 points, even past the screen", 800, {80, 80, 80, 80, 80}, ".....",
        {300, 300, 300, 80, 80}, {300, 300, 300, 50, 50}, "FFF..");
    row("fixed stays fixed though it shrank", 600, {300, 150, 150}, "F..", {100, 150, 150}, {300, 150, 150},
        "F..");
    row("all fixed: nothing to share", 600, {200, 200}, "..", {400, 400}, {400, 400}, "FF");
}

void TestTileGeometry::heightSharing()
{
    QFETCH(double, area);
    QFETCH(QList<double>, planned);
    QFETCH(QList<bool>, fixed);
    QFETCH(QList<double>, actual);
    QFETCH(QList<double>, plannedAfter);
    QFETCH(QList<bool>, fixedAfter);
    QFETCH(bool, changed);
    QCOMPARE(shareHeights(area, actual, planned, fixed), changed);
    QCOMPARE(planned, plannedAfter);
    QCOMPARE(fixed, fixedAfter);
}

// What the verification pass after tiling compares: planned heights stand in for unread ones,
// and a column that overflows its monitor piles up at the bottom instead of leaving it.
void TestTileGeometry::verification()
{
    const QRectF area(0, 25, 1000, 775);
    QCOMPARE(expectedTops(area, {100, 0, 120}, {90, 80, 70}), QList<double>({25, 125, 205}));
    QCOMPARE(expectedTops(area, {}, {}), QList<double>());
    QCOMPARE(stackTops(area, {300, 300, 300, 50}), QList<double>({25, 325, 625, 750}));
    QCOMPARE(stackTops(area, {790, 20, 300}), QList<double>({25, 780, 750}));
    const QRectF a(10, 10, 100, 100);
    QVERIFY(framesMatch(a, QRectF(13, 7, 103, 97), 3));
    QVERIFY(!framesMatch(a, QRectF(10, 10, 100, 104), 3));
    QVERIFY(!framesMatch(a, QRectF(6, 10, 100, 100), 3));
}

void TestTileGeometry::findsElement_data()
{
    QTest::addColumn<std::optional<qint64>>("number");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("axIndex");
    QTest::addColumn<QList<platform::AppWindow>>("elements");
    QTest::addColumn<int>("expected"); // index into elements, -1 for none
    const auto row = [](const char *name, std::optional<qint64> number, const char *title, int axIndex,
                        const QList<platform::AppWindow> &elements, int expected) {
        QTest::newRow(name) << number << QString::fromLatin1(title) << axIndex << elements << expected;
    };
    const std::optional<qint64> none;
    row("by number, whatever the title", 7, "Old title", 0, {element("Doc", 5), element("New title", 7)}, 1);
    row("a number no longer listed is gone, even with its title taken", 7, "Doc", 0, {element("Doc", 5)}, -1);
    row("elements without numbers: by title", 7, "Doc", 0, {element("Other", none), element("Doc", none)}, 1);
    row("no number: by title", none, "Doc", 0, {element("x", 1), element("Doc", 2)}, 1);
    row("equal titles: the one nearest its old place", none, "Untitled", 2,
        {element("Untitled", none), element("x", none), element("Untitled", none)}, 2);
    row("no title match", none, "Doc", 0, {element("Other", none)}, -1);
    row("empty list", 7, "Doc", 0, {}, -1);
}

void TestTileGeometry::findsElement()
{
    QFETCH(std::optional<qint64>, number);
    QFETCH(QString, title);
    QFETCH(int, axIndex);
    QFETCH(QList<platform::AppWindow>, elements);
    QFETCH(int, expected);
    tracking::WindowItem item;
    item.windowNumber = number;
    item.windowTitle = title;
    item.axIndex = axIndex;
    const auto found = findAXWindow(item, elements);
    QCOMPARE(found.has_value(), expected >= 0);
    if (found) {
        QCOMPARE(found->title, elements[expected].title);
        QCOMPARE(found->windowNumber, elements[expected].windowNumber);
    }
}

void TestTileGeometry::newWindowShortcuts_data()
{
    QTest::addColumn<QString>("bundleID");
    QTest::addColumn<bool>("shift");
    QTest::addColumn<QString>("description");
    // Which editors take Shift is a list of names: one known directly, one through its alias.
    QTest::newRow("VS Code") << "com.microsoft.VSCode" << true << "Ctrl+Shift+N";
    QTest::newRow("VS Code as packaged on Linux") << "code" << true << "Ctrl+Shift+N";
    QTest::newRow("terminal") << "org.gnome.Terminal" << true << "Ctrl+Shift+N";
    QTest::newRow("terminal, id in another case") << "Alacritty" << true << "Ctrl+Shift+N";
    QTest::newRow("anyone else") << "org.mozilla.firefox" << false << "Ctrl+N";
    QTest::newRow("no identifier") << "" << false << "Ctrl+N";
}

void TestTileGeometry::newWindowShortcuts()
{
    QFETCH(QString, bundleID);
    QFETCH(bool, shift);
    QFETCH(QString, description);
    const NewWindowShortcut shortcut = newWindowShortcut(bundleID);
    QCOMPARE(shortcut.keyCode, 45);
    QCOMPARE(shortcut.modifiers, shift ? quint64(0x120000) : quint64(0x100000));
    QCOMPARE(shortcut.description(), description);
    const platform::KeyShortcut keys = shortcut.keyShortcut();
    QCOMPARE(keys.keysym, quint32(0x6e));
    QVERIFY(keys.control);
    QCOMPARE(keys.shift, shift);
    // A key the table cannot type leaves only the modifiers.
    QCOMPARE((NewWindowShortcut{70000, NewWindowShortcut::kCommand}.keyShortcut().keysym), quint32(0));
}

int main(int argc, char **argv)
{
    // Every geometry here is in device pixels; the scale only shows where Qt's screens come in.
    qputenv("QT_SCALE_FACTOR", "2");
    QGuiApplication app(argc, argv);
    TestTileGeometry test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_tilegeometry.moc"
