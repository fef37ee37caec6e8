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
 * Runs on a worker: un-minimises, places, fits heights to what the applications
 * accept, places again twice (raising in the shelf's order the second time) and
 * checks the column, correcting positions when a window landed elsewhere. Windows
 * whose element cannot be found are skipped in every pass.
 */
class ShelfTiler
{
public:
    ShelfTiler(platform::Desktop &desktop, platform::WindowControl &control, platform::Scheduler &scheduler);

    /// `windows` in the shelf's order; `plan` from planColumn() for their number.
    void place(const QList<tracking::WindowItem> &windows, const ColumnPlan &plan);

    /// Size first, then position: a window grown at its old place could cross a
    /// screen edge and be pushed back by the window manager.
    static bool applyAXFrame(platform::WindowControl &control, qint64 window, const QRectF &frame);

private:
    struct Placed
    {
        qint64 number = 0;
        bool minimized = false;
    };
    QList<Placed> findElements(const QList<tracking::WindowItem> &windows) const;
    QList<double> fitHeights(const QList<Placed> &placed, const ColumnPlan &plan);
    void verify(const QList<Placed> &placed, const ColumnPlan &plan, const QList<double> &planned);

    platform::Desktop &m_desktop;
    platform::WindowControl &m_control;
    platform::Scheduler &m_scheduler;
};

} // namespace orvella::actions
