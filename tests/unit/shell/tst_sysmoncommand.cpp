// `orvella sysmon` as a user runs it: a real process reading this machine.
#include "../services/loopbackserver.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <sys/resource.h>

namespace {

// Runs `orvella` with space-separated arguments, asking `addressUrl` for the external
// address (empty: never leave the machine); empty output when it fails. The event loop
// runs meanwhile, so a loopback server in this process answers.
QByteArray run(const QString &arguments, const QString &addressUrl = QString(), QByteArray *errors = nullptr)
{
    QProcess orvella;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ORVELLA_EXTERNAL_ADDRESS_URL"), addressUrl);
    orvella.setProcessEnvironment(environment);
    QSignalSpy finished(&orvella, &QProcess::finished);
    orvella.start(QStringLiteral(ORVELLA_BINARY), arguments.split(u' '));
    const bool ended = finished.wait(20000);
    if (!ended)
        orvella.kill();
    if (errors)
        *errors = orvella.readAllStandardError();
    if (!ended || orvella.exitStatus() != QProcess::NormalExit || orvella.exitCode() != 0) {
        qWarning("orvella %s failed: %s", qPrintable(arguments),
                 errors ? errors->constData() : orvella.readAllStandardError().constData());
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
    void endlessAddressAnswers_data();
    void endlessAddressAnswers();
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

void TestSysmonCommand::endlessAddressAnswers_data()
{
    QTest::addColumn<qint64>("filler");
    QTest::newRow("without end") << qint64(-1);
    QTest::newRow("100 MB") << qint64(100'000'000);
}

// An address service that sends far more than an address costs neither memory nor the
// reading's sanity: the answer is cut short and the address stays unknown.
void TestSysmonCommand::endlessAddressAnswers()
{
    QFETCH(qint64, filler);
    // The bound is over a plain run's peak (the earlier runs here), which an instrumented
    // build raises several times over.
    rusage plain{};
    QCOMPARE(getrusage(RUSAGE_CHILDREN, &plain), 0);
    if (plain.ru_maxrss == 0) {
        run(QStringLiteral("sysmon --count 1"));
        QCOMPARE(getrusage(RUSAGE_CHILDREN, &plain), 0);
    }
    LoopbackServer server;
    QVERIFY(server.listen());
    server.answer = "203.0.113.7\n";
    server.filler = filler;
    QByteArray errors;
    // Long enough for a whole 100 MB to arrive over loopback had nothing stopped it.
    const QList<QByteArray> lines =
        run(QStringLiteral("sysmon --json --count 3 --interval 1"), server.url(), &errors)
            .trimmed()
            .split('\n');
    QCOMPARE(server.requests.size(), 1);
    QCOMPARE(lines.size(), 3);
    for (const QByteArray &line : lines)
        QCOMPARE(QJsonDocument::fromJson(line).object().value(QLatin1String("externalIP")).toString(),
                 QString());
    rusage usage{};
    QCOMPARE(getrusage(RUSAGE_CHILDREN, &usage), 0);
    qInfo("peak resident size: %ld KiB, of a plain run %ld KiB", usage.ru_maxrss, plain.ru_maxrss);
    QVERIFY2(usage.ru_maxrss < plain.ru_maxrss + 32 * 1024, qPrintable(QString::number(usage.ru_maxrss)));
    QCOMPARE(errors.count("[OV] external address: the answer is longer than 256 bytes"), 1);
}

QTEST_GUILESS_MAIN(TestSysmonCommand)
#include "tst_sysmoncommand.moc"
