// Where the sidebar panel sits, when it shows, what it keeps clear, and how wide it grows.
#include "shell/panelcontroller.h"

#include "actions/screenpixels.h"
#include "logging.h"
#include "platform/preferencesstore.h"
#include "platform/scheduler.h"
#include "settings/appsettings.h"
#include "shell/sidebarpanel.h"
#include "sidebar/sidebarrowsmodel.h"
#include "sidebar/splitlayout.h"
#include "tracking/windowmanager.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQuickView>
#include <QScreen>

#include <chrono>

namespace orvella::shell {

namespace {

// Long enough that brushing past the edge does not hide the panel.
constexpr std::chrono::milliseconds kAutoHideDelay{800};
// The auto split's edge zone, in points from the screen's edge.
constexpr int kEdgeZone = 3;

bool isRight(const settings::AppSettings &settings)
{
    return settings.position() == QLatin1String("right");
}

} // namespace

PanelController::PanelController(tracking::WindowManager &manager, settings::AppSettings &settings,
                                 platform::PreferencesStore &store, std::unique_ptr<platform::PanelHost> host,
                                 platform::Scheduler &scheduler, QObject *parent)
    : QObject(parent)
    , m_manager(manager)
    , m_settings(settings)
    , m_host(std::move(host))
    , m_scheduler(scheduler)
    , m_rows(std::make_unique<sidebar::SidebarRowsModel>())
    , m_placement(settings, store)
{
    connect(&m_placement, &PanelPlacement::screensChanged, this, &PanelController::updatePanelLayout);
    m_autoSplitPoll.setInterval(200);
    connect(&m_autoSplitPoll, &QTimer::timeout, this, [this] { updateAutoSplitActivation(false); });
}

PanelController::~PanelController() = default;

// --- placement ---------------------------------------------------------------------------

QScreen *PanelController::targetScreen() const
{
    return m_placement.targetScreen();
}

void PanelController::restoreLastScreen()
{
    m_placement.restoreLastScreen();
}

void PanelController::saveCurrentScreen()
{
    if (m_panel)
        m_placement.saveScreen(m_panel->screen());
}

void PanelController::cycleSidebarToNextScreen()
{
    if (!m_placement.cycleFrom(m_panel ? m_panel->screen() : nullptr))
        return;
    updatePanelLayout();
    saveCurrentScreen();
}

void PanelController::launchSidebar()
{
    if (m_panel)
        return;
    m_panel = std::make_unique<SidebarPanel>(m_host.get(), *m_rows, m_manager, m_settings, m_viewObjects);
    connect(m_panel.get(), &SidebarPanel::pointerLeft, this, &PanelController::pointerLeftPanel);
    // Qt moves the window by itself when its monitor goes away: put it back where it belongs.
    connect(&m_panel->view(), &QWindow::screenChanged, this, &PanelController::updatePanelLayout,
            Qt::QueuedConnection);
    connect(m_panel.get(), &SidebarPanel::pointerEntered, this, [this] { m_autoHidePending.reset(); });
    follow();
    updatePanelLayout();
}

void PanelController::refreshRows()
{
    namespace split = sidebar::splitLayout;
    const QList<tracking::WindowCategory> visible = m_manager.visibleCategories();
    QList<int> columns;
    // Packed for the same height the panel was sized for: the view's smaller estimate then
    // never asks for more columns than the panel has room for; a column taller than the list
    // scrolls.
    if (isSplitLayoutActive() && m_panel) {
        columns = split::packColumns(visible, m_panel->frame().height(), split::Metrics::from(m_settings),
                                     split::Estimate::View);
    }
    m_rows->setCategories(visible, columns);
    if (m_panel)
        m_panel->setColumns(columns.isEmpty() ? 1 : columns.last() + 1);
}

void PanelController::updatePanelLayout()
{
    QScreen *screen = targetScreen();
    if (!m_panel || !screen) {
        refreshRows();
        return;
    }
    // The reserved edge shrinks the available area, so the panel's own edge comes from the
    // monitor's frame and only its height from the available area.
    const QRect frame = screen->geometry();
    // Another program's strut may cover this monitor's whole width; the height still holds.
    const QRect available = screen->availableGeometry().isEmpty() ? frame : screen->availableGeometry();
    const int columns = splitColumnCount(available.height());
    const double width = m_settings.sidebarWidth() * columns;
    const double x = isRight(m_settings) ? frame.x() + frame.width() - width : frame.x();
    const QRectF target = sidebar::splitLayout::snapped(QRectF(x, available.y(), width, available.height()),
                                                        screen->devicePixelRatio());
    if (screen != m_panel->screen() || sidebar::splitLayout::differs(target, m_panel->frame()))
        m_panel->place(screen, target);
    refreshRows();
    // Windows are kept clear of a shown panel only; ending that gives nudged windows back.
    m_manager.setSidebarPlacement(screen, width, m_settings.position(), shouldAvoidSidebar());
    m_panel->setReserved(shouldAvoidSidebar());
    if (m_host && !isVisible() && m_settings.autoHide()) {
        const QRectF device = actions::deviceScreen(*screen).frame;
        const double edgeX = isRight(m_settings) ? device.right() : device.left();
        m_host->watchEdge(QRect(int(edgeX), int(device.top()), 1, int(device.height())));
    }
}

// --- reveal and hide ---------------------------------------------------------------------

bool PanelController::isVisible() const
{
    return m_panel && m_panel->isShown();
}

bool PanelController::shouldAvoidSidebar() const
{
    return m_settings.avoidSidebar() && isVisible();
}

void PanelController::showSidebar()
{
    m_manuallyHidden = false;
    setShown(true);
}

void PanelController::hideSidebar()
{
    m_manuallyHidden = true;
    setShown(false);
}

void PanelController::setShown(bool shown)
{
    if (!m_panel)
        launchSidebar();
    m_autoHidePending.reset();
    if (shown == isVisible())
        return;
    if (shown) {
        // The pointer's monitor is chosen when the panel appears; it does not follow the
        // pointer around while shown.
        m_placement.panelShown();
        if (m_host)
            m_host->watchEdge({});
        m_panel->show();
        updatePanelLayout();
    } else {
        m_panel->hide();
        setAutoSplitActive(false);
        updatePanelLayout();
    }
    refreshAutoSplitTracking();
    emit visibilityChanged(shown);
}

void PanelController::pointerLeftPanel()
{
    if (!m_settings.autoHide() || !isVisible())
        return;
    m_autoHidePending = std::make_unique<QObject>();
    m_scheduler.schedule(kAutoHideDelay, m_autoHidePending.get(), [this] {
        // The pointer may have come back to the panel without an enter event (a popup closed).
        if (m_panel && m_panel->frame().contains(QCursor::pos()))
            return;
        qCInfo(lcShell) << "[OV] auto-hide: the pointer left the sidebar";
        setShown(false);
    });
}

void PanelController::followAutoHide()
{
    if (!m_settings.autoHide()) {
        m_autoHidePending.reset();
        if (m_host)
            m_host->watchEdge({});
        if (!isVisible() && !m_manuallyHidden && !m_fullscreenHidden)
            setShown(true);
        return;
    }
    updatePanelLayout();
}

void PanelController::checkFullscreenState()
{
    QScreen *screen = m_panel ? m_panel->screen() : nullptr;
    bool covered = false;
    if (m_settings.autoHideFullscreen() && screen) {
        const QRectF monitor = actions::deviceScreen(*screen).frame;
        for (const tracking::WindowItem &w : m_manager.windows()) {
            if (w.isActive && w.isFullScreen && monitor.contains(w.bounds.center()))
                covered = true;
        }
    }
    if (covered && isVisible()) {
        qCInfo(lcShell) << "[OV] a full-screen window covers the sidebar's monitor; hiding";
        m_fullscreenHidden = true;
        setShown(false);
    } else if (!covered && m_fullscreenHidden) {
        m_fullscreenHidden = false;
        if (!m_manuallyHidden) {
            qCInfo(lcShell) << "[OV] the full-screen window left; showing the sidebar again";
            setShown(true);
        }
    }
}

void PanelController::follow()
{
    tracking::WindowManager *manager = &m_manager;
    settings::AppSettings *settings = &m_settings;
    connect(manager, &tracking::WindowManager::categoriesChanged, this, [this] {
        updateAutoSplitActivation(false);
        updatePanelLayout();
    });
    connect(manager, &tracking::WindowManager::windowsChanged, this, &PanelController::checkFullscreenState);
    connect(manager, &tracking::WindowManager::activeWindowIDChanged, this,
            &PanelController::checkFullscreenState);
    connect(settings, &settings::AppSettings::autoHideChanged, this, &PanelController::followAutoHide);
    connect(settings, &settings::AppSettings::autoHideFullscreenChanged, this,
            &PanelController::checkFullscreenState);
    for (auto signal :
         {&settings::AppSettings::sidebarWidthChanged, &settings::AppSettings::positionChanged,
          &settings::AppSettings::sidebarScreenChanged, &settings::AppSettings::avoidSidebarChanged,
          &settings::AppSettings::fontSizeChanged, &settings::AppSettings::headerFontSizeChanged,
          &settings::AppSettings::rowSpacingChanged, &settings::AppSettings::showSubtitleChanged,
          &settings::AppSettings::shelfDisplayModeChanged})
        connect(settings, signal, this, &PanelController::updatePanelLayout);
    connect(settings, &settings::AppSettings::sidebarListLayoutModeChanged, this, [this] {
        refreshAutoSplitTracking();
        updatePanelLayout();
    });
    if (m_host) {
        connect(m_host.get(), &platform::PanelHost::edgeTouched, this, [this] {
            if (!isVisible() && m_settings.autoHide() && !m_fullscreenHidden) {
                qCInfo(lcShell) << "[OV] auto-hide: the pointer reached the edge";
                m_manuallyHidden = false;
                setShown(true);
            }
        });
        connect(m_host.get(), &platform::PanelHost::hotkeyPressed, this,
                [this] { isVisible() ? hideSidebar() : showSidebar(); });
        const auto noteConflict = [this](const QString &keys) {
            if (m_hotkeyConflict == keys)
                return;
            m_hotkeyConflict = keys;
            emit hotkeyConflictChanged();
        };
        connect(m_host.get(), &platform::PanelHost::hotkeyTaken, this, noteConflict);
        const auto grab = [this, noteConflict] {
            // A new key starts clean; the host reports it if it is taken too.
            noteConflict(QString());
            m_host->setHotkey(m_settings.globalShortcut());
        };
        connect(settings, &settings::AppSettings::globalShortcutChanged, this, grab);
        grab();
    }
}

// --- split layout ------------------------------------------------------------------------

bool PanelController::isSplitLayoutActive() const
{
    const QString mode = m_settings.sidebarListLayoutMode();
    if (mode == QLatin1String("splitView"))
        return true;
    return mode == QLatin1String("autoSplit") && m_autoSplitActive;
}

int PanelController::splitColumnCount(double height) const
{
    return sidebar::splitLayout::columnCount(m_manager.visibleCategories(), height, isSplitLayoutActive(),
                                             sidebar::splitLayout::Metrics::from(m_settings));
}

void PanelController::refreshAutoSplitTracking()
{
    const bool tracking = m_settings.sidebarListLayoutMode() == QLatin1String("autoSplit") && isVisible();
    if (tracking && !m_autoSplitPoll.isActive())
        m_autoSplitPoll.start();
    if (!tracking) {
        m_autoSplitPoll.stop();
        m_autoSplitPending.reset();
        setAutoSplitActive(false);
    }
}

bool PanelController::isMouseInsideOrvellaArea(const QPoint &point) const
{
    return isVisible() && m_panel->frame().contains(point);
}

void PanelController::updateAutoSplitActivation(bool forceEdgeActivation)
{
    if (m_settings.sidebarListLayoutMode() != QLatin1String("autoSplit") || !isVisible())
        return;
    QScreen *screen = targetScreen();
    if (!screen)
        return;
    const QPoint pointer = QCursor::pos();
    const QRect frame = screen->geometry();
    const int edgeX = isRight(m_settings) ? frame.x() + frame.width() - 1 - kEdgeZone : frame.x();
    const bool atEdge = pointer.x() >= edgeX && pointer.x() <= edgeX + kEdgeZone && pointer.y() >= frame.top()
                        && pointer.y() <= frame.bottom();
    if (forceEdgeActivation) {
        if (atEdge)
            setAutoSplitActive(true);
        return;
    }
    if (atEdge || isMouseInsideOrvellaArea(pointer)) {
        scheduleAutoSplitActivation();
        return;
    }
    m_autoSplitPending.reset();
    setAutoSplitActive(false);
}

void PanelController::scheduleAutoSplitActivation()
{
    if (m_autoSplitPending || m_autoSplitActive)
        return;
    m_autoSplitPending = std::make_unique<QObject>();
    const auto delay = std::chrono::milliseconds(qint64(m_settings.autoSplitActivationDelay() * 1000));
    m_scheduler.schedule(delay, m_autoSplitPending.get(), [this] {
        m_autoSplitPending.release()->deleteLater();
        setAutoSplitActive(true);
    });
}

void PanelController::setAutoSplitActive(bool active)
{
    if (m_autoSplitActive == active)
        return;
    m_autoSplitActive = active;
    emit isAutoSplitActiveChanged();
    updatePanelLayout();
}

} // namespace orvella::shell
