// Turns SIGINT and SIGTERM into a Qt signal, so that commands end through the event loop.
#include "platform/linux/quitsignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace orvella::platform {

namespace {

int g_pipe[2] = {-1, -1};

// Only async-signal-safe work here: the signal number goes through the pipe.
void onSignal(int number)
{
    const unsigned char byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
}

} // namespace

QuitSignals::QuitSignals(QObject *parent)
    : QObject(parent)
{
    if (::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        unsigned char byte = 0;
        while (::read(g_pipe[0], &byte, 1) == 1)
            emit quitRequested(byte);
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

QuitSignals::~QuitSignals()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    if (g_pipe[0] >= 0) {
        ::close(g_pipe[0]);
        ::close(g_pipe[1]);
        g_pipe[0] = g_pipe[1] = -1;
    }
}

} // namespace orvella::platform
