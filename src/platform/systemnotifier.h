// Desktop notifications as the rest of the program sees them, whatever delivers them.
#pragma once

#include <QString>

#include <functional>

namespace orvella::platform {

/**
 * Shows a notification outside the application's windows. Both callbacks run on the
 * thread that called `notify`, and never after the notifier is gone.
 */
class SystemNotifier
{
public:
    virtual ~SystemNotifier() = default;

    /// Asks for a notification; `identifier` names it so that a second one with the same
    /// identifier replaces the first. `accepted` runs once: true when the desktop took
    /// it, false when nothing can show it. `action` runs each time the user picks the
    /// action labelled `actionLabel` (no action is offered when the label is empty).
    virtual void notify(const QString &identifier, const QString &title, const QString &body,
                        const QString &actionLabel, std::function<void(bool accepted)> accepted,
                        std::function<void()> action) = 0;
};

} // namespace orvella::platform
