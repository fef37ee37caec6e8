// Opening a new window of an application and bringing it to the sidebar's screen.
#include "actions/newwindowopener.h"

#include "actions/newwindowshortcut.h"
#include "actions/screenpixels.h"
#include "logging.h"
#include "platform/desktop.h"
#include "platform/scheduler.h"
#include "tracking/windowmanager.h"

#include <QPointer>
#include <QScreen>

#include <algorithm>

namespace orvella::actions {

namespace {

constexpr int kActiveCheckMs = 300;
constexpr int kRetryMs = 500;
constexpr int kMoveAfterMs = 600;
constexpr double kOnScreenProbe = 20;
// A started application or a desktop action gets this long to map its window: long
// enough for a cold office suite or browser on a loaded machine, looked at every 0.25 s.
constexpr int kNewWindowPollMs = 250;
constexpr int kNewWindowAttempts = 20000 / kNewWindowPollMs;

struct AppState
{
    std::optional<qint32> pid;
    int windowCount = 0;
    std::optional<qint64> topmost;
};

AppState appState(const platform::DesktopSnapshot &snapshot, const QString &bundleID,
                  std::optional<qint32> pid = {})
{
    AppState state;
    for (const platform::RunningApp &app : snapshot.apps) {
        if (!app.regular || !(pid ? app.pid == *pid : app.bundleID == bundleID))
            continue;
        state.pid = app.pid;
        const QList<platform::AppWindow> windows =
            snapshot.windowsByPid.value(app.pid).value_or(QList<platform::AppWindow>());
        state.windowCount = int(windows.size());
        if (!windows.isEmpty())
            state.topmost = windows.first().windowNumber;
        break;
    }
    return state;
}

// Every window of the application, whichever of its processes owns it.
QSet<qint64> windowsOf(const platform::DesktopSnapshot &snapshot, const QString &bundleID)
{
    QSet<qint64> out;
    for (const platform::RunningApp &app : snapshot.apps) {
        if (app.bundleID != bundleID)
            continue;
        for (const platform::AppWindow &w :
             snapshot.windowsByPid.value(app.pid).value_or(QList<platform::AppWindow>())) {
            if (w.windowNumber)
                out.insert(*w.windowNumber);
        }
    }
    return out;
}

// The window a launch brought: one carrying its startup id, whichever process maps it (a
// launcher script that forks, a single-instance server); else the topmost window of the
// application that is not in `known`, one of the process that was started first, as
// another process of the application may open a window meanwhile.
std::optional<qint64> newWindow(const platform::DesktopSnapshot &snapshot, const QString &bundleID,
                                const platform::LaunchedProcess &started, const QSet<qint64> &known)
{
    if (started.startupID) {
        for (const auto &windows : snapshot.windowsByPid) {
            for (const platform::AppWindow &w : windows.value_or(QList<platform::AppWindow>())) {
                if (w.startupID == started.startupID && w.windowNumber && !known.contains(*w.windowNumber))
                    return w.windowNumber;
            }
        }
    }
    const qint32 pid = started.pid;
    std::optional<qint64> found;
    for (const platform::RunningApp &app : snapshot.apps) {
        const bool started = pid && app.pid == pid;
        if (!app.regular || (app.bundleID != bundleID && !started))
            continue;
        for (const platform::AppWindow &w :
             snapshot.windowsByPid.value(app.pid).value_or(QList<platform::AppWindow>())) {
            if (!w.windowNumber || known.contains(*w.windowNumber))
                continue;
            if (started)
                return w.windowNumber;
            if (!found)
                found = w.windowNumber;
            break;
        }
    }
    return found;
}

double clampedStart(double middle, double size, double low, double high)
{
    return std::max(low, std::min(middle - size / 2, high - size));
}

// Centres the window on the screen's visible frame unless it is already on that screen.
void moveOntoScreen(platform::WindowControl &control, qint64 window, const platform::ScreenInfo &screen)
{
    const std::optional<QRectF> frame = control.frame(window);
    if (!frame)
        return;
    if (screen.frame.contains(frame->topLeft() + QPointF(kOnScreenProbe, kOnScreenProbe)))
        return;
    const QRectF &visible = screen.visibleFrame;
    const double x = clampedStart(visible.center().x(), frame->width(), visible.left(), visible.right());
    const double y = clampedStart(visible.center().y(), frame->height(), visible.top(), visible.bottom());
    control.setPosition(window, {x, y});
    qCInfo(lcActions).noquote() << QStringLiteral("[OV] Moved new window to sidebar screen at (%1, %2)")
                                       .arg(x, 0, 'f', 0)
                                       .arg(y, 0, 'f', 0);
}

} // namespace

NewWindowOpener::NewWindowOpener(ActionContext context, QObject *parent)
    : QObject(parent)
    , m_context(std::move(context))
{}

std::optional<platform::ScreenInfo> NewWindowOpener::sidebarScreen() const
{
    if (m_sidebarScreen)
        return m_sidebarScreen;
    if (const QScreen *screen = m_context.manager->state().sidebarScreen)
        return deviceScreen(*screen);
    return std::nullopt;
}

void NewWindowOpener::openNewWindowForItem(const tracking::WindowItem &item, Completion completion)
{
    qCInfo(lcActions).noquote() << QStringLiteral("openNewWindowForItem called: id=%1 title=%2 bundleID=%3")
                                       .arg(item.id, item.windowTitle,
                                            item.bundleIdentifier.value_or(QStringLiteral("nil")));
    if (!item.bundleIdentifier) {
        qCInfo(lcActions).noquote() << "openNewWindowForItem FAILED: no bundleID for " + item.id;
        qCInfo(lcActions).noquote()
            << QStringLiteral("[OV] openNewWindowForItem: no bundleID for %1").arg(item.id);
        if (completion)
            completion();
        return;
    }
    openNewWindow(*item.bundleIdentifier, std::move(completion));
}

void NewWindowOpener::openNewWindow(const QString &bundleID, Completion completion)
{
    qCInfo(lcActions).noquote() << "openNewWindow START: bundleID=" + bundleID;
    if (m_starting.contains(bundleID)) {
        qCInfo(lcActions).noquote()
            << QStringLiteral("[OV] openNewWindow: %1 is still starting; its first window is the new one")
                   .arg(bundleID);
        if (completion)
            completion();
        return;
    }
    // Until the snapshot says whether it runs, a second request could start it twice.
    m_starting.insert(bundleID);
    const NewWindowShortcut shortcut = newWindowShortcut(bundleID);
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    struct Outcome
    {
        bool known = false;
        AppState before;
        QSet<qint64> windowsBefore;
        std::optional<QString> action;
        platform::LaunchOutcome launch = platform::LaunchOutcome::Launched;
        QString error;
        platform::LaunchedProcess started;
        platform::LaunchWatch watch;
    };
    auto outcome = std::make_shared<Outcome>();
    runInBackground(
        m_context, this,
        [desktop, control, bundleID, shortcut, outcome] {
            outcome->known = control->hasApplication(bundleID);
            if (!outcome->known)
                return;
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            outcome->before = appState(snapshot, bundleID);
            outcome->windowsBefore = windowsOf(snapshot, bundleID);
            // An application that declares how to open a new window is asked that way
            // rather than through keys typed into it.
            if (outcome->before.topmost)
                outcome->action = control->newWindowAction(bundleID);
            const QString how = outcome->action ? QStringLiteral("desktop action ") + *outcome->action
                                : outcome->before.topmost
                                    ? shortcut.description()
                                    : QStringLiteral("no keys: its first window is the new one");
            qCInfo(lcActions).noquote()
                << QStringLiteral("openNewWindow %1 pid=%2 winCountBefore=%3 shortcut=%4")
                       .arg(bundleID, QString::number(outcome->before.pid.value_or(0)),
                            QString::number(outcome->before.windowCount), how);
            qCInfo(lcActions).noquote()
                << QStringLiteral("[OV] openNewWindow for %1 — will send %2").arg(bundleID, how);
            // Watched from before the launch, so that no window of it appears unread.
            if (outcome->action || !outcome->before.topmost)
                outcome->watch = desktop->watchForLaunch();
            if (outcome->action) {
                outcome->launch =
                    control->launch(bundleID, *outcome->action, &outcome->error, &outcome->started);
            } else if (outcome->before.topmost) {
                // A running application is only activated: launching it again would start
                // a second instance of anything that is not single-instance.
                outcome->launch = control->activate(*outcome->before.topmost)
                                      ? platform::LaunchOutcome::Launched
                                      : platform::LaunchOutcome::Failed;
                if (outcome->launch == platform::LaunchOutcome::Failed)
                    outcome->error = QStringLiteral("the window manager did not activate its window");
            } else {
                outcome->launch = control->launch(bundleID, QString(), &outcome->error, &outcome->started);
            }
        },
        [this, bundleID, outcome, completion] {
            const bool coldStart = outcome->known && outcome->launch == platform::LaunchOutcome::Launched
                                   && !outcome->action && !outcome->before.topmost;
            if (!coldStart)
                m_starting.remove(bundleID);
            if (!outcome->known) {
                qCInfo(lcActions).noquote() << "openNewWindow FAILED: no app URL for " + bundleID;
                qCWarning(lcActions).noquote() << QStringLiteral("[OV] No app URL: %1").arg(bundleID);
            } else if (outcome->launch != platform::LaunchOutcome::Launched) {
                qCWarning(lcActions).noquote() << "openNewWindow FAILED: NSWorkspace error=" + outcome->error;
            } else if (outcome->action || coldStart) {
                const QPointer<NewWindowOpener> self(this);
                const qint32 pid = outcome->started.pid;
                const auto done = [self, bundleID, completion] {
                    if (self)
                        self->m_starting.remove(bundleID);
                    if (completion)
                        completion();
                };
                auto launch = std::make_shared<PendingLaunch>(
                    PendingLaunch{bundleID, outcome->started, outcome->windowsBefore, outcome->watch});
                outcome->watch.reset();
                awaitNewWindow(std::move(launch), kNewWindowAttempts, [self, bundleID, pid, coldStart, done] {
                    // Started cold, it is asked for the new window once its first
                    // one is up, as a running application is; until then a second
                    // request asks for nothing.
                    if (self && coldStart)
                        self->afterLaunch(bundleID, pid, 1, done);
                    else
                        done();
                });
                return;
            } else {
                const int countBefore = outcome->before.windowCount;
                const qint32 pid = outcome->before.pid.value_or(0);
                settleThen(m_context, this, kActiveCheckMs, [this, bundleID, pid, countBefore, completion] {
                    afterLaunch(bundleID, pid, countBefore, completion);
                });
                return;
            }
            if (completion)
                completion();
        });
}

void NewWindowOpener::awaitNewWindow(std::shared_ptr<const PendingLaunch> launch, int attemptsLeft,
                                     Completion completion)
{
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    const std::optional<platform::ScreenInfo> screen = sidebarScreen();
    auto found = std::make_shared<bool>(false);
    runInBackground(
        m_context, this,
        [desktop, control, launch, screen, found] {
            const std::optional<qint64> window =
                newWindow(desktop->readSnapshot(), launch->bundleID, launch->started, launch->known);
            *found = window.has_value();
            if (window && screen)
                moveOntoScreen(*control, *window, *screen);
        },
        [this, launch, attemptsLeft, completion, found] {
            if (*found || attemptsLeft <= 1) {
                if (!*found)
                    qCWarning(lcActions).noquote()
                        << QStringLiteral("[OV] openNewWindow: no new window of %1 within %2 s")
                               .arg(launch->bundleID,
                                    QString::number(kNewWindowAttempts * kNewWindowPollMs / 1000));
                if (completion)
                    completion();
                return;
            }
            settleThen(m_context, this, kNewWindowPollMs, [this, launch, attemptsLeft, completion] {
                awaitNewWindow(launch, attemptsLeft - 1, completion);
            });
        });
}

void NewWindowOpener::afterLaunch(const QString &bundleID, qint32 pid, int countBefore, Completion completion)
{
    const auto desktop = m_context.desktop;
    auto active = std::make_shared<bool>(false);
    runInBackground(
        m_context, this,
        [desktop, bundleID, active] {
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            for (const platform::RunningApp &app : snapshot.apps)
                *active = *active || (app.pid == snapshot.frontmostPid && app.bundleID == bundleID);
        },
        [this, bundleID, pid, countBefore, completion, active] {
            const QString shortcut = newWindowShortcut(bundleID).description();
            const auto sendThenMove = [this, bundleID, pid, countBefore, completion] {
                sendNewWindowShortcut(bundleID, [this, bundleID, pid, countBefore, completion] {
                    settleThen(m_context, this, kMoveAfterMs, [this, bundleID, pid, countBefore, completion] {
                        moveNewestWindow(bundleID, pid, countBefore, completion);
                    });
                });
            };
            if (*active) {
                qCInfo(lcActions).noquote()
                    << QStringLiteral("openNewWindow: app active, sending %1 to %2").arg(shortcut, bundleID);
                sendThenMove();
            } else {
                qCInfo(lcActions).noquote()
                    << "openNewWindow: app not active after 0.3s, retrying in 0.5s for " + bundleID;
                settleThen(m_context, this, kRetryMs, sendThenMove);
            }
        });
}

void NewWindowOpener::sendNewWindowShortcut(const QString &bundleID, Completion then)
{
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    runInBackground(
        m_context, this,
        [desktop, control, bundleID] {
            const AppState app = appState(desktop->readSnapshot(), bundleID);
            if (!app.pid || !app.topmost) {
                qCInfo(lcActions).noquote()
                    << "sendNewWindowShortcut FAILED: app not running for " + bundleID;
                return;
            }
            const NewWindowShortcut shortcut = newWindowShortcut(bundleID);
            if (!control->sendShortcut(*app.topmost, shortcut.keyShortcut())) {
                qCInfo(lcActions).noquote() << "sendNewWindowShortcut FAILED: keys not sent to " + bundleID;
                return;
            }
            qCInfo(lcActions).noquote() << QStringLiteral("sendNewWindowShortcut OK: sent %1 pid=%2")
                                               .arg(shortcut.description(), QString::number(*app.pid));
            qCInfo(lcActions).noquote()
                << QStringLiteral("[OV] Sent %1 to %2 (pid %3)")
                       .arg(shortcut.description(), bundleID, QString::number(*app.pid));
        },
        std::move(then));
}

void NewWindowOpener::moveNewestWindow(const QString &bundleID, qint32 pid, int countBefore,
                                       Completion completion)
{
    const std::optional<platform::ScreenInfo> target = sidebarScreen();
    if (!target) {
        if (completion)
            completion();
        return;
    }
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    const platform::ScreenInfo screen = *target;
    runInBackground(
        m_context, this,
        [desktop, control, bundleID, pid, countBefore, screen] {
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            AppState app = appState(snapshot, bundleID, pid ? std::optional(pid) : std::nullopt);
            if (!app.pid)
                app = appState(snapshot, bundleID);
            if (!app.pid || app.windowCount <= countBefore || !app.topmost)
                return;
            moveOntoScreen(*control, *app.topmost, screen);
        },
        std::move(completion));
}

void NewWindowOpener::relaunchClosedApp(const QString &bundleID)
{
    const auto control = m_context.control;
    runInBackground(
        m_context, this,
        [control, bundleID] {
            if (!control->hasApplication(bundleID)) {
                qCWarning(lcActions).noquote()
                    << QStringLiteral("[OV] No app URL found for bundleID: %1").arg(bundleID);
                return;
            }
            QString error;
            if (control->launch(bundleID, QString(), &error, nullptr) != platform::LaunchOutcome::Launched)
                qCWarning(lcActions).noquote()
                    << QStringLiteral("[OV] Failed to relaunch %1: %2").arg(bundleID, error);
        },
        nullptr);
}

} // namespace orvella::actions
