// Carries out the window actions the model hands over, one after another.
#include "actions/actionrunner.h"

#include "actions/newwindowopener.h"
#include "actions/screenpixels.h"
#include "actions/showdesktop.h"
#include "actions/sidebaravoidance.h"
#include "actions/tilegeometry.h"
#include "actions/windowactions.h"
#include "logging.h"
#include "tracking/windowmanager.h"

namespace orvella::actions {

using Verb = tracking::WindowActionRequest::Verb;

namespace {

ActionContext contextFor(tracking::WindowManager &manager, std::shared_ptr<platform::WindowControl> control,
                         QThreadPool *lane)
{
    return {&manager, manager.desktop(), std::move(control), &manager.scheduler(), lane};
}

} // namespace

ActionRunner::ActionRunner(tracking::WindowManager &manager, std::shared_ptr<platform::WindowControl> control)
    : m_windowActions(new WindowActions(contextFor(manager, control, &m_lane), this))
    , m_showDesktop(new ShowDesktop(contextFor(manager, control, &m_lane), this))
    , m_newWindowOpener(new NewWindowOpener(contextFor(manager, control, &m_lane), this))
    , m_sidebarAvoidance(new SidebarAvoidance(contextFor(manager, std::move(control), &m_lane), this))
    , m_manager(manager)
{
    m_lane.setObjectName(QStringLiteral("com.orvella.actions"));
    m_lane.setMaxThreadCount(1);
}

ActionRunner::~ActionRunner()
{
    // What has not started is dropped; what runs finishes before the parts go.
    m_lane.clear();
    m_lane.waitForDone();
}

ActionRunner *ActionRunner::attach(tracking::WindowManager &manager,
                                   std::shared_ptr<platform::WindowControl> control)
{
    auto runner = std::make_unique<ActionRunner>(manager, std::move(control));
    ActionRunner *raw = runner.get();
    manager.setActionPort(std::move(runner));
    return raw;
}

bool ActionRunner::perform(const tracking::WindowActionRequest &request, Completion done)
{
    switch (request.verb) {
    case Verb::Focus: m_windowActions->focusWindow(request.window, std::move(done)); return true;
    case Verb::Minimize: m_windowActions->minimizeWindow(request.window, std::move(done)); return true;
    case Verb::Close: m_windowActions->closeWindow(request.window, std::move(done)); return true;
    case Verb::TileWindow: {
        const auto position = tilePosition::fromRawValue(request.option);
        if (!position) {
            qCWarning(lcActions).noquote()
                << QStringLiteral("[OV] tile: unknown position %1").arg(request.option);
            return false;
        }
        m_windowActions->tileWindow(request.window, *position, std::move(done));
        return true;
    }
    case Verb::TileSection: {
        const auto alignment = tileAlignmentFromString(request.option);
        if (!alignment) {
            qCWarning(lcActions).noquote()
                << QStringLiteral("[OV] tile: unknown alignment %1").arg(request.option);
            return false;
        }
        m_windowActions->tileCategoryWindows(request.target, *alignment, request.widthFraction,
                                             std::move(done));
        return true;
    }
    case Verb::MinimizeSection:
        m_showDesktop->minimizeCategoryWindows(request.target, std::move(done));
        return true;
    case Verb::RestoreSection:
        m_showDesktop->restoreCategoryWindows(request.target, std::move(done));
        return true;
    case Verb::RaiseSection:
        m_showDesktop->restoreAndRaiseCategoryWindows(request.target, std::move(done));
        return true;
    case Verb::ToggleShowDesktop: m_showDesktop->toggleShowDesktop(std::move(done)); return true;
    case Verb::ShowDesktopSave: m_showDesktop->showDesktopSaveAndMinimize(std::move(done)); return true;
    case Verb::ShowDesktopRestore: m_showDesktop->showDesktopRestore(std::move(done)); return true;
    case Verb::MinimizeAll: m_showDesktop->minimizeAllWindows(std::move(done)); return true;
    case Verb::NewWindow: m_newWindowOpener->openNewWindow(request.target, std::move(done)); return true;
    case Verb::NewWindowForItem:
        m_newWindowOpener->openNewWindowForItem(request.window, std::move(done));
        return true;
    case Verb::Relaunch:
        m_newWindowOpener->relaunchClosedApp(request.target);
        if (done)
            done();
        return true;
    case Verb::NudgeFromSidebar:
        m_sidebarAvoidance->nudgeWindowsFromSidebar(request.windows, deviceSidebar(m_manager.state()),
                                                    std::move(done));
        return true;
    case Verb::RestoreNudged: m_sidebarAvoidance->restoreNudgedWindows(std::move(done)); return true;
    }
    return false;
}

bool ActionRunner::overlapsSidebar(const QList<tracking::WindowItem> &windows) const
{
    return m_sidebarAvoidance->overlapsSidebar(windows);
}

} // namespace orvella::actions
