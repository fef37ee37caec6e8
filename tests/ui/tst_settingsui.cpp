// The settings window and the sidebar on a real X session, found through the accessibility
// tree and used with the pointer and keyboard: what they change must reach the session, the
// preferences file and the running sidebar.
#include "settings/applanguage.h"
#include "settings/localizationmanager.h"
#include "testclientprocess.h"
#include "xsession.h"
#include "xtestconnection.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRect>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;

namespace {

const QString kService = QStringLiteral("org.orvella.Orvella");

uint ownerPid()
{
    const auto reply = QDBusConnection::sessionBus().interface()->servicePid(kService);
    return reply.isValid() ? reply.value() : 0;
}

QString text(settings::AppLanguage language, const char *key)
{
    return settings::LocalizationManager::allTranslations(language).value(QString::fromLatin1(key));
}

} // namespace

class TestSettingsUi : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void positionMovesTheRunningSidebar();
    void germanRelabelsTheWindowLive();
    void resetAsksFirstThenRestoresDefaults();
    void searchingFontLeavesTheFontControls();
    void screenshotsOfEveryPage();
    void sidebarRowsAndButtonsAct();

private:
    /// Starts the application on these preferences and, unless told not to, its settings window.
    void startWith(const QJsonObject &preferences, bool openSettings = true);
    QString helper(const QStringList &arguments, int *status = nullptr);
    QRect find(const QString &role, const QString &name, int timeoutSeconds = 10);
    QStringList showing(const QString &role)
    {
        return helper({"--names", role}).split(u'\n', Qt::SkipEmptyParts);
    }
    void click(const QRect &r);
    void xdotool(const QStringList &arguments);
    QJsonObject preferences() const;

    testsupport::XSession m_session;
    QTemporaryDir m_config;
    QProcessEnvironment m_env;
    std::unique_ptr<QProcess> m_app;
};

void TestSettingsUi::initTestCase()
{
    QVERIFY2(QDBusConnection::sessionBus().isConnected(), "run this test through dbus-run-session");
    QString error;
    QVERIFY2(m_session.start(&error), qPrintable(error));
    for (const QString &entry : m_session.clientEnvironment())
        m_env.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
    m_env.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
    m_env.insert(QStringLiteral("ORVELLA_EXTERNAL_ADDRESS_URL"), QString());
    m_env.insert(QStringLiteral("DO_NOT_TRACK"), QStringLiteral("1"));
    m_env.insert(QStringLiteral("LANGUAGE"), QStringLiteral("en"));
    m_env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_config.path());
    m_env.insert(QStringLiteral("XDG_DATA_HOME"), m_config.path());
}

void TestSettingsUi::cleanup()
{
    if (m_app && m_app->state() != QProcess::NotRunning) {
        m_app->kill();
        m_app->waitForFinished();
    }
    QTRY_VERIFY_WITH_TIMEOUT(ownerPid() == 0, testsupport::kWaitMs);
}

void TestSettingsUi::startWith(const QJsonObject &preferences, bool openSettings)
{
    QDir(m_config.path()).mkpath(QStringLiteral("orvella"));
    QFile file(m_config.filePath(QStringLiteral("orvella/preferences.json")));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    // What's New would cover the settings window.
    QJsonObject values = preferences;
    values.insert(QStringLiteral("ov_whatsNewShown_") + QStringLiteral(ORVELLA_VERSION), true);
    file.write(QJsonDocument(values).toJson());
    file.close();

    m_app = std::make_unique<QProcess>();
    m_app->setProcessEnvironment(m_env);
    m_app->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_app->start(QStringLiteral(ORVELLA_BINARY), QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(ownerPid() == uint(m_app->processId()), testsupport::kWaitMs);
    if (!openSettings)
        return;

    QProcess cli;
    cli.setProcessEnvironment(m_env);
    cli.start(QStringLiteral(ORVELLA_BINARY), {QStringLiteral("settings")});
    QVERIFY(cli.waitForFinished(60000));
    QCOMPARE(cli.exitCode(), 0);
    const auto language = settings::appLanguage::fromRawValue(
                              preferences.value(QStringLiteral("appLanguage")).toString(QStringLiteral("en")))
                              .value_or(settings::AppLanguage::en);
    QVERIFY(!find(QStringLiteral("frame"), text(language, "settings.windowTitle"), 30).isEmpty());
}

QString TestSettingsUi::helper(const QStringList &arguments, int *status)
{
    QProcess p;
    p.setProcessEnvironment(m_env);
    p.start(QStringLiteral("/usr/bin/python3"),
            QStringList{QStringLiteral(ORVELLA_ATSPI_FIND), "orvella"} + arguments);
    p.waitForFinished(90000);
    if (status)
        *status = p.exitCode();
    return QString::fromUtf8(p.readAllStandardOutput());
}

QRect TestSettingsUi::find(const QString &role, const QString &name, int timeoutSeconds)
{
    int status = 0;
    const QStringList v = helper({role, name, "--timeout", QString::number(timeoutSeconds)}, &status)
                              .split(u' ', Qt::SkipEmptyParts);
    if (status != 0 || v.size() != 4)
        return {};
    return QRect(v[0].toInt(), v[1].toInt(), v[2].toInt(), v[3].toInt());
}

void TestSettingsUi::xdotool(const QStringList &arguments)
{
    QProcess p;
    p.setProcessEnvironment(m_env);
    p.start(QStringLiteral("xdotool"), arguments);
    QVERIFY(p.waitForFinished(20000));
    QCOMPARE(p.exitCode(), 0);
}

void TestSettingsUi::click(const QRect &r)
{
    QVERIFY2(!r.isEmpty(), "the control to click is not on screen");
    xdotool({"mousemove", "--sync", QString::number(r.center().x()), QString::number(r.center().y()), "click",
             "1"});
}

QJsonObject TestSettingsUi::preferences() const
{
    QFile file(m_config.filePath(QStringLiteral("orvella/preferences.json")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

void TestSettingsUi::positionMovesTheRunningSidebar()
{
    startWith({});
    const QRect before = find(QStringLiteral("frame"), QStringLiteral("Orvella"));
    QCOMPARE(before.x(), 0);
    click(find(QStringLiteral("radio button"), QStringLiteral("Right")));
    QTRY_COMPARE_WITH_TIMEOUT(preferences().value(QStringLiteral("sidebarPosition")).toString(),
                              QStringLiteral("right"), testsupport::kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(find(QStringLiteral("frame"), QStringLiteral("Orvella")).right() + 1, 1280,
                              testsupport::kWaitMs);
}

void TestSettingsUi::germanRelabelsTheWindowLive()
{
    startWith({});
    click(find(QStringLiteral("combo box"), QStringLiteral("Language")));
    const QString deutsch = settings::appLanguage::displayName(settings::AppLanguage::de);
    click(find(QStringLiteral("menu item"), deutsch));
    QTRY_COMPARE_WITH_TIMEOUT(preferences().value(QStringLiteral("appLanguage")).toString(),
                              QStringLiteral("de"), testsupport::kWaitMs);
    QVERIFY(
        !find(QStringLiteral("frame"), text(settings::AppLanguage::de, "settings.windowTitle")).isEmpty());
    QVERIFY(!find(QStringLiteral("list item"), text(settings::AppLanguage::de, "settings.page.appearance"))
                 .isEmpty());
    QVERIFY(
        !find(QStringLiteral("check box"), text(settings::AppLanguage::de, "settings.autoHide")).isEmpty());
}

void TestSettingsUi::resetAsksFirstThenRestoresDefaults()
{
    startWith(
        {{QStringLiteral("sidebarPosition"), QStringLiteral("right")}, {QStringLiteral("fontSize"), 14}});
    click(find(QStringLiteral("list item"), QStringLiteral("About")));
    click(find(QStringLiteral("push button"), QStringLiteral("Reset to Defaults")));
    const QRect confirm = find(QStringLiteral("push button"), QStringLiteral("Reset"));
    QCOMPARE(preferences().value(QStringLiteral("fontSize")).toDouble(), 14.0); // only asked so far
    click(confirm);
    QTRY_COMPARE_WITH_TIMEOUT(preferences().value(QStringLiteral("sidebarPosition")).toString(),
                              QStringLiteral("left"), testsupport::kWaitMs);
    QCOMPARE(preferences().value(QStringLiteral("fontSize")).toDouble(), 10.0);
    QCOMPARE(preferences().value(QStringLiteral("colorScheme")).toString(), QStringLiteral("Default"));
}

void TestSettingsUi::searchingFontLeavesTheFontControls()
{
    startWith({});
    click(find(QStringLiteral("text"), QStringLiteral("Search settings")));
    xdotool({"type", "--delay", "60", "font"});
    const QSet<QString> fonts{QStringLiteral("Header font size"), QStringLiteral("Window font size")};
    const auto spinBoxes = [this] {
        const QStringList names = showing(QStringLiteral("spin button"));
        return QSet<QString>(names.begin(), names.end());
    };
    QTRY_COMPARE_WITH_TIMEOUT(spinBoxes(), fonts, testsupport::kWaitMs);
    for (const char *role : {"check box", "radio button", "combo box"})
        QVERIFY2(showing(QString::fromLatin1(role)).isEmpty(), role);
}

void TestSettingsUi::screenshotsOfEveryPage()
{
    QVERIFY(QDir().mkpath(QStringLiteral(ORVELLA_SCREENSHOTS)));
    const char *pages[] = {"settings.page.general", "settings.page.appearance", "settings.page.previews",
                           "sysmon.title",          "settings.page.privacy",    "settings.page.about"};
    for (const char *code : {"en", "de", "ja"}) {
        for (const char *mode : {"light", "dark"}) {
            startWith({{QStringLiteral("appLanguage"), QString::fromLatin1(code)},
                       {QStringLiteral("appearanceMode"), QString::fromLatin1(mode)}});
            const auto language = *settings::appLanguage::fromRawValue(QString::fromLatin1(code));
            for (const char *page : pages) {
                click(find(QStringLiteral("list item"), text(language, page)));
                QTest::qWait(400);
                const QString file = QStringLiteral(ORVELLA_SCREENSHOTS "/settings-%1-%2-%3.png")
                                         .arg(QString::fromLatin1(code), QString::fromLatin1(mode),
                                              QString::fromLatin1(page).section(u'.', -1).replace(
                                                  QStringLiteral("title"), QStringLiteral("monitor")));
                QProcess shot;
                shot.setProcessEnvironment(m_env);
                shot.start(QStringLiteral("sh"),
                           {"-c", "xwd -root -silent | xwdtopnm 2>/dev/null | pnmtopng > \"$0\"", file});
                QVERIFY(shot.waitForFinished(30000));
                QVERIFY2(QFileInfo(file).size() > 10000, qPrintable(file));
            }
            cleanup();
        }
    }
}

// The sidebar's rows are buttons named by their windows' titles, its tools buttons named by
// their tooltips: a click on a row focuses that window, "Add new shelf" adds one that is kept,
// and "Hide sidebar" hides it.
void TestSettingsUi::sidebarRowsAndButtonsAct()
{
    testsupport::TestClient client(testsupport::TestClient::titled({"ui first", "ui second"}),
                                   m_session.clientEnvironment());
    startWith({}, false);
    testsupport::XTestConnection x(m_session.display());
    const auto active = [&x] {
        return x.cardinals(x.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW).value(0);
    };
    x.activate(client.xids.at(1));
    QTRY_COMPARE_WITH_TIMEOUT(active(), client.xids.at(1), testsupport::kWaitMs);
    click(find(QStringLiteral("push button"), QStringLiteral("ui first"), 30));
    QTRY_COMPARE_WITH_TIMEOUT(active(), client.xids.at(0), testsupport::kWaitMs);

    click(find(QStringLiteral("push button"), QStringLiteral("Add new shelf")));
    QTRY_VERIFY_WITH_TIMEOUT(QJsonDocument(preferences()).toJson().contains("shelf-1"), testsupport::kWaitMs);

    click(find(QStringLiteral("push button"), QStringLiteral("Hide sidebar")));
    QTRY_VERIFY_WITH_TIMEOUT(find(QStringLiteral("push button"), QStringLiteral("ui first"), 1).isEmpty(),
                             testsupport::kWaitMs);
}

QTEST_GUILESS_MAIN(TestSettingsUi)
#include "tst_settingsui.moc"
