// The desktop seam on X11: applications, their windows and focus, read through xcb.
#pragma once

#include "platform/desktop.h"

#include <QString>

#include <memory>

namespace orvella::platform::x11 {

/**
 * Reads the whole desktop in a handful of round trips: every request for every
 * window is sent before any reply is read. Robust against hostile or buggy clients:
 * a window destroyed mid-read is dropped, titles are bounded valid UTF-8, icon data
 * is validated before use, and no property can make Orvella allocate without bound.
 * Thread-safe: readSnapshot() may run on several refresh workers at once.
 */
class X11Desktop final : public Desktop
{
public:
    ~X11Desktop() override;

    /// Connects to `display` (empty: `$DISPLAY`); null, with `error` set, on failure.
    static std::shared_ptr<X11Desktop> open(const QString &display, QString *error);

    bool isTrusted() const override;
    DesktopSnapshot readSnapshot() override;
    qint32 ownPid() const override;
    LaunchWatch watchForLaunch() override;

private:
    X11Desktop();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace orvella::platform::x11
