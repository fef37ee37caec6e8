// The monitor's pure parts: kernel text parsers, processor load, network rates, and its texts
// at every boundary of their unit table.
#include "monitor/cpuload.h"
#include "monitor/formatters.h"
#include "monitor/networkrate.h"
#include "platform/linux/kernelparsers.h"

#include <QTest>

using namespace orvella::monitor;
using namespace orvella::platform;

namespace {

const QDateTime t0(QDate(2026, 3, 1), QTime(10, 0), Qt::UTC);

InterfaceEntry link(const char *name, quint32 rx, quint32 tx)
{
    return {QString::fromLatin1(name), InterfaceEntry::Kind::Link, rx, tx, {}};
}

InterfaceEntry ipv4(const char *name, const char *address)
{
    return {QString::fromLatin1(name), InterfaceEntry::Kind::IPv4, 0, 0, QString::fromLatin1(address)};
}

} // namespace

class TestMonitorParsers : public QObject
{
    Q_OBJECT
private slots:
    void procStat_data();
    void procStat();
    void memInfo_data();
    void memInfo();
    void memoryPressure_data();
    void memoryPressure();
    void names_data();
    void names();
    void cpuLoad();
    void networkRate_data();
    void networkRate();
    void localAddress_data();
    void localAddress();
    void bytes_data();
    void bytes();
    void uptime_data();
    void uptime();
};

void TestMonitorParsers::procStat_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("processors");   // -1: absent
    QTest::addColumn<quint64>("cpu0Busy"); // user + system + nice of the first processor
    QTest::newRow("two processors, aggregate skipped")
        << QByteArray("cpu  30 3 20 100 0 0 0 0 0 0\ncpu0 10 1 5 50 0\ncpu1 20 2 15 50 0\nintr 1 2\n") << 2
        << quint64(16);
    QTest::newRow("only the four first counters needed") << QByteArray("cpu0 7 1 2 90\n") << 1 << quint64(10);
    QTest::newRow("truncated last line dropped")
        << QByteArray("cpu  1 1 1 1\ncpu0 10 1 5 50 0 0\ncpu1 20 2") << 1 << quint64(16);
    QTest::newRow("non-numeric counter") << QByteArray("cpu0 10 x 5 50\n") << -1 << quint64(0);
    QTest::newRow("negative counter") << QByteArray("cpu0 10 -1 5 50\n") << -1 << quint64(0);
    QTest::newRow("aggregate only") << QByteArray("cpu  1 2 3 4\n") << -1 << quint64(0);
    QTest::newRow("empty") << QByteArray() << -1 << quint64(0);
    QTest::newRow("binary garbage") << QByteArray("\0\xff\x01cpu", 6) << -1 << quint64(0);
}

void TestMonitorParsers::procStat()
{
    QFETCH(QByteArray, text);
    QFETCH(int, processors);
    QFETCH(quint64, cpu0Busy);
    const auto ticks = parsers::procStat(text);
    QCOMPARE(ticks.has_value(), processors >= 0);
    if (!ticks)
        return;
    QCOMPARE(ticks->size(), processors);
    const CpuTicks &first = ticks->constFirst();
    QCOMPARE(first.user + first.system + first.nice, cpu0Busy);
}

void TestMonitorParsers::memInfo_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QList<double>>("gbUsagePressureCompressed");
    QTest::addColumn<quint64>("swapUsed");
    const auto row = [](const char *name, const char *text, QList<double> values, quint64 swapUsed = 0) {
        QTest::newRow(name) << QByteArray(text) << values << swapUsed;
    };
    // 4 GiB = 4194304 kB; used = MemTotal - MemAvailable.
    row("all fields",
        "MemTotal: 4194304 kB\nMemFree: 1048576 kB\nMemAvailable: 3145728 kB\nActive: 1048576 kB\n"
        "Inactive: 1048576 kB\nUnevictable: 524288 kB\nZswap: 524288 kB\nSwapTotal: 2048 kB\nSwapFree: 1024 "
        "kB\n",
        {4, 25, 50, 0.5}, 1048576);
    row("no zswap on older kernels",
        "MemTotal: 4194304 kB\nMemFree: 2097152 kB\nMemAvailable: 2621440 kB\nActive: 1048576 kB\n"
        "Inactive: 0 kB\n",
        {4, 37.5, 50, 0});
    row("no MemAvailable before 3.14: free memory and caches",
        "MemTotal: 4194304 kB\nMemFree: 1048576 kB\nBuffers: 262144 kB\nCached: 524288 kB\n"
        "SReclaimable: 262144 kB\n",
        {4, 50, 75, 0});
    row("swap free above total reads as none", "MemTotal: 4194304 kB\nSwapTotal: 10 kB\nSwapFree: 20 kB\n",
        {4, 0, 100, 0});
    row("counts beyond total clamp to 0", "MemTotal: 1024 kB\nMemAvailable: 4096 kB\nMemFree: 4096 kB\n",
        {1024.0 / 1048576, 0, 0, 0});
    row("no MemTotal: all zero", "MemFree: 1048576 kB\nActive: 1048576 kB\nSwapTotal: 8 kB\n", {0, 0, 0, 0});
    row("garbled value", "MemTotal: lots kB\nActive: 1 kB\n", {0, 0, 0, 0});
    row("empty", "", {0, 0, 0, 0});
}

void TestMonitorParsers::memInfo()
{
    QFETCH(QByteArray, text);
    QFETCH(QList<double>, gbUsagePressureCompressed);
    QFETCH(quint64, swapUsed);
    const MemoryInfo info = parsers::memInfo(text);
    QCOMPARE((QList<double>{info.totalGB, info.usage, info.pressure, info.compressedGB}),
             gbUsagePressureCompressed);
    QCOMPARE(info.swapUsed, swapUsed);
}

void TestMonitorParsers::memoryPressure_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<double>("percent"); // -1: absent
    QTest::newRow("as the kernel writes it")
        << QByteArray("some avg10=1.37 avg60=0.84 avg300=0.21 total=48213370\n"
                      "full avg10=0.52 avg60=0.30 avg300=0.07 total=20117743\n")
        << 1.37;
    QTest::newRow("the some line wherever it is")
        << QByteArray("full avg10=9.00 avg60=0 avg300=0 total=1\nsome avg10=0.00 avg60=0 avg300=0 total=1\n")
        << 0.0;
    QTest::newRow("above 100 clamps") << QByteArray("some avg10=250.00 avg60=0.00\n") << 100.0;
    QTest::newRow("only a full line")
        << QByteArray("full avg10=3.00 avg60=1.00 avg300=0.50 total=9\n") << -1.0;
    QTest::newRow("no avg10 field") << QByteArray("some avg60=1.00 avg300=0.50 total=9\n") << -1.0;
    QTest::newRow("garbled figure") << QByteArray("some avg10=n/a avg60=1.00\n") << -1.0;
    QTest::newRow("negative figure") << QByteArray("some avg10=-1.00\n") << -1.0;
    QTest::newRow("empty") << QByteArray() << -1.0;
}

void TestMonitorParsers::memoryPressure()
{
    QFETCH(QByteArray, text);
    QFETCH(double, percent);
    QCOMPARE(parsers::memoryPressure(text).value_or(-1), percent);
}

// The kernel's release ("kernel") and the firmware's DMI fields ("model": vendor|product|
// version|family|board) made into what the monitor shows.
void TestMonitorParsers::names_data()
{
    QTest::addColumn<QString>("parser");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *name, const char *parser, const char *text, const char *expected) {
        QTest::newRow(name) << QString::fromLatin1(parser) << QString::fromLatin1(text)
                            << QString::fromLatin1(expected);
    };
    row("debian", "kernel", "6.1.0-13-amd64\n", "6.1.0");
    row("four numbers", "kernel", "5.15.153.1-microsoft-standard-WSL2", "5.15.153");
    row("rc without patch", "kernel", "6.8-rc3", "6.8.0");
    row("major only", "kernel", "7", "7.0.0");
    row("not a release", "kernel", "linux", "");
    row("dell", "model", "Dell Inc.|XPS 13 9310||XPS|0MRT12", "XPS 13 9310");
    row("lenovo type code", "model",
        "LENOVO|20XW0026GE|ThinkPad X1 Carbon Gen 9|ThinkPad X1 Carbon Gen 9|20XW0026GE",
        "ThinkPad X1 Carbon Gen 9");
    row("lenovo without version", "model", "LENOVO|20XW0026GE|||", "20XW0026GE");
    row("board of a self-built desktop", "model",
        "System manufacturer|System Product Name|System Version|To be filled by O.E.M.|PRIME B450M-A",
        "PRIME B450M-A");
    row("family when the name is a placeholder", "model", "Dell Inc.|System Product Name||Inspiron|",
        "Inspiron");
    row("only placeholders", "model",
        "Default string|Default string|Default string|Default string|Default string", "");
}

void TestMonitorParsers::names()
{
    QFETCH(QString, parser);
    QFETCH(QString, text);
    QFETCH(QString, name);
    const QStringList f = text.split(u'|');
    QCOMPARE(parser == QLatin1String("kernel") ? parsers::kernelVersion(text.toLatin1())
                                               : parsers::friendlyModelName({f[0], f[1], f[2], f[3], f[4]}),
             name);
}

void TestMonitorParsers::cpuLoad()
{
    CpuLoad load;
    QCOMPARE(load.update(std::nullopt), 0.0);
    QCOMPARE(load.update(QList<CpuTicks>{{0, 0, 0, 0, 0}}), 0.0); // total < 1
    QCOMPARE(load.update(QList<CpuTicks>{{0, 10, 0, 10, 0}}), 50.0);
    // A failed read keeps the previous sample, so the next one still measures an interval.
    QCOMPARE(load.update(std::nullopt), 0.0);
    QCOMPARE(load.update(QList<CpuTicks>{{0, 20, 0, 10, 0}}), 100.0);
    // A processor that came online has no interval yet; one whose counters went back
    // (replaced) counts nothing instead of wrapping to a huge number.
    QCOMPARE(load.update(QList<CpuTicks>{{0, 20, 0, 20, 0}, {1, 5000, 0, 0, 0}}), 0.0);
    QCOMPARE(load.update(QList<CpuTicks>{{0, 30, 0, 20, 0}, {1, 10, 0, 10, 0}}), 100.0);
    // All processors' ticks together, not the mean of their loads: busy 10 of 10 and 0 of 30.
    QCOMPARE(load.update(QList<CpuTicks>{{0, 40, 0, 20, 0}, {1, 10, 0, 40, 0}}), 25.0);
}

void TestMonitorParsers::networkRate_data()
{
    QTest::addColumn<qint64>("gapMs");
    QTest::addColumn<quint32>("rx2");
    QTest::addColumn<quint32>("tx2");
    QTest::addColumn<quint64>("down");
    QTest::addColumn<quint64>("up");
    const auto row = [](const char *name, qint64 gapMs, quint32 rx2, quint32 tx2, quint64 down, quint64 up) {
        QTest::newRow(name) << gapMs << rx2 << tx2 << down << up;
    };
    // The first sample has 1000 received and 500 sent on eth0, and 1 GB on loopback.
    row("one second", 1000, 3000, 1500, 2000, 1000);
    row("speed truncated", 3000, 2000, 501, 333, 0);
    row("exactly 0.1 s reports nothing", 100, 9000, 9000, 0, 0);
    row("just over 0.1 s", 101, 2010, 500, 10000, 0);
    row("received counter went down", 1000, 10, 1500, 0, 1000);
    row("32-bit wrap reads as 0", 1000, 0, 0, 0, 0);
}

void TestMonitorParsers::networkRate()
{
    QFETCH(qint64, gapMs);
    QFETCH(quint32, rx2);
    QFETCH(quint32, tx2);
    QFETCH(quint64, down);
    QFETCH(quint64, up);
    NetworkRate rate;
    const NetworkInfo first = rate.update({link("lo", 1u << 30, 1u << 30), link("eth0", 1000, 500)}, t0);
    QCOMPARE(first.downSpeed, quint64(0)); // no previous sample
    const NetworkInfo second =
        rate.update({link("lo", 1u << 31, 1u << 31), link("eth0", rx2, tx2)}, t0.addMSecs(gapMs));
    QCOMPARE(second.downSpeed, down);
    QCOMPARE(second.upSpeed, up);
}

void TestMonitorParsers::localAddress_data()
{
    QTest::addColumn<QList<InterfaceEntry>>("entries");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("iface");
    const auto row = [](const char *name, const QList<InterfaceEntry> &entries, const char *ip,
                        const char *iface) {
        QTest::newRow(name) << entries << QString::fromLatin1(ip) << QString::fromLatin1(iface);
    };
    row("wifi", {ipv4("lo", "127.0.0.1"), ipv4("wlp0s20f3", "192.168.1.23")}, "192.168.1.23", "Wi-Fi");
    row("first one wins", {ipv4("enp3s0", "10.0.0.5"), ipv4("wlan0", "192.168.1.2")}, "10.0.0.5", "Ethernet");
    row("bridges never supply it",
        {ipv4("docker0", "172.17.0.1"), ipv4("virbr0", "192.168.122.1"), ipv4("br-1a2b3c", "172.18.0.1"),
         ipv4("veth12ab", "169.254.3.3"), ipv4("wlan0", "192.168.1.2")},
        "192.168.1.2", "Wi-Fi");
    row("openvpn tun", {ipv4("tun0", "10.9.0.2"), ipv4("eth0", "10.0.0.6")}, "10.9.0.2", "");
    row("empty address skipped", {ipv4("wlan0", ""), ipv4("eth0", "10.0.0.6")}, "10.0.0.6", "Ethernet");
    row("nothing", {}, "", "");
}

void TestMonitorParsers::localAddress()
{
    QFETCH(QList<InterfaceEntry>, entries);
    QFETCH(QString, ip);
    QFETCH(QString, iface);
    NetworkRate rate;
    const NetworkInfo info = rate.update(entries, t0);
    QCOMPARE(info.ip, ip);
    QCOMPARE(info.iface, iface);
}

// A speed reads as the size per second.
void TestMonitorParsers::bytes_data()
{
    QTest::addColumn<quint64>("n");
    QTest::addColumn<QString>("bytes");
    QTest::addColumn<QString>("speedShort");
    constexpr quint64 K = 1024, M = K * K, G = M * K;
    const auto row = [](const char *name, quint64 n, const char *bytes, const char *speedShort) {
        QTest::newRow(name) << n << QString::fromLatin1(bytes) << QString::fromLatin1(speedShort);
    };
    row("zero", 0, "0 B", "0B");
    row("K-1", K - 1, "1023 B", "1023B");
    row("K", K, "1 KB", "1K");
    row("1.5K truncates", 1536, "1 KB", "1K");
    row("M-1", M - 1, "1023 KB", "1023K");
    row("M", M, "1.0 MB", "1.0M");
    row("1.5M", M + M / 2, "1.5 MB", "1.5M");
    row("G-1 rounds up", G - 1, "1024.0 MB", "1024.0M");
    row("G", G, "1.0 GB", "1.0G");
    row("largest", ~quint64(0), "17179869184.0 GB", "17179869184.0G");
}

void TestMonitorParsers::bytes()
{
    QFETCH(quint64, n);
    QFETCH(QString, bytes);
    QFETCH(QString, speedShort);
    QCOMPARE(formatBytes(n), bytes);
    QCOMPARE(formatSpeed(n), bytes + QStringLiteral("/s"));
    QCOMPARE(formatSpeedShort(n), speedShort);
}

void TestMonitorParsers::uptime_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("under a minute") << 59.9 << "0m";
    QTest::newRow("a minute") << 60.0 << "1m";
    QTest::newRow("hour-1") << 3599.0 << "59m";
    QTest::newRow("hour") << 3600.0 << "1h 0m";
    QTest::newRow("day-1") << 86399.0 << "23h 59m";
    QTest::newRow("day") << 86400.0 << "1d 0h 0m";
    QTest::newRow("fraction dropped") << 90061.99 << "1d 1h 1m";
    QTest::newRow("400 days") << 400.0 * 86400 + 7322 << "400d 2h 2m";
    QTest::newRow("negative clock skew") << -5.0 << "0m";
}

void TestMonitorParsers::uptime()
{
    QFETCH(double, seconds);
    QFETCH(QString, text);
    QCOMPARE(formatUptime(seconds), text);
}

QTEST_GUILESS_MAIN(TestMonitorParsers)
#include "tst_monitorparsers.moc"
