// Entry point: the command line, or the application in the current X session.
#include "actions/actionrunner.h"
#include "logging.h"
#include "monitor/systemmonitorservice.h"
#include "platform/externaladdress.h"
#include "platform/linux/linuxsystemfacts.h"
#include "platform/linux/quitsignals.h"
#include "platform/preferencesstore.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "platform/x11/x11windowcontrol.h"
#include "services/telemetryservice.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "shell/commandline.h"
#include "shell/sysmonreport.h"
#include "shell/terminaltext.h"
#include "shell/watchcommand.h"
#include "shell/windowcommand.h"
#include "shell/windowlisting.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QTimer>

#include <cstdio>

using namespace orvella;

namespace {

constexpr int kRefreshTimeoutMs = 15000;

int fail(const QString &message)
{
    // Messages quote what the user or a window gave, so they are escaped like any output.
    std::fprintf(stderr, "orvella: %s\n", shell::terminalText::escaped(message).toUtf8().constData());
    return 2;
}

void print(const QByteArray &text)
{
    std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
    std::fflush(stdout);
}

// What every one-shot command works on: the X11 desktop, the stored preferences (only
// ever read, with the user's interface language applied) and a window manager over both.
struct OneShotSession
{
    std::shared_ptr<platform::x11::X11Desktop> desktop;
    std::unique_ptr<platform::PreferencesStore> store;
    std::unique_ptr<tracking::WindowManager> manager;
};

// The session, or nothing after printing why Orvella cannot work with this display.
std::optional<OneShotSession> openOneShotSession(int *status)
{
    QString error;
    OneShotSession session;
    session.desktop = platform::x11::X11Desktop::open(QString(), &error);
    if (!session.desktop) {
        *status = fail(error);
        return std::nullopt;
    }
    if (!session.desktop->isTrusted()) {
        *status = fail(shell::windowListing::noWindowManagerText());
        return std::nullopt;
    }
    session.store = std::make_unique<platform::PreferencesStore>(
        platform::PreferencesStore::defaultFilePath(), platform::PreferencesStore::Access::ReadOnly);
    settings::LocalizationManager::shared().setLanguage(
        session.store->stringValue(QStringLiteral("appLanguage"))
            .value_or(settings::LocalizationManager::detectSystemLanguage()));
    session.manager =
        std::make_unique<tracking::WindowManager>(session.desktop, nullptr, session.store.get());
    return session;
}

// One refresh and one grouping from the stored shelf state, which is only read.
int listWindows(int argc, char **argv, bool json)
{
    QCoreApplication app(argc, argv);
    int status = 0;
    const auto session = openOneShotSession(&status);
    if (!session)
        return status;
    tracking::WindowManager &manager = *session->manager;
    manager.restoreState();
    manager.refresh();
    if (!manager.waitForRefresh(kRefreshTimeoutMs))
        return fail(QStringLiteral("the window list could not be read in time"));
    print(json ? QJsonDocument(shell::windowListing::toJson(manager)).toJson(QJsonDocument::Compact) + '\n'
               : shell::windowListing::toText(manager));
    return 0;
}

// Follows the desktop like the application does, printing a line per visible change.
int watchWindows(int argc, char **argv, bool json)
{
    QCoreApplication app(argc, argv);
    int status = 0;
    const auto session = openOneShotSession(&status);
    if (!session)
        return status;
    QString error;
    const auto observer = platform::x11::X11DesktopObserver::open(QString(), &error);
    if (!observer)
        return fail(error);
    tracking::WindowManager &manager = *session->manager;
    manager.setObserver(observer.get());
    shell::WatchCommand watch(manager, json, print, [](const QString &message) { fail(message); });
    platform::QuitSignals quitSignals;
    QObject::connect(&quitSignals, &platform::QuitSignals::quitRequested, &app,
                     [] { QCoreApplication::exit(0); });
    QObject::connect(&manager, &tracking::WindowManager::desktopLost, &app, [] {
        std::fprintf(stderr, "orvella: the X session went away\n");
        QCoreApplication::exit(2);
    });
    manager.startObserving();
    const int result = app.exec();
    manager.stopObserving();
    return result;
}

// Prints `count` of the system monitor's samples, `interval` seconds apart.
int systemMonitor(int argc, char **argv, bool json, double interval, int count)
{
    QCoreApplication app(argc, argv);
    // The address service can be replaced, or switched off with an empty value.
    const QByteArray configured = qgetenv("ORVELLA_EXTERNAL_ADDRESS_URL");
    const QUrl addressUrl = qEnvironmentVariableIsSet("ORVELLA_EXTERNAL_ADDRESS_URL")
                                ? QUrl(QString::fromUtf8(configured))
                                : platform::defaultExternalAddressUrl();
    monitor::SystemMonitorService service(std::make_shared<platform::LinuxSystemFacts>(), addressUrl);
    int remaining = count;
    QObject::connect(&service, &monitor::SystemMonitorService::sampled, &app, [&] {
        print(json ? QJsonDocument(shell::sysmonReport::toJson(service)).toJson(QJsonDocument::Compact) + '\n'
                   : shell::sysmonReport::toText(service));
        if (--remaining == 0)
            QCoreApplication::exit(0);
    });
    platform::QuitSignals quitSignals;
    QObject::connect(&quitSignals, &platform::QuitSignals::quitRequested, &app,
                     [] { QCoreApplication::exit(0); });
    service.start(interval);
    const int result = app.exec();
    service.stop();
    return result;
}

// One window action, acted out against the current session; the preferences are only read.
int actOnWindows(int argc, char **argv, const shell::WindowCommand &command)
{
    QCoreApplication app(argc, argv);
    int status = 0;
    const auto session = openOneShotSession(&status);
    if (!session)
        return status;
    QString error;
    const auto control = platform::x11::X11WindowControl::open(QString(), &error);
    if (!control)
        return fail(error);
    actions::ActionRunner::attach(*session->manager, control);
    return shell::runWindowCommand(command, *session->manager, *control,
                                   [](const QString &message) { fail(message); });
}

int runApplication(int argc, char **argv)
{
    QString error;
    // QGuiApplication aborts without a display; say why in one line instead.
    const std::shared_ptr<platform::x11::X11Desktop> desktop =
        platform::x11::X11Desktop::open(QString(), &error);
    if (!desktop)
        return fail(error + QStringLiteral(" (Orvella needs an X11 session)"));

    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Orvella"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORVELLA_VERSION));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    platform::PreferencesStore store(platform::PreferencesStore::defaultFilePath());
    settings::AppSettings appSettings(store);
    qCInfo(lcShell).noquote() << "[OV] Orvella" << ORVELLA_VERSION << "language" << appSettings.appLanguage()
                              << "preferences" << store.filePath();
    tracking::WindowManager manager(desktop, &appSettings, &store);
    manager.restoreState();
    services::TelemetryService telemetry(store);
    telemetry.recordLifecycleEvents();

    // Until the sidebar exists, running Orvella means listing the session's windows as
    // soon as a window manager Orvella can work with is there.
    QTimer poll;
    poll.setInterval(1000);
    bool waitingLogged = false;
    auto attempt = [&] {
        if (!desktop->isTrusted()) {
            if (!waitingLogged)
                qCInfo(lcShell).noquote()
                    << "[OV] waiting for the X session:" << shell::windowListing::noWindowManagerText();
            waitingLogged = true;
            manager.refresh();
            return;
        }
        poll.stop();
        manager.refresh();
        if (manager.waitForRefresh(kRefreshTimeoutMs))
            print(shell::windowListing::toText(manager));
        QCoreApplication::quit();
    };
    QObject::connect(&poll, &QTimer::timeout, &app, attempt);
    QTimer::singleShot(0, &app, attempt);
    poll.start();
    return app.exec();
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const shell::CommandLineRequest request = shell::parseCommandLine(arguments);

    using Action = shell::CommandLineRequest::Action;
    switch (request.action) {
    case Action::Version: std::printf("orvella %s\n", ORVELLA_VERSION); return 0;
    case Action::Help: std::fputs(qPrintable(shell::usageText()), stdout); return 0;
    case Action::Invalid: {
        const int status = fail(request.error);
        std::fputs("Try 'orvella --help'.\n", stderr);
        return status;
    }
    case Action::List: return listWindows(argc, argv, request.json);
    case Action::Watch: return watchWindows(argc, argv, request.json);
    case Action::Sysmon:
        return systemMonitor(argc, argv, request.json, request.sysmonInterval, request.sysmonCount);
    case Action::Window: return actOnWindows(argc, argv, request.window);
    case Action::Run: break;
    }
    return runApplication(argc, argv);
}
