// WindowManager's window actions: thin entry points onto the classes of actions/.
// Kept apart from windowmanager.cpp, which is about the model and its refresh.
#include "actions/newwindowopener.h"
#include "actions/showdesktop.h"
#include "actions/windowactions.h"
#include "logging.h"
#include "tracking/windowmanager.h"

namespace orvella::tracking {

namespace {

// An action asked for before the window manager can send anything completes at once.
bool unavailable(const void *helper, const actions::Completion &completion)
{
    if (helper)
        return false;
    qCWarning(lcActions) << "[OV] window action ignored: no window control";
    if (completion)
        completion();
    return true;
}

} // namespace

void WindowManager::setWindowControl(std::shared_ptr<platform::WindowControl> control)
{
    delete m_windowActions;
    delete m_showDesktop;
    delete m_newWindowOpener;
    m_control = std::move(control);
    const actions::ActionContext context{this, m_desktop, m_control, &m_scheduler, &m_refreshPool};
    m_windowActions = new actions::WindowActions(context, this);
    m_showDesktop = new actions::ShowDesktop(context, this);
    m_newWindowOpener = new actions::NewWindowOpener(context, this);
}

void WindowManager::setWindowsMinimizedLocally(const std::function<bool(const WindowItem &)> &which,
                                               bool minimized)
{
    bool changed = false;
    for (WindowItem &w : m_windows) {
        if (w.isMinimized != minimized && !w.isClosed && which(w)) {
            w.isMinimized = minimized;
            changed = true;
        }
    }
    if (!changed)
        return;
    emit windowsChanged();
    buildCategories();
}

void WindowManager::tileCategoryWindows(const QString &categoryID, TileAlignment alignment,
                                        double widthFraction, double sidebarWidth,
                                        const QString &sidebarPosition, actions::Completion completion)
{
    if (!unavailable(m_windowActions, completion))
        m_windowActions->tileCategoryWindows(categoryID, alignment, widthFraction, sidebarWidth,
                                             sidebarPosition, std::move(completion));
}

void WindowManager::tileWindow(const WindowItem &window, TilePosition position, double sidebarWidth,
                               const QString &sidebarPosition, actions::Completion completion)
{
    if (!unavailable(m_windowActions, completion))
        m_windowActions->tileWindow(window, position, sidebarWidth, sidebarPosition, std::move(completion));
}

void WindowManager::toggleShowDesktop()
{
    if (!unavailable(m_showDesktop, nullptr))
        m_showDesktop->toggleShowDesktop();
}

void WindowManager::showDesktopSaveAndMinimize(actions::Completion completion)
{
    if (!unavailable(m_showDesktop, completion))
        m_showDesktop->showDesktopSaveAndMinimize(std::move(completion));
}

void WindowManager::showDesktopRestore(actions::Completion completion)
{
    if (!unavailable(m_showDesktop, completion))
        m_showDesktop->showDesktopRestore(std::move(completion));
}

void WindowManager::minimizeAllWindows(actions::Completion completion)
{
    if (!unavailable(m_showDesktop, completion))
        m_showDesktop->minimizeAllWindows(std::move(completion));
}

void WindowManager::minimizeCategoryWindows(const QString &categoryID, actions::Completion completion)
{
    if (!unavailable(m_showDesktop, completion))
        m_showDesktop->minimizeCategoryWindows(categoryID, std::move(completion));
}

void WindowManager::restoreCategoryWindows(const QString &categoryID, actions::Completion completion)
{
    if (!unavailable(m_showDesktop, completion))
        m_showDesktop->restoreCategoryWindows(categoryID, std::move(completion));
}

void WindowManager::restoreAndRaiseCategoryWindows(const QString &categoryID, actions::Completion completion)
{
    if (!unavailable(m_showDesktop, completion))
        m_showDesktop->restoreAndRaiseCategoryWindows(categoryID, std::move(completion));
}

void WindowManager::focusWindow(const WindowItem &window, actions::Completion completion)
{
    if (!unavailable(m_windowActions, completion))
        m_windowActions->focusWindow(window, std::move(completion));
}

void WindowManager::closeWindow(const WindowItem &window, actions::Completion completion)
{
    if (!unavailable(m_windowActions, completion))
        m_windowActions->closeWindow(window, std::move(completion));
}

void WindowManager::minimizeWindow(const WindowItem &window, actions::Completion completion)
{
    if (!unavailable(m_windowActions, completion))
        m_windowActions->minimizeWindow(window, std::move(completion));
}

void WindowManager::openNewWindowForItem(const WindowItem &item, actions::Completion completion)
{
    if (!unavailable(m_newWindowOpener, completion))
        m_newWindowOpener->openNewWindowForItem(item, std::move(completion));
}

void WindowManager::openNewWindow(const QString &bundleID, actions::Completion completion)
{
    if (!unavailable(m_newWindowOpener, completion))
        m_newWindowOpener->openNewWindow(bundleID, std::move(completion));
}

void WindowManager::relaunchClosedApp(const QString &bundleID)
{
    if (!unavailable(m_newWindowOpener, nullptr))
        m_newWindowOpener->relaunchClosedApp(bundleID);
}

} // namespace orvella::tracking
