// The tray's monitor image and tooltip, drawn from fixed readings.
#include "settings/localizationmanager.h"
#include "sidebar/monitoriconpainter.h"

#include <QDir>
#include <QPainter>
#include <QTest>

using namespace orvella;
using sidebar::MonitorIconPainter;
using sidebar::MonitorReadings;
using Style = MonitorIconPainter::Style;
Q_DECLARE_METATYPE(Style)

namespace {

MonitorReadings sample()
{
    MonitorReadings r;
    r.cpu = 37.4;
    r.memory = 41.6;
    r.disk = 63.0;
    r.network = MonitorReadings::Rates{1572864, 20480};
    r.temperature = 52.2; // no battery: a desktop machine
    return r;
}

MonitorReadings cpuAt(double percent)
{
    MonitorReadings r;
    r.cpu = percent;
    return r;
}

} // namespace

class TestMonitorIconPainter : public QObject
{
    Q_OBJECT
private slots:
    void tooltip_data();
    void tooltip();
    void everyStyleDrawsAndAbsenceIsVisible_data();
    void everyStyleDrawsAndAbsenceIsVisible();
    void barsFillFromTheBottomInTheLevelsColour();
};

void TestMonitorIconPainter::tooltip_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QStringList>("metrics");
    QTest::addColumn<QString>("expected");
    QTest::newRow("in the chosen order")
        << "en" << QStringList{"temp", "mem", "disk"} << "Temperature: 52 °C\nMemory: 42%\nDisk: 63%";
    QTest::newRow("network both ways") << "en" << QStringList{"net"} << "Network: ↓ 1.5 MB/s  ↑ 20 KB/s";
    QTest::newRow("no battery, no line") << "en" << QStringList{"bat", "mem"} << "Memory: 42%";
    QTest::newRow("unknown and repeated tags") << "en" << QStringList{"gpu", "cpu", "cpu"} << "CPU: 37%";
    QTest::newRow("nothing chosen counts as cpu") << "en" << QStringList{} << "CPU: 37%";
    QTest::newRow("german labels") << "de" << QStringList{"mem", "temp"}
                                   << "Arbeitsspeicher: 42%\nTemperatur: 52 °C";
}

void TestMonitorIconPainter::tooltip()
{
    QFETCH(QString, language);
    QFETCH(QStringList, metrics);
    QFETCH(QString, expected);
    settings::LocalizationManager::shared().setLanguage(language);
    QCOMPARE(sidebar::tooltipText(sample(), metrics), expected);
    QCOMPARE(sidebar::tooltipText(MonitorReadings(), metrics), QString());
    settings::LocalizationManager::shared().setLanguage(QStringLiteral("en"));
}

void TestMonitorIconPainter::everyStyleDrawsAndAbsenceIsVisible_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<Style>("style");
    QTest::newRow("bars") << "style8" << Style::Bars;
    QTest::newRow("text") << "style3" << Style::Text;
    QTest::newRow("ring") << "style6" << Style::Ring;
}

// Each style draws something of its own, readings absent draw less than readings
// present, and the pictures are kept for a look at them (light and dark panels).
void TestMonitorIconPainter::everyStyleDrawsAndAbsenceIsVisible()
{
    QFETCH(QString, tag);
    QFETCH(Style, style);
    QCOMPARE(MonitorIconPainter::styleForTag(tag), style);
    const QStringList metrics{"cpu", "mem", "disk", "net"};
    const QImage full = MonitorIconPainter::paint(sample(), metrics, style, Qt::black, 44);
    const QImage none = MonitorIconPainter::paint(MonitorReadings(), metrics, style, Qt::black, 44);
    QCOMPARE(full.size(), QSize(44, 44));
    QVERIFY(none != full);
    for (Style other : {Style::Bars, Style::Text, Style::Ring})
        QVERIFY(other == style || full != MonitorIconPainter::paint(sample(), metrics, other, Qt::black, 44));

    const QString dir = qEnvironmentVariable("ORVELLA_SCREENSHOT_DIR", QDir::currentPath());
    for (const auto &[name, text, panel] :
         {std::tuple{"light", QColor(Qt::black), QColor(0xee, 0xee, 0xee)},
          std::tuple{"dark", QColor(Qt::white), QColor(0x30, 0x30, 0x30)}}) {
        QImage strip(44 * 3 + 16, 48, QImage::Format_ARGB32);
        strip.fill(panel);
        QPainter p(&strip);
        p.drawImage(2, 2, MonitorIconPainter::paint(sample(), metrics, style, text, 44));
        p.drawImage(50, 2, MonitorIconPainter::paint(cpuAt(96), {"cpu"}, style, text, 44));
        p.drawImage(98, 13, MonitorIconPainter::paint(sample(), metrics, style, text, 22));
        p.drawImage(124, 13, MonitorIconPainter::paint(MonitorReadings(), metrics, style, text, 22));
        p.end();
        QVERIFY(strip.save(
            QDir(dir).filePath(QStringLiteral("tray-%1-%2.png").arg(QTest::currentDataTag(), name))));
    }
}

void TestMonitorIconPainter::barsFillFromTheBottomInTheLevelsColour()
{
    const auto red = [](const QImage &image, int y) {
        const QColor c = image.pixelColor(22, y);
        return c.red() > 200 && c.green() < 100 && c.alpha() > 200;
    };
    const auto green = [](const QImage &image, int y) {
        const QColor c = image.pixelColor(22, y);
        return c.green() > 150 && c.red() < 100 && c.alpha() > 200;
    };
    const QImage low = MonitorIconPainter::paint(cpuAt(25), {"cpu"}, Style::Bars, Qt::black, 44);
    QVERIFY(green(low, 37));
    QVERIFY(!green(low, 8)); // the empty part of the track
    const QImage high = MonitorIconPainter::paint(cpuAt(96), {"cpu"}, Style::Bars, Qt::black, 44);
    QVERIFY(red(high, 8) && red(high, 37));
    const QImage mono = MonitorIconPainter::paint(cpuAt(96), {"cpu"}, Style::Bars, Qt::blue, 44, true);
    QCOMPARE(mono.pixelColor(22, 20), QColor(Qt::blue));
    // A low battery is the alarming end.
    MonitorReadings battery;
    battery.battery = 10;
    QVERIFY(red(MonitorIconPainter::paint(battery, {"bat"}, Style::Bars, Qt::black, 44), 38));
}

QTEST_MAIN(TestMonitorIconPainter)
#include "tst_monitoriconpainter.moc"
