// The application's start-up rules on a simulated session and a manual clock: the gate that
// waits for a usable window manager, What's New once per version, the first reveal of the
// sidebar and when the system monitor may rest.
#include "monitor/systemmonitorservice.h"
#include "platform/linux/linuxsystemfacts.h"
#include "platform/preferencesstore.h"
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "platform/sim/simulatedobserver.h"
#include "settings/appsettings.h"
#include "shell/appdelegate.h"
#include "tracking/windowitem.h"
#include "tracking/windowmanager.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

using namespace orvella;
using namespace std::chrono_literals;

class TestAppDelegate : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void trustDuringRetriesNeedsNoOnboarding();
    void trustAfterOnboardingClosesItAndShowsDeferredWhatsNew();
    void whatsNewOncePerVersion_data();
    void whatsNewOncePerVersion();
    void revealWaitsForAnOrdinaryWindow_data();
    void revealWaitsForAnOrdinaryWindow();
    void monitorRestsOnlyWhenNothingShowsIt_data();
    void monitorRestsOnlyWhenNothingShowsIt();
    void headerBarClicksAreOneAtATime();

private:
    std::unique_ptr<shell::AppDelegate> make(const QString &version = QStringLiteral("2.0.0"));
    void advance(std::chrono::milliseconds by);

    QTemporaryDir m_dir;
    std::shared_ptr<platform::sim::SimulatedDesktop> m_desktop;
    platform::sim::ManualScheduler m_clock;
};

void TestAppDelegate::init()
{
    m_desktop = std::make_shared<platform::sim::SimulatedDesktop>();
    QFile::remove(m_dir.filePath(QStringLiteral("preferences.json")));
}

void TestAppDelegate::cleanup()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        delete w;
}

std::unique_ptr<shell::AppDelegate> TestAppDelegate::make(const QString &version)
{
    shell::AppParts parts;
    parts.desktop = m_desktop;
    parts.control = m_desktop;
    parts.observer = std::make_unique<platform::sim::SimulatedObserver>();
    parts.store =
        std::make_unique<platform::PreferencesStore>(m_dir.filePath(QStringLiteral("preferences.json")));
    parts.systemFacts = std::make_shared<platform::LinuxSystemFacts>();
    parts.telemetry.endpoint.clear();
    parts.scheduler = &m_clock;
    parts.version = version;
    parts.withTray = false;
    parts.withPanel = false;
    return std::make_unique<shell::AppDelegate>(std::move(parts));
}

void TestAppDelegate::advance(std::chrono::milliseconds by)
{
    for (auto t = 0ms; t < by; t += 100ms) {
        m_clock.advance(100ms);
        QCoreApplication::processEvents();
    }
}

void TestAppDelegate::trustDuringRetriesNeedsNoOnboarding()
{
    m_desktop->setTrusted(false);
    const auto app = make();
    app->applicationDidFinishLaunching();
    advance(3s); // two of the six checks
    QVERIFY(!app->isSidebarVisible());
    m_desktop->setTrusted(true);
    advance(1500ms);
    QVERIFY(app->isSidebarVisible());
    advance(20s);
    QVERIFY(!app->permissionWindow());
    QVERIFY(!app->isPollingTrust());
    QVERIFY(app->store().boolValue(QStringLiteral("axWasGrantedBefore")).value_or(false));
}

void TestAppDelegate::trustAfterOnboardingClosesItAndShowsDeferredWhatsNew()
{
    m_desktop->setTrusted(false);
    const auto app = make();
    // The retries have run out before What's New is due: it waits for the onboarding.
    app->checkAccessibilityWithRetry(1, 100ms, 1);
    advance(100ms);
    QVERIFY(app->permissionWindow() && app->permissionWindow()->isVisible());
    QVERIFY(app->isPollingTrust());
    app->applicationDidFinishLaunching();
    advance(5s);
    QVERIFY(!app->whatsNewWindow());
    QVERIFY(app->permissionWindow());

    m_desktop->setTrusted(true);
    advance(1s);
    QVERIFY(!app->permissionWindow());
    QVERIFY(!app->isPollingTrust());
    QVERIFY(app->whatsNewWindow() && app->whatsNewWindow()->isVisible());
    QVERIFY(!app->shouldPresentWhatsNewOnLaunch());
}

void TestAppDelegate::whatsNewOncePerVersion_data()
{
    QTest::addColumn<QStringList>("seen");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("presents");
    QTest::newRow("first start") << QStringList{} << "2.0.0" << true;
    QTest::newRow("same version again") << QStringList{"2.0.0"} << "2.0.0" << false;
    QTest::newRow("upgrade") << QStringList{"2.0.0"} << "2.1.0" << true;
    QTest::newRow("downgrade to a seen version") << QStringList{"1.0.0", "2.0.0"} << "1.0.0" << false;
    QTest::newRow("no version is version 0") << QStringList{"0"} << "" << false;
}

void TestAppDelegate::whatsNewOncePerVersion()
{
    QFETCH(QStringList, seen);
    QFETCH(QString, version);
    QFETCH(bool, presents);
    for (const QString &v : seen)
        make(v)->markWhatsNewShownForCurrentVersion();
    QCOMPARE(make(version)->shouldPresentWhatsNewOnLaunch(), presents);
}

void TestAppDelegate::revealWaitsForAnOrdinaryWindow_data()
{
    QTest::addColumn<QStringList>("windows"); // id, with "min:" for a minimised one
    QTest::addColumn<bool>("revealed");
    QTest::newRow("nothing") << QStringList{} << false;
    QTest::newRow("only minimised") << QStringList{"min:a", "min:b"} << false;
    QTest::newRow("only placeholders") << QStringList{"shelf-1-ghost"} << false;
    QTest::newRow("an ordinary one after them") << QStringList{"min:a", "x-ghost", "b"} << true;
}

void TestAppDelegate::revealWaitsForAnOrdinaryWindow()
{
    QFETCH(QStringList, windows);
    QFETCH(bool, revealed);
    const auto app = make();
    QList<tracking::WindowItem> items;
    for (const QString &w : windows) {
        tracking::WindowItem item;
        item.isMinimized = w.startsWith(QLatin1String("min:"));
        item.id = w.section(u':', -1);
        items.append(item);
    }
    app->maybeRevealSidebarAfterLaunch(items);
    QCOMPARE(app->isSidebarVisible(), revealed);
    QCOMPARE(app->isInitialSidebarRevealPending(), !revealed);
}

void TestAppDelegate::monitorRestsOnlyWhenNothingShowsIt_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<bool>("sidebarVisible");
    QTest::addColumn<bool>("paused");
    QTest::newRow("menu bar, sidebar hidden") << "menubar" << false << false;
    QTest::newRow("both, sidebar hidden") << "both" << false << false;
    QTest::newRow("sidebar only, hidden") << "sidebar" << false << true;
    QTest::newRow("sidebar only, shown") << "sidebar" << true << false;
}

void TestAppDelegate::monitorRestsOnlyWhenNothingShowsIt()
{
    QFETCH(QString, display);
    QFETCH(bool, sidebarVisible);
    QFETCH(bool, paused);
    const auto app = make();
    app->appSettings().setSystemMonitorDisplay(display);
    app->systemMonitor().setPaused(!paused);
    sidebarVisible ? app->showSidebar() : app->hideSidebar();
    app->updateSystemMonitorPauseState();
    QCOMPARE(app->systemMonitor().isPaused(), paused);
}

// A double click minimises the windows and a click brings them back; a click while one runs
// does nothing.
void TestAppDelegate::headerBarClicksAreOneAtATime()
{
    platform::sim::SimulatedDesktop::App editor;
    editor.pid = 42;
    editor.name = QStringLiteral("Editor");
    editor.bundleID = QStringLiteral("org.example.Editor");
    for (const qint64 number : {1, 2}) {
        platform::sim::SimulatedDesktop::Window w;
        w.number = number;
        w.title = QStringLiteral("window %1").arg(number);
        editor.windows.append(w);
    }
    m_desktop->addApp(editor);
    const auto app = make();
    app->applicationDidFinishLaunching();
    advance(2s);
    QTRY_COMPARE(app->windowManager().windows().size(), 2);
    const auto minimized = [this] {
        int n = 0;
        for (const platform::AppWindow &w :
             m_desktop->readSnapshot().windowsByPid.value(42).value_or(QList<platform::AppWindow>()))
            n += w.minimized ? 1 : 0;
        return n;
    };
    // Actions settle on the injected clock and are written on a worker thread.
    const auto settlesAt = [this, &minimized](int count) {
        for (int i = 0; i < 100 && minimized() != count; ++i) {
            advance(100ms);
            QTest::qWait(5);
        }
        return minimized() == count;
    };
    app->headerBarClicked(true);
    app->headerBarClicked(false); // ignored: the first is still running
    QVERIFY(settlesAt(2));
    advance(3s);
    QTest::qWait(50);
    QCOMPARE(minimized(), 2);
    app->headerBarClicked(false);
    QVERIFY(settlesAt(0));
}

QTEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
