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

// A speed reads as the size per second.
void TestFormatters::bytes_data()
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

void TestFormatters::bytes()
{
    QFETCH(quint64, n);
    QFETCH(QString, bytes);
    QFETCH(QString, speedShort);
    QCOMPARE(formatBytes(n), bytes);
    QCOMPARE(formatSpeed(n), bytes + QStringLiteral("/s"));
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
