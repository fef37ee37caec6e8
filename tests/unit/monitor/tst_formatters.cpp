// The monitor's texts at every boundary of their unit table.
#include "monitor/formatters.h"

#include <QTest>

using namespace orvella::monitor;

class TestFormatters : public QObject
{
    Q_OBJECT
private slots:
    void bytes_data();
    void bytes();
    void uptime_data();
    void uptime();
};

void TestFormatters::bytes_data()
{
    QTest::addColumn<quint64>("n");
    QTest::addColumn<QString>("bytes");
    QTest::addColumn<QString>("speed");
    QTest::addColumn<QString>("speedShort");
    constexpr quint64 K = 1024, M = K * K, G = M * K;
    QTest::newRow("zero") << quint64(0) << "0 B"
                          << "0 B/s"
                          << "0B";
    QTest::newRow("one") << quint64(1) << "1 B"
                         << "1 B/s"
                         << "1B";
    QTest::newRow("K-1") << K - 1 << "1023 B"
                         << "1023 B/s"
                         << "1023B";
    QTest::newRow("K") << K << "1 KB"
                       << "1 KB/s"
                       << "1K";
    QTest::newRow("1.5K truncates") << quint64(1536) << "1 KB"
                                    << "1 KB/s"
                                    << "1K";
    QTest::newRow("M-1") << M - 1 << "1023 KB"
                         << "1023 KB/s"
                         << "1023K";
    QTest::newRow("M") << M << "1.0 MB"
                       << "1.0 MB/s"
                       << "1.0M";
    QTest::newRow("1.5M") << M + M / 2 << "1.5 MB"
                          << "1.5 MB/s"
                          << "1.5M";
    QTest::newRow("G-1 rounds up") << G - 1 << "1024.0 MB"
                                   << "1024.0 MB/s"
                                   << "1024.0M";
    QTest::newRow("G") << G << "1.0 GB"
                       << "1.0 GB/s"
                       << "1.0G";
    QTest::newRow("5 TiB stays in GB") << 5 * K * G << "5120.0 GB"
                                       << "5120.0 GB/s"
                                       << "5120.0G";
    QTest::newRow("largest") << ~quint64(0) << "17179869184.0 GB"
                             << "17179869184.0 GB/s"
                             << "17179869184.0G";
}

void TestFormatters::bytes()
{
    QFETCH(quint64, n);
    QFETCH(QString, bytes);
    QFETCH(QString, speed);
    QFETCH(QString, speedShort);
    QCOMPARE(formatBytes(n), bytes);
    QCOMPARE(formatSpeed(n), speed);
    QCOMPARE(formatSpeedShort(n), speedShort);
}

void TestFormatters::uptime_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << 0.0 << "0m";
    QTest::newRow("under a minute") << 59.9 << "0m";
    QTest::newRow("a minute") << 60.0 << "1m";
    QTest::newRow("hour-1") << 3599.0 << "59m";
    QTest::newRow("hour") << 3600.0 << "1h 0m";
    QTest::newRow("day-1") << 86399.0 << "23h 59m";
    QTest::newRow("day") << 86400.0 << "1d 0h 0m";
    QTest::newRow("1d 1h 1m 1s") << 90061.0 << "1d 1h 1m";
    QTest::newRow("fraction dropped") << 90061.99 << "1d 1h 1m";
    QTest::newRow("400 days") << 400.0 * 86400 + 7322 << "400d 2h 2m";
    QTest::newRow("negative clock skew") << -5.0 << "0m";
}

void TestFormatters::uptime()
{
    QFETCH(double, seconds);
    QFETCH(QString, text);
    QCOMPARE(formatUptime(seconds), text);
}

QTEST_GUILESS_MAIN(TestFormatters)
#include "tst_formatters.moc"
