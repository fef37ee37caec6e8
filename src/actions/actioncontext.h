// What every window action reaches: the model, both desktop seams, time and the serial lane.
#pragma once

#include "tracking/windowactionport.h"

#include <QObject>

#include <functional>
#include <memory>

class QThreadPool;

namespace orvella::platform {
class Desktop;
class Scheduler;
class WindowControl;
} // namespace orvella::platform
namespace orvella::tracking {
class WindowManager;
}

namespace orvella::actions {

using tracking::Completion;

struct ActionContext
{
    tracking::WindowManager *manager = nullptr;
    std::shared_ptr<platform::Desktop> desktop;
    std::shared_ptr<platform::WindowControl> control;
    platform::Scheduler *scheduler = nullptr;
    /// The serial lane: one thread, first in first out, so that writes reach the
    /// window manager in the order the user asked for them.
    QThreadPool *lane = nullptr;
};

/**
 * Runs `work` on the context's lane, then `then` on the main thread, unless `owner`
 * is gone by then. The work gets the seams by shared pointer and never touches the
 * model.
 */
void runInBackground(const ActionContext &context, QObject *owner, std::function<void()> work,
                     std::function<void()> then);

/// Calls `done` (when set) after `delayMs` on the context's scheduler, unless `owner` is gone.
void settleThen(const ActionContext &context, QObject *owner, int delayMs, Completion done);

} // namespace orvella::actions
