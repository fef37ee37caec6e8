// One window command carried out on a live window manager, from refresh to verification.
#include "shell/windowcommandrun.h"

#include "platform/desktop.h"
#include "platform/windowcontrol.h"
#include "shell/windowlisting.h"
#include "tracking/windowmanager.h"

#include <QPointer>

#include <algorithm>

namespace orvella::shell {

namespace {

using Verb = WindowCommand::Verb;

constexpr int kRefreshTimeoutMs = 15000;
// Opening a window waits for the application to start; everything else settles in a second.
constexpr int kActionTimeoutMs = 30000;

} // namespace

WindowCommandRun::WindowCommandRun(WindowCommand command, tracking::WindowManager &manager,
                                   platform::WindowControl &control,
                                   std::function<void(const CommandResult &)> finished)
    : QObject(&manager)
    , m_command(std::move(command))
    , m_manager(manager)
    , m_control(control)
    , m_finished(std::move(finished))
{
    m_deadline.setSingleShot(true);
}

void WindowCommandRun::start()
{
    if (m_command.verb == Verb::NewWindow && !m_control.hasApplication(m_command.target)) {
        finish(2,
               QStringLiteral("no application \"%1\" (no desktop entry %1.desktop)").arg(m_command.target));
        return;
    }
    afterFreshRead([this] { act(); });
}

void WindowCommandRun::afterFreshRead(std::function<void()> next)
{
    if (!m_manager.desktop()->isTrusted()) {
        finish(1, windowListing::noWindowManagerText());
        return;
    }
    disconnect(m_waiting);
    m_waiting = connect(&m_manager, &tracking::WindowManager::refreshApplied, this, [this, next] {
        disconnect(m_waiting);
        m_deadline.stop();
        next();
    });
    disconnect(&m_deadline, nullptr, this, nullptr);
    connect(&m_deadline, &QTimer::timeout, this,
            [this] { finish(1, QStringLiteral("the window list could not be read in time")); });
    m_deadline.start(kRefreshTimeoutMs);
    // Forced: a read that began before the action would judge the desktop as it was.
    m_manager.refresh(true);
}

void WindowCommandRun::act()
{
    const auto &categories = m_manager.categories();
    const QString &id = m_command.target;
    if (m_command.verb == Verb::TileShelf
        && std::none_of(categories.begin(), categories.end(),
                        [&](const tracking::WindowCategory &c) { return c.isShelf() && c.id == id; })) {
        finish(2, QStringLiteral("no shelf with id \"%1\" (see orvella list)").arg(id));
        return;
    }
    // Armed before the verb: a completion may come at once and start the next wait.
    disconnect(&m_deadline, nullptr, this, nullptr);
    connect(&m_deadline, &QTimer::timeout, this,
            [this] { finish(1, QStringLiteral("the window manager did not finish in time")); });
    m_deadline.start(kActionTimeoutMs);
    const QPointer<WindowCommandRun> guard(this);
    const tracking::Completion settled = [guard] {
        if (guard)
            guard->afterFreshRead([run = guard.data()] { run->judge(); });
    };
    bool accepted = false;
    switch (m_command.verb) {
    case Verb::Focus: accepted = m_manager.focusWindow(id, settled); break;
    case Verb::Close: accepted = m_manager.closeWindow(id, settled); break;
    case Verb::Minimize: accepted = m_manager.minimizeWindow(id, settled); break;
    case Verb::TileWindow: accepted = m_manager.tileWindow(id, m_command.position, settled); break;
    case Verb::TileShelf:
        accepted = m_manager.tileCategoryWindows(id, m_command.alignment, m_command.widthFraction, settled);
        break;
    case Verb::MinimizeAll: accepted = m_manager.minimizeAllWindows(settled); break;
    case Verb::NewWindow: accepted = m_manager.openNewWindow(id, settled); break;
    case Verb::ShowDesktop: accepted = m_manager.toggleShowDesktop(settled); break;
    default: break;
    }
    if (!accepted) {
        finish(2, QStringLiteral("no window with id \"%1\" (see orvella list --json)").arg(id));
        return;
    }
}

void WindowCommandRun::judge()
{
    const QString &id = m_command.target;
    // A window manager may refuse the focus (a window that takes no input, focus
    // stealing prevention): say so rather than succeed with nothing changed.
    if (m_command.verb == Verb::Focus && m_manager.activeWindowID() != id) {
        finish(1, QStringLiteral("the window manager did not focus \"%1\"").arg(id));
        return;
    }
    // A window that refused its place, or one left maximised, is not a tiled window.
    const int unplaced = m_manager.state().lastTilingFailures;
    if ((m_command.verb == Verb::TileWindow || m_command.verb == Verb::TileShelf) && unplaced != 0) {
        finish(1, unplaced < 0 ? QStringLiteral("there is no screen to tile on")
                               : QStringLiteral("%1 of the windows did not move where planned")
                                     .arg(QString::number(unplaced)));
        return;
    }
    finish(0);
}

void WindowCommandRun::finish(int status, const QString &message)
{
    disconnect(m_waiting);
    m_deadline.stop();
    if (m_finished)
        std::exchange(m_finished, nullptr)(CommandResult{status, message, {}});
    deleteLater();
}

} // namespace orvella::shell
