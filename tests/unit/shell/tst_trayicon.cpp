// The tray icon's menu and picture with real settings and a real monitor on a copied
// laptop tree; offscreen there is no tray, which the icon must survive.
#include "monitor/systemmonitorservice.h"
#include "platform/linux/linuxsystemfacts.h"
#include "platform/preferencesstore.h"
#include "platform/sim/manualscheduler.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "shell/appicon.h"
#include "shell/trayicon.h"

#include <QAction>
#include <QFile>
#include <QMenu>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using namespace std::chrono_literals;
using shell::TrayIcon;

namespace {

QImage pictureOf(const QIcon &icon)
{
    return icon.pixmap(32, 32).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class TestTrayIcon : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void menuCallsItsActionsAndNamesTheSidebarState();
    void iconFollowsTheSettingsAndTheSamples();

private:
    std::unique_ptr<TrayIcon> makeTray(shell::TrayActions actions = {});

    QTemporaryDir m_dir;
    std::unique_ptr<platform::PreferencesStore> m_store;
    std::unique_ptr<settings::AppSettings> m_settings;
    std::unique_ptr<platform::sim::ManualScheduler> m_clock;
    std::unique_ptr<monitor::SystemMonitorService> m_monitor;
};

void TestTrayIcon::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CONFIG_HOME", m_dir.path().toUtf8());
    qunsetenv("LANGUAGE");
    qunsetenv("LC_ALL");
    qputenv("LANG", "en_US.UTF-8");
    const QString root = m_dir.filePath(QStringLiteral("laptop"));
    QCOMPARE(QProcess::execute(QStringLiteral("cp"),
                               {QStringLiteral("-a"), QStringLiteral(ORVELLA_FIXTURES "/laptop"), root}),
             0);
    // A quarter of the ticks since boot busy: the first sample reads 25%.
    QFile stat(root + QStringLiteral("/proc/stat"));
    QVERIFY(stat.open(QIODevice::WriteOnly | QIODevice::Truncate));
    stat.write("cpu  100 0 0 300 0 0 0 0 0 0\ncpu0 100 0 0 300 0 0 0 0 0 0\nctxt 1\n");
    stat.close();

    m_store = std::make_unique<platform::PreferencesStore>(m_dir.filePath(QStringLiteral("prefs.json")));
    m_settings = std::make_unique<settings::AppSettings>(*m_store);
    m_clock = std::make_unique<platform::sim::ManualScheduler>();
    auto facts = std::make_shared<platform::LinuxSystemFacts>(root, QStringLiteral("/home/alex"));
    m_monitor = std::make_unique<monitor::SystemMonitorService>(facts, QUrl(), *m_clock);
}

std::unique_ptr<TrayIcon> TestTrayIcon::makeTray(shell::TrayActions actions)
{
    QTest::ignoreMessage(QtInfoMsg, "[OV] no system tray on this desktop; the tray icon stays hidden");
    return std::make_unique<TrayIcon>(*m_settings, *m_monitor, std::move(actions));
}

void TestTrayIcon::menuCallsItsActionsAndNamesTheSidebarState()
{
    // Each callback reached, then the label of the entry that reached it: a swap shows.
    QStringList called;
    const auto record = [&called](const char *name) {
        return [&called, name] { called << QLatin1String(name); };
    };
    auto tray = makeTray({record("toggleSidebar"), record("showDesktop"), record("openSettings"),
                          record("openWhatsNew"), record("relaunch"), record("quit")});
    for (QAction *action : tray->menu()->actions()) {
        action->trigger();
        if (!action->isSeparator())
            called << action->text();
    }
    QCOMPARE(called, (QStringList{"toggleSidebar", "Show Sidebar", "showDesktop", "Show Desktop",
                                  "openSettings", "Settings…", "openWhatsNew", "What's New", "relaunch",
                                  "Relaunch Orvella", "quit", "Quit Orvella"}));

    QAction *first = tray->menu()->actions().constFirst();
    tray->setSidebarVisible(true);
    settings::LocalizationManager::shared().setLanguage(QStringLiteral("de"));
    QCOMPARE(first->text(), QStringLiteral("Seitenleiste ausblenden"));
    settings::LocalizationManager::shared().setLanguage(QStringLiteral("en"));
    tray->setSidebarVisible(false);
    QCOMPARE(first->text(), QStringLiteral("Show Sidebar"));
}

void TestTrayIcon::iconFollowsTheSettingsAndTheSamples()
{
    m_settings->setSystemMonitorDisplay(QStringLiteral("sidebar"));
    m_settings->setSystemMonitorMetrics({QStringLiteral("cpu"), QStringLiteral("bat")});
    const auto sampleAfter = [this](std::chrono::milliseconds by) {
        QSignalSpy sampled(m_monitor.get(), &monitor::SystemMonitorService::sampled);
        m_monitor->isRunning() ? m_clock->advance(by) : m_monitor->start(3);
        return sampled.wait(5000);
    };
    auto tray = makeTray();
    const QImage appPicture = pictureOf(shell::appIcon());
    QVERIFY(sampleAfter(0ms)); // since boot: 25% busy; the laptop's battery at 80%
    QVERIFY(!tray->showsReadings());
    QCOMPARE(pictureOf(tray->icon()), appPicture);
    QCOMPARE(tray->toolTip(), QStringLiteral("Orvella"));

    m_settings->setSystemMonitorDisplay(QStringLiteral("menubar"));
    QVERIFY(tray->showsReadings());
    QVERIFY(pictureOf(tray->icon()) != appPicture);
    QCOMPARE(tray->toolTip(), QStringLiteral("CPU: 25%\nBattery: 80%"));

    // A busy stretch reaches the icon; samples that draw the same picture leave it as it is.
    QFile stat(m_dir.filePath(QStringLiteral("laptop/proc/stat")));
    QVERIFY(stat.open(QIODevice::WriteOnly | QIODevice::Truncate));
    stat.write("cpu  400 0 0 300 0 0 0 0 0 0\ncpu0 400 0 0 300 0 0 0 0 0 0\nctxt 2\n");
    stat.close();
    QVERIFY(sampleAfter(3s));
    QCOMPARE(tray->toolTip(), QStringLiteral("CPU: 100%\nBattery: 80%"));
    QVERIFY(sampleAfter(3s));
    const qint64 settled = tray->icon().cacheKey();
    QVERIFY(sampleAfter(3s));
    QCOMPARE(tray->icon().cacheKey(), settled);

    QImage before = pictureOf(tray->icon());
    m_settings->setSystemMonitorMenuBarStyle(QStringLiteral("style6"));
    QVERIFY(pictureOf(tray->icon()) != before);
    before = pictureOf(tray->icon());
    m_settings->setMenuBarTextColorAuto(false);
    m_settings->setMenuBarTextColorLight(QColor(Qt::magenta));
    m_settings->setMenuBarTextColorDark(QColor(Qt::magenta));
    QVERIFY(pictureOf(tray->icon()) != before);
    m_settings->setSystemMonitorMetrics({QStringLiteral("mem")});
    QVERIFY(tray->toolTip().startsWith(QStringLiteral("Memory: ")));

    QTest::ignoreMessage(QtWarningMsg, "[OV] unknown menu bar style \"style99\"; the tray draws bars");
    m_settings->setSystemMonitorMenuBarStyle(QStringLiteral("style99"));
    QVERIFY(tray->showsReadings());

    m_settings->setSystemMonitorDisplay(QStringLiteral("off"));
    QVERIFY(!tray->showsReadings());
    QCOMPARE(pictureOf(tray->icon()), appPicture);
}

QTEST_MAIN(TestTrayIcon)
#include "tst_trayicon.moc"
