// WindowManager's verbs by id: what the sidebar, the control interface and the
// command line ask of the model. Kept apart from windowmanager.cpp, which is about
// the model and its refresh.
#include "logging.h"
#include "tracking/identity.h"
#include "tracking/shelfoperations.h"
#include "tracking/windowmanager.h"

namespace orvella::tracking {

using Verb = WindowActionRequest::Verb;

void WindowManager::regroupAndPersist()
{
    buildCategories();
    persistState();
}

bool WindowManager::hasCategory(const QString &categoryID) const
{
    return std::any_of(m_categories.begin(), m_categories.end(),
                       [&](const WindowCategory &c) { return c.id == categoryID; });
}

void WindowManager::noteUserMinimized(const QList<WindowItem> &windows, bool minimized)
{
    for (const WindowItem &w : windows) {
        const QString sig = identity::baseSignature(w.owner(), w.windowNumber, w.windowTitle);
        m_state.confirmedMinimizedSignatures.remove(sig);
        if (minimized)
            m_state.userMinimizedSignatures.insert(sig);
        else
            m_state.userMinimizedSignatures.remove(sig);
    }
}

QList<WindowItem> WindowManager::sectionWindows(const QString &categoryID) const
{
    for (const WindowCategory &c : m_categories) {
        if (c.id == categoryID)
            return c.windows;
    }
    return {};
}

QString WindowManager::addShelf()
{
    const QString id = shelfOperations::addShelf(
        m_state, [this](const QString &number) { return defaultShelfName(number); });
    regroupAndPersist();
    return id;
}

bool WindowManager::removeShelf(const QString &shelfID)
{
    if (!shelfOperations::removeShelf(m_state, shelfID))
        return false;
    regroupAndPersist();
    return true;
}

bool WindowManager::renameCategory(const QString &categoryID, const QString &name)
{
    if (!shelfOperations::renameCategory(m_state, categoryID, name))
        return false;
    regroupAndPersist();
    return true;
}

bool WindowManager::toggleCategoryCollapsed(const QString &categoryID)
{
    // An unknown id would otherwise be remembered in the preferences for good.
    if (!hasCategory(categoryID))
        return false;
    shelfOperations::toggleCategoryCollapsed(m_state, categoryID);
    regroupAndPersist();
    return true;
}

bool WindowManager::moveCategory(const QString &categoryID, const QString &beforeID)
{
    if (!shelfOperations::moveCategory(m_state, categoryID,
                                       beforeID.isEmpty() ? std::nullopt : std::optional(beforeID)))
        return false;
    regroupAndPersist();
    return true;
}

bool WindowManager::setCategoryHidden(const QString &categoryID, bool hidden)
{
    if (!hasCategory(categoryID))
        return false;
    if (shelfOperations::setCategoryHidden(m_state, categoryID, hidden))
        regroupAndPersist();
    return true;
}

void WindowManager::setOnlyCategory(const QString &categoryID)
{
    const std::optional<QString> only = categoryID.isEmpty() ? std::nullopt : std::optional(categoryID);
    if (m_state.onlyCategory == only)
        return;
    m_state.onlyCategory = only;
    emit categoriesChanged();
}

bool WindowManager::dragMoveWindow(const QString &windowID, const QString &toCategory,
                                   const QString &beforeWindowID)
{
    const std::optional<WindowItem> window = canonicalWindow(windowID);
    if (!window || (toCategory.startsWith(kShelfPrefix) && !m_state.shelfIDs.contains(toCategory)))
        return false;
    shelfOperations::moveWindow(m_state, *window, toCategory, canonicalWindow(beforeWindowID));
    regroupAndPersist();
    return true;
}

bool WindowManager::removeWindowFromShelf(const QString &windowID)
{
    const std::optional<WindowItem> window = canonicalWindow(windowID);
    if (!window)
        return false;
    shelfOperations::removeWindowFromShelf(m_state, *window);
    regroupAndPersist();
    return true;
}

void WindowManager::updateWindowMinimizedStateLocally(const QString &windowID, bool minimized)
{
    const QString id = identity::withoutGhostSuffix(windowID);
    setWindowsMinimizedLocally([&id](const WindowItem &w) { return w.id == id; }, minimized);
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

void WindowManager::setActionPort(std::unique_ptr<WindowActionPort> port)
{
    m_actionPort = std::move(port);
}

bool WindowManager::request(WindowActionRequest request, Completion done)
{
    if (!m_actionPort) {
        qCWarning(lcActions) << "[OV] window action ignored: no window control";
        return false;
    }
    return m_actionPort->perform(request, std::move(done));
}

namespace {

WindowActionRequest onWindow(Verb verb, const WindowItem &window, const QString &option = {})
{
    WindowActionRequest request;
    request.verb = verb;
    request.window = window;
    request.option = option;
    return request;
}

WindowActionRequest onTarget(Verb verb, const QString &target)
{
    WindowActionRequest request;
    request.verb = verb;
    request.target = target;
    return request;
}

} // namespace

bool WindowManager::focusWindow(const QString &windowID, Completion done)
{
    const auto window = canonicalWindow(windowID);
    if (!window || !request(onWindow(Verb::Focus, *window), std::move(done)))
        return false;
    noteUserMinimized({*window}, false);
    return true;
}

bool WindowManager::minimizeWindow(const QString &windowID, Completion done)
{
    const auto window = canonicalWindow(windowID);
    if (!window || !request(onWindow(Verb::Minimize, *window), std::move(done)))
        return false;
    noteUserMinimized({*window}, true);
    return true;
}

bool WindowManager::closeWindow(const QString &windowID, Completion done)
{
    const auto window = canonicalWindow(windowID);
    return window && request(onWindow(Verb::Close, *window), std::move(done));
}

bool WindowManager::tileWindow(const QString &windowID, const QString &position, Completion done)
{
    const auto window = canonicalWindow(windowID);
    return window && request(onWindow(Verb::TileWindow, *window, position), std::move(done));
}

bool WindowManager::openNewWindowForItem(const QString &windowID, Completion done)
{
    const auto window = canonicalWindow(windowID);
    return window && request(onWindow(Verb::NewWindowForItem, *window), std::move(done));
}

bool WindowManager::tileCategoryWindows(const QString &categoryID, const QString &alignment,
                                        double widthFraction, Completion done)
{
    WindowActionRequest tile = onTarget(Verb::TileSection, categoryID);
    tile.option = alignment;
    tile.widthFraction = widthFraction;
    return hasCategory(categoryID) && request(tile, std::move(done));
}

bool WindowManager::minimizeCategoryWindows(const QString &categoryID, Completion done)
{
    if (!hasCategory(categoryID) || !request(onTarget(Verb::MinimizeSection, categoryID), std::move(done)))
        return false;
    noteUserMinimized(sectionWindows(categoryID), true);
    return true;
}

bool WindowManager::restoreCategoryWindows(const QString &categoryID, Completion done)
{
    if (!hasCategory(categoryID) || !request(onTarget(Verb::RestoreSection, categoryID), std::move(done)))
        return false;
    noteUserMinimized(sectionWindows(categoryID), false);
    return true;
}

bool WindowManager::restoreAndRaiseCategoryWindows(const QString &categoryID, Completion done)
{
    if (!hasCategory(categoryID) || !request(onTarget(Verb::RaiseSection, categoryID), std::move(done)))
        return false;
    noteUserMinimized(sectionWindows(categoryID), false);
    return true;
}

bool WindowManager::toggleShowDesktop(Completion done)
{
    return request(onTarget(Verb::ToggleShowDesktop, {}), std::move(done));
}

bool WindowManager::showDesktopSaveAndMinimize(Completion done)
{
    return request(onTarget(Verb::ShowDesktopSave, {}), std::move(done));
}

bool WindowManager::showDesktopRestore(Completion done)
{
    return request(onTarget(Verb::ShowDesktopRestore, {}), std::move(done));
}

bool WindowManager::minimizeAllWindows(Completion done)
{
    return request(onTarget(Verb::MinimizeAll, {}), std::move(done));
}

bool WindowManager::openNewWindow(const QString &bundleID, Completion done)
{
    return request(onTarget(Verb::NewWindow, bundleID), std::move(done));
}

bool WindowManager::relaunchClosedApp(const QString &bundleID)
{
    return request(onTarget(Verb::Relaunch, bundleID), {});
}

} // namespace orvella::tracking
