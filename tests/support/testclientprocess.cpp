// Drives one orvella-testclient process over its command line, stdin and stdout.
#include "testclientprocess.h"

#include "xtestconnection.h"

#include <QRegularExpression>
#include <QTest>

namespace orvella::testsupport {

TestClient::TestClient(const QStringList &args, const QStringList &environment)
{
    m_display = qEnvironmentVariable("DISPLAY");
    for (const QString &variable : environment) {
        if (variable.startsWith(QLatin1String("DISPLAY=")))
            m_display = variable.mid(8);
    }
    if (!environment.isEmpty())
        setEnvironment(environment);
    setProcessChannelMode(QProcess::ForwardedErrorChannel);
    start(QStringLiteral(ORVELLA_TESTCLIENT), args);
    waitForStarted();
    m_pid = qint32(processId());
    static const QRegularExpression ready(QStringLiteral("^ready 0x([0-9a-f]+) (.*)$"));
    const qsizetype windows = std::max<qsizetype>(1, args.count(QStringLiteral("--title")));
    while (xids.size() < windows) {
        const QRegularExpressionMatch match = ready.match(nextLine().value_or(QString()));
        if (!match.hasMatch())
            return;
        xids.append(match.captured(1).toUInt(nullptr, 16));
        titles.append(match.captured(2));
    }
}

TestClient::~TestClient()
{
    quit();
}

QStringList TestClient::titled(const QStringList &titles)
{
    QStringList args;
    for (const QString &title : titles)
        args << QStringLiteral("--title") << title;
    return args;
}

QString TestClient::command(const QByteArray &line)
{
    write(line + '\n');
    return nextLine().value_or(QStringLiteral("no answer"));
}

std::optional<QString> TestClient::nextLine()
{
    if (!QTest::qWaitFor([this] { return canReadLine() || state() == NotRunning; }, kWaitMs)
        || !canReadLine())
        return std::nullopt;
    return QString::fromUtf8(readLine()).chopped(1);
}

void TestClient::quit()
{
    if (state() == NotRunning)
        return;
    write("quit\n");
    if (!waitForFinished(kWaitMs))
        kill();
    XTestConnection x(m_display);
    if (!x.waitUntilUnlisted(xids, kWaitMs))
        qWarning("the window manager still lists the windows of a test client that has quit");
}

} // namespace orvella::testsupport
