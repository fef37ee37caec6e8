// Carries out the window actions the model hands over, one after another.
#pragma once

#include "actions/actioncontext.h"
#include "tracking/windowactionport.h"

#include <QObject>
#include <QThreadPool>

#include <memory>

namespace orvella::actions {

class NewWindowOpener;
class ShowDesktop;
class SidebarAvoidance;
class WindowActions;

/**
 * The action layer's side of the window manager's port. The bookkeeping of each
 * request is done at once on the main thread; what it sends to the window manager
 * runs on one serial lane ("com.orvella.actions"), so a click that focuses and a
 * double click that minimises reach the window in the order they were made, and
 * settling pauses never hold up a refresh.
 */
class ActionRunner final : public QObject, public tracking::WindowActionPort
{
    Q_OBJECT
public:
    ActionRunner(tracking::WindowManager &manager, std::shared_ptr<platform::WindowControl> control);
    ~ActionRunner() override;

    /// Makes a runner for `manager` and hands it over; returns it for tests to reach
    /// its parts.
    static ActionRunner *attach(tracking::WindowManager &manager,
                                std::shared_ptr<platform::WindowControl> control);

    bool perform(const tracking::WindowActionRequest &request, Completion done) override;
    bool overlapsSidebar(const QList<tracking::WindowItem> &windows) const override;
    NewWindowOpener &newWindowOpener() const { return *m_newWindowOpener; }

private:
    QThreadPool m_lane;
    WindowActions *m_windowActions;
    ShowDesktop *m_showDesktop;
    NewWindowOpener *m_newWindowOpener;
    SidebarAvoidance *m_sidebarAvoidance;
    tracking::WindowManager &m_manager;
};

} // namespace orvella::actions
