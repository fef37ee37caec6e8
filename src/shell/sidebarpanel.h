// The docked sidebar window: a frameless Qt Quick view on one monitor's edge.
#pragma once

#include "platform/panelhost.h"

#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QVariantMap>

#include <memory>

class QQuickView;
class QScreen;
class QAbstractItemModel;

namespace orvella::tracking {
class WindowManager;
}
namespace orvella::settings {
class AppSettings;
}

namespace orvella::shell {

/**
 * Owns the panel window and applies what the shell decides: its frame on a screen, shown or
 * hidden, and whether its edge is kept free of other windows. Works without a host too (no
 * dock properties then), as on a session the host could not open.
 */
class SidebarPanel : public QObject
{
    Q_OBJECT
public:
    /// `viewObjects` are handed to the view by name, beside the rows, the model and the settings.
    SidebarPanel(platform::PanelHost *host, QAbstractItemModel &rows, tracking::WindowManager &manager,
                 settings::AppSettings &settings, const QVariantMap &viewObjects = {},
                 QObject *parent = nullptr);
    ~SidebarPanel() override;

    /// Moves the panel to `frame` (logical pixels) on `screen`.
    void place(QScreen *screen, const QRectF &frame);
    /// Where the panel was placed, or where it is when something else moved it since (Qt moves
    /// a window off a monitor that goes away).
    QRectF frame() const;
    QScreen *screen() const { return m_screen; }
    void setColumns(int columns);

    void show();
    void hide();
    bool isShown() const;

    /// Reserves the panel's edge of its monitor while `reserve` and the panel is shown.
    void setReserved(bool reserve);
    QQuickView &view() { return *m_view; }

signals:
    void pointerEntered();
    void pointerLeft();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void applyReservation();

    QPointer<platform::PanelHost> m_host;
    settings::AppSettings &m_settings;
    std::unique_ptr<QQuickView> m_view;
    QPointer<QScreen> m_screen;
    QRectF m_frame;
    bool m_reserve = false;
    bool m_docked = false;
};

} // namespace orvella::shell
