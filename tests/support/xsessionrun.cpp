// orvella-xsession: runs one command inside a private X session and reports its exit status.
#include "xsession.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

using orvella::testsupport::XSession;

namespace {

// 125 keeps the harness's own failures apart from anything the command returns.
constexpr int kHarnessFailed = 125;
constexpr int kCommandNotRun = 127;
constexpr int kCommandGraceMs = 5000;

int complain(const QString &message, int exitCode)
{
    QTextStream(stderr) << "orvella-xsession: " << message << '\n';
    return exitCode;
}

} // namespace

int main(int argc, char *argv[])
{
    // Taken through a signalfd below. Blocked first, so that a SIGTERM during start-up
    // still tears the session down instead of killing the harness half-way.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    for (int sig : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&stopSignals, sig);
    sigprocmask(SIG_BLOCK, &stopSignals, nullptr);

    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.size() < 2 || args.first() != QLatin1String("--"))
        return complain("usage: orvella-xsession -- COMMAND [ARGS...]\n"
                        "Runs COMMAND with DISPLAY set to a private Xvfb with Openbox, then tears\n"
                        "both down and exits with COMMAND's status.",
                        kHarnessFailed);
    args.removeFirst();

    XSession session;
    QString error;
    if (!session.start(&error))
        return complain("could not start the X session: " + error, kHarnessFailed);

    QProcess command;
    command.setProcessChannelMode(QProcess::ForwardedChannels);
    command.setInputChannelMode(QProcess::ForwardedInputChannel);
    command.setEnvironment(session.clientEnvironment());
    XSession::bindToParent(&command);
    command.start(args.first(), args.mid(1));
    if (!command.waitForStarted(-1))
        return complain("cannot run " + args.first() + ": " + command.errorString(), kCommandNotRun);

    int caught = 0;
    QSocketNotifier stopNotifier(::signalfd(-1, &stopSignals, SFD_CLOEXEC), QSocketNotifier::Read);
    QObject::connect(&stopNotifier, &QSocketNotifier::activated, [&] {
        signalfd_siginfo info;
        if (::read(int(stopNotifier.socket()), &info, sizeof info) == sizeof info && caught == 0) {
            caught = int(info.ssi_signo);
            command.terminate();
            QTimer::singleShot(kCommandGraceMs, &command, &QProcess::kill);
        }
    });
    QObject::connect(&command, &QProcess::finished, &app, &QCoreApplication::quit);
    app.exec();

    session.stop();
    if (caught != 0)
        return 128 + caught;
    return command.exitStatus() == QProcess::CrashExit ? 128 + command.exitCode() : command.exitCode();
}
