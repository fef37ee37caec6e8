// Proves the real-X harness: each command runs in a fresh private session that is ready for
// its first window, its exit status is passed on, and teardown leaves no server behind.
#include "testclientprocess.h"
#include "xsession.h"
#include "xtestconnection.h"

#include <QProcess>
#include <QScopeGuard>
#include <QtTest>

#include <cerrno>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

using namespace orvella::testsupport;

namespace {

constexpr int kSessionStartMs = 20000;

bool reachable(const QString &display)
{
    return XTestConnection(display).isConnected();
}

} // namespace

class TestXSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void harnessExitStatus_data();
    void harnessExitStatus();
    void stoppedHarnessLeavesNothingBehind_data();
    void stoppedHarnessLeavesNothingBehind();
    void windowMappedRightAfterStartIsManaged();
};

void TestXSession::initTestCase()
{
    // The mark the harness puts on its command's session, which every real-X suite checks.
    QVERIFY2(inPrivateSession(), "run this test through orvella-xsession");
}

void TestXSession::harnessExitStatus_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<int>("exitCode");
    const QString sh = QStringLiteral("sh");
    QTest::newRow("failure is passed on") << QStringList{sh, "-c", "exit 3"} << 3;
    QTest::newRow("killed by a signal") << QStringList{sh, "-c", "kill -KILL $$"} << 128 + 9;
    QTest::newRow("command not found") << QStringList{"/nonexistent/command"} << 127;
    QTest::newRow("no command") << QStringList{} << 125;
}

void TestXSession::harnessExitStatus()
{
    QFETCH(QStringList, command);
    QFETCH(int, exitCode);
    QProcess harness;
    harness.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    harness.start(QStringLiteral(ORVELLA_XSESSION), QStringList{"--"} + command);
    QVERIFY(harness.waitForFinished(2 * kSessionStartMs));
    QCOMPARE(harness.exitStatus(), QProcess::NormalExit);
    QCOMPARE(harness.exitCode(), exitCode);
}

void TestXSession::stoppedHarnessLeavesNothingBehind_data()
{
    QTest::addColumn<int>("sig");
    QTest::addColumn<int>("exitCode"); // -1: the harness dies of the signal itself
    QTest::newRow("SIGTERM tears down") << int(SIGTERM) << 128 + SIGTERM;
    QTest::newRow("SIGKILL leaves orphans that die") << int(SIGKILL) << -1;
}

void TestXSession::stoppedHarnessLeavesNothingBehind()
{
    QFETCH(int, sig);
    QFETCH(int, exitCode);
    // Orphans come here rather than to init, so that they can be counted and reaped.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const auto restore = qScopeGuard([] { ::prctl(PR_SET_CHILD_SUBREAPER, 0); });
    // The harness must ignore all of these in favour of its own session.
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XAUTHORITY"), QStringLiteral("/nonexistent/xauthority"));
    env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-test"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    QProcess harness;
    harness.setProcessEnvironment(env);
    harness.start(
        QStringLiteral(ORVELLA_XSESSION),
        {"--", "sh", "-c",
         "echo $DISPLAY ${XAUTHORITY-unset} ${WAYLAND_DISPLAY-unset} $QT_QPA_PLATFORM; exec sleep 60"});
    QTRY_VERIFY_WITH_TIMEOUT(harness.canReadLine(), kSessionStartMs);
    const QStringList seen = QString::fromUtf8(harness.readLine()).trimmed().split(' ');
    QCOMPARE(seen.mid(1), (QStringList{"unset", "unset", "xcb"}));
    const QString display = seen[0];
    QVERIFY(display != qEnvironmentVariable("DISPLAY"));
    QVERIFY(reachable(display));

    ::kill(pid_t(harness.processId()), sig);
    QVERIFY(harness.waitForFinished());
    if (exitCode >= 0) {
        QCOMPARE(harness.exitStatus(), QProcess::NormalExit);
        QCOMPARE(harness.exitCode(), exitCode);
    }
    QTRY_VERIFY(!reachable(display));
    // Xvfb, Openbox and the command, if orphaned, came to this process: every one must exit.
    QTRY_VERIFY(::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD);
}

// Regression: Openbox announces itself before its event loop runs; a window mapped in
// between stayed unmanaged, so the first client of a fresh session hung.
void TestXSession::windowMappedRightAfterStartIsManaged()
{
    XSession session;
    QString error;
    QVERIFY2(session.start(&error), qPrintable(error));
    // The client announces its window only once the window manager lists it.
    TestClient client({}, session.clientEnvironment());
    QCOMPARE(client.xids.size(), 1);
}

QTEST_GUILESS_MAIN(TestXSession)
#include "tst_xsession.moc"
