// What every window action reaches: the model, both desktop seams, time and the worker pool.
#pragma once

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

/// Called on the main thread once an action has settled.
using Completion = std::function<void()>;

struct ActionContext
{
    tracking::WindowManager *manager = nullptr;
    std::shared_ptr<platform::Desktop> desktop;
    std::shared_ptr<platform::WindowControl> control;
    platform::Scheduler *scheduler = nullptr;
    QThreadPool *pool = nullptr;
};

/**
 * Runs `work` on the context's pool, then `then` on the main thread, unless `owner`
 * is gone by then. The work gets the seams by shared pointer and never touches the
 * model.
 */
void runInBackground(const ActionContext &context, QObject *owner, std::function<void()> work,
                     std::function<void()> then);

/// Calls `done` (when set) after `delayMs` on the context's scheduler, unless `owner` is gone.
void settleThen(const ActionContext &context, QObject *owner, int delayMs, Completion done);

} // namespace orvella::actions
