// What the windowing system does for a docked sidebar: the one seam between the panel and X11.
#pragma once

#include <QObject>
#include <QRect>
#include <QString>

class QWindow;

namespace orvella::platform {

/**
 * Docks a window on a monitor's edge, reserves that edge, watches it while the panel is
 * hidden and listens for a global key. All geometry is in device pixels of the root window.
 * Main thread only; what the windowing system reports arrives as signals.
 */
class PanelHost : public QObject
{
    Q_OBJECT
public:
    enum class Edge { Left, Right };

    using QObject::QObject;

    /// Before `window` is first shown: a dock on every desktop, above ordinary windows,
    /// out of task lists and pagers.
    virtual void makeDock(QWindow &window) = 0;
    /// Keeps `width` pixels along `edge` of `monitor` free of other windows for `window`;
    /// a width of 0 gives the edge back.
    virtual void reserveEdge(QWindow &window, Edge edge, const QRect &monitor, int width) = 0;
    /// Reports edgeTouched() while the pointer enters `strip`; an empty strip stops watching.
    virtual void watchEdge(const QRect &strip) = 0;
    /// Listens for `keys` ("Ctrl+Alt+O") everywhere; empty releases. False when the text
    /// names no key this host can listen for; a key another program holds is reported by
    /// hotkeyTaken().
    virtual bool setHotkey(const QString &keys) = 0;

signals:
    void edgeTouched();
    void hotkeyPressed();
    void hotkeyTaken(const QString &keys);
};

} // namespace orvella::platform
