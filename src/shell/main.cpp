// Entry point: the command line, or the application in the current X session.
#include "actions/actionrunner.h"
#include "logging.h"
#include "monitor/systemmonitorservice.h"
#include "platform/externaladdress.h"
#include "platform/linux/linuxsystemfacts.h"
#include "platform/linux/quitsignals.h"
#include "platform/linux/relauncher.h"
#include "platform/preferencesstore.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "platform/x11/x11panelhost.h"
#include "platform/x11/x11windowcontrol.h"
#include "services/updaterservice.h"
#include "settings/localizationmanager.h"
#include "shell/appdelegate.h"
#include "shell/commandline.h"
#include "shell/controlclient.h"
#include "shell/controlinterface.h"
#include "shell/desktopmetadata.h"
#include "shell/sysmonreport.h"
#include "shell/terminaltext.h"
#include "shell/watchcommand.h"
#include "shell/windowcommand.h"
#include "shell/windowlisting.h"
#include "tracking/windowmanager.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QJsonDocument>
#include <QQuickWindow>
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

int report(const shell::CommandResult &result)
{
    if (result.status != 0) {
        fail(result.message);
        return result.status;
    }
    print(result.output);
    return 0;
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

// The address service can be replaced, or switched off with an empty value.
QUrl externalAddressUrl()
{
    return qEnvironmentVariableIsSet("ORVELLA_EXTERNAL_ADDRESS_URL")
               ? QUrl(qEnvironmentVariable("ORVELLA_EXTERNAL_ADDRESS_URL"))
               : platform::defaultExternalAddressUrl();
}

// One refresh and one grouping from the stored shelf state, which is only read.
int listWindows(int argc, char **argv, bool json)
{
    QCoreApplication app(argc, argv);
    if (const auto remote = shell::controlClient::list(json))
        return report(*remote);
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
    monitor::SystemMonitorService service(std::make_shared<platform::LinuxSystemFacts>(),
                                          externalAddressUrl());
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

// One window action: carried out by the running application when there is one, so that it
// uses its shelves, its sidebar and its memory of what show desktop hid; else on its own,
// with the preferences only read.
int actOnWindows(int argc, char **argv, const shell::WindowCommand &command)
{
    QCoreApplication app(argc, argv);
    if (const auto remote = shell::controlClient::send(command))
        return report(*remote);
    if (shell::needsRunningInstance(command.verb))
        return fail(QStringLiteral("Orvella is not running in this session (start it with \"orvella\")"));
    int status = 0;
    const auto session = openOneShotSession(&status);
    if (!session)
        return status;
    QString error;
    const auto control = platform::x11::X11WindowControl::open(QString(), &error);
    if (!control)
        return fail(error);
    actions::ActionRunner::attach(*session->manager, control);
    return report(shell::runWindowCommand(command, *session->manager, *control));
}

// The long-running application, unless one already runs in this session: then that one
// shows its sidebar.
int runApplication(int argc, char **argv)
{
    QString error;
    // QApplication aborts without a display; say why in one line instead.
    std::shared_ptr<platform::x11::X11Desktop> desktop = platform::x11::X11Desktop::open(QString(), &error);
    if (!desktop)
        return fail(error + QStringLiteral(" (Orvella needs an X11 session)"));

    // The sidebar is small and mostly still: the software scene graph draws it at a third of
    // the memory OpenGL takes, and needs no GPU. QT_QUICK_BACKEND still chooses otherwise.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // The feedback window offers this run's last lines to the user.
    logging::keepRecentLines();
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Orvella"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORVELLA_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    // Ties the windows and notifications to the installed desktop entry and its icon.
    QGuiApplication::setDesktopFileName(QString::fromLatin1(shell::desktopMetadata::kApplicationID));

    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString serviceName = QString::fromLatin1(shell::control::kServiceName);
    if (bus.isConnected()
        && bus.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                            QDBusConnectionInterface::DontAllowReplacement)
               != QDBusConnectionInterface::ServiceRegistered) {
        qCInfo(lcShell) << "[OV] Orvella already runs in this session; showing its sidebar";
        shell::WindowCommand show;
        show.verb = shell::WindowCommand::Verb::ShowSidebar;
        const auto result = shell::controlClient::send(show);
        return result ? report(*result) : fail(QStringLiteral("the running Orvella did not answer"));
    }
    if (!bus.isConnected())
        qCWarning(lcShell) << "[OV] no session bus: Orvella runs without its control interface, and"
                              " commands act on their own";

    shell::AppParts parts;
    parts.desktop = desktop;
    if (auto observer = platform::x11::X11DesktopObserver::open(QString(), &error))
        parts.observer = std::move(observer);
    else
        qCWarning(lcShell).noquote() << "[OV] windows are not followed live:" << error;
    parts.control = platform::x11::X11WindowControl::open(QString(), &error);
    if (!parts.control)
        qCWarning(lcShell).noquote() << "[OV] windows cannot be acted on:" << error;
    parts.panelHost = platform::x11::X11PanelHost::open(QString(), &error);
    if (!parts.panelHost)
        qCWarning(lcShell).noquote() << "[OV] the sidebar is not docked:" << error;
    parts.store = std::make_unique<platform::PreferencesStore>(platform::PreferencesStore::defaultFilePath());
    parts.systemFacts = std::make_shared<platform::LinuxSystemFacts>();
    parts.externalAddressURL = externalAddressUrl();
    parts.updateFeedURL = services::UpdaterService::configuredFeedURL();
    parts.executable = platform::relauncher::executablePath();
    parts.arguments = QCoreApplication::arguments().mid(1);
    qCInfo(lcShell).noquote() << "[OV] Orvella" << ORVELLA_VERSION << "preferences"
                              << parts.store->filePath();

    shell::AppDelegate delegate(std::move(parts));
    shell::ControlInterface controlInterface(delegate);
    if (bus.isConnected()) {
        bus.registerObject(QString::fromLatin1(shell::control::kObjectPath), &controlInterface,
                           QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals);
        QObject::connect(&delegate, &shell::AppDelegate::relaunching, &app,
                         [bus, serviceName]() mutable { bus.unregisterService(serviceName); });
    }
    platform::QuitSignals quitSignals;
    QObject::connect(&quitSignals, &platform::QuitSignals::quitRequested, &delegate,
                     [&delegate] { delegate.quit(0); });
    QObject::connect(&delegate.windowManager(), &tracking::WindowManager::desktopLost, &delegate,
                     [&delegate] {
                         std::fprintf(stderr, "orvella: the X session went away\n");
                         delegate.quit(2);
                     });
    QTimer::singleShot(0, &delegate, &shell::AppDelegate::applicationDidFinishLaunching);
    const int status = app.exec();
    delegate.applicationWillTerminate();
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    // QtDBus registers its types from its own thread on first use, so Qt's type registry would be
    // built after the bus and torn down before it at exit, and a message still in flight then logs
    // "invalid type" warnings on stderr. Registering one of them here builds the registry first.
    qRegisterMetaType<QDBusObjectPath>();
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
