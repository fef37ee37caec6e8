// The window-tracking core: the published window list and sections, and the refresh.
#pragma once

#include "platform/scheduler.h"
#include "tracking/trackingstate.h"
#include "tracking/windowactionport.h"
#include "tracking/windowcategory.h"
#include "tracking/windowreader.h"

#include <QObject>
#include <QPointer>
#include <QThreadPool>

#include <memory>

namespace orvella::platform {
class Desktop;
class DesktopObserver;
class PreferencesStore;
} // namespace orvella::platform
namespace orvella::settings {
class AppSettings;
}

namespace orvella::tracking {

class ObservationScheduler;

/**
 * One long-lived object that owns every window and shelf fact. Views read its
 * properties and call its operations; they never change the model directly.
 *
 * A refresh reads the desktop on the refresh pool and applies the result here on the
 * main thread, tagged with a generation number: a result whose generation is no
 * longer current is dropped, so a forced refresh supersedes a running one.
 * Main thread only, except refresh(), which may be called from anywhere.
 */
class WindowManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<orvella::tracking::WindowItem> windows READ windows NOTIFY windowsChanged)
    Q_PROPERTY(QList<orvella::tracking::WindowCategory> categories READ categories NOTIFY categoriesChanged)
    /// The sections the sidebar shows: hidden ones left out, or only `onlyCategory`.
    Q_PROPERTY(QList<orvella::tracking::WindowCategory> visibleCategories READ visibleCategories NOTIFY
                   categoriesChanged)
    /// Empty when no listed window is focused.
    Q_PROPERTY(QString activeWindowID READ activeWindowID NOTIFY activeWindowIDChanged)
    Q_PROPERTY(QString selectedWindowID READ selectedWindowID WRITE setSelectedWindowID NOTIFY
                   selectedWindowIDChanged)
    Q_PROPERTY(bool isRenaming READ isRenaming WRITE setIsRenaming NOTIFY isRenamingChanged)
    Q_PROPERTY(int lastLikelyCGWindowCount READ lastLikelyCGWindowCount NOTIFY lastLikelyCGWindowCountChanged)
    /// True while the "window manager needed" banner should be shown.
    Q_PROPERTY(bool showsTrustBanner READ showsTrustBanner NOTIFY showsTrustBannerChanged)

public:
    /// `store` keeps the shelf state (may be null: nothing is kept); `settings` may be
    /// null for command-line use (no sidebar then: tiling has the whole work area).
    WindowManager(std::shared_ptr<platform::Desktop> desktop, settings::AppSettings *settings,
                  platform::PreferencesStore *store,
                  platform::Scheduler &scheduler = platform::Scheduler::system(), QObject *parent = nullptr);
    ~WindowManager() override;

    // References into the model: valid until the next refresh or regrouping, which any verb
    // may cause. A caller that loops while calling verbs loops over a copy (cheap: shared).
    const QList<WindowItem> &windows() const { return m_windows; }
    const QList<WindowCategory> &categories() const { return m_categories; }
    QList<WindowCategory> visibleCategories() const;
    QString activeWindowID() const { return m_activeWindowID; }
    QString selectedWindowID() const { return m_selectedWindowID; }
    void setSelectedWindowID(const QString &id);
    bool isRenaming() const { return m_isRenaming; }
    void setIsRenaming(bool renaming);
    int lastLikelyCGWindowCount() const { return m_lastLikelyCGWindowCount; }
    bool showsTrustBanner() const { return m_showsTrustBanner; }

    TrackingState &state() { return m_state; }
    const TrackingState &state() const { return m_state; }

    /// Re-reads the desktop. Without `force` a refresh already running is left to
    /// finish; with it a new one starts and the running one's result is dropped.
    Q_INVOKABLE void refresh(bool force = false);
    /// Restarts observation from scratch (startObserving), posted to the main thread
    /// when called elsewhere.
    Q_INVOKABLE void hardRefresh();

    /// The source of desktop notifications and idle time; not owned, may be null.
    void setObserver(platform::DesktopObserver *observer);
    /// Restores the shelf state, observes the desktop, refreshes and starts the heartbeat.
    void startObserving();
    void stopObserving();
    /// The heartbeat interval (at least 1 s): fastRefreshInterval while the sidebar is
    /// shown, hiddenRefreshInterval while it is hidden.
    Q_INVOKABLE void setRefreshInterval(double seconds);
    ObservationScheduler &observation() { return *m_observation; }
    /// The regular applications of the last refresh.
    const QList<AppSnapshot> &runningApps() const { return m_runningApps; }
    /// The live item for an id; a ghost id resolves to its window.
    std::optional<WindowItem> canonicalWindow(const QString &id) const;
    /// Regroups `windows` into `categories`; writes the shelf state when it changed.
    void buildCategories();
    /// Reads the shelf state from the preferences (once, before the first grouping).
    void restoreState();
    /// Writes the whole shelf state to the preferences.
    void persistState();

    /// The model's view of the desktop and its clock, for the action layer.
    const std::shared_ptr<platform::Desktop> &desktop() const { return m_desktop; }
    platform::Scheduler &scheduler() const { return m_scheduler; }
    /// Where window actions go; until one is set they are refused with a log line.
    void setActionPort(std::unique_ptr<WindowActionPort> port);

    /// Shows a window as (un)minimized before the next refresh confirms it.
    void updateWindowMinimizedStateLocally(const QString &windowID, bool minimized);
    /// Marks the windows `which` accepts as (un)minimized and regroups, before the
    /// window manager has done it.
    void setWindowsMinimizedLocally(const std::function<bool(const WindowItem &)> &which, bool minimized);
    /// The first section (in display order) holding a window with this id.
    std::optional<QString> categoryIDForWindow(const QString &windowID) const;
    /// Waits (processing events) until no refresh is running; for the command line.
    bool waitForRefresh(int timeoutMs);

    /**
     * Where the sidebar panel stands and whether other windows must keep clear of it. The
     * shell calls it whenever the panel is placed, resized or moved to another screen,
     * and when whether windows avoid it changes (the `avoidSidebar` setting, auto-hide).
     * `width` is in Qt's logical pixels of `screen`; `position` is "left" or "right".
     * While `avoid` is on, refreshes move windows that lie under the sidebar clear of it
     * (at most every `periodicNudgeMinInterval`); turning it off gives back the windows
     * moved (restoreNudgedWindows()). The settings, when given, are followed as well:
     * whichever spoke last holds.
     */
    void setSidebarPlacement(QScreen *screen, double width, const QString &position, bool avoid);

    // The verbs the sidebar, the control interface and the command line call, by id
    // (windowverbs.cpp). Ghost ids name their window. A verb returns false and does
    // nothing for an id it does not know.
    //
    // Shelf operations regroup at once and write the shelf state.
    Q_INVOKABLE QString addShelf();
    Q_INVOKABLE bool removeShelf(const QString &shelfID);
    /// A blank name is refused.
    Q_INVOKABLE bool renameCategory(const QString &categoryID, const QString &name);
    Q_INVOKABLE bool toggleCategoryCollapsed(const QString &categoryID);
    /// An empty `beforeID` moves the section to the end.
    Q_INVOKABLE bool moveCategory(const QString &categoryID, const QString &beforeID = QString());
    Q_INVOKABLE bool setCategoryHidden(const QString &categoryID, bool hidden);
    /// Shows only this section; an empty id shows all again.
    Q_INVOKABLE void setOnlyCategory(const QString &categoryID);
    /// Moves a window to a shelf or back to its app section, before another window
    /// when `beforeWindowID` is given (which also reorders within one section).
    Q_INVOKABLE bool dragMoveWindow(const QString &windowID, const QString &toCategory,
                                    const QString &beforeWindowID = QString());
    Q_INVOKABLE bool removeWindowFromShelf(const QString &windowID);

    // Window actions return at once; `done` runs on the main thread once the action
    // has settled. The sidebar's width, edge and screen come from the model's state.
    Q_INVOKABLE bool focusWindow(const QString &windowID, orvella::tracking::Completion done = {});
    Q_INVOKABLE bool minimizeWindow(const QString &windowID, orvella::tracking::Completion done = {});
    Q_INVOKABLE bool closeWindow(const QString &windowID, orvella::tracking::Completion done = {});
    /// `position` is a tile position's raw value ("leftHalf", "maximize", ...).
    Q_INVOKABLE bool tileWindow(const QString &windowID, const QString &position,
                                orvella::tracking::Completion done = {});
    /// Stacks a section's windows in one column beside the sidebar; `alignment` is
    /// "left", "center" or "right".
    Q_INVOKABLE bool tileCategoryWindows(const QString &categoryID, const QString &alignment,
                                         double widthFraction, orvella::tracking::Completion done = {});
    Q_INVOKABLE bool minimizeCategoryWindows(const QString &categoryID,
                                             orvella::tracking::Completion done = {});
    Q_INVOKABLE bool restoreCategoryWindows(const QString &categoryID,
                                            orvella::tracking::Completion done = {});
    /// Un-minimises and raises a section's windows, its first window ending in front.
    Q_INVOKABLE bool restoreAndRaiseCategoryWindows(const QString &categoryID,
                                                    orvella::tracking::Completion done = {});
    Q_INVOKABLE bool toggleShowDesktop(orvella::tracking::Completion done = {});
    /// Remembers the visible windows and minimises them; showDesktopRestore() brings back
    /// exactly those.
    Q_INVOKABLE bool showDesktopSaveAndMinimize(orvella::tracking::Completion done = {});
    Q_INVOKABLE bool showDesktopRestore(orvella::tracking::Completion done = {});
    Q_INVOKABLE bool minimizeAllWindows(orvella::tracking::Completion done = {});
    /// `bundleID` is a desktop-file id ("org.gnome.TextEditor").
    Q_INVOKABLE bool openNewWindow(const QString &bundleID, orvella::tracking::Completion done = {});
    /// A new window of the application a listed window belongs to.
    Q_INVOKABLE bool openNewWindowForItem(const QString &windowID, orvella::tracking::Completion done = {});
    Q_INVOKABLE bool relaunchClosedApp(const QString &bundleID);
    /// Moves the windows lying under the sidebar just clear of it now; false while the
    /// sidebar's screen is not known.
    Q_INVOKABLE bool nudgeWindowsFromSidebar(orvella::tracking::Completion done = {});
    /// Puts the windows the nudges moved back where the user had them, unless the user
    /// moved them since, and forgets them. The shell calls it when the panel hides.
    Q_INVOKABLE bool restoreNudgedWindows(orvella::tracking::Completion done = {});

signals:
    void windowsChanged();
    void categoriesChanged();
    void activeWindowIDChanged();
    void selectedWindowIDChanged();
    void isRenamingChanged();
    void lastLikelyCGWindowCountChanged();
    void showsTrustBannerChanged();
    /// The windowing system reports no windows while windows exist: restart Orvella.
    void relaunchRequested();
    /// The X server went away: nothing can be observed or refreshed any more.
    void desktopLost();
    /// A refresh's result was applied (whether or not anything visible changed).
    void refreshApplied();

private:
    void apply(quint64 generation, ReadResult result);
    void publishLikelyCount(int count);
    void setShowsTrustBanner(bool shows);

    QString defaultShelfName(const QString &number) const;
    void regroupAndPersist();
    /// Follows the settings the model keeps a copy of, for tiling and avoidance.
    void followSettings();
    bool hasCategory(const QString &categoryID) const;
    /// Records (or clears) that the user minimized these windows through Orvella, so
    /// that a late answer of the window manager does not show them restored.
    void noteUserMinimized(const QList<WindowItem> &windows, bool minimized);
    QList<WindowItem> sectionWindows(const QString &categoryID) const;
    bool request(WindowActionRequest request, Completion done);
    /// Turning avoidance off gives back the windows it moved.
    void setAvoidSidebarEnabled(bool enabled);
    /// After a refresh: nudges when avoidance is on, the last periodic nudge is long
    /// enough ago and a listed window lies under the sidebar.
    void nudgeFromSidebarIfDue(const QDateTime &now);

    std::shared_ptr<platform::Desktop> m_desktop;
    QPointer<settings::AppSettings> m_settings;
    platform::PreferencesStore *m_store;
    platform::Scheduler &m_scheduler;
    QThreadPool m_refreshPool;

    ObservationScheduler *m_observation;
    QList<AppSnapshot> m_runningApps;
    QList<WindowItem> m_windows;
    QList<WindowCategory> m_categories;
    QString m_activeWindowID;
    QString m_selectedWindowID;
    bool m_isRenaming = false;
    int m_lastLikelyCGWindowCount = 0;
    bool m_showsTrustBanner = false;
    TrackingState m_state;

    std::unique_ptr<WindowActionPort> m_actionPort;
};

} // namespace orvella::tracking

Q_DECLARE_METATYPE(orvella::tracking::WindowItem)
Q_DECLARE_METATYPE(orvella::tracking::WindowCategory)
