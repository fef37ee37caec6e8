// The icon in the desktop's system tray: Orvella's menu, and the monitor's readings.
#pragma once

#include <QIcon>
#include <QImage>
#include <QObject>
#include <QPointer>

#include <functional>

class QAction;
class QMenu;
class QSystemTrayIcon;
class QTimer;

namespace orvella::settings {
class AppSettings;
}
namespace orvella::monitor {
class SystemMonitorService;
}

namespace orvella::shell {

/// What the tray's menu entries do; the owner decides, an empty function does nothing.
struct TrayActions
{
    std::function<void()> toggleSidebar, showDesktop, openSettings, openWhatsNew, relaunch, quit;
};

/**
 * With the system monitor shown in the menu bar ("menubar" or "both") the icon is the
 * readings drawn in the chosen style and the tooltip lists them; otherwise it is the
 * application icon with the tooltip "Orvella". It follows the display, style, metrics
 * and colour settings as they change, and redraws after each sample only when the
 * picture or the tooltip differs.
 *
 * Without a tray on the desktop the icon stays hidden and everything else keeps
 * working; it is shown as soon as a tray appears. A click on the icon toggles the
 * sidebar; the menu holds the rest.
 */
class TrayIcon : public QObject
{
    Q_OBJECT
public:
    TrayIcon(settings::AppSettings &settings, monitor::SystemMonitorService &monitor, TrayActions actions,
             QObject *parent = nullptr);
    ~TrayIcon() override;

    /// Names the first menu entry "Show Sidebar" or "Hide Sidebar".
    void setSidebarVisible(bool visible);

    QMenu *menu() const { return m_menu; }
    QIcon icon() const;
    QString toolTip() const;
    /// True while the icon shows the monitor's readings.
    bool showsReadings() const { return m_showsReadings; }

private:
    void retranslate();
    void styleChanged();
    void refresh();
    void showWhenTrayAvailable();

    settings::AppSettings &m_settings;
    monitor::SystemMonitorService &m_monitor;
    TrayActions m_actions;
    QMenu *m_menu;
    QSystemTrayIcon *m_tray;
    QTimer *m_trayWatch;
    QAction *m_toggleSidebar;
    QAction *m_showDesktop;
    QAction *m_settingsAction;
    QAction *m_whatsNew;
    QAction *m_relaunch;
    QAction *m_quit;
    bool m_sidebarVisible = false;
    bool m_showsReadings = false;
    QImage m_lastReadingsImage; ///< the largest size drawn last, to skip identical redraws
};

} // namespace orvella::shell
