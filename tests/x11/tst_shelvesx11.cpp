// Shelves against a real X server: a shelved window keeps its shelf and its place
// through a retitle, a restart of its application and a restart of the window
// manager; a window taken off a shelf stays off. Also `orvella list` on that session.
#include "desktoplookup.h"
#include "platform/preferencesstore.h"
#include "platform/x11/x11desktop.h"
#include "testclientprocess.h"
#include "tracking/windowmanager.h"
#include "xtestconnection.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

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
    void shelfSurvivesRetitleAndRestarts();
    void listPrintsWhatTheClientCreated();
    void listWithoutADisplayFailsClearly();

private:
    void startClient(const QStringList &titles);
    void stopClient();
    void newManager();
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

void TestShelvesX11::newManager()
{
    m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, m_store.get());
    m_wm->restoreState();
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
    m_store = std::make_unique<platform::PreferencesStore>(m_dir.filePath(QStringLiteral("prefs.json")));
    startClient(kTitles);
    newManager();
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("gamma")).has_value(); }));

    const QString shelf = m_wm->addShelf();
    QVERIFY(m_wm->dragMoveWindow(byTitle(QStringLiteral("beta"))->id, shelf));
    QVERIFY(m_wm->dragMoveWindow(byTitle(QStringLiteral("alpha"))->id, shelf));
    QVERIFY(m_wm->dragMoveWindow(byTitle(QStringLiteral("gamma"))->id, shelf));
    QVERIFY(m_wm->removeWindowFromShelf(byTitle(QStringLiteral("gamma"))->id));
    QCOMPARE(shelfTitles(shelf), QStringList({"beta", "alpha"}));
    const auto gammaIsOut = [&] {
        const auto gamma = byTitle(QStringLiteral("gamma"));
        return gamma && m_wm->categoryIDForWindow(gamma->id) != shelf;
    };

    // (a) the window is retitled by its application
    m_client->write("title 0 alpha, renamed\n");
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("alpha, renamed")).has_value(); }));
    QCOMPARE(shelfTitles(shelf), QStringList({"beta", "alpha, renamed"}));
    QVERIFY(gammaIsOut());

    // (b) the application quits and starts again: new windows, same titles
    stopClient();
    QVERIFY(refreshUntil([&] { return !byTitle(QStringLiteral("beta")); }));
    startClient({QStringLiteral("gamma"), QStringLiteral("alpha, renamed"), QStringLiteral("beta")});
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("beta")).has_value(); }));
    QCOMPARE(shelfTitles(shelf), QStringList({"beta", "alpha, renamed"}));
    QVERIFY(gammaIsOut());

    // (c) Orvella restarts from the same preferences file
    m_wm.reset();
    QVERIFY(m_store->flush());
    m_store = std::make_unique<platform::PreferencesStore>(m_dir.filePath(QStringLiteral("prefs.json")));
    newManager();
    QVERIFY(refreshUntil([&] { return byTitle(QStringLiteral("beta")).has_value(); }));
    QCOMPARE(shelfTitles(shelf), QStringList({"beta", "alpha, renamed"}));
    QVERIFY(gammaIsOut());
    stopClient();
    m_wm.reset();
}

void TestShelvesX11::listPrintsWhatTheClientCreated()
{
    startClient({QStringLiteral("Ünïcode ✓"), QStringLiteral("plain")});
    QProcess list;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    QTemporaryDir config;
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), config.path());
    list.setProcessEnvironment(env);
    list.start(QStringLiteral(ORVELLA_BINARY), {QStringLiteral("list"), QStringLiteral("--json")});
    QVERIFY(list.waitForFinished(20000));
    QCOMPARE(list.exitCode(), 0);
    const QJsonObject json = QJsonDocument::fromJson(list.readAllStandardOutput()).object();
    QStringList titles;
    for (const QJsonValue &w : json.value(QStringLiteral("windows")).toArray()) {
        const QJsonObject o = w.toObject();
        titles.append(o.value(QStringLiteral("title")).toString());
        QCOMPARE(o.value(QStringLiteral("pid")).toInt(), int(m_client->processId()));
        QVERIFY(o.value(QStringLiteral("windowNumber")).toInteger() > 0);
        QVERIFY(o.value(QStringLiteral("bounds")).toObject().value(QStringLiteral("width")).toDouble() > 0);
    }
    titles.sort();
    QCOMPARE(titles, QStringList({"plain", "Ünïcode ✓"}));
    QCOMPARE(json.value(QStringLiteral("sections")).toArray().size(), 1);
    // A listing never writes the preferences.
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
