// The docked sidebar on X11: EWMH dock and strut properties, an edge window and a key grab.
#pragma once

#include "platform/panelhost.h"

#include <memory>

namespace orvella::platform::x11 {

/**
 * Speaks to the X server on a connection of its own. Requests go out from the main thread
 * without waiting; what comes back (the pointer at the edge, the hot key, a grab refused)
 * is read when the socket has data, never by blocking. The only round trips are the ones
 * that need an answer before anything else can happen: the atoms once, the dock
 * properties before the first map, the keyboard map when the hot key changes and the root
 * size when the edge is reserved.
 */
class X11PanelHost final : public PanelHost
{
    Q_OBJECT
public:
    ~X11PanelHost() override;

    /// Connects to `display` (empty: `$DISPLAY`); null, with `error` set, on failure.
    static std::unique_ptr<X11PanelHost> open(const QString &display, QString *error);

    void makeDock(QWindow &window) override;
    void reserveEdge(QWindow &window, Edge edge, const QRect &monitor, int width) override;
    void watchEdge(const QRect &strip) override;
    bool setHotkey(const QString &keys) override;

private:
    X11PanelHost();
    void drain();
    void ungrab();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace orvella::platform::x11
