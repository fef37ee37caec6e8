// Qt's screens and the sidebar's size in X device pixels, the one space the actions use.
#include "actions/screenpixels.h"

#include "tracking/trackingstate.h"

#include <QGuiApplication>
#include <QScreen>

namespace orvella::actions {

platform::ScreenInfo deviceScreen(const QScreen &screen)
{
    const double ratio = screen.devicePixelRatio();
    const QPointF origin = QRectF(screen.geometry()).topLeft();
    const auto scaled = [origin, ratio](const QRectF &logical) {
        return QRectF(origin + (logical.topLeft() - origin) * ratio, logical.size() * ratio);
    };
    return {scaled(QRectF(screen.geometry())), scaled(QRectF(screen.availableGeometry())), false};
}

SidebarPlacement deviceSidebar(const tracking::TrackingState &state)
{
    const QScreen *screen = state.sidebarScreen;
    // The command line has no screens of Qt's: there nothing is scaled.
    if (!screen && qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        screen = QGuiApplication::primaryScreen();
    const double ratio = screen ? screen->devicePixelRatio() : 1.0;
    SidebarPlacement placement{state.sidebarWidth * ratio, state.sidebarPosition, std::nullopt};
    if (state.sidebarScreen)
        placement.screenOrigin = deviceScreen(*state.sidebarScreen).frame.topLeft();
    return placement;
}

} // namespace orvella::actions
