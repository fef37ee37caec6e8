// `orvella sysmon` as a user runs it: a real process reading this machine.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

namespace {

// Runs `orvella` with space-separated arguments; empty output when it fails.
QByteArray run(const QString &arguments)
{
    QProcess orvella;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ORVELLA_EXTERNAL_ADDRESS_URL"), QString()); // never leave the machine
    orvella.setProcessEnvironment(environment);
    orvella.start(QStringLiteral(ORVELLA_BINARY), arguments.split(u' '));
    const bool ended = orvella.waitForFinished(20000);
    if (!ended)
        orvella.kill();
    if (!ended || orvella.exitStatus() != QProcess::NormalExit || orvella.exitCode() != 0) {
        qWarning("orvella %s failed: %s", qPrintable(arguments), orvella.readAllStandardError().constData());
        return {};
    }
    return orvella.readAllStandardOutput();
}

} // namespace

class TestSysmonCommand : public QObject
{
    Q_OBJECT
private slots:
    void jsonSamples();
    void textSample();
};

void TestSysmonCommand::jsonSamples()
{
    const QList<QByteArray> lines =
        run(QStringLiteral("sysmon --json --count 2 --interval 0.2")).trimmed().split('\n');
    QCOMPARE(lines.size(), 2);
    for (int i = 0; i < lines.size(); ++i) {
        QJsonParseError error;
        const QJsonObject sample = QJsonDocument::fromJson(lines[i], &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(sample.value(QLatin1String("cpuHistory")).toArray().size(), i + 1);
        const double cpu = sample.value(QLatin1String("cpuUsage")).toDouble(-1);
        QVERIFY(cpu >= 0 && cpu <= 100);
        QVERIFY(sample.value(QLatin1String("memoryTotalGB")).toDouble() > 0);
        QVERIFY(sample.value(QLatin1String("diskTotalGB")).toDouble() > 0);
        QVERIFY(!sample.value(QLatin1String("osVersion")).toString().isEmpty());
        QCOMPARE(sample.value(QLatin1String("externalIP")).toString(), QString());
    }
}

void TestSysmonCommand::textSample()
{
    const QString output = QString::fromUtf8(run(QStringLiteral("sysmon")));
    for (const char *label : {"CPU ", "Memory ", "Disk ", "Network ", "Battery ", "Temperature ", "Uptime "})
        QVERIFY2(output.contains(QLatin1String(label)), label);
    QVERIFY(output.endsWith(QLatin1String("\n\n")));
}

QTEST_GUILESS_MAIN(TestSysmonCommand)
#include "tst_sysmoncommand.moc"
