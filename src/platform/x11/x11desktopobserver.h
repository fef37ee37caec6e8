// Desktop change notifications on X11, read on a thread of their own from a dedicated connection.
#pragma once

#include "platform/desktopobserver.h"

#include <QString>

#include <memory>
#include <vector>

namespace orvella::platform::x11 {

/**
 * Follows the root window's client list, active window and window-manager check, and the
 * names and states of the windows of observed processes. A reader thread blocks on the
 * connection, drains every queued event after each wake-up and hands the resulting
 * DesktopEvent values to the observer's thread by queued invocation. When the server goes
 * away it reports ConnectionLost once and stops; later calls do nothing.
 */
class X11DesktopObserver final : public DesktopObserver
{
    Q_OBJECT
public:
    ~X11DesktopObserver() override;

    /// Connects to `display` (empty: `$DISPLAY`); null, with `error` set, on failure.
    static std::unique_ptr<X11DesktopObserver> open(const QString &display, QString *error);

    bool start() override;
    void stop() override;
    bool observeProcess(qint32 pid) override;
    void unobserveProcess(qint32 pid) override;
    /// One round trip; call it from the observer's thread.
    std::optional<double> userIdleSeconds() const override;

private:
    X11DesktopObserver();
    void deliver(quint64 generation, const std::vector<DesktopEvent> &events);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace orvella::platform::x11
