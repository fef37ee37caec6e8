// The application on a real X session and a private session bus: one instance, its control
// interface, the command line acting through it, and the ways it ends.
#include "testclientprocess.h"
#include "xsession.h"
#include "xtestconnection.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xtest.h>

#include <csignal>
#include <cstdlib>

using namespace orvella;
using testsupport::TestClient;

namespace {

const QString kService = QStringLiteral("org.orvella.Orvella");

// The application's tray icon as a tray host embedded it: a small mapped window of class
// "orvella" (its other small windows are 1x1 and never mapped); its centre in root coordinates.
std::optional<QPoint> trayIconCentre(xcb_connection_t *c, xcb_window_t window)
{
    auto *tree = xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr);
    if (!tree)
        return std::nullopt;
    const xcb_window_t *children = xcb_query_tree_children(tree);
    const int count = xcb_query_tree_children_length(tree);
    std::optional<QPoint> found;
    for (int i = 0; i < count && !found; ++i) {
        const xcb_window_t w = children[i];
        auto *cls = xcb_get_property_reply(
            c, xcb_get_property(c, 0, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64), nullptr);
        auto *attributes = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, w), nullptr);
        auto *geometry = xcb_get_geometry_reply(c, xcb_get_geometry(c, w), nullptr);
        const QByteArray name = cls ? QByteArray(static_cast<const char *>(xcb_get_property_value(cls)),
                                                 xcb_get_property_value_length(cls))
                                    : QByteArray();
        if (name.startsWith("orvella") && attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE
            && geometry && geometry->width >= 8 && geometry->width <= 64) {
            auto *root = xcb_translate_coordinates_reply(
                c,
                xcb_translate_coordinates(c, w, geometry->root, std::int16_t(geometry->width / 2),
                                          std::int16_t(geometry->height / 2)),
                nullptr);
            if (root)
                found = QPoint(root->dst_x, root->dst_y);
            std::free(root);
        }
        std::free(cls);
        std::free(attributes);
        std::free(geometry);
        if (!found)
            found = trayIconCentre(c, w);
    }
    std::free(tree);
    return found;
}

QDBusMessage callApp(const QString &method, const QVariantList &arguments = {})
{
    QDBusMessage m = QDBusMessage::createMethodCall(kService, QStringLiteral("/org/orvella/Orvella"),
                                                    QStringLiteral("org.orvella.Orvella1"), method);
    m.setArguments(arguments);
    return QDBusConnection::sessionBus().call(m, QDBus::Block, 60000);
}

QJsonObject jsonReply(const QString &method)
{
    const QDBusMessage reply = callApp(method);
    return QJsonDocument::fromJson(reply.arguments().value(0).toString().toUtf8()).object();
}

uint ownerPid()
{
    const auto reply = QDBusConnection::sessionBus().interface()->servicePid(kService);
    return reply.isValid() ? reply.value() : 0;
}

} // namespace

class TestApplicationX11 : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void oneInstanceAnswersOnTheBus();
    void commandLineActsThroughTheInstance();
    void terminationSavesAndExitsCleanly();
    void relaunchHandsTheNameOn();
    void lostWindowManagerIsReportedAndSurvived();
    void hostileCallsGetErrors();
    void trayIconTogglesTheSidebar();

public slots:
    // Not a test: where the instance's Changed signal lands.
    void changed() { ++m_changes; }

private:
    std::unique_ptr<QProcess> start(const QStringList &arguments = {});
    // Runs the command line to its end; its exit code, and its output in *out.
    int cli(const QStringList &arguments, QByteArray *out = nullptr, QByteArray *err = nullptr);
    QJsonObject windowTitled(const QString &title);
    QJsonObject preferences() const;

    testsupport::XSession m_session;
    int m_changes = 0;
    QTemporaryDir m_config;
    QProcessEnvironment m_env;
    std::unique_ptr<QProcess> m_app;
};

void TestApplicationX11::initTestCase()
{
    QVERIFY2(QDBusConnection::sessionBus().isConnected(), "run this test through dbus-run-session");
    QString error;
    QVERIFY2(m_session.start(&error), qPrintable(error));
    for (const QString &entry : m_session.clientEnvironment())
        m_env.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
    // Nothing leaves the machine and nothing lands in the developer's own preferences.
    m_env.insert(QStringLiteral("ORVELLA_EXTERNAL_ADDRESS_URL"), QString());
    m_env.insert(QStringLiteral("DO_NOT_TRACK"), QStringLiteral("1"));
}

void TestApplicationX11::init()
{
    QVERIFY(m_config.isValid());
    QFile::remove(m_config.filePath(QStringLiteral("orvella/preferences.json")));
    m_env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_config.path());
    m_env.insert(QStringLiteral("XDG_DATA_HOME"), m_config.path());
    m_app = start();
    QTRY_VERIFY_WITH_TIMEOUT(ownerPid() == uint(m_app->processId()), testsupport::kWaitMs);
}

void TestApplicationX11::cleanup()
{
    if (m_app && m_app->state() != QProcess::NotRunning) {
        m_app->kill();
        m_app->waitForFinished();
    }
    QTRY_VERIFY_WITH_TIMEOUT(ownerPid() == 0, testsupport::kWaitMs);
}

std::unique_ptr<QProcess> TestApplicationX11::start(const QStringList &arguments)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(m_env);
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(QStringLiteral(ORVELLA_BINARY), arguments);
    process->waitForStarted();
    return process;
}

int TestApplicationX11::cli(const QStringList &arguments, QByteArray *out, QByteArray *err)
{
    QProcess process;
    process.setProcessEnvironment(m_env);
    process.start(QStringLiteral(ORVELLA_BINARY), arguments);
    if (!process.waitForFinished(90000))
        return -1;
    if (out)
        *out = process.readAllStandardOutput();
    const QByteArray errors = process.readAllStandardError();
    if (err)
        *err = errors;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QJsonObject TestApplicationX11::windowTitled(const QString &title)
{
    QByteArray out;
    if (cli({QStringLiteral("list"), QStringLiteral("--json")}, &out) != 0)
        return {};
    for (const QJsonValue &w :
         QJsonDocument::fromJson(out).object().value(QStringLiteral("windows")).toArray()) {
        if (w.toObject().value(QStringLiteral("title")).toString() == title)
            return w.toObject();
    }
    return {};
}

QJsonObject TestApplicationX11::preferences() const
{
    QFile file(m_config.filePath(QStringLiteral("orvella/preferences.json")));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

void TestApplicationX11::oneInstanceAnswersOnTheBus()
{
    TestClient client(TestClient::titled({"bus one"}), m_session.clientEnvironment());
    QTRY_VERIFY_WITH_TIMEOUT(
        jsonReply(QStringLiteral("List")).value(QStringLiteral("windows")).toArray().size() == 1,
        testsupport::kWaitMs);

    // A subscriber hears that a title changed.
    QVERIFY(QDBusConnection::sessionBus().connect(kService, QStringLiteral("/org/orvella/Orvella"),
                                                  QStringLiteral("org.orvella.Orvella1"),
                                                  QStringLiteral("Changed"), this, SLOT(changed())));
    m_changes = 0;
    client.command("title 0 bus one renamed");
    QTRY_VERIFY_WITH_TIMEOUT(m_changes > 0, testsupport::kWaitMs);

    // A second start shows the first one's sidebar and leaves it the only instance.
    QVERIFY(callApp(QStringLiteral("HideSidebar")).type() == QDBusMessage::ReplyMessage);
    const auto second = start();
    QVERIFY(second->waitForFinished(20000));
    QCOMPARE(second->exitCode(), 0);
    QCOMPARE(ownerPid(), uint(m_app->processId()));
    QCOMPARE(jsonReply(QStringLiteral("State")).value(QStringLiteral("sidebarVisible")).toBool(), true);
}

void TestApplicationX11::commandLineActsThroughTheInstance()
{
    TestClient client(TestClient::titled({"kept", "hidden before"}), m_session.clientEnvironment());
    TestClient mute({QStringLiteral("--title"), QStringLiteral("mute"), QStringLiteral("--no-input")},
                    m_session.clientEnvironment());
    QTRY_VERIFY_WITH_TIMEOUT(!windowTitled(QStringLiteral("hidden before")).isEmpty()
                                 && !windowTitled(QStringLiteral("mute")).isEmpty(),
                             testsupport::kWaitMs);
    const QString kept = windowTitled(QStringLiteral("kept")).value(QStringLiteral("id")).toString();
    const QString hidden =
        windowTitled(QStringLiteral("hidden before")).value(QStringLiteral("id")).toString();

    // The running application keeps room for its 250-px sidebar on the left of 1280x800.
    QCOMPARE(cli({QStringLiteral("tile-window"), kept, QStringLiteral("leftHalf")}), 0);
    const QJsonObject bounds =
        windowTitled(QStringLiteral("kept")).value(QStringLiteral("bounds")).toObject();
    QCOMPARE(bounds.value(QStringLiteral("x")).toInt(), 250);
    QCOMPARE(bounds.value(QStringLiteral("width")).toInt(), 515);

    // Show desktop over two separate commands brings back exactly what it hid.
    QCOMPARE(cli({QStringLiteral("minimize"), hidden}), 0);
    QCOMPARE(cli({QStringLiteral("show-desktop")}), 0);
    QCOMPARE(windowTitled(QStringLiteral("kept")).value(QStringLiteral("isMinimized")).toBool(), true);
    QCOMPARE(cli({QStringLiteral("show-desktop")}), 0);
    QCOMPARE(windowTitled(QStringLiteral("kept")).value(QStringLiteral("isMinimized")).toBool(), false);
    QCOMPARE(windowTitled(QStringLiteral("hidden before")).value(QStringLiteral("isMinimized")).toBool(),
             true);

    // A window that takes no input is never given the focus: the instance's answer says so.
    QByteArray err;
    const QString muteID = windowTitled(QStringLiteral("mute")).value(QStringLiteral("id")).toString();
    QCOMPARE(cli({QStringLiteral("focus"), muteID}, nullptr, &err), 1);
    QVERIFY2(err.contains("orvella: the window manager did not focus"), err.constData());

    QByteArray shelf;
    QCOMPARE(cli({QStringLiteral("add-shelf"), QStringLiteral("Work")}, &shelf), 0);
    shelf = shelf.trimmed();
    QVERIFY(shelf.startsWith("shelf-"));
    QCOMPARE(cli({QStringLiteral("move-to-shelf"), kept, QString::fromUtf8(shelf)}), 0);
    QCOMPARE(cli({QStringLiteral("move-to-shelf"), kept, QStringLiteral("shelf-none")}, nullptr, &err), 2);
    QVERIFY2(err.startsWith("orvella: no shelf") && err.count('\n') == 1, err.constData());

    QCOMPARE(cli({QStringLiteral("quit")}), 0);
    QVERIFY(m_app->waitForFinished(20000));
    QCOMPARE(m_app->exitCode(), 0);
    const QJsonObject saved = preferences();
    QVERIFY2(QJsonDocument(saved).toJson().contains("Work"), QJsonDocument(saved).toJson().constData());
    // Without the application the command line says so rather than act alone.
    QCOMPARE(cli({QStringLiteral("show-desktop")}, nullptr, &err), 2);
    QVERIFY2(err.contains("not running"), err.constData());
}

void TestApplicationX11::terminationSavesAndExitsCleanly()
{
    const QString id =
        callApp(QStringLiteral("AddShelf"), {QStringLiteral("Evening")}).arguments().value(0).toString();
    QVERIFY(id.startsWith(QLatin1String("shelf-")));
    ::kill(pid_t(m_app->processId()), SIGTERM);
    QVERIFY(m_app->waitForFinished(20000));
    QCOMPARE(m_app->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_app->exitCode(), 0);
    QVERIFY(QJsonDocument(preferences()).toJson().contains("Evening"));
}

void TestApplicationX11::relaunchHandsTheNameOn()
{
    const uint before = ownerPid();
    QCOMPARE(callApp(QStringLiteral("Relaunch")).type(), QDBusMessage::ReplyMessage);
    QVERIFY(m_app->waitForFinished(20000));
    QCOMPARE(m_app->exitCode(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(ownerPid() != 0 && ownerPid() != before, testsupport::kWaitMs);
    // The new process is no child of this test: end it through its own interface.
    QCOMPARE(callApp(QStringLiteral("Quit")).type(), QDBusMessage::ReplyMessage);
}

void TestApplicationX11::lostWindowManagerIsReportedAndSurvived()
{
    TestClient client(TestClient::titled({"survivor"}), m_session.clientEnvironment());
    QTRY_VERIFY_WITH_TIMEOUT(!windowTitled(QStringLiteral("survivor")).isEmpty(), testsupport::kWaitMs);
    m_session.stopWindowManager();
    const auto banner = [] {
        return jsonReply(QStringLiteral("State")).value(QStringLiteral("banner")).toObject();
    };
    QTRY_VERIFY_WITH_TIMEOUT(
        banner().value(QStringLiteral("message")).toString().contains(QLatin1String("EWMH")),
        testsupport::kWaitMs);
    QCOMPARE(banner().value(QStringLiteral("type")).toString(), QStringLiteral("warning"));
    QCOMPARE(callApp(QStringLiteral("List")).type(), QDBusMessage::ErrorMessage);

    QString error;
    QVERIFY2(m_session.replaceWindowManager(&error), qPrintable(error));
    QTRY_VERIFY_WITH_TIMEOUT(!windowTitled(QStringLiteral("survivor")).isEmpty(), testsupport::kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(banner().isEmpty(), testsupport::kWaitMs);
}

void TestApplicationX11::hostileCallsGetErrors()
{
    const auto errorOf = [](const QString &method, const QVariantList &arguments) {
        const QDBusMessage reply = callApp(method, arguments);
        return reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : QString();
    };
    QCOMPARE(errorOf(QStringLiteral("Focus"), {42}),
             QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
    QCOMPARE(errorOf(QStringLiteral("TileShelf"), {QStringLiteral("x"), QStringLiteral("left")}),
             QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
    QCOMPARE(errorOf(QStringLiteral("Focus"), {QStringLiteral("nobody::wn:1")}),
             QStringLiteral("org.orvella.Orvella1.Error.NotFound"));
    QCOMPARE(
        errorOf(QStringLiteral("TileWindow"), {QStringLiteral("nobody::wn:1"), QStringLiteral("sideways")}),
        QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
    QCOMPARE(
        errorOf(QStringLiteral("RemoveFromShelf"), {QString(QChar(0x202e)) + QStringLiteral("\x1b[31m")}),
        QStringLiteral("org.orvella.Orvella1.Error.NotFound"));

    // A burst: every call is answered (a refusal is an answer), and the application still
    // serves afterwards.
    QList<QDBusPendingCall> calls;
    for (int i = 0; i < 1000; ++i) {
        QDBusMessage m = QDBusMessage::createMethodCall(
            kService, QStringLiteral("/org/orvella/Orvella"), QStringLiteral("org.orvella.Orvella1"),
            i % 2 ? QStringLiteral("List") : QStringLiteral("Minimize"));
        if (i % 2 == 0)
            m.setArguments({QStringLiteral("nobody::wn:%1").arg(i)});
        calls.append(QDBusConnection::sessionBus().asyncCall(m, 60000));
    }
    for (QDBusPendingCall &call : calls)
        call.waitForFinished();
    const auto unanswered = std::count_if(calls.begin(), calls.end(), [](const QDBusPendingCall &c) {
        return c.isError() && !c.error().name().startsWith(QLatin1String("org.orvella.Orvella1.Error."));
    });
    QCOMPARE(unanswered, 0);
    QCOMPARE(callApp(QStringLiteral("State")).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(ownerPid(), uint(m_app->processId()));
}

// A real tray host (tint2's system tray, XEmbed) embeds the icon; a click on it hides the
// sidebar and the next shows it again.
void TestApplicationX11::trayIconTogglesTheSidebar()
{
    if (QStandardPaths::findExecutable(QStringLiteral("tint2")).isEmpty())
        QSKIP("tint2, the tray host this test uses, is not installed");
    // The application looks for a tray when it starts: the host comes first.
    m_app->kill();
    m_app->waitForFinished();
    QTRY_VERIFY_WITH_TIMEOUT(ownerPid() == 0, testsupport::kWaitMs);
    QTemporaryDir dir;
    QFile config(dir.filePath(QStringLiteral("tint2rc")));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write("panel_items = S\npanel_size = 100% 30\npanel_position = bottom center horizontal\n"
                 "systray_icon_size = 22\n");
    config.close();
    QProcess host;
    host.setProcessEnvironment(m_env);
    host.setStandardOutputFile(QProcess::nullDevice());
    host.setStandardErrorFile(QProcess::nullDevice());
    host.start(QStringLiteral("tint2"), {QStringLiteral("-c"), config.fileName()});
    QVERIFY(host.waitForStarted());
    testsupport::XTestConnection x(m_session.display());
    const xcb_atom_t traySelection = x.atom("_NET_SYSTEM_TRAY_S0");
    const auto trayOwned = [&] {
        auto *owner = xcb_get_selection_owner_reply(
            x.connection(), xcb_get_selection_owner(x.connection(), traySelection), nullptr);
        const bool owned = owner && owner->owner != XCB_NONE;
        std::free(owner);
        return owned;
    };
    QTRY_VERIFY_WITH_TIMEOUT(trayOwned(), testsupport::kWaitMs);

    m_app = start();
    const auto sidebarVisible = [] {
        return jsonReply(QStringLiteral("State")).value(QStringLiteral("sidebarVisible")).toBool();
    };
    QTRY_VERIFY_WITH_TIMEOUT(sidebarVisible(), testsupport::kWaitMs);
    std::optional<QPoint> icon;
    QTRY_VERIFY_WITH_TIMEOUT((icon = trayIconCentre(x.connection(), x.root())).has_value(),
                             testsupport::kWaitMs);
    const auto click = [&] {
        xcb_test_fake_input(x.connection(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, x.root(),
                            std::int16_t(icon->x()), std::int16_t(icon->y()), 0);
        xcb_test_fake_input(x.connection(), XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_test_fake_input(x.connection(), XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        x.sync();
    };
    click();
    QTRY_VERIFY_WITH_TIMEOUT(!sidebarVisible(), testsupport::kWaitMs);
    QTest::qWait(500); // two clicks this close would be a double click
    click();
    QTRY_VERIFY_WITH_TIMEOUT(sidebarVisible(), testsupport::kWaitMs);
    host.terminate();
    host.waitForFinished(5000);
}

QTEST_GUILESS_MAIN(TestApplicationX11)
#include "tst_applicationx11.moc"
