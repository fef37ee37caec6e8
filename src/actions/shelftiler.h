// Placing a shelf's windows in one column: the writes, pauses and checks of a tiling.
#pragma once

#include "actions/tilegeometry.h"
#include "platform/desktop.h"
#include "platform/windowcontrol.h"
#include "tracking/windowitem.h"

namespace orvella::platform {
class Scheduler;
}

namespace orvella::actions {

/**
 * Runs on a worker: un-minimises, takes windows out of maximised and full-screen
 * states (the window manager would ignore their moves), places, fits heights to what
 * the applications accept, places again twice (raising in the shelf's order the
 * second time) and checks the column, correcting positions when a window landed
 * elsewhere. Windows whose element cannot be found are skipped in every pass.
 */
class ShelfTiler
{
public:
    ShelfTiler(platform::Desktop &desktop, platform::WindowControl &control, platform::Scheduler &scheduler);

    /// Plans the column on the monitor targetScreen() picks for `windows` (in the
    /// shelf's order) and places them. Returns how many did not land where planned,
    /// even after the correction; -1 when there was no screen to tile on.
    int tile(const QList<tracking::WindowItem> &windows, const SidebarPlacement &sidebar,
             TileAlignment alignment, double widthFraction);

    /// Size first, then position: a window grown at its old place could cross a
    /// screen edge and be pushed back by the window manager.
    static bool applyAXFrame(platform::WindowControl &control, qint64 window, const QRectF &frame);

private:
    struct Placed
    {
        qint64 number = 0;
        bool minimized = false;
        QRectF frame;
    };
    QList<Placed> findElements(const QList<tracking::WindowItem> &windows) const;
    int place(const QList<Placed> &placed, const ColumnPlan &plan);
    QList<double> fitHeights(const QList<Placed> &placed, const ColumnPlan &plan);
    /// Returns how many windows are still elsewhere after the correction.
    int verify(const QList<Placed> &placed, const ColumnPlan &plan, const QList<double> &planned);

    platform::Desktop &m_desktop;
    platform::WindowControl &m_control;
    platform::Scheduler &m_scheduler;
};

} // namespace orvella::actions
