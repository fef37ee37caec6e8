// Placing a shelf's windows in one column: the writes, pauses and checks of a tiling.
#include "actions/shelftiler.h"

#include "actions/axwindowmatch.h"
#include "logging.h"
#include "platform/scheduler.h"

#include <cmath>

namespace orvella::actions {

namespace {

using namespace std::chrono_literals;
constexpr auto kUnminimizePause = 500ms;
constexpr auto kFirstPlacementPause = 150ms;
constexpr auto kFittingPause = 80ms;
constexpr auto kBetweenPassesPause = 80ms;
constexpr auto kAfterPassesPause = 100ms;
constexpr int kMaxFittingRounds = 4;
constexpr double kVerifyTolerance = 3.0;

} // namespace

ShelfTiler::ShelfTiler(platform::Desktop &desktop, platform::WindowControl &control,
                       platform::Scheduler &scheduler)
    : m_desktop(desktop)
    , m_control(control)
    , m_scheduler(scheduler)
{}

bool ShelfTiler::applyAXFrame(platform::WindowControl &control, qint64 window, const QRectF &frame)
{
    const bool sized = control.setSize(window, frame.size());
    return control.setPosition(window, frame.topLeft()) && sized;
}

QList<ShelfTiler::Placed> ShelfTiler::findElements(const QList<tracking::WindowItem> &windows) const
{
    const platform::DesktopSnapshot snapshot = m_desktop.readSnapshot();
    QList<Placed> placed;
    for (const tracking::WindowItem &w : windows) {
        const std::optional<platform::AppWindow> element = findAXWindow(w, snapshot);
        if (!element || !element->windowNumber) {
            qCDebug(lcActions).noquote() << "[OV] tile: no window element for" << w.windowTitle;
            continue;
        }
        placed.append({*element->windowNumber, w.isMinimized || element->minimized});
    }
    return placed;
}

void ShelfTiler::place(const QList<tracking::WindowItem> &windows, const ColumnPlan &plan)
{
    const QList<Placed> placed = findElements(windows);
    if (placed.isEmpty())
        return;

    bool unminimized = false;
    for (const Placed &p : placed) {
        if (p.minimized)
            unminimized = m_control.setMinimized(p.number, false) || unminimized;
    }
    if (unminimized)
        m_scheduler.pause(kUnminimizePause);

    for (qsizetype i = 0; i < placed.size(); ++i) {
        m_control.setSize(placed[i].number, {plan.columnWidth - 1, plan.rowHeight - 1});
        m_control.setPosition(placed[i].number, {plan.columnX, plan.area.y() + double(i) * plan.rowHeight});
    }
    m_scheduler.pause(kFirstPlacementPause);

    const QList<double> planned = fitHeights(placed, plan);

    for (int pass = 0; pass < 2; ++pass) {
        double y = plan.area.y();
        for (qsizetype i = 0; i < placed.size(); ++i) {
            m_control.setSize(placed[i].number, {plan.columnWidth, planned[i]});
            m_control.setPosition(placed[i].number, {plan.columnX, y});
            if (pass == 1)
                m_control.raise(placed[i].number);
            y += planned[i];
        }
        m_scheduler.pause(pass == 0 ? kBetweenPassesPause : kAfterPassesPause);
    }
    verify(placed, plan, planned);
}

QList<double> ShelfTiler::fitHeights(const QList<Placed> &placed, const ColumnPlan &plan)
{
    QList<double> planned(placed.size(), plan.rowHeight);
    QList<bool> fixed(placed.size(), false);
    for (int round = 0; round < kMaxFittingRounds; ++round) {
        for (qsizetype i = 0; i < placed.size(); ++i)
            m_control.setSize(placed[i].number, {plan.columnWidth, planned[i]});
        m_scheduler.pause(kFittingPause);
        QList<double> actual;
        for (const Placed &p : placed) {
            // A window that cannot be read keeps its plan: it neither fixes nor moves.
            const std::optional<QRectF> frame = m_control.frame(p.number);
            actual.append(frame ? frame->height() : planned[actual.size()]);
        }
        if (!shareHeights(plan.area.height(), actual, planned, fixed))
            break;
    }
    return planned;
}

void ShelfTiler::verify(const QList<Placed> &placed, const ColumnPlan &plan, const QList<double> &planned)
{
    QList<double> actualTops, actualHeights;
    for (const Placed &p : placed) {
        const std::optional<QRectF> frame = m_control.frame(p.number);
        actualTops.append(frame ? frame->y() : std::nan(""));
        actualHeights.append(frame ? frame->height() : 0.0);
    }
    const QList<double> expected = expectedTops(plan.area.y(), actualHeights, planned);
    bool misplaced = false;
    for (qsizetype i = 0; i < placed.size(); ++i)
        misplaced =
            misplaced
            || (!std::isnan(actualTops[i]) && std::abs(actualTops[i] - expected[i]) > kVerifyTolerance);
    if (!misplaced)
        return;
    qCInfo(lcActions) << "[OV] Tile verification: correcting positions";
    for (qsizetype i = 0; i < placed.size(); ++i)
        m_control.setPosition(placed[i].number, {plan.columnX, expected[i]});
}

} // namespace orvella::actions
