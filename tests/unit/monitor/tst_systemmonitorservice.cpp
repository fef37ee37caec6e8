// The system monitor service on a copied laptop tree, with time on a manual clock.
#include "monitor/systemmonitorservice.h"
#include "platform/externaladdress.h"
#include "platform/linux/linuxsystemfacts.h"
#include "platform/sim/manualscheduler.h"

#include "../services/loopbackserver.h"

#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using namespace std::chrono_literals;
using monitor::SystemMonitorService;

namespace {

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(path));
    file.write(content);
}

// A one-processor /proc/stat with the given cumulative busy (user) and idle ticks.
QByteArray procStat(quint64 busy, quint64 idle)
{
    return QStringLiteral("cpu  %1 0 0 %2 0 0 0 0 0 0\ncpu0 %1 0 0 %2 0 0 0 0 0 0\nctxt 1\n")
        .arg(busy)
        .arg(idle)
        .toLatin1();
}

} // namespace

class TestSystemMonitorService : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void firstPollSinceBootThenSincePrevious();
    void historiesKeepTheLatest60AndNoImplausibleTemperature();
    void pausedPollsSampleNothing();
    void startStopRestart();
    void diskIsReadAtMostEvery30Seconds();
    void externalAddressAnswers_data();
    void externalAddressAnswers();
    void externalAddressIsAskedForUntilAnswered();

private:
    // Starts the service and waits for the immediate poll's publication.
    void startAndWaitForFirstSample(SystemMonitorService &service, double interval = 3);
    void advanceAndWait(SystemMonitorService &service, std::chrono::milliseconds by, int samples = 1);

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_root;
    std::shared_ptr<platform::LinuxSystemFacts> m_facts;
    std::unique_ptr<platform::sim::ManualScheduler> m_clock;
};

void TestSystemMonitorService::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_root = m_dir->path() + QStringLiteral("/laptop");
    QCOMPARE(QProcess::execute(QStringLiteral("cp"),
                               {QStringLiteral("-a"), QStringLiteral(ORVELLA_FIXTURES "/laptop"), m_root}),
             0);
    m_facts = std::make_shared<platform::LinuxSystemFacts>(m_root, QStringLiteral("/home/alex"));
    m_clock = std::make_unique<platform::sim::ManualScheduler>();
}

void TestSystemMonitorService::startAndWaitForFirstSample(SystemMonitorService &service, double interval)
{
    QSignalSpy sampled(&service, &SystemMonitorService::sampled);
    service.start(interval);
    QVERIFY(sampled.wait(5000));
}

void TestSystemMonitorService::advanceAndWait(SystemMonitorService &service, std::chrono::milliseconds by,
                                              int samples)
{
    QSignalSpy sampled(&service, &SystemMonitorService::sampled);
    m_clock->advance(by);
    while (sampled.count() < samples)
        QVERIFY(sampled.wait(5000));
    QCOMPARE(sampled.count(), samples);
}

void TestSystemMonitorService::firstPollSinceBootThenSincePrevious()
{
    writeFile(m_root + QStringLiteral("/proc/stat"), procStat(100, 300));
    SystemMonitorService service(m_facts, QUrl(), *m_clock);
    // What never changes is read at once; nothing is sampled before start.
    QCOMPARE(service.modelName(), QStringLiteral("XPS 13 9310"));
    QCOMPARE(service.osVersion(), QStringLiteral("6.1.0"));
    QVERIFY(service.hasBattery());
    QCOMPARE(service.bootDate(), m_clock->now().addMSecs(-93784520));
    QCOMPARE(service.batteryLevel(), -1.0);
    QCOMPARE(service.diskName(), QStringLiteral("/"));
    QVERIFY(service.cpuHistory().isEmpty());
    QVERIFY(!service.isRunning());

    QTest::ignoreMessage(QtInfoMsg, "[OV] SystemMonitorService started (interval=3.0s)");
    startAndWaitForFirstSample(service);
    // The cpu load is since boot; each figure is the reading of its own field.
    QCOMPARE((QList<double>{service.cpuUsage(), service.memoryTotalGB() * 1048576,
                            service.memoryCompressedGB(), double(service.swapUsedBytes()),
                            service.cpuTemperature(), service.uptime(), service.batteryLevel(),
                            double(service.batteryCapacityMAh()), double(service.adapterWatts())}),
             (QList<double>{25, 16088332, 0.5, 1073741824, 52, 93784.52, 80, 5208, 65}));
    QCOMPARE(service.diskName(), QStringLiteral("home"));
    QVERIFY(service.diskTotalGB() > 0 && service.isCharging() && service.isPluggedIn());
    QCOMPARE(service.networkDownSpeed(), quint64(0)); // no previous totals yet

    writeFile(m_root + QStringLiteral("/proc/stat"), procStat(190, 310));
    advanceAndWait(service, 3s);
    QCOMPARE(service.cpuUsage(), 90.0); // 90 busy of 100 since the first poll
    QCOMPARE(service.cpuHistory(), (QList<double>{25.0, 90.0}));
}

void TestSystemMonitorService::historiesKeepTheLatest60AndNoImplausibleTemperature()
{
    writeFile(m_root + QStringLiteral("/proc/stat"), procStat(0, 0));
    SystemMonitorService service(m_facts, QUrl(), *m_clock);
    startAndWaitForFirstSample(service);
    quint64 busy = 0, idle = 0;
    for (int i = 1; i <= 60; ++i) {
        busy += quint64(i);
        idle += quint64(100 - i);
        writeFile(m_root + QStringLiteral("/proc/stat"), procStat(busy, idle));
        advanceAndWait(service, 3s);
    }
    // The since-boot sample dropped, the rest oldest first.
    const QList<double> history = service.cpuHistory();
    QCOMPARE(history.size(), SystemMonitorService::cpuHistoryMax);
    for (int i = 0; i < history.size(); ++i)
        QCOMPARE(history[i], double(i + 1));
    QCOMPARE(service.temperatureHistory().size(), SystemMonitorService::temperatureHistoryMax);

    // Which sensor counts is the readers' test; a poll without one leaves that history alone.
    for (const char *sensor :
         {"hwmon/hwmon4/temp1_input", "thermal/thermal_zone0/temp", "thermal/thermal_zone10/temp"})
        writeFile(m_root + QStringLiteral("/sys/class/") + QLatin1String(sensor), "140000\n");
    advanceAndWait(service, 3s);
    QCOMPARE(service.cpuTemperature(), 0.0);
    QCOMPARE(service.temperatureHistory(), QList<double>(SystemMonitorService::temperatureHistoryMax, 52.0));
    QCOMPARE(service.cpuHistory().constLast(), 0.0);
}

void TestSystemMonitorService::pausedPollsSampleNothing()
{
    SystemMonitorService service(m_facts, QUrl(), *m_clock);
    startAndWaitForFirstSample(service);
    QSignalSpy sampled(&service, &SystemMonitorService::sampled);
    QTest::ignoreMessage(QtInfoMsg, "[OV] SystemMonitor paused=1");
    service.setPaused(true);
    service.setPaused(true); // unchanged: no second line
    m_clock->advance(9s);
    QTest::ignoreMessage(QtInfoMsg, "[OV] SystemMonitor paused=0");
    service.setPaused(false);
    // The worker is serial: had the three paused ticks sampled, their publications
    // would arrive before the one unpausing asks for.
    QVERIFY(sampled.wait(5000));
    QCOMPARE(sampled.count(), 1);
    QCOMPARE(service.cpuHistory().size(), 2);
    QCOMPARE(m_clock->pendingCount(), 1); // the timer kept running
}

void TestSystemMonitorService::startStopRestart()
{
    SystemMonitorService service(m_facts, QUrl(), *m_clock);
    startAndWaitForFirstSample(service);
    service.start(1); // already running: nothing
    QCOMPARE(m_clock->pendingCount(), 1);
    QTest::ignoreMessage(QtInfoMsg, "[OV] SystemMonitorService stopped");
    service.stop();
    QVERIFY(!service.isRunning());
    QTRY_COMPARE(m_clock->pendingCount(), 0); // disarmed, not left to find out at the next tick
    service.stop();

    QTest::ignoreMessage(QtInfoMsg, "[OV] SystemMonitorService started (interval=1.5s)");
    startAndWaitForFirstSample(service, 1.5);
    // Deadlines stay on the 1.5-second grid.
    advanceAndWait(service, 4500ms, 3);
    QCOMPARE(service.cpuHistory().size(), 5);
    service.restart(10);
    QVERIFY(service.isRunning());
    advanceAndWait(service, 0ms);         // restart polls at once
    QCOMPARE(m_clock->pendingCount(), 1); // the first run's timer went with it
    advanceAndWait(service, 10s);
    QCOMPARE(m_clock->pendingCount(), 1);

    // A damaged setting: the default rhythm instead of a busy loop.
    service.stop();
    m_clock->advance(10s);
    QTest::ignoreMessage(QtWarningMsg,
                         "[OV] SystemMonitorService: interval 0 s is unusable; sampling every 3.0 s");
    QTest::ignoreMessage(QtInfoMsg, "[OV] SystemMonitorService started (interval=3.0s)");
    startAndWaitForFirstSample(service, 0);
    advanceAndWait(service, 3s);
}

void TestSystemMonitorService::diskIsReadAtMostEvery30Seconds()
{
    SystemMonitorService service(m_facts, QUrl(), *m_clock);
    startAndWaitForFirstSample(service);
    QCOMPARE(service.diskName(), QStringLiteral("home"));
    const QString labels = m_root + QStringLiteral("/dev/disk/by-label/");
    QVERIFY(QFile::rename(labels + QStringLiteral("home"), labels + QStringLiteral("Home\\x20Files")));
    advanceAndWait(service, 27s, 9);
    QCOMPARE(service.diskName(), QStringLiteral("home"));
    advanceAndWait(service, 3s);
    QCOMPARE(service.diskName(), QStringLiteral("Home Files"));
}

void TestSystemMonitorService::externalAddressAnswers_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("address"); // empty: none
    QTest::newRow("whitespace around") << QByteArray(" \t203.0.113.7\r\n") << "203.0.113.7";
    QTest::newRow("IPv6, as Qt writes it") << QByteArray("2001:DB8:0:0::1\n") << "2001:db8::1";
    QTest::newRow("IPv4-mapped IPv6") << QByteArray("::ffff:192.0.2.1") << "::ffff:192.0.2.1";
    QTest::newRow("nothing") << QByteArray(" \n") << "";
    QTest::newRow("short IPv4") << QByteArray("127.1") << "";
    QTest::newRow("leading zero") << QByteArray("010.0.0.1") << "";
    QTest::newRow("out of range") << QByteArray("256.0.0.1") << "";
    QTest::newRow("scope id") << QByteArray("fe80::1%eth0") << "";
    QTest::newRow("port") << QByteArray("203.0.113.7:443") << "";
    QTest::newRow("embedded NUL") << QByteArray("203.0.113.7\0", 12) << "";
    QTest::newRow("captive portal") << QByteArray("<html>Your address: 203.0.113.7</html>") << "";
    QTest::newRow("past the limit")
        << QByteArray("203.0.113.7").append(QByteArray(platform::kExternalAddressMaxBytes, ' ')) << "";
}

void TestSystemMonitorService::externalAddressAnswers()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, address);
    QCOMPARE(platform::parseExternalAddress(answer).value_or(QString()), address);
}

// Asked for at construction and never again once answered; a stop cancels a request
// still under way, and the next start asks again.
void TestSystemMonitorService::externalAddressIsAskedForUntilAnswered()
{
    LoopbackServer server;
    QVERIFY(server.listen());
    server.silent = true;
    SystemMonitorService service(m_facts, QUrl(server.url()), *m_clock);
    QTRY_COMPARE(server.requests.size(), 1);
    startAndWaitForFirstSample(service);
    QCOMPARE(server.requests.size(), 1); // already in flight: not asked again
    QSignalSpy closed(server.findChild<QTcpSocket *>(), &QTcpSocket::disconnected);
    service.stop();
    QVERIFY(closed.wait(5000));

    server.silent = false;
    server.answer = "  203.0.113.7\r\n";
    startAndWaitForFirstSample(service);
    QTRY_COMPARE(service.externalIP(), QStringLiteral("203.0.113.7"));
    advanceAndWait(service, 6s, 2);
    service.restart(3);
    advanceAndWait(service, 0ms);
    QCOMPARE(server.requests.size(), 2);
}

QTEST_GUILESS_MAIN(TestSystemMonitorService)
#include "tst_systemmonitorservice.moc"
