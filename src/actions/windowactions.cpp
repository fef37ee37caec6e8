// Tiling a shelf or one window, focusing and closing windows.
#include "actions/windowactions.h"

#include "actions/axwindowmatch.h"
#include "actions/screenpixels.h"
#include "actions/shelftiler.h"
#include "logging.h"
#include "platform/desktop.h"
#include "platform/scheduler.h"
#include "platform/windowcontrol.h"
#include "tracking/windowmanager.h"

namespace orvella::actions {

namespace {

constexpr int kTileRefreshMs = 400;
constexpr int kFocusRefreshMs = 300;
constexpr auto kTileCheckPause = std::chrono::milliseconds(80);
constexpr int kTileChecks = 10;
constexpr double kTileTolerance = 3.0;

} // namespace

WindowActions::WindowActions(ActionContext context, QObject *parent)
    : QObject(parent)
    , m_context(std::move(context))
{}

SidebarPlacement WindowActions::sidebar() const
{
    return deviceSidebar(m_context.manager->state());
}

void WindowActions::refreshAfter(int delayMs, Completion completion)
{
    const QPointer<tracking::WindowManager> manager(m_context.manager);
    settleThen(m_context, this, delayMs, [manager, completion] {
        if (manager)
            manager->refresh(true);
        if (completion)
            completion();
    });
}

void WindowActions::tileCategoryWindows(const QString &categoryID, TileAlignment alignment,
                                        double widthFraction, Completion completion)
{
    QList<tracking::WindowItem> windows;
    for (const tracking::WindowCategory &c : m_context.manager->categories()) {
        if (c.id != categoryID)
            continue;
        // Placeholders of applications that are not running have no window to move.
        for (const tracking::WindowItem &w : c.windows) {
            if (!w.isClosed)
                windows.append(w);
        }
    }
    if (windows.isEmpty()) {
        if (completion)
            completion();
        return;
    }
    const SidebarPlacement placement = sidebar();
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    platform::Scheduler *scheduler = m_context.scheduler;
    auto failures = std::make_shared<int>(0);
    runInBackground(
        m_context, this,
        [desktop, control, scheduler, windows, placement, alignment, widthFraction, failures] {
            // The screens are the platform's to read, so the column is planned there.
            *failures =
                ShelfTiler(*desktop, *control, *scheduler).tile(windows, placement, alignment, widthFraction);
        },
        [this, completion, failures] {
            m_context.manager->state().lastTilingFailures = *failures;
            refreshAfter(kTileRefreshMs, completion);
        });
}

void WindowActions::tileWindow(const tracking::WindowItem &window, TilePosition position,
                               Completion completion)
{
    const SidebarPlacement placement = sidebar();
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    platform::Scheduler *scheduler = m_context.scheduler;
    auto failures = std::make_shared<int>(1);
    runInBackground(
        m_context, this,
        [desktop, control, scheduler, window, placement, position, failures] {
            const auto element = findAXWindow(window, desktop->readSnapshot());
            if (!element || !element->windowNumber)
                return;
            const std::optional<QRectF> area = usableArea(control->screens(), placement, {element->frame});
            if (!area)
                return;
            const qint64 number = *element->windowNumber;
            // A minimised window would be moved where nobody sees it: bring it back first.
            if (element->minimized)
                control->setMinimized(number, false);
            control->unmaximize(number);
            const QRectF target = tilePosition::frame(position, *area);
            ShelfTiler::applyAXFrame(*control, number, target);
            control->raise(number);
            // A busy window manager may take a while; only a window still elsewhere after
            // all the checks counts as refused.
            std::optional<QRectF> landed;
            for (int check = 0; check < kTileChecks; ++check) {
                scheduler->pause(kTileCheckPause);
                landed = control->frame(number);
                *failures =
                    landed && !framesMatch(QRectF(landed->topLeft(), target.size()), target, kTileTolerance);
                if (!*failures)
                    break;
            }
            if (*failures)
                qCWarning(lcActions).noquote()
                    << QStringLiteral("[OV] tileWindow: window %1 stays at (%2, %3), expected (%4, %5)")
                           .arg(QString::number(number), QString::number(landed->x()),
                                QString::number(landed->y()), QString::number(target.x()),
                                QString::number(target.y()));
        },
        [this, completion, failures] {
            m_context.manager->state().lastTilingFailures = *failures;
            refreshAfter(kTileRefreshMs, completion);
        });
}

void WindowActions::focusWindow(const tracking::WindowItem &window, Completion completion)
{
    bool running = false;
    for (const tracking::AppSnapshot &app : m_context.manager->runningApps())
        running = running || app.pid == window.pid;
    if (!running) {
        if (completion)
            completion();
        return;
    }
    m_context.manager->updateWindowMinimizedStateLocally(window.id, false);
    actOnElement(window, "focusWindow", std::move(completion),
                 [window](platform::WindowControl &control, const platform::AppWindow &element) {
                     if (window.isMinimized || element.minimized)
                         control.setMinimized(*element.windowNumber, false);
                     control.raise(*element.windowNumber);
                     if (!control.activate(*element.windowNumber))
                         qCWarning(lcActions).noquote()
                             << QStringLiteral("[OV] focusWindow: the window manager did not focus %1")
                                    .arg(window.windowTitle);
                 });
}

void WindowActions::closeWindow(const tracking::WindowItem &window, Completion completion)
{
    actOnElement(window, "closeWindow", std::move(completion),
                 [](platform::WindowControl &control, const platform::AppWindow &element) {
                     control.close(*element.windowNumber);
                 });
}

void WindowActions::minimizeWindow(const tracking::WindowItem &window, Completion completion)
{
    m_context.manager->updateWindowMinimizedStateLocally(window.id, true);
    actOnElement(window, nullptr, std::move(completion),
                 [](platform::WindowControl &control, const platform::AppWindow &element) {
                     if (!element.minimized)
                         control.setMinimized(*element.windowNumber, true);
                 });
}

void WindowActions::actOnElement(const tracking::WindowItem &window, const char *operation,
                                 Completion completion, ElementAction action)
{
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    runInBackground(
        m_context, this,
        [desktop, control, window, operation, action = std::move(action)] {
            const auto element = findAXWindow(window, desktop->readSnapshot());
            if (element && element->windowNumber)
                action(*control, *element);
            else if (operation)
                qCInfo(lcActions).noquote().nospace()
                    << "[OV] " << operation << ": no window element for " << window.windowTitle;
        },
        [this, completion] { refreshAfter(kFocusRefreshMs, completion); });
}

} // namespace orvella::actions
