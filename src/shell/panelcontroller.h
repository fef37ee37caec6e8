// Where the sidebar panel sits, when it shows, what it keeps clear, and how wide it grows.
#pragma once

#include "platform/panelhost.h"
#include "shell/panelplacement.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariantMap>

#include <memory>

class QScreen;

namespace orvella::platform {
class PreferencesStore;
class Scheduler;
} // namespace orvella::platform
namespace orvella::settings {
class AppSettings;
}
namespace orvella::tracking {
class WindowManager;
}
namespace orvella::sidebar {
class SidebarRowsModel;
}

namespace orvella::shell {

class SidebarPanel;

/**
 * The panel's placement on the displays (the chosen, remembered or pointer's monitor), its
 * reveal and hide rules (the user, auto-hide with an edge trigger, full-screen windows, the
 * hot key), keeping its edge clear of other windows, and the split layout's width.
 * Main thread only.
 */
class PanelController : public QObject
{
    Q_OBJECT
public:
    /// `host` may be null (no dock, edge or hot key: a plain window then).
    PanelController(tracking::WindowManager &manager, settings::AppSettings &settings,
                    platform::PreferencesStore &store, std::unique_ptr<platform::PanelHost> host,
                    platform::Scheduler &scheduler, QObject *parent = nullptr);
    ~PanelController() override;

    // Placement.
    /// The monitor chosen with "next monitor" while it exists, else for `sidebarScreen` "mouse"
    /// the pointer's monitor when the panel appeared, else the primary one.
    QScreen *targetScreen() const;
    void restoreLastScreen();
    void saveCurrentScreen();
    void cycleSidebarToNextScreen();
    /// Objects the panel's view reaches by name (the application, the banners); before launch.
    void setViewObjects(const QVariantMap &objects) { m_viewObjects = objects; }
    /// Builds the panel, hidden until showSidebar().
    void launchSidebar();
    void updatePanelLayout();

    // Reveal and hide.
    void showSidebar();
    /// The user's hide. Any hide gives windows moved out of the panel's way their place back.
    void hideSidebar();
    bool isVisible() const;
    bool shouldAvoidSidebar() const;
    bool isFullscreenHidden() const { return m_fullscreenHidden; }
    bool wasManuallyHidden() const { return m_manuallyHidden; }

    // Split layout.
    bool isSplitLayoutActive() const;
    int splitColumnCount(double height) const;
    bool isAutoSplitActive() const { return m_autoSplitActive; }
    void updateAutoSplitActivation(bool forceEdgeActivation);
    bool isMouseInsideOrvellaArea(const QPoint &point) const;

    SidebarPanel *panel() const { return m_panel.get(); }

    /// The hot key another program holds ("Ctrl+Alt+O"); empty while ours works.
    QString hotkeyConflict() const { return m_hotkeyConflict; }

signals:
    void hotkeyConflictChanged();
    /// The panel appeared or went away, for any reason.
    void visibilityChanged(bool visible);
    void isAutoSplitActiveChanged();

private:
    void setShown(bool shown);
    /// The list rows, packed into the split columns while the split layout is on.
    void refreshRows();
    void follow();
    void checkFullscreenState();
    void pointerLeftPanel();
    void followAutoHide();
    void refreshAutoSplitTracking();
    void scheduleAutoSplitActivation();
    void setAutoSplitActive(bool active);

    tracking::WindowManager &m_manager;
    settings::AppSettings &m_settings;
    std::unique_ptr<platform::PanelHost> m_host;
    platform::Scheduler &m_scheduler;
    std::unique_ptr<sidebar::SidebarRowsModel> m_rows;
    std::unique_ptr<SidebarPanel> m_panel;
    QVariantMap m_viewObjects;
    PanelPlacement m_placement;
    bool m_fullscreenHidden = false;
    bool m_manuallyHidden = false;
    bool m_autoSplitActive = false;
    QString m_hotkeyConflict;
    /// Deleting it cancels what was scheduled on it.
    std::unique_ptr<QObject> m_autoHidePending;
    std::unique_ptr<QObject> m_autoSplitPending;
    QTimer m_autoSplitPoll;
};

} // namespace orvella::shell
