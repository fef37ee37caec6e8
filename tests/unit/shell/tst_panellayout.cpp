// The panel's arithmetic: split columns and section heights, device-pixel snapping, and
// finding the remembered monitor again.
#include "shell/screenidentity.h"
#include "sidebar/splitlayout.h"

#include <QTest>

#include <algorithm>

using namespace orvella;
using namespace orvella::shell;
using namespace orvella::sidebar;

namespace {

tracking::WindowCategory section(const QString &id, int windows, bool collapsed = false)
{
    tracking::WindowCategory c;
    c.id = id;
    c.isCollapsed = collapsed;
    for (int i = 0; i < windows; ++i)
        c.windows.append(tracking::WindowItem{});
    return c;
}

} // namespace

Q_DECLARE_METATYPE(orvella::tracking::WindowCategory)
Q_DECLARE_METATYPE(orvella::shell::ScreenIdentity)

class TestPanelLayout : public QObject
{
    Q_OBJECT
private slots:
    void heights_data();
    void heights();
    void columns_data();
    void columns();
    void snapping_data();
    void snapping();
    void screenMatching_data();
    void screenMatching();
};

void TestPanelLayout::heights_data()
{
    QTest::addColumn<tracking::WindowCategory>("category");
    QTest::addColumn<bool>("subtitle");
    QTest::addColumn<double>("height");
    QTest::addColumn<double>("viewHeight");
    // Defaults: header 12 + 2x3 + 18 = 36; row 10 + 2x3 + 16 = 32; cards add 18 for the panel.
    QTest::newRow("collapsed") << section("app", 5, true) << false << 48.0 << 44.0;
    QTest::newRow("empty shelf") << section("shelf-1", 0) << false << 96.0 << 88.0;
    QTest::newRow("three windows") << section("app", 3) << false << 36.0 + 96 + 18 << 36.0 + 96 + 12;
    QTest::newRow("subtitles") << section("app", 2) << true << 36.0 + 88 + 18 << 36.0 + 88 + 12;
}

void TestPanelLayout::heights()
{
    QFETCH(tracking::WindowCategory, category);
    QFETCH(bool, subtitle);
    QFETCH(double, height);
    QFETCH(double, viewHeight);
    splitLayout::Metrics metrics;
    metrics.showSubtitle = subtitle;
    QCOMPARE(splitLayout::estimatedCategoryHeight(category, metrics), height);
    QCOMPARE(splitLayout::estimatedCategoryHeight(category, metrics, splitLayout::Estimate::View),
             viewHeight);
}

void TestPanelLayout::columns_data()
{
    QTest::addColumn<QList<tracking::WindowCategory>>("sections");
    QTest::addColumn<double>("height");
    QTest::addColumn<bool>("active");
    QTest::addColumn<int>("count");
    const QList<tracking::WindowCategory> six(6, section("app", 10)); // 374 each
    QTest::newRow("single column whatever the height") << six << 800.0 << false << 1;
    QTest::newRow("two per column under 792") << six << 800.0 << true << 3;
    QTest::newRow("small screens still take 220")
        << QList{section("a", 4), section("b", 1)} << 200.0 << true << 2;
    QTest::newRow("a tall section gets a column of its own")
        << QList{section("a", 1), section("b", 40), section("c", 1)} << 800.0 << true << 3;
    QTest::newRow("nothing shown") << QList<tracking::WindowCategory>{} << 800.0 << true << 1;
}

void TestPanelLayout::columns()
{
    QFETCH(QList<tracking::WindowCategory>, sections);
    QFETCH(double, height);
    QFETCH(bool, active);
    QFETCH(int, count);
    QCOMPARE(splitLayout::columnCount(sections, height, active, {}), count);
    // The view packs with its smaller estimate: never more columns than the panel has.
    if (active && !sections.isEmpty()) {
        const QList<int> packed = splitLayout::packColumns(sections, height, {}, splitLayout::Estimate::View);
        QVERIFY(packed.last() + 1 <= count);
        QVERIFY(std::is_sorted(packed.cbegin(), packed.cend()));
    }
}

void TestPanelLayout::snapping_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("snapped");
    QTest::newRow("1") << 1.0 << 300.4 << 300.0;
    QTest::newRow("1.5") << 1.5 << 300.25 << 300.0;
    QTest::newRow("2") << 2.0 << 300.25 << 300.5;
    QTest::newRow("0 counts as 1") << 0.0 << 300.6 << 301.0;
}

void TestPanelLayout::snapping()
{
    QFETCH(double, width);
    QFETCH(double, scale);
    QFETCH(double, snapped);
    const QRectF out = splitLayout::snapped(QRectF(0, 0, width, 100), scale);
    QCOMPARE(out.width(), snapped);
    QVERIFY(!splitLayout::differs(out, out.adjusted(0.4, 0, 0, 0)));
    QVERIFY(splitLayout::differs(out, out.adjusted(0, 0, 0.6, 0)));
}

void TestPanelLayout::screenMatching_data()
{
    const ScreenIdentity left{QStringLiteral("DP-1"), QStringLiteral("DEL/U2720Q/ABC"),
                              QRect(0, 0, 2560, 1440)};
    const ScreenIdentity right{QStringLiteral("HDMI-1"), QStringLiteral("LG/27UL/XYZ"),
                               QRect(2560, 0, 1920, 1080)};
    const ScreenIdentity virtualOne{QStringLiteral("screen"), QString(), QRect(0, 0, 1280, 800)};
    QTest::addColumn<ScreenIdentity>("saved");
    QTest::addColumn<QList<ScreenIdentity>>("now");
    QTest::addColumn<int>("match");
    QTest::newRow("same monitor after the order changed") << right << QList{right, left} << 0;
    QTest::newRow("monitor on another cable")
        << left << QList{right, ScreenIdentity{"DP-2", left.edid, {}}} << 1;
    QTest::newRow("connector now drives another monitor")
        << left << QList{right, ScreenIdentity{"DP-1", "ACME/X/1", left.geometry}} << -1;
    QTest::newRow("no EDID: connector") << virtualOne << QList{right, ScreenIdentity{"screen", {}, {}}} << 1;
    QTest::newRow("unplugged") << right << QList{left} << -1;
}

void TestPanelLayout::screenMatching()
{
    QFETCH(ScreenIdentity, saved);
    QFETCH(QList<ScreenIdentity>, now);
    QFETCH(int, match);
    QCOMPARE(saved.bestMatch(now), match);
    QCOMPARE(ScreenIdentity::fromJson(saved.toJson())->bestMatch({saved}), 0);
}

QTEST_GUILESS_MAIN(TestPanelLayout)
#include "tst_panellayout.moc"
