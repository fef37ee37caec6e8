// Entry point: the command line, or the application in the current X session.
#include "logging.h"
#include "platform/preferencesstore.h"
#include "platform/x11/x11session.h"
#include "settings/appsettings.h"
#include "shell/commandline.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>

#include <cstdio>

using namespace orvella;

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "orvella: %s\n", qPrintable(message));
    return 2;
}

// Connects and checks the window manager; null with a message when Orvella cannot work.
std::unique_ptr<platform::x11::X11Session> openTrustedSession(QString *error)
{
    auto session = platform::x11::X11Session::open(QString(), error);
    if (session && !session->windowManager().trusted()) {
        *error = QStringLiteral("no EWMH window manager on this display "
                                "(it must advertise _NET_CLIENT_LIST and _NET_ACTIVE_WINDOW)");
        session.reset();
    }
    return session;
}

int listWindows(int argc, char **argv, bool json)
{
    QCoreApplication app(argc, argv);
    QString error;
    auto session = openTrustedSession(&error);
    if (!session)
        return fail(error);
    const QByteArray text = shell::formatClientList(session->clients(), json);
    std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
    return 0;
}

int runApplication(int argc, char **argv)
{
    QString error;
    // QGuiApplication aborts without a display; say why in one line instead.
    if (!platform::x11::X11Session::open(QString(), &error))
        return fail(error + QStringLiteral(" (Orvella needs an X11 session)"));

    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Orvella"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORVELLA_VERSION));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    platform::PreferencesStore store(platform::PreferencesStore::defaultFilePath());
    settings::AppSettings appSettings(store);
    qCInfo(lcShell).noquote() << "[OV] Orvella" << ORVELLA_VERSION << "language" << appSettings.appLanguage()
                              << "preferences" << store.filePath();

    // Until the sidebar exists, running Orvella means listing the session's windows as
    // soon as a window manager Orvella can work with is there.
    QTimer poll;
    poll.setInterval(1000);
    bool waitingLogged = false;
    auto attempt = [&] {
        QString why;
        auto session = openTrustedSession(&why);
        if (!session) {
            if (!waitingLogged)
                qCInfo(lcShell).noquote() << "[OV] waiting for the X session:" << why;
            waitingLogged = true;
            return;
        }
        poll.stop();
        const QByteArray text = shell::formatClientList(session->clients(), false);
        std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
        std::fflush(stdout);
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
    case Action::Invalid: return fail(request.error + QStringLiteral("\nTry 'orvella --help'."));
    case Action::List: return listWindows(argc, argv, request.json);
    case Action::Run: break;
    }
    return runApplication(argc, argv);
}
