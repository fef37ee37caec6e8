// Keeping other applications' windows clear of the sidebar, and giving them back after.
#include "actions/sidebaravoidance.h"

#include "actions/axwindowmatch.h"
#include "actions/screenpixels.h"
#include "actions/sidebarstrip.h"
#include "logging.h"
#include "platform/desktop.h"
#include "platform/scheduler.h"
#include "platform/windowcontrol.h"
#include "tracking/windowmanager.h"

#include <QSet>

#include <cmath>

namespace orvella::actions {

namespace {

constexpr int kRefreshMs = 300;
constexpr auto kSettlePause = std::chrono::milliseconds(60);
constexpr int kSettleChecks = 10;
// Window managers round frames by a pixel or two: a window within this of where the
// nudge left it has not been moved by the user since.
constexpr double kStayedTolerance = 2.0;
constexpr double kLandedTolerance = 3.0;

struct Moved
{
    QString id;
    qint64 number = 0;
    QRectF before;
    QRectF target;
    QRectF after; ///< where the window manager put it
};

struct Remembered
{
    tracking::WindowItem window;
    QRectF before;
    QRectF after;
};

// Size first, then position: a window widened at its old place could cross the screen's
// edge and be pushed back by the window manager.
void moveTo(platform::WindowControl &control, qint64 number, const QRectF &from, const QRectF &to)
{
    if (to.size() != from.size())
        control.setSize(number, to.size());
    control.setPosition(number, to.topLeft());
}

std::optional<platform::ScreenInfo> screenAt(const QList<platform::ScreenInfo> &screens,
                                             const std::optional<QPointF> &origin)
{
    for (const platform::ScreenInfo &s : screens) {
        if (origin && s.frame.topLeft() == *origin)
            return s;
    }
    return std::nullopt;
}

// The window manager applies moves a moment later. Where it settled (the position asked
// for, and two reads agreeing) is what a restore later compares against; a window that
// never gets there is recorded where it last was.
void readSettledFrames(platform::WindowControl &control, platform::Scheduler &scheduler, QList<Moved> &moved)
{
    QList<std::optional<QRectF>> last(moved.size());
    QList<bool> settled(moved.size(), false);
    for (int check = 0; check < kSettleChecks && settled.contains(false); ++check) {
        scheduler.pause(kSettlePause);
        for (qsizetype i = 0; i < moved.size(); ++i) {
            if (settled[i])
                continue;
            const std::optional<QRectF> now = control.frame(moved[i].number);
            if (!now) {
                settled[i] = true; // gone: the next refresh drops it
                continue;
            }
            const QPointF offset = now->topLeft() - moved[i].target.topLeft();
            const bool landed =
                std::abs(offset.x()) <= kLandedTolerance && std::abs(offset.y()) <= kLandedTolerance;
            settled[i] = landed && last[i] == now;
            last[i] = now;
            moved[i].after = *now;
        }
    }
}

} // namespace

SidebarAvoidance::SidebarAvoidance(ActionContext context, QObject *parent)
    : QObject(parent)
    , m_context(std::move(context))
{}

bool SidebarAvoidance::overlapsSidebar(const QList<tracking::WindowItem> &windows) const
{
    const tracking::TrackingState &state = m_context.manager->state();
    if (!state.sidebarScreen)
        return false;
    const platform::ScreenInfo screen = deviceScreen(*state.sidebarScreen);
    const SidebarPlacement sidebar = deviceSidebar(state);
    return std::any_of(windows.begin(), windows.end(), [&](const tracking::WindowItem &w) {
        return !w.isClosed && !w.isMinimized && isUnderSidebar(w.bounds, screen, sidebar);
    });
}

void SidebarAvoidance::refreshAfter(Completion completion)
{
    const QPointer<tracking::WindowManager> manager(m_context.manager);
    settleThen(m_context, this, kRefreshMs, [manager, completion] {
        if (manager)
            manager->refresh(true);
        if (completion)
            completion();
    });
}

void SidebarAvoidance::nudgeWindowsFromSidebar(const QList<tracking::WindowItem> &windows,
                                               const SidebarPlacement &sidebar, Completion completion)
{
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    platform::Scheduler *scheduler = m_context.scheduler;
    auto moved = std::make_shared<QList<Moved>>();
    runInBackground(
        m_context, this,
        [desktop, control, scheduler, windows, sidebar, moved] {
            const std::optional<platform::ScreenInfo> screen =
                screenAt(control->screens(), sidebar.screenOrigin);
            if (!screen) {
                qCWarning(lcActions) << "[OV] nudgeWindowsFromSidebar: the sidebar's screen is not known";
                return;
            }
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            // Without the server's list there is no telling which windows are on this
            // desktop: moving one on another desktop would be a surprise, so none moves.
            if (!snapshot.serverWindows) {
                qCWarning(lcActions) << "[OV] nudgeWindowsFromSidebar: the window list could not be read";
                return;
            }
            QSet<qint64> shown;
            for (const platform::ServerWindow &s : *snapshot.serverWindows) {
                if (s.onScreen)
                    shown.insert(s.number);
            }
            for (const tracking::WindowItem &w : windows) {
                if (w.isClosed || w.isMinimized)
                    continue;
                const std::optional<platform::AppWindow> element = findAXWindow(w, snapshot);
                if (!element || !element->windowNumber || element->minimized
                    || !shown.contains(*element->windowNumber))
                    continue;
                const std::optional<QRectF> target = frameClearOfSidebar(element->frame, *screen, sidebar);
                if (!target)
                    continue;
                moveTo(*control, *element->windowNumber, element->frame, *target);
                moved->append({w.id, *element->windowNumber, element->frame, *target, *target});
            }
            if (!moved->isEmpty())
                readSettledFrames(*control, *scheduler, *moved);
        },
        [this, moved, completion] {
            tracking::TrackingState &state = m_context.manager->state();
            // Windows closed since their nudge are forgotten, so the memory stays as small
            // as the window list.
            QSet<QString> listed;
            for (const tracking::WindowItem &w : m_context.manager->windows())
                listed.insert(w.id);
            for (const Moved &m : std::as_const(*moved)) {
                listed.insert(m.id);
                // Only the first nudge's frame: that is where the user had the window.
                if (!state.nudgedWindowFrames.contains(m.id))
                    state.nudgedWindowFrames.insert(m.id, m.before);
                state.lastObservedSidebarFrames.insert(m.id, m.after);
            }
            state.nudgedWindowFrames.removeIf(
                [&](const auto &entry) { return !listed.contains(entry.key()); });
            state.lastObservedSidebarFrames.removeIf(
                [&](const auto &entry) { return !listed.contains(entry.key()); });
            // A window under the sidebar on another desktop asks for a pass every few
            // seconds that moves nothing: not worth a line in the journal each time.
            const QString line =
                QStringLiteral("[OV] nudgeWindowsFromSidebar — moved %1 window(s)").arg(moved->size());
            if (moved->isEmpty())
                qCDebug(lcActions).noquote() << line;
            else
                qCInfo(lcActions).noquote() << line;
            refreshAfter(completion);
        });
}

void SidebarAvoidance::restoreNudgedWindows(Completion completion)
{
    tracking::TrackingState &state = m_context.manager->state();
    const QHash<QString, QRectF> before = std::exchange(state.nudgedWindowFrames, {});
    const QHash<QString, QRectF> after = std::exchange(state.lastObservedSidebarFrames, {});
    QList<Remembered> remembered;
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        const std::optional<tracking::WindowItem> window = m_context.manager->canonicalWindow(it.key());
        if (window && after.contains(it.key()))
            remembered.append({*window, it.value(), after.value(it.key())});
    }
    if (remembered.isEmpty()) {
        if (!before.isEmpty())
            qCInfo(lcActions) << "[OV] restoreNudgedWindows: none of the moved windows is still open";
        if (completion)
            completion();
        return;
    }
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    auto restored = std::make_shared<int>(0);
    runInBackground(
        m_context, this,
        [desktop, control, remembered, restored] {
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            for (const Remembered &r : remembered) {
                const std::optional<platform::AppWindow> element = findAXWindow(r.window, snapshot);
                if (!element || !element->windowNumber
                    || !framesMatch(element->frame, r.after, kStayedTolerance))
                    continue;
                moveTo(*control, *element->windowNumber, element->frame, r.before);
                ++*restored;
            }
        },
        [this, completion, restored, total = remembered.size()] {
            qCInfo(lcActions).noquote()
                << QStringLiteral("[OV] restoreNudgedWindows — restored %1 of %2 window(s)")
                       .arg(QString::number(*restored), QString::number(total));
            refreshAfter(completion);
        });
}

} // namespace orvella::actions
