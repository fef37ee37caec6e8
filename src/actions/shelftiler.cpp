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
constexpr auto kCorrectionPause = 80ms;
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
        placed.append({*element->windowNumber, w.isMinimized || element->minimized, element->frame});
    }
    return placed;
}

int ShelfTiler::tile(const QList<tracking::WindowItem> &windows, const SidebarPlacement &sidebar,
                     TileAlignment alignment, double widthFraction)
{
    const QList<Placed> placed = findElements(windows);
    QList<QRectF> frames;
    for (const Placed &p : placed)
        frames.append(p.frame);
    const std::optional<QRectF> area = usableArea(m_control.screens(), sidebar, frames);
    if (!area) {
        qCWarning(lcActions) << "[OV] tile: no screen to tile on";
        return -1;
    }
    if (placed.isEmpty())
        return 0;
    return place(placed, planColumn(*area, alignment, widthFraction, int(windows.size())));
}

int ShelfTiler::place(const QList<Placed> &placed, const ColumnPlan &plan)
{
    bool unminimized = false;
    for (const Placed &p : placed) {
        if (p.minimized)
            unminimized = m_control.setMinimized(p.number, false) || unminimized;
    }
    if (unminimized)
        m_scheduler.pause(kUnminimizePause);
    // Waits (bounded) for each window that was maximised: a move sent before the state
    // is gone would be dropped.
    for (const Placed &p : placed)
        m_control.unmaximize(p.number);

    for (qsizetype i = 0; i < placed.size(); ++i) {
        m_control.setSize(placed[i].number, {plan.columnWidth - 1, plan.rowHeight - 1});
        m_control.setPosition(placed[i].number, {plan.columnX, plan.area.y() + double(i) * plan.rowHeight});
    }
    m_scheduler.pause(kFirstPlacementPause);

    const QList<double> planned = fitHeights(placed, plan);

    const QList<double> tops = stackTops(plan.area, planned);
    for (int pass = 0; pass < 2; ++pass) {
        for (qsizetype i = 0; i < placed.size(); ++i) {
            m_control.setSize(placed[i].number, {plan.columnWidth, planned[i]});
            m_control.setPosition(placed[i].number, {plan.columnX, tops[i]});
            if (pass == 1)
                m_control.raise(placed[i].number);
        }
        m_scheduler.pause(pass == 0 ? kBetweenPassesPause : kAfterPassesPause);
    }
    return verify(placed, plan, planned);
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

int ShelfTiler::verify(const QList<Placed> &placed, const ColumnPlan &plan, const QList<double> &planned)
{
    QList<std::optional<QRectF>> frames;
    QList<double> actualHeights;
    for (const Placed &p : placed) {
        frames.append(m_control.frame(p.number));
        actualHeights.append(frames.last() ? frames.last()->height() : 0.0);
    }
    const QList<double> expected = expectedTops(plan.area, actualHeights, planned);
    // A window that is gone since is no failure: the refresh afterwards drops it.
    const auto misplaced = [&](qsizetype i) {
        return frames[i]
               && (std::abs(frames[i]->y() - expected[i]) > kVerifyTolerance
                   || std::abs(frames[i]->x() - plan.columnX) > kVerifyTolerance);
    };
    bool anyMisplaced = false;
    for (qsizetype i = 0; i < placed.size(); ++i)
        anyMisplaced = anyMisplaced || misplaced(i);
    if (!anyMisplaced)
        return 0;
    qCInfo(lcActions) << "[OV] Tile verification: correcting positions";
    for (qsizetype i = 0; i < placed.size(); ++i)
        m_control.setPosition(placed[i].number, {plan.columnX, expected[i]});
    m_scheduler.pause(kCorrectionPause);
    int failures = 0;
    for (qsizetype i = 0; i < placed.size(); ++i) {
        frames[i] = m_control.frame(placed[i].number);
        if (!misplaced(i))
            continue;
        ++failures;
        qCWarning(lcActions).noquote()
            << QStringLiteral("[OV] Tile verification: window %1 stays at (%2, %3), expected (%4, %5)")
                   .arg(QString::number(placed[i].number), QString::number(frames[i]->x()),
                        QString::number(frames[i]->y()), QString::number(plan.columnX),
                        QString::number(expected[i]));
    }
    return failures;
}

} // namespace orvella::actions
