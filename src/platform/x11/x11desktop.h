// The desktop seam on X11: applications, their windows and focus, read through xcb.
#pragma once

#include "platform/desktop.h"
#include "platform/x11/x11propertycache.h"

#include <QString>

#include <memory>

namespace orvella::platform::x11 {

/**
 * Reads the whole desktop in a handful of round trips: every request for every
 * window is sent before any reply is read. Robust against hostile or buggy clients:
 * a window destroyed mid-read is dropped, titles are bounded valid UTF-8, icon data
 * is validated before use, and no property can make Orvella allocate without bound.
 * Thread-safe: readSnapshot() may run on several refresh workers at once.
 *
 * While an X11DesktopObserver on the same display runs, reads come from the display's
 * PropertyCache and ask the server only for what its events made stale; every
 * kFullReadEvery-th read reads every window anyway, so that a change the events missed
 * (a client that changes a property without notice, a selection that raced a window's
 * creation) lasts at most that many reads. Without an observer every read is full.
 */
class X11Desktop final : public Desktop
{
public:
    ~X11Desktop() override;

    /// Connects to `display` (empty: `$DISPLAY`); null, with `error` set, on failure.
    /// Without `cached`, every read is a full one: the reference the cache is held to.
    static std::shared_ptr<X11Desktop> open(const QString &display, QString *error, bool cached = true);

    bool isTrusted() const override;
    DesktopSnapshot readSnapshot() override;
    qint32 ownPid() const override;
    LaunchWatch watchForLaunch() override;

    /// One read in this many reads every window, whatever the cache holds. A heartbeat is
    /// at least one read, so at the shown rhythm (1.5 s) a missed change lasts at most 30 s,
    /// while the full reads add a twentieth of one to an idle refresh's cost.
    static constexpr int kFullReadEvery = 20;
    /// The cache shared with the observer on this display (null when opened uncached); its
    /// scaledIcon() serves the views.
    const std::shared_ptr<PropertyCache> &propertyCache() const;

private:
    X11Desktop();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace orvella::platform::x11
