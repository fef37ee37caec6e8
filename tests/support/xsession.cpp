// Starts Xvfb and Openbox as children that cannot outlive the harness, and ends them again.
#include "xsession.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <xcb/xcb.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orvella::testsupport {

namespace {

constexpr int kStartTimeoutMs = 15000;
constexpr char kStartedProperty[] = "_ORVELLA_TEST_WM_STARTED";

// Pinned so that tests meet the same Openbox everywhere, with no animation or popup to wait out.
constexpr char kOpenboxConfig[] = R"(<openbox_config xmlns="http://openbox.org/3.4/rc">
  <theme><name>Clearlooks</name><animateIconify>no</animateIconify></theme>
  <desktops><number>4</number><popupTime>0</popupTime></desktops>
</openbox_config>
)";

template<typename T>
std::unique_ptr<T, decltype(&std::free)> owned(T *reply)
{
    return {reply, &std::free};
}

int pollUntil(pollfd *fds, nfds_t count, const QDeadlineTimer &deadline)
{
    int ready;
    while ((ready = ::poll(fds, count, int(deadline.remainingTime()))) < 0 && errno == EINTR) {
    }
    return ready;
}

// The one window a property names; none if it is absent or malformed, or its owner is gone.
xcb_window_t namedWindow(xcb_connection_t *connection, xcb_get_property_cookie_t cookie)
{
    const auto reply = owned(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len != 1)
        return XCB_NONE;
    return *static_cast<const xcb_window_t *>(xcb_get_property_value(reply.get()));
}

// Ends a child (or collects one that has exited) and says how it ended.
QString end(QProcess &process, int graceMs)
{
    process.terminate();
    if (!process.waitForFinished(graceMs)) {
        process.kill();
        process.waitForFinished(-1);
    }
    return process.exitStatus() == QProcess::CrashExit
               ? QStringLiteral("killed by signal %1").arg(process.exitCode())
               : QStringLiteral("exit status %1").arg(process.exitCode());
}

} // namespace

XSession::XSession() = default;

XSession::~XSession()
{
    stop();
}

bool XSession::start(QString *error)
{
    stop();
    error->clear();
    m_deadline = QDeadlineTimer(kStartTimeoutMs);
    m_dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/orvella-xsession-XXXXXX");
    if (!m_dir->isValid())
        fail(error, "cannot create a temporary directory: " + m_dir->errorString());
    else if (startServer(error) && startWindowManager(error)) {
        // Both hold their configuration and logs open by now: remove the files, so that
        // nothing is left behind even if the harness is killed.
        m_dir.reset();
        return true;
    }
    stop();
    return false;
}

bool XSession::replaceWindowManager(QString *error)
{
    error->clear();
    if (!m_connection)
        return fail(error, "no X session is running");
    m_deadline = QDeadlineTimer(kStartTimeoutMs);
    m_dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/orvella-xsession-XXXXXX");
    // The first Openbox's mark would make the second look started at once.
    xcb_delete_property(m_connection, m_root, m_startedAtom);
    std::unique_ptr<QProcess> previous = std::move(m_windowManager);
    const bool started = startWindowManager(error, true);
    if (previous)
        end(*previous, 2000);
    m_dir.reset();
    return started;
}

void XSession::stopWindowManager()
{
    if (m_windowManager)
        end(*std::exchange(m_windowManager, nullptr), 2000);
}

bool XSession::startServer(QString *error)
{
    int displayPipe[2];
    if (::pipe2(displayPipe, O_CLOEXEC) != 0)
        return fail(error, QStringLiteral("pipe: %1").arg(std::strerror(errno)));
    const QString fd = QString::number(displayPipe[1]);
    m_server =
        launch({"Xvfb", "-displayfd", fd, "-noreset", "-nolisten", "tcp", "-screen", "0", "1280x800x24"},
               clientEnvironment(), "xvfb.log", displayPipe[1], error);
    ::close(displayPipe[1]);

    // Xvfb writes the display number once it accepts connections; end of file first means
    // it died, as every other copy of the write end is closed by now.
    QByteArray number;
    pollfd readable{displayPipe[0], POLLIN, 0};
    while (m_server && error->isEmpty() && !number.endsWith('\n')) {
        char buffer[16];
        ssize_t got = 0;
        if (pollUntil(&readable, 1, m_deadline) <= 0)
            fail(error, "Xvfb did not report a display in time", "xvfb.log");
        else if ((got = ::read(displayPipe[0], buffer, sizeof buffer)) > 0)
            number.append(buffer, got);
        else if (got == 0 || errno != EINTR)
            fail(error, "Xvfb exited before opening a display (" + end(*m_server, 1000) + ')', "xvfb.log");
    }
    ::close(displayPipe[0]);
    if (!error->isEmpty() || !m_server)
        return false;

    m_display = ':' + QString::fromLatin1(number.trimmed());
    m_connection = xcb_connect(m_display.toLatin1().constData(), nullptr);
    if (xcb_connection_has_error(m_connection))
        return fail(error, "cannot connect to " + m_display, "xvfb.log");
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    return true;
}

bool XSession::startWindowManager(QString *error, bool replacing)
{
    const auto intern = [this](const char *name) {
        return xcb_intern_atom(m_connection, 0, std::strlen(name), name);
    };
    const auto checkCookie = intern("_NET_SUPPORTING_WM_CHECK");
    const auto startedCookie = intern(kStartedProperty);
    const auto check = owned(xcb_intern_atom_reply(m_connection, checkCookie, nullptr));
    const auto started = owned(xcb_intern_atom_reply(m_connection, startedCookie, nullptr));
    if (!check || !started)
        return fail(error, "cannot intern atoms on " + m_display);
    m_checkAtom = check->atom;
    m_startedAtom = started->atom;
    // Selected before Openbox starts, so that no announcement can slip past unnoticed.
    const uint32_t propertyChanges = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &propertyChanges);
    xcb_flush(m_connection);

    QFile config(m_dir->filePath("rc.xml"));
    if (!config.open(QIODevice::WriteOnly) || config.write(kOpenboxConfig) < 0 || !config.flush())
        return fail(error, "cannot write " + config.fileName());
    // Openbox reads and writes below the XDG homes; keep the developer's own out of it.
    QStringList env = clientEnvironment();
    env << "XDG_CONFIG_HOME=" + m_dir->filePath("config") << "XDG_CACHE_HOME=" + m_dir->filePath("cache");
    // Openbox announces itself before it has loaded its theme; a map request that comes in
    // between may sit unhandled until some later event arrives. The start-up command runs
    // once its event loop is ready, so that command marks the session as started.
    const QString markStarted = QStringLiteral("xprop -root -f %1 8s -set %1 1").arg(kStartedProperty);
    QStringList argv{"openbox", "--sm-disable", "--config-file", config.fileName(), "--startup", markStarted};
    if (replacing)
        argv << "--replace";
    m_windowManager = launch(argv, env, "openbox.log", -1, error);
    return m_windowManager && waitForWindowManager(error);
}

bool XSession::waitForWindowManager(QString *error)
{
    // A pidfd turns readable when Openbox exits; should Xvfb die instead, the connection
    // breaks. (Debian 12's <sys/pidfd.h> lacks C linkage for C++, hence syscall().)
    const int openboxExit = int(::syscall(SYS_pidfd_open, pid_t(m_windowManager->processId()), 0));
    pollfd fds[2] = {{xcb_get_file_descriptor(m_connection), POLLIN, 0}, {openboxExit, POLLIN, 0}};
    while (error->isEmpty() && !windowManagerReady()) {
        // Events read during those round trips sit in xcb's queue, where poll() cannot see
        // them: each one is a change worth looking at again.
        if (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
            std::free(event);
            continue;
        }
        if (xcb_connection_has_error(m_connection))
            fail(error, "lost the connection to " + m_display, "xvfb.log");
        else if (pollUntil(fds, 2, m_deadline) <= 0)
            fail(error, "Openbox did not finish starting in time", "openbox.log");
        else if (fds[1].revents != 0)
            fail(error, "Openbox exited during start-up (" + end(*m_windowManager, 1000) + ')',
                 "openbox.log");
    }
    ::close(openboxExit);
    return error->isEmpty();
}

bool XSession::windowManagerReady() const
{
    const auto checkCookie = xcb_get_property(m_connection, 0, m_root, m_checkAtom, XCB_ATOM_WINDOW, 0, 1);
    const auto startedCookie =
        xcb_get_property(m_connection, 0, m_root, m_startedAtom, XCB_ATOM_STRING, 0, 1);
    const xcb_window_t check = namedWindow(m_connection, checkCookie);
    const auto started = owned(xcb_get_property_reply(m_connection, startedCookie, nullptr));
    // A stale value left by a dead window manager names a window that is gone or that no
    // longer names itself.
    return started && started->value_len > 0 && check != XCB_NONE
           && namedWindow(m_connection,
                          xcb_get_property(m_connection, 0, check, m_checkAtom, XCB_ATOM_WINDOW, 0, 1))
                  == check;
}

void XSession::stop()
{
    if (m_connection)
        xcb_disconnect(m_connection);
    m_connection = nullptr;
    if (auto windowManager = std::move(m_windowManager))
        end(*windowManager, 2000);
    if (auto server = std::move(m_server))
        end(*server, 3000);
    m_display.clear();
    m_dir.reset();
}

QStringList XSession::clientEnvironment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"XAUTHORITY", "WAYLAND_DISPLAY"})
        env.remove(QString::fromLatin1(name));
    // The second name lets a test tell this session from a display it merely inherited.
    for (const char *name : {"DISPLAY", "ORVELLA_XSESSION_DISPLAY"})
        env.insert(QString::fromLatin1(name), m_display);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    return env.toStringList();
}

void XSession::bindToParent(QProcess *process, int keepFd, bool ownGroup)
{
    const pid_t parent = ::getpid();
    // Runs in the child between fork and exec, where only async-signal-safe calls are allowed.
    process->setChildProcessModifier([parent, keepFd, ownGroup] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) // the parent died before the line above took effect
            ::_exit(127);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        if (ownGroup)
            ::setpgid(0, 0);
        if (keepFd >= 0)
            ::fcntl(keepFd, F_SETFD, 0);
    });
}

std::unique_ptr<QProcess> XSession::launch(const QStringList &argv, const QStringList &env,
                                           const char *logName, int keepFd, QString *error) const
{
    auto process = std::make_unique<QProcess>();
    process->setEnvironment(env);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(m_dir->filePath(QString::fromLatin1(logName)));
    process->setProcessChannelMode(QProcess::MergedChannels);
    bindToParent(process.get(), keepFd, true);
    process->start(argv.first(), argv.mid(1));
    if (process->waitForStarted(-1))
        return process;
    fail(error, "cannot run " + argv.first() + ": " + process->errorString());
    return nullptr;
}

bool XSession::fail(QString *error, const QString &what, const char *logName) const
{
    *error = what;
    if (!logName || !m_dir)
        return false;
    QFile log(m_dir->filePath(QString::fromLatin1(logName)));
    if (log.open(QIODevice::ReadOnly) && log.seek(std::max<qint64>(0, log.size() - 800))) {
        if (const QString tail = QString::fromLocal8Bit(log.readAll()).trimmed(); !tail.isEmpty())
            *error += '\n' + QString::fromLatin1(logName) + " ends with:\n" + tail;
    }
    return false;
}

} // namespace orvella::testsupport
