// The X11 desktop against a real server and window manager: what one snapshot reports for
// the test client's windows, and how it copes with vanishing windows and hostile data.
#include "platform/x11/x11desktop.h"
#include "xsession.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <xcb/xcb.h>

#include <atomic>
#include <memory>
#include <thread>
#include <unistd.h>

using namespace orvella::platform;

namespace {

constexpr int kTimeoutMs = 20000;
const QString kProbeId = QStringLiteral("org.orvella.Probe");

template<typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

xcb_atom_t internAtom(xcb_connection_t *c, const char *name)
{
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, qstrlen(name), name), nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

QList<quint32> readCardinals(xcb_connection_t *c, xcb_window_t window, const char *name, xcb_atom_t type)
{
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(c, xcb_get_property(c, 0, window, internAtom(c, name), type, 0, 65536),
                               nullptr),
        &std::free);
    if (!reply || reply->type != type || reply->format != 32)
        return {};
    const auto *data = static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
    return QList<quint32>(data, data + xcb_get_property_value_length(reply.get()) / 4);
}

/// One orvella-testclient process, its windows in creation order.
class Client
{
public:
    explicit Client(const QStringList &args, int windows = 1)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(ORVELLA_TESTCLIENT), args);
        static const QRegularExpression ready(QStringLiteral("^ready 0x([0-9a-f]+) (.*)$"));
        while (xids.size() < windows) {
            const std::optional<QString> line = nextLine();
            const QRegularExpressionMatch match = ready.match(line.value_or(QString()));
            if (!match.hasMatch())
                return;
            xids.append(match.captured(1).toUInt(nullptr, 16));
            titles.append(match.captured(2));
        }
    }
    ~Client()
    {
        m_process.write("quit\n");
        if (!m_process.waitForFinished(kTimeoutMs))
            m_process.kill();
        // The server hands the next client the same window ids; until the window manager
        // has let go of these windows it would take the next client's for them.
        const bool released = QTest::qWaitFor(
            [this] {
                const QList<quint32> listed =
                    readCardinals(s_observer, s_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
                return std::none_of(xids.begin(), xids.end(),
                                    [&](quint32 xid) { return listed.contains(xid); });
            },
            kTimeoutMs);
        if (!released)
            qWarning("the window manager still lists the windows of a test client that has quit");
    }
    /// Sends a stdin command and returns the client's answer line.
    QString command(const QByteArray &line)
    {
        m_process.write(line + '\n');
        return nextLine().value_or(QStringLiteral("no answer"));
    }
    qint32 pid() const { return qint32(m_process.processId()); }
    /// The client's next line on stdout; nullopt when none comes.
    std::optional<QString> nextLine()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(kTimeoutMs))
                return std::nullopt;
        }
        return QString::fromUtf8(m_process.readLine()).chopped(1);
    }

    QList<quint32> xids;
    QStringList titles;
    /// A connection of the test's own, to see the window manager's client list.
    static inline xcb_connection_t *s_observer = nullptr;
    static inline xcb_window_t s_root = 0;

private:
    QProcess m_process;
};

QString describe(const QRectF &r)
{
    return QStringLiteral("frame %1,%2 %3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

const RunningApp *findApp(const DesktopSnapshot &s, qint32 pid)
{
    const auto it =
        std::find_if(s.apps.begin(), s.apps.end(), [pid](const RunningApp &a) { return a.pid == pid; });
    return it == s.apps.end() ? nullptr : &*it;
}

std::optional<AppWindow> findWindow(const DesktopSnapshot &s, quint32 xid)
{
    for (const auto &windows : s.windowsByPid) {
        for (const AppWindow &w : windows.value_or(QList<AppWindow>())) {
            if (w.windowNumber == qint64(xid))
                return w;
        }
    }
    return std::nullopt;
}

std::optional<ServerWindow> findServerWindow(const DesktopSnapshot &s, quint32 xid)
{
    for (const ServerWindow &w : s.serverWindows.value_or(QList<ServerWindow>())) {
        if (w.number == qint64(xid))
            return w;
    }
    return std::nullopt;
}

} // namespace

class TestX11Desktop : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void trustedAndOwnPid();
    void titles_data();
    void titles();
    void untitledSmallWindowIsListed();
    void hugeTitleIsBounded();
    void minimized_data();
    void minimized();
    void activeWindow();
    void pidSources_data();
    void pidSources();
    void desktopEntryIdentity_data();
    void desktopEntryIdentity();
    void icons_data();
    void icons();
    void framesIncludeDecorations();
    void windowsOpenedAndClosedLater();
    void windowStates_data();
    void windowStates();
    void listedWindowThatNoLongerExists();
    void hostilePropertiesOfAListedWindow();
    void windowsChurningDuringReads();
    void trustFollowsTheWindowManagerCheck();
    void lostServer();

private:
    DesktopSnapshot snapshot() const { return m_desktop->readSnapshot(); }
    QList<quint32> listAlso(xcb_window_t extra, xcb_window_t before);
    xcb_atom_t atom(const char *name) const;
    QList<quint32> cardinals(xcb_window_t window, const char *name, xcb_atom_t type) const;
    void setCardinals(xcb_window_t window, const char *name, xcb_atom_t type, const QList<quint32> &values);
    void sendToRoot(xcb_window_t window, const char *type, const QList<quint32> &data);
    void pressCtrlN(xcb_window_t window);
    xcb_timestamp_t serverTime();

    std::unique_ptr<QTemporaryDir> m_dataHome;
    std::shared_ptr<x11::X11Desktop> m_desktop;
    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = 0;
    xcb_window_t m_helper = 0; ///< an unmapped window of ours, for timestamps and fake WM checks
};

void TestX11Desktop::initTestCase()
{
    const QByteArray display = qgetenv("DISPLAY");
    QVERIFY2(!display.isEmpty() && display == qgetenv("ORVELLA_XSESSION_DISPLAY"),
             "run this test through orvella-xsession");
    // GIO reads XDG_DATA_HOME once per process: the entry must exist before the first read.
    m_dataHome = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_dataHome->path()).mkpath(QStringLiteral("applications")));
    QFile entry(m_dataHome->filePath(QStringLiteral("applications/%1.desktop").arg(kProbeId)));
    QVERIFY(entry.open(QIODevice::WriteOnly));
    entry.write("[Desktop Entry]\nType=Application\nName=Orvella Probe\nExec=true\nIcon=orvella-probe\n"
                "StartupWMClass=ProbeMain\n");
    entry.close();
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome->path()));

    QString error;
    m_desktop = x11::X11Desktop::open(QString(), &error);
    QVERIFY2(m_desktop, qPrintable(error));
    int screen = 0;
    m_connection = xcb_connect(display.constData(), &screen);
    QVERIFY(!xcb_connection_has_error(m_connection));
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (; screen > 0; --screen)
        xcb_screen_next(&it);
    m_root = it.data->root;
    Client::s_observer = m_connection;
    Client::s_root = m_root;
    m_helper = xcb_generate_id(m_connection);
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_helper, m_root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_flush(m_connection);
}

void TestX11Desktop::cleanupTestCase()
{
    m_desktop.reset();
    if (m_connection)
        xcb_disconnect(m_connection);
}

void TestX11Desktop::trustedAndOwnPid()
{
    QVERIFY(m_desktop->isTrusted());
    QCOMPARE(m_desktop->ownPid(), qint32(::getpid()));
}

void TestX11Desktop::titles_data()
{
    QTest::addColumn<QStringList>("titles");
    QTest::newRow("unicode") << QStringList{QString::fromUtf8("Überblick — 日本語 🙂")};
    QTest::newRow("empty") << QStringList{QString()};
    QTest::newRow("duplicates") << QStringList{"Same", "Same", "Other"};
    QTest::newRow("long") << QStringList{QString(1500, QChar(0x00e9)) + QStringLiteral("end")};
}

void TestX11Desktop::titles()
{
    QFETCH(QStringList, titles);
    QStringList args;
    for (const QString &title : titles)
        args << QStringLiteral("--title") << title;
    Client client(args, int(titles.size()));
    QCOMPARE(client.titles, titles);

    const DesktopSnapshot s = snapshot();
    const RunningApp *app = findApp(s, client.pid());
    QVERIFY(app);
    QVERIFY(app->regular);
    QCOMPARE(app->name, QStringLiteral("orvella-testclient"));
    QVERIFY(!app->bundleID);
    const QList<AppWindow> windows = s.windowsByPid.value(client.pid()).value_or(QList<AppWindow>());
    QCOMPARE(windows.size(), titles.size());
    for (qsizetype i = 0; i < titles.size(); ++i) {
        const std::optional<AppWindow> w = findWindow(s, client.xids[i]);
        QVERIFY(w);
        QCOMPARE(w->title, titles[i]);
        QCOMPARE(findServerWindow(s, client.xids[i]).value_or(ServerWindow()).ownerPid, client.pid());
    }
}

void TestX11Desktop::untitledSmallWindowIsListed()
{
    Client client({"--title", "untitled", "--no-title", "--size", "150x300"});
    QCOMPARE(client.xids.size(), 1);
    const DesktopSnapshot s = snapshot();
    const std::optional<AppWindow> w = findWindow(s, client.xids[0]);
    QVERIFY(w);
    QVERIFY(w->title.isEmpty());
    QVERIFY(!w->minimized);
    QVERIFY2(w->frame.width() >= 150 && w->frame.height() >= 300, qPrintable(describe(w->frame)));
    const std::optional<ServerWindow> server = findServerWindow(s, client.xids[0]);
    QVERIFY(server);
    QVERIFY(!server->name);
}

void TestX11Desktop::hugeTitleIsBounded()
{
    Client client({"--title", "short"});
    QCOMPARE(client.xids.size(), 1);
    // 1 MiB of a two-byte character: the bound falls on a character boundary.
    const QByteArray huge = QString(512 * 1024, QChar(0x00e9)).toUtf8();
    QCOMPARE(client.command("title 0 " + huge), QStringLiteral("ok title 0"));
    const std::optional<AppWindow> w = findWindow(snapshot(), client.xids[0]);
    QVERIFY(w);
    QCOMPARE(w->title, QString(2048, QChar(0x00e9)));
}

void TestX11Desktop::minimized_data()
{
    QTest::addColumn<bool>("startIconic");
    QTest::newRow("started iconic") << true;
    QTest::newRow("iconified later") << false;
}

void TestX11Desktop::minimized()
{
    QFETCH(bool, startIconic);
    QStringList args{"--title", "Shown", "--title", "Hidden"};
    if (startIconic)
        args << "--iconic";
    Client client(args, 2);
    QCOMPARE(client.xids.size(), 2);
    if (!startIconic)
        QCOMPARE(client.command("iconify 1"), QStringLiteral("ok iconify 1"));
    const quint32 shown = client.xids[0], hidden = client.xids[1];
    QTRY_VERIFY_WITH_TIMEOUT(findWindow(snapshot(), hidden).value_or(AppWindow()).minimized, kTimeoutMs);
    QTRY_VERIFY_WITH_TIMEOUT(findServerWindow(snapshot(), shown).value_or(ServerWindow()).onScreen,
                             kTimeoutMs);

    const DesktopSnapshot s = snapshot();
    QVERIFY(findWindow(s, shown) && findServerWindow(s, shown) && findServerWindow(s, hidden));
    QVERIFY(!findWindow(s, shown)->minimized);
    const ServerWindow shownServer = *findServerWindow(s, shown), hiddenServer = *findServerWindow(s, hidden);
    QCOMPARE(shownServer.alpha, 1.0);
    // Not drawn at all: otherwise the core would take it for a covered, full-size window.
    QCOMPARE(hiddenServer.alpha, 0.0);
    QVERIFY(!hiddenServer.onScreen);
    QCOMPARE(hiddenServer.layer, 0);
    QCOMPARE(shownServer.layer, 0);
}

void TestX11Desktop::activeWindow()
{
    Client client({"--title", "First", "--title", "Second"}, 2);
    QCOMPARE(client.xids.size(), 2);
    for (int i : {1, 0}) {
        const quint32 xid = client.xids[i];
        sendToRoot(xid, "_NET_ACTIVE_WINDOW", {2, serverTime(), 0});
        QTRY_COMPARE_WITH_TIMEOUT(cardinals(m_root, "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW),
                                  QList<quint32>{xid}, kTimeoutMs);
        const DesktopSnapshot s = snapshot();
        QCOMPARE(s.frontmostPid, client.pid());
        QCOMPARE(s.focusedTitle, std::optional<QString>(client.titles[i]));
    }
}

void TestX11Desktop::pidSources_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<bool>("realPid");
    QTest::addColumn<qint32>("pid");
    QTest::newRow("_NET_WM_PID") << QStringList{} << true << 0;
    QTest::newRow("_NET_WM_PID wins over the connection") << QStringList{"--pid", "4242"} << false << 4242;
    QTest::newRow("X-Resource without _NET_WM_PID") << QStringList{"--no-pid"} << true << 0;
}

void TestX11Desktop::pidSources()
{
    QFETCH(QStringList, args);
    QFETCH(bool, realPid);
    QFETCH(qint32, pid);
    Client client(QStringList{"--title", "Whose"} + args);
    QCOMPARE(client.xids.size(), 1);
    const qint32 expected = realPid ? client.pid() : pid;
    const DesktopSnapshot s = snapshot();
    QVERIFY(findApp(s, expected));
    QCOMPARE(findServerWindow(s, client.xids[0]).value_or(ServerWindow()).ownerPid, expected);
    QVERIFY(s.windowsByPid.value(expected).value_or(QList<AppWindow>()).size() == 1);
}

void TestX11Desktop::desktopEntryIdentity_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<std::optional<QString>>("bundleID");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("iconName");
    const std::optional<QString> probe = kProbeId;
    const QString probeName = QStringLiteral("Orvella Probe"), probeIcon = QStringLiteral("orvella-probe");
    QTest::newRow("GTK application id")
        << QStringList{"--gtk-app-id", kProbeId, "--class", "Other"} << probe << probeName << probeIcon;
    QTest::newRow("WM_CLASS is StartupWMClass")
        << QStringList{"--class", "probemain"} << probe << probeName << probeIcon;
    QTest::newRow("WM_CLASS is the file id")
        << QStringList{"--class", "ORG.ORVELLA.PROBE"} << probe << probeName << probeIcon;
    QTest::newRow("no entry: the class names it")
        << QStringList{"--class", "Unlisted-App"} << std::optional<QString>() << "Unlisted-App" << QString();
    // The kernel keeps 15 characters of a process name.
    QTest::newRow("no class: the process name")
        << QStringList{"--class", ""} << std::optional<QString>() << "orvella-testcli" << QString();
}

void TestX11Desktop::desktopEntryIdentity()
{
    QFETCH(QStringList, args);
    QFETCH(std::optional<QString>, bundleID);
    QFETCH(QString, name);
    QFETCH(QString, iconName);
    Client client(QStringList{"--title", "Identity"} + args);
    QCOMPARE(client.xids.size(), 1);
    const DesktopSnapshot s = snapshot();
    const RunningApp *app = findApp(s, client.pid());
    QVERIFY(app);
    QCOMPARE(app->bundleID, bundleID);
    QCOMPARE(app->name, name);
    QCOMPARE(app->iconName, iconName);
}

void TestX11Desktop::icons_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QSize>("size");
    // Openbox replaces an unusable icon with its own, so a hostile icon alone never reaches
    // a reader through it: see hostilePropertiesOfAListedWindow.
    QTest::newRow("best of several") << QStringList{"--icon", "16", "--icon", "48", "--icon", "32"}
                                     << QSize(32, 32);
    QTest::newRow("valid before hostile") << QStringList{"--icon", "24", "--bad-icon"} << QSize(24, 24);
    // 3 MB: more than one read takes; the image at the start is found all the same.
    QTest::newRow("beyond the read bound")
        << QStringList{"--icon", "32", "--icon-bytes", "3000000"} << QSize(32, 32);
}

void TestX11Desktop::icons()
{
    QFETCH(QStringList, args);
    QFETCH(QSize, size);
    Client client(QStringList{"--title", "Icon"} + args);
    QCOMPARE(client.xids.size(), 1);
    const DesktopSnapshot s = snapshot();
    const RunningApp *app = findApp(s, client.pid());
    QVERIFY(app);
    QCOMPARE(app->icon.size(), size);
    QCOMPARE(app->icon.format(), QImage::Format_ARGB32_Premultiplied);
}

void TestX11Desktop::framesIncludeDecorations()
{
    Client client({"--title", "Framed", "--size", "300x200"});
    QCOMPARE(client.xids.size(), 1);
    const xcb_window_t xid = client.xids[0];
    QTRY_VERIFY_WITH_TIMEOUT(findServerWindow(snapshot(), xid).value_or(ServerWindow()).onScreen, kTimeoutMs);
    const DesktopSnapshot s = snapshot();
    QVERIFY(findWindow(s, xid) && findServerWindow(s, xid));
    const QRectF frame = findWindow(s, xid)->frame;
    const Reply<xcb_translate_coordinates_reply_t> origin(
        xcb_translate_coordinates_reply(m_connection,
                                        xcb_translate_coordinates(m_connection, xid, m_root, 0, 0), nullptr),
        &std::free);
    QVERIFY(origin);
    const QRectF clientArea(origin->dst_x, origin->dst_y, 300, 200);
    QVERIFY2(frame.contains(clientArea) && frame.width() > 300 && frame.height() > 200,
             qPrintable(describe(frame)));
    QCOMPARE(findServerWindow(s, xid)->bounds, frame);
}

void TestX11Desktop::windowsOpenedAndClosedLater()
{
    Client client({"--title", "Main"});
    QCOMPARE(client.xids.size(), 1);
    pressCtrlN(client.xids[0]);
    const QRegularExpressionMatch opened = QRegularExpression(QStringLiteral("^ready 0x([0-9a-f]+) Main 2$"))
                                               .match(client.nextLine().value_or(QString()));
    QVERIFY(opened.hasMatch());
    const xcb_window_t second = opened.captured(1).toUInt(nullptr, 16);
    QCOMPARE(findWindow(snapshot(), second).value_or(AppWindow()).title, QStringLiteral("Main 2"));

    // Closing politely ends that window only.
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = second;
    message.type = atom("WM_PROTOCOLS");
    message.data.data32[0] = atom("WM_DELETE_WINDOW");
    message.data.data32[1] = serverTime();
    xcb_send_event(m_connection, 0, second, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(m_connection);
    QCOMPARE(client.nextLine(), std::optional<QString>(QStringLiteral("closed 0x%1").arg(second, 0, 16)));
    QTRY_VERIFY_WITH_TIMEOUT(!findServerWindow(snapshot(), second), kTimeoutMs);
    const DesktopSnapshot s = snapshot();
    QCOMPARE(s.windowsByPid.value(client.pid()).value_or(QList<AppWindow>()).size(), 1);
    QVERIFY(findWindow(s, client.xids[0]));
}

void TestX11Desktop::windowStates_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<bool>("ordinaryLayer");
    QTest::newRow("skip taskbar") << QByteArray("_NET_WM_STATE_SKIP_TASKBAR") << false << true;
    QTest::newRow("above") << QByteArray("_NET_WM_STATE_ABOVE") << true << false;
    QTest::newRow("below") << QByteArray("_NET_WM_STATE_BELOW") << true << false;
}

void TestX11Desktop::windowStates()
{
    QFETCH(QByteArray, state);
    QFETCH(bool, listed);
    QFETCH(bool, ordinaryLayer);
    Client client({"--title", "Stateful"});
    QCOMPARE(client.xids.size(), 1);
    const xcb_window_t xid = client.xids[0];
    const xcb_atom_t stateAtom = atom(state.constData());
    sendToRoot(xid, "_NET_WM_STATE", {1, stateAtom, 0, 2});
    QTRY_VERIFY_WITH_TIMEOUT(cardinals(xid, "_NET_WM_STATE", XCB_ATOM_ATOM).contains(stateAtom), kTimeoutMs);

    const DesktopSnapshot s = snapshot();
    const RunningApp *app = findApp(s, client.pid());
    QVERIFY(app);
    // The client's only window decides whether it is an application the sidebar lists.
    QCOMPARE(app->regular, listed);
    QCOMPARE(findWindow(s, xid).has_value(), listed);
    QVERIFY(findServerWindow(s, xid));
    QCOMPARE(findServerWindow(s, xid)->layer == 0, ordinaryLayer);
}

void TestX11Desktop::listedWindowThatNoLongerExists()
{
    Client client({"--title", "Survivor A", "--title", "Survivor B"}, 2);
    QCOMPARE(client.xids.size(), 2);
    const xcb_window_t gone = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, gone, m_root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_destroy_window(m_connection, gone);

    QLoggingCategory::setFilterRules(QStringLiteral("orvella.platform.debug=true"));
    QTest::ignoreMessage(
        QtDebugMsg,
        QRegularExpression(QStringLiteral("window 0x%1 closed while being read").arg(gone, 0, 16)));
    const QList<quint32> realList = listAlso(gone, client.xids[1]);
    const DesktopSnapshot s = snapshot();
    setCardinals(m_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, realList);
    QLoggingCategory::setFilterRules(QString());
    QVERIFY(!findServerWindow(s, gone));
    QVERIFY(findWindow(s, client.xids[0]));
    QVERIFY(findWindow(s, client.xids[1]));
}

void TestX11Desktop::hostilePropertiesOfAListedWindow()
{
    Client client({"--title", "Neighbour"});
    QCOMPARE(client.xids.size(), 1);
    const xcb_window_t hostile = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, hostile, m_root, 0, 0, 400, 300, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const auto set = [&](const char *name, xcb_atom_t type, int format, const QByteArray &value) {
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, hostile, atom(name), type, format,
                            uint32_t(value.size() / (format / 8)), value.constData());
    };
    const auto items = [](const QList<quint32> &values) {
        return QByteArray(reinterpret_cast<const char *>(values.constData()), values.size() * 4);
    };
    set("_NET_WM_NAME", atom("UTF8_STRING"), 8, "bad \xff\xfe title");
    set("WM_CLASS", XCB_ATOM_STRING, 8, "no-terminator");
    set("_NET_WM_PID", XCB_ATOM_STRING, 8, "1234");
    set("_NET_WM_WINDOW_TYPE", XCB_ATOM_CARDINAL, 32, items({1}));
    set("_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL, 32, items({5, 5, 5}));
    set("_NET_WM_ICON", XCB_ATOM_CARDINAL, 32, items(QList<quint32>{65535, 65535} + QList<quint32>(16, ~0u)));

    // Each problem is reported once, with the window and property it concerns.
    const auto expect = [hostile](QtMsgType type, const char *what) {
        QTest::ignoreMessage(
            type, QRegularExpression(QStringLiteral("window 0x%1: %2").arg(hostile, 0, 16).arg(what)));
    };
    expect(QtWarningMsg, "_NET_WM_PID ignored");
    expect(QtWarningMsg, "_NET_WM_WINDOW_TYPE ignored");
    expect(QtWarningMsg, "_NET_FRAME_EXTENTS ignored");
    expect(QtWarningMsg, "_NET_WM_ICON ignored: icon image declares more pixels than the data holds");
    expect(QtInfoMsg, "WM_CLASS read in part");
    const QList<quint32> realList = listAlso(hostile, client.xids[0]);
    const DesktopSnapshot s = snapshot();
    // Read again and again, the same window is not reported again.
    QTest::failOnWarning(QRegularExpression(QStringLiteral("window 0x%1").arg(hostile, 0, 16)));
    snapshot();
    setCardinals(m_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, realList);
    xcb_destroy_window(m_connection, hostile);

    QVERIFY(findWindow(s, client.xids[0]));
    const std::optional<ServerWindow> server = findServerWindow(s, hostile);
    QVERIFY(server);
    // No _NET_WM_PID that can be believed: the X-Resource answer is this process.
    QCOMPARE(server->ownerPid, qint32(::getpid()));
    QCOMPARE(server->name, std::optional<QString>(QString::fromUtf8("bad \xef\xbf\xbd\xef\xbf\xbd title")));
    QCOMPARE(server->bounds, QRectF(0, 0, 400, 300));
    QCOMPARE(server->layer, 0);
    QVERIFY(!server->onScreen);
    const RunningApp *app = findApp(s, qint32(::getpid()));
    QVERIFY(app);
    QVERIFY(app->icon.isNull());
    // WM_CLASS had no class part: the process name stands in.
    QCOMPARE(app->name, QStringLiteral("tst_x11desktop"));
}

void TestX11Desktop::windowsChurningDuringReads()
{
    Client client({"--title", "Steady"});
    QCOMPARE(client.xids.size(), 1);
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::atomic<int> listedDead{0};
    // Two readers at once: refreshes may overlap, and a window may end between any two rounds.
    const auto reader = [&] {
        while (!stop) {
            const DesktopSnapshot s = m_desktop->readSnapshot();
            ++reads;
            if (!s.serverWindows || !findServerWindow(s, client.xids[0]))
                ++listedDead;
        }
    };
    std::thread first(reader), second(reader);
    const QString answer = client.command("churn 150");
    stop = true;
    first.join();
    second.join();
    QCOMPARE(answer, QStringLiteral("ok churn 150"));
    QVERIFY(reads > 0);
    // Whatever ended mid-read, the window that stayed was never lost.
    QCOMPARE(listedDead.load(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(snapshot().windowsByPid.value(client.pid()).value_or(QList<AppWindow>()).size(),
                              1, kTimeoutMs);
}

void TestX11Desktop::trustFollowsTheWindowManagerCheck()
{
    const QList<quint32> check = cardinals(m_root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW);
    QCOMPARE(check.size(), 1);
    // A check window that does not name itself, as a dead window manager leaves behind.
    setCardinals(m_root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, {m_helper});
    snapshot();
    const bool trustedWithStaleCheck = m_desktop->isTrusted();
    setCardinals(m_root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, check);
    QVERIFY(!trustedWithStaleCheck);
    snapshot();
    QVERIFY(m_desktop->isTrusted());
}

void TestX11Desktop::lostServer()
{
    orvella::testsupport::XSession session;
    QString error;
    QVERIFY2(session.start(&error), qPrintable(error));
    auto desktop = x11::X11Desktop::open(session.display(), &error);
    QVERIFY2(desktop, qPrintable(error));
    QVERIFY(desktop->isTrusted());
    QVERIFY(desktop->readSnapshot().serverWindows);

    session.stop();
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("connection to the X server is lost")));
    const DesktopSnapshot s = desktop->readSnapshot();
    QVERIFY(s.apps.isEmpty() && s.windowsByPid.isEmpty() && !s.serverWindows && s.frontmostPid == 0);
    QVERIFY(!desktop->isTrusted());
    // One line says it; later reads stay quiet.
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
    QVERIFY(!desktop->readSnapshot().serverWindows);
}

// Puts `extra` into the root's client list before `before`, as a window manager lists a
// window that has just ended, or one whose properties it never checked; returns the real
// list, to be put back.
QList<quint32> TestX11Desktop::listAlso(xcb_window_t extra, xcb_window_t before)
{
    const QList<quint32> real = cardinals(m_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
    QList<quint32> listed = real;
    listed.insert(std::max<qsizetype>(0, listed.indexOf(before)), extra);
    setCardinals(m_root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, listed);
    return real;
}

xcb_atom_t TestX11Desktop::atom(const char *name) const
{
    return internAtom(m_connection, name);
}

QList<quint32> TestX11Desktop::cardinals(xcb_window_t window, const char *name, xcb_atom_t type) const
{
    return readCardinals(m_connection, window, name, type);
}

void TestX11Desktop::setCardinals(xcb_window_t window, const char *name, xcb_atom_t type,
                                  const QList<quint32> &values)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom(name), type, 32,
                        uint32_t(values.size()), values.constData());
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

void TestX11Desktop::sendToRoot(xcb_window_t window, const char *type, const QList<quint32> &data)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    for (qsizetype i = 0; i < data.size() && i < 5; ++i)
        message.data.data32[i] = data[i];
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(m_connection);
}

// A Ctrl+N key press delivered to `window`, as the keyboard would deliver it to a focused one.
void TestX11Desktop::pressCtrlN(xcb_window_t window)
{
    const xcb_setup_t *setup = xcb_get_setup(m_connection);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    const Reply<xcb_get_keyboard_mapping_reply_t> map(
        xcb_get_keyboard_mapping_reply(
            m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count), nullptr),
        &std::free);
    QVERIFY(map && map->keysyms_per_keycode > 0);
    const xcb_keysym_t *syms = xcb_get_keyboard_mapping_keysyms(map.get());
    const int found =
        int(std::find(syms, syms + xcb_get_keyboard_mapping_keysyms_length(map.get()), 0x6eu) - syms);
    xcb_key_press_event_t press{};
    press.response_type = XCB_KEY_PRESS;
    press.detail = xcb_keycode_t(setup->min_keycode + found / map->keysyms_per_keycode);
    press.time = serverTime();
    press.root = m_root;
    press.event = window;
    press.state = XCB_MOD_MASK_CONTROL;
    press.same_screen = 1;
    xcb_send_event(m_connection, 0, window, XCB_EVENT_MASK_KEY_PRESS, reinterpret_cast<const char *>(&press));
    xcb_flush(m_connection);
}

// The server's current time: the stamp of a PropertyNotify that this call provokes.
xcb_timestamp_t TestX11Desktop::serverTime()
{
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_helper, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    xcb_flush(m_connection);
    while (xcb_generic_event_t *event = xcb_wait_for_event(m_connection)) {
        const Reply<xcb_generic_event_t> owned(event, &std::free);
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t *>(event)->time;
    }
    return XCB_CURRENT_TIME;
}

QTEST_GUILESS_MAIN(TestX11Desktop)
#include "tst_x11desktop.moc"
