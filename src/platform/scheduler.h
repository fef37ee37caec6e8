// The clock and delayed calls of Orvella, injectable so tests can drive time.
#pragma once

#include <QDateTime>
#include <QObject>

#include <chrono>
#include <functional>

namespace orvella::platform {

/**
 * Time as the tracking core sees it. Rules such as "4 seconds later" or "at most every
 * 30 seconds" go through this, so that tests run them on a manual clock in
 * milliseconds instead of waiting.
 */
class Scheduler
{
public:
    virtual ~Scheduler() = default;

    virtual QDateTime now() const = 0;
    /// Runs `callback` on `context`'s thread after `delay`, unless `context` is gone.
    virtual void schedule(std::chrono::milliseconds delay, QObject *context,
                          std::function<void()> callback) = 0;
    /// Blocks the calling worker thread for a settling pause between writes to other
    /// applications' windows (never called on the main thread).
    virtual void pause(std::chrono::milliseconds duration);

    /// Real time and QTimer.
    static Scheduler &system();
};

} // namespace orvella::platform
