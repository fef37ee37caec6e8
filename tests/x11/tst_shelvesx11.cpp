// Shelves against a real X server: a shelved window keeps its shelf and its place
// through a retitle, a restart of its application and a restart of the window
// manager; a window taken off a shelf stays off; a window id the server hands to another
// client never brings a window onto a shelf. Also `orvella list` on that session.
#include "desktoplookup.h"
#include "platform/preferencesstore.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11windowcontrol.h"
#include "settings/appsettings.h"
#include "testclientprocess.h"
#include "tracking/windowmanager.h"
#include "xtestconnection.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace orvella;
using namespace orvella::tracking;
using testsupport::TestClient;

namespace {

const QStringList kTitles{QStringLiteral("alpha"), QStringLiteral("beta"), QStringLiteral("gamma")};

} // namespace

class TestShelvesX11 : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void shelfSurvivesRetitleAndRestarts();
    void reusedWindowIdsNeverJoinAShelf();
    void closedApplicationShowsOnePlaceholder();
    void raisingWindowsWritesNothing();
    void listAndWatchPrintWhatTheClientCreated();
    void listWithoutADisplayFailsClearly();

private:
    void startClient(const QStringList &titles);
    void stopClient();
    void newManager(settings::AppSettings *settings = nullptr);
    void restartManager();
    std::unique_ptr<TestClient> client(const QString &appClass, const QStringList &titles);
    QString shelveInOrder(const QStringList &titles);
    bool refreshUntil(const std::function<bool()> &done) { return testsupport::refreshUntil(*m_wm, done); }
    std::optional<WindowItem> byTitle(const QString &title) const
    {
        return testsupport::itemTitled(*m_wm, title);
    }
    QStringList shelfTitles(const QString &shelf) const;

    QTemporaryDir m_dir;
    std::shared_ptr<platform::x11::X11Desktop> m_desktop;
    std::unique_ptr<platform::PreferencesStore> m_store;
    std::unique_ptr<WindowManager> m_wm;
    std::unique_ptr<TestClient> m_client;
};

void TestShelvesX11::initTestCase()
{
    QVERIFY2(testsupport::inPrivateSession(), "run this test through orvella-xsession");
    QString error;
    m_desktop = platform::x11::X11Desktop::open(QString(), &error);
    QVERIFY2(m_desktop, qPrintable(error));
    QVERIFY(m_desktop->isTrusted());
    qputenv("XDG_CONFIG_HOME", m_dir.path().toUtf8());
}

void TestShelvesX11::cleanup()
{
    m_wm.reset();
    m_store.reset();
    stopClient();
}

void TestShelvesX11::startClient(const QStringList &titles)
{
    m_client = std::make_unique<TestClient>(TestClient::titled(titles));
    QCOMPARE(m_client->titles, titles);
}

void TestShelvesX11::stopClient()
{
    if (!m_client)
        return;
    m_client->kill();
    m_client->waitForFinished();
    m_client.reset();
}

void TestShelvesX11::newManager(settings::AppSettings *settings)
{
    if (!m_store)
        m_store = std::make_unique<platform::PreferencesStore>(
            m_dir.filePath(QStringLiteral("%1.json").arg(QTest::currentTestFunction())));
    m_wm = std::make_unique<WindowManager>(m_desktop, settings, m_store.get());
    m_wm->restoreState();
}

// Orvella quits and starts again from the same preferences file.
void TestShelvesX11::restartManager()
{
    m_wm.reset();
    QVERIFY(m_store->flush());
    m_store = std::make_unique<platform::PreferencesStore>(m_store->filePath());
    newManager();
}

std::unique_ptr<TestClient> TestShelvesX11::client(const QString &appClass, const QStringList &titles)
{
    auto c = std::make_unique<TestClient>(QStringList{QStringLiteral("--class"), appClass}
                                          + TestClient::titled(titles));
    return c->titles == titles ? std::move(c) : nullptr;
}

// A new shelf holding the listed windows with these titles, in this order.
QString TestShelvesX11::shelveInOrder(const QStringList &titles)
{
    if (!refreshUntil([&] { return byTitle(titles.constLast()).has_value(); }))
        return {};
    const QString shelf = m_wm->addShelf();
    for (const QString &title : titles)
        m_wm->dragMoveWindow(byTitle(title)->id, shelf);
    return shelfTitles(shelf) == titles ? shelf : QString();
}

QStringList TestShelvesX11::shelfTitles(const QString &shelf) const
{
    for (const WindowCategory &c : m_wm->categories()) {
        if (c.id == shelf) {
            QStringList titles;
            for (const WindowItem &w : c.windows)
                titles.append(w.windowTitle);
            return titles;
        }
    }
    return {};
}

void TestShelvesX11::shelfSurvivesRetitleAndRestarts()
{
    startClient(kTitles);
    newManager();
    const QString shelf = shelveInOrder({"beta", "alpha", "gamma"});
    QVERIFY(!shelf.isEmpty());
    QVERIFY(m_wm->removeWindowFromShelf(byTitle(QStringLiteral("gamma"))->id));
    const auto keptItsPlace = [&] {
        const auto gamma = byTitle(QStringLiteral("gamma"));
        return shelfTitles(shelf) == QStringList({"beta", "alpha, renamed"}) && gamma
               && m_wm->categoryIDForWindow(gamma->id) != shelf;
    };

    // (a) the window is retitled by its application
    m_client->write("title 0 alpha, renamed\n");
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("alpha, renamed")).has_value(); }));
    QVERIFY(keptItsPlace());

    // (b) the application quits and starts again: new windows, same titles, another order
    stopClient();
    QVERIFY(refreshUntil([&] { return !byTitle(QStringLiteral("beta")); }));
    startClient({QStringLiteral("gamma"), QStringLiteral("alpha, renamed"), QStringLiteral("beta")});
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("beta")).has_value(); }));
    QVERIFY(keptItsPlace());

    // (c) Orvella restarts from the same preferences file
    restartManager();
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("beta")).has_value(); }));
    QVERIFY(keptItsPlace());

    // (d) the application restarts, in yet another order, while Orvella is down
    m_wm.reset();
    stopClient();
    startClient({QStringLiteral("beta"), QStringLiteral("gamma"), QStringLiteral("alpha, renamed")});
    restartManager();
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("beta")).has_value(); }));
    QVERIFY(keptItsPlace());
}

void TestShelvesX11::reusedWindowIdsNeverJoinAShelf()
{
    auto a = client(QStringLiteral("AppA"), {QStringLiteral("Alpha")});
    QVERIFY(a);
    const quint32 alphaID = a->xids.constFirst();
    newManager();
    const QString shelf = shelveInOrder({QStringLiteral("Alpha")});
    QVERIFY(!shelf.isEmpty());
    const auto inAppSection = [&](const QString &title, const QString &app) {
        const auto w = byTitle(title);
        return w && m_wm->categoryIDForWindow(w->id) == app;
    };

    // A quits while Orvella is down; B's window gets Alpha's id.
    m_wm.reset();
    a->quit();
    auto b = client(QStringLiteral("AppB"), {QStringLiteral("Private chat")});
    QVERIFY(b);
    QCOMPARE(b->xids.constFirst(), alphaID); // the reuse this test is about
    restartManager();
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("Private chat")).has_value(); }));
    QVERIFY(inAppSection(QStringLiteral("Private chat"), QStringLiteral("AppB")));
    m_wm->buildCategories(); // would persist the misplaced window, if it were one
    QVERIFY(m_store->flush());
    const QJsonObject stored = *m_store->dictionaryValue(QStringLiteral("ov.windowCategoryAssignment"));
    for (auto it = stored.begin(); it != stored.end(); ++it)
        QVERIFY2(!it.key().startsWith(QStringLiteral("AppB::")), qPrintable(it.key()));

    // A starts again while Orvella is down and creates its windows in another order:
    // Beta takes Alpha's old id.
    m_wm.reset();
    b->quit();
    a = client(QStringLiteral("AppA"), {QStringLiteral("Beta"), QStringLiteral("Alpha")});
    QVERIFY(a);
    QCOMPARE(a->xids.constFirst(), alphaID);
    restartManager();
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("Alpha")).has_value(); }));
    QCOMPARE(shelfTitles(shelf), QStringList({"Alpha"}));
    QVERIFY(inAppSection(QStringLiteral("Beta"), QStringLiteral("AppA")));
    m_wm.reset();
}

void TestShelvesX11::closedApplicationShowsOnePlaceholder()
{
    platform::PreferencesStore settingsStore(m_dir.filePath(QStringLiteral("placeholder-settings.json")));
    settings::AppSettings appSettings(settingsStore);
    appSettings.setShowClosedShelfApps(true);
    auto a = client(QStringLiteral("AppA"), {QStringLiteral("Alpha")});
    QVERIFY(a);
    newManager(&appSettings);
    const QString shelf = shelveInOrder({QStringLiteral("Alpha")});
    QVERIFY(!shelf.isEmpty());
    const auto placeholders = [&] {
        int n = 0;
        for (const WindowCategory &c : m_wm->categories()) {
            for (const WindowItem &w : c.windows)
                n += w.isClosed ? 1 : 0;
        }
        return n;
    };

    for (int round = 0; round < 2; ++round) {
        a->quit();
        QVERIFY(refreshUntil([&] { return !byTitle(QStringLiteral("Alpha")); }));
        QCOMPARE(placeholders(), 1);
        // Another client takes the ids A had, so that A comes back under new ones.
        auto other = client(QStringLiteral("Other"), {QStringLiteral("filler")});
        a = client(QStringLiteral("AppA"), {QStringLiteral("Alpha")});
        QVERIFY(a && other);
        QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("Alpha")).has_value(); }));
        QCOMPARE(placeholders(), 0);
        QCOMPARE(shelfTitles(shelf), QStringList({"Alpha"}));
    }
    a->quit();
    QVERIFY(refreshUntil([&] { return !byTitle(QStringLiteral("Alpha")); }));
    QCOMPARE(placeholders(), 1);
    m_wm.reset();
}

void TestShelvesX11::raisingWindowsWritesNothing()
{
    auto a = client(QStringLiteral("AppA"), {"Alpha", "Beta", "Gamma"});
    QVERIFY(a);
    newManager();
    QVERIFY(!shelveInOrder({"Gamma", "Alpha"}).isEmpty());
    QVERIFY(refreshUntil([] { return true; }));
    QVERIFY(m_store->flush());
    struct stat before = {};
    QCOMPARE(::stat(qPrintable(m_store->filePath()), &before), 0);

    QString error;
    const auto control = platform::x11::X11WindowControl::open(QString(), &error);
    QVERIFY2(control, qPrintable(error));
    for (int i = 0; i < 100; ++i) {
        const quint32 xid = a->xids.at(i % a->xids.size());
        QVERIFY(control->activate(xid));
        QVERIFY(refreshUntil(
            [&] { return m_wm->activeWindowID() == byTitle(a->titles.at(i % a->titles.size()))->id; }));
    }
    QVERIFY(m_store->flush());
    struct stat after = {};
    QCOMPARE(::stat(qPrintable(m_store->filePath()), &after), 0);
    QCOMPARE(after.st_ino, before.st_ino);
    QCOMPARE(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    m_wm.reset();
}

void TestShelvesX11::listAndWatchPrintWhatTheClientCreated()
{
    // The last window is mapped last and so takes the focus: watch prints its title.
    const QString hostile = QStringLiteral("\x1b]0;owned\x07\x1b[31mred\nline2\r\u202e");
    // Not startClient(): the client's own report of the title is cut at its newline.
    m_client = std::make_unique<TestClient>(
        TestClient::titled({QStringLiteral("Ünïcode ✓"), QStringLiteral("plain"), hostile}));
    QCOMPARE(m_client->xids.size(), 3);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    QTemporaryDir config;
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), config.path());
    const auto run = [&env](const QString &command, const QStringList &options = {}) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(env);
        process->start(QStringLiteral(ORVELLA_BINARY), QStringList{command} + options);
        return process;
    };
    const auto list = run(QStringLiteral("list"), {QStringLiteral("--json")});
    QVERIFY(list->waitForFinished(20000));
    QCOMPARE(list->exitCode(), 0);
    const QJsonObject json = QJsonDocument::fromJson(list->readAllStandardOutput()).object();
    QStringList titles;
    for (const QJsonValue &w : json.value(QStringLiteral("windows")).toArray()) {
        const QJsonObject o = w.toObject();
        titles.append(o.value(QStringLiteral("title")).toString());
        QCOMPARE(o.value(QStringLiteral("pid")).toInt(), int(m_client->processId()));
        QVERIFY(o.value(QStringLiteral("windowNumber")).toInteger() > 0);
        QVERIFY(o.value(QStringLiteral("bounds")).toObject().value(QStringLiteral("width")).toDouble() > 0);
    }
    titles.sort();
    QCOMPARE(titles, QStringList({hostile, "plain", "Ünïcode ✓"}));
    QCOMPARE(json.value(QStringLiteral("sections")).toArray().size(), 1);

    // In text, the hostile title is one line that shows its escapes and sends none.
    const QByteArray shown = R"(\x1b]0;owned\x07\x1b[31mred\nline2\r\u202e)";
    const auto text = run(QStringLiteral("list"));
    QVERIFY(text->waitForFinished(20000));
    const QByteArray lines = text->readAllStandardOutput();
    QCOMPARE(lines.count('\n'), 4); // the section and its three windows
    QVERIFY2(lines.contains(shown + " [active]\n") && !lines.contains('\x1b') && !lines.contains('\r'),
             lines.constData());
    const auto watch = run(QStringLiteral("watch"));
    while (!watch->canReadLine() && watch->waitForReadyRead(20000)) {
    }
    const QByteArray first = watch->readLine();
    watch->terminate();
    QVERIFY(watch->waitForFinished(5000));
    QVERIFY2(first.startsWith("3 windows; active: " + shown + "; sections: ") && first.count('\n') == 1,
             first.constData());
    // Neither command writes the preferences.
    QVERIFY(QDir(config.path()).isEmpty());
    stopClient();
}

void TestShelvesX11::listWithoutADisplayFailsClearly()
{
    QProcess list;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":4242"));
    list.setProcessEnvironment(env);
    list.start(QStringLiteral(ORVELLA_BINARY), {QStringLiteral("list")});
    QVERIFY(list.waitForFinished(20000));
    QCOMPARE(list.exitCode(), 2);
    const QByteArray err = list.readAllStandardError();
    QVERIFY2(err.startsWith("orvella: ") && err.count('\n') == 1, err.constData());
    QVERIFY(err.contains(":4242"));
    QVERIFY(list.readAllStandardOutput().isEmpty());
}

QTEST_GUILESS_MAIN(TestShelvesX11)
#include "tst_shelvesx11.moc"
