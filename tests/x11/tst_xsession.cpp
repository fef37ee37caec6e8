// Proves the real-X harness: a private server, a window manager that announces itself,
// the test client's windows being managed, and teardown that leaves no server behind.
#include "xsession.h"

#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

#include <xcb/xcb.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

using orvella::testsupport::XSession;

namespace {

constexpr int kSessionStartMs = 20000;

bool reachable(const QString &display)
{
    xcb_connection_t *c = xcb_connect(display.toLatin1().constData(), nullptr);
    const bool ok = !xcb_connection_has_error(c);
    xcb_disconnect(c);
    return ok;
}

} // namespace

class TestXSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void windowManagerIsAnnounced();
    void supportedListsAtom_data();
    void supportedListsAtom();
    void testClientWindowIsManaged();
    void harnessExitStatus_data();
    void harnessExitStatus();
    void harnessRunsCommandInFreshSession();
    void stoppedHarnessLeavesNothingBehind_data();
    void stoppedHarnessLeavesNothingBehind();
    void windowMappedRightAfterStartIsManaged();
    void screenshotShowsWindows();

private:
    xcb_atom_t atom(const char *name) const;
    std::optional<QByteArray> property(xcb_window_t window, const char *name, xcb_atom_t type,
                                       int format = 8) const;
    QList<quint32> cardinals(xcb_window_t window, const char *name, xcb_atom_t type) const;

    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = 0;
};

void TestXSession::initTestCase()
{
    // Set by the harness for its own session only: never the developer's display.
    const QByteArray display = qgetenv("DISPLAY");
    QVERIFY2(!display.isEmpty() && display == qgetenv("ORVELLA_XSESSION_DISPLAY"),
             "run this test through orvella-xsession");
    int screen = 0;
    m_connection = xcb_connect(display.constData(), &screen);
    QVERIFY(!xcb_connection_has_error(m_connection));
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (; screen > 0; --screen)
        xcb_screen_next(&it);
    m_root = it.data->root;
    QCOMPARE(int(it.data->width_in_pixels), 1280);
    QCOMPARE(int(it.data->height_in_pixels), 800);
}

void TestXSession::cleanupTestCase()
{
    xcb_disconnect(m_connection);
}

void TestXSession::windowManagerIsAnnounced()
{
    const QList<quint32> check = cardinals(m_root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW);
    QCOMPARE(check.size(), 1);
    QCOMPARE(cardinals(check.first(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW), check);
}

void TestXSession::supportedListsAtom_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("client list") << QByteArray("_NET_CLIENT_LIST");
    QTest::newRow("active window") << QByteArray("_NET_ACTIVE_WINDOW");
}

void TestXSession::supportedListsAtom()
{
    QFETCH(QByteArray, name);
    QVERIFY(cardinals(m_root, "_NET_SUPPORTED", XCB_ATOM_ATOM).contains(atom(name.constData())));
}

void TestXSession::testClientWindowIsManaged()
{
    const QString title = QString::fromUtf8("Smoke é");
    QProcess client;
    client.start(QStringLiteral(ORVELLA_TESTCLIENT), {QStringLiteral("--title"), title});
    QTRY_VERIFY_WITH_TIMEOUT(client.canReadLine(), kSessionStartMs);
    const QString line = QString::fromUtf8(client.readLine()).chopped(1);
    const QRegularExpressionMatch ready =
        QRegularExpression(QStringLiteral("^ready 0x([0-9a-f]+) (.*)$")).match(line);
    QVERIFY2(ready.hasMatch(), qPrintable(line));
    QCOMPARE(ready.captured(2), title);

    const xcb_window_t window = ready.captured(1).toUInt(nullptr, 16);
    QVERIFY(cardinals(m_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW).contains(window));
    const QByteArray absent("<absent>");
    QCOMPARE(property(window, "_NET_WM_NAME", atom("UTF8_STRING")).value_or(absent), title.toUtf8());
    QCOMPARE(property(window, "WM_NAME", XCB_ATOM_STRING).value_or(absent), title.toLatin1());

    client.write("quit\n");
    QVERIFY(client.waitForFinished(kSessionStartMs));
    QCOMPARE(client.exitCode(), 0);
}

void TestXSession::harnessExitStatus_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<int>("exitCode");
    const QString sh = QStringLiteral("sh");
    QTest::newRow("success") << QStringList{sh, "-c", "exit 0"} << 0;
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

void TestXSession::harnessRunsCommandInFreshSession()
{
    QTemporaryDir dir;
    const QString shot = dir.filePath(QStringLiteral("shot.png"));
    // The harness must ignore all of these in favour of its own session.
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XAUTHORITY"), QStringLiteral("/nonexistent/xauthority"));
    env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-test"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    QProcess harness;
    harness.setProcessEnvironment(env);
    harness.start(QStringLiteral(ORVELLA_XSESSION),
                  {"--screenshot", shot, "--", "sh", "-c",
                   "echo \"$DISPLAY ${XAUTHORITY-unset} ${WAYLAND_DISPLAY-unset} $QT_QPA_PLATFORM\""});
    QVERIFY(harness.waitForFinished(2 * kSessionStartMs));
    QCOMPARE(harness.exitCode(), 0);

    const QStringList seen = QString::fromUtf8(harness.readAllStandardOutput()).split(' ');
    QCOMPARE(seen.size(), 4);
    QVERIFY2(QRegularExpression(QStringLiteral("^:\\d+$")).match(seen[0]).hasMatch(), qPrintable(seen[0]));
    QVERIFY(seen[0] != qEnvironmentVariable("DISPLAY"));
    QCOMPARE(seen.mid(1).join(' ').trimmed(), QStringLiteral("unset unset xcb"));
    QVERIFY(!reachable(seen[0]));
    QCOMPARE(QImage(shot).size(), QSize(1280, 800));
}

void TestXSession::stoppedHarnessLeavesNothingBehind_data()
{
    QTest::addColumn<int>("sig");
    QTest::addColumn<int>("exitCode"); // -1: the harness dies of the signal itself
    QTest::newRow("SIGTERM tears down") << int(SIGTERM) << 128 + SIGTERM;
    QTest::newRow("SIGINT tears down") << int(SIGINT) << 128 + SIGINT;
    QTest::newRow("SIGKILL leaves orphans that die") << int(SIGKILL) << -1;
}

void TestXSession::stoppedHarnessLeavesNothingBehind()
{
    QFETCH(int, sig);
    QFETCH(int, exitCode);
    // Orphans come here rather than to init, so that they can be counted and reaped.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const auto restore = qScopeGuard([] { ::prctl(PR_SET_CHILD_SUBREAPER, 0); });
    QProcess harness;
    harness.start(QStringLiteral(ORVELLA_XSESSION), {"--", "sh", "-c", "echo \"$DISPLAY\"; exec sleep 60"});
    QTRY_VERIFY_WITH_TIMEOUT(harness.canReadLine(), kSessionStartMs);
    const QString display = QString::fromUtf8(harness.readLine()).trimmed();
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
    QProcess client;
    client.setEnvironment(session.clientEnvironment());
    client.start(QStringLiteral(ORVELLA_TESTCLIENT));
    QTRY_VERIFY_WITH_TIMEOUT(client.canReadLine(), kSessionStartMs);
    QVERIFY(client.readLine().startsWith("ready 0x"));
    client.closeWriteChannel();
    QVERIFY(client.waitForFinished());
}

void TestXSession::screenshotShowsWindows()
{
    XSession session;
    QString error;
    QVERIFY2(session.start(&error), qPrintable(error));
    const QString display = session.display();

    // Override-redirect, so the window manager neither moves nor decorates it.
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.toLatin1().constData(), nullptr), &xcb_disconnect);
    xcb_connection_t *c = connection.get();
    QVERIFY(!xcb_connection_has_error(c));
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {0xff8000, 1};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 100, 200, 300, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(c, window);
    // A round trip: the map, and so the background, is done before the screenshot reads.
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));

    QTemporaryDir dir;
    const QString shot = dir.filePath(QStringLiteral("shot.png"));
    QVERIFY2(session.takeScreenshot(shot, &error), qPrintable(error));
    const QImage image(shot);
    QCOMPARE(image.size(), QSize(1280, 800));
    QCOMPARE(image.pixel(250, 250), qRgb(0xff, 0x80, 0x00));
    QVERIFY(image.pixel(50, 50) != qRgb(0xff, 0x80, 0x00));

    session.stop();
    QVERIFY(session.display().isEmpty());
    QVERIFY(!reachable(display));
}

xcb_atom_t TestXSession::atom(const char *name) const
{
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, 0, qstrlen(name), name), nullptr),
        &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

std::optional<QByteArray> TestXSession::property(xcb_window_t window, const char *name, xcb_atom_t type,
                                                 int format) const
{
    std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, atom(name), type, 0, 65536), nullptr),
        &std::free);
    if (!reply || reply->type != type || reply->format != format)
        return std::nullopt;
    return QByteArray(static_cast<const char *>(xcb_get_property_value(reply.get())),
                      xcb_get_property_value_length(reply.get()));
}

QList<quint32> TestXSession::cardinals(xcb_window_t window, const char *name, xcb_atom_t type) const
{
    const std::optional<QByteArray> bytes = property(window, name, type, 32);
    QList<quint32> values;
    for (qsizetype i = 0; bytes && i + 4 <= bytes->size(); i += 4)
        values << *reinterpret_cast<const quint32 *>(bytes->constData() + i);
    return values;
}

QTEST_GUILESS_MAIN(TestXSession)
#include "tst_xsession.moc"
