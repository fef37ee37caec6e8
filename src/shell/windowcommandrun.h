// One window command carried out on a live window manager, from refresh to verification.
#pragma once

#include "shell/windowcommand.h"

#include <QObject>
#include <QTimer>

namespace orvella::shell {

/**
 * Refreshes so that ids are resolved against the desktop as it is now, hands the verb to
 * the manager, waits for the action to settle, reads the desktop again and judges the
 * outcome. Everything is event-driven: the main thread keeps serving the sidebar and
 * other commands meanwhile. A child of the manager, deleted once it has reported.
 */
class WindowCommandRun : public QObject
{
public:
    WindowCommandRun(WindowCommand command, tracking::WindowManager &manager,
                     platform::WindowControl &control, std::function<void(const CommandResult &)> finished);

    void start();

private:
    // Calls `next` after a refresh that began now has been applied; a desktop that cannot be
    // read, or one that takes too long, ends the command instead.
    void afterFreshRead(std::function<void()> next);
    void act();
    void judge();
    void finish(int status, const QString &message = QString());

    WindowCommand m_command;
    tracking::WindowManager &m_manager;
    platform::WindowControl &m_control;
    std::function<void(const CommandResult &)> m_finished;
    QTimer m_deadline;
    QMetaObject::Connection m_waiting;
};

} // namespace orvella::shell
