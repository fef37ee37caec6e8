// Which monitor the sidebar panel belongs on, remembered across restarts.
#pragma once

#include <QObject>
#include <QPointer>

class QScreen;

namespace orvella::platform {
class PreferencesStore;
}
namespace orvella::settings {
class AppSettings;
}

namespace orvella::shell {

/**
 * Chooses the panel's monitor (the one picked with "next monitor" while it exists, else for
 * `sidebarScreen` "mouse" the pointer's monitor when the panel appeared, else the primary one),
 * keeps the choice across restarts by the monitor's identity, and reports monitors that come,
 * go or change their free area. Main thread only.
 */
class PanelPlacement : public QObject
{
    Q_OBJECT
public:
    PanelPlacement(settings::AppSettings &settings, platform::PreferencesStore &store,
                   QObject *parent = nullptr);

    QScreen *targetScreen() const;
    void restoreLastScreen();
    /// Remembers `screen` for the next start, when the settings ask for that.
    void saveScreen(const QScreen *screen);
    /// Chooses the monitor after `current`; null, choosing nothing, with fewer than two.
    QScreen *cycleFrom(QScreen *current);
    /// The panel appeared: for "mouse" the pointer's monitor counts from now on.
    void panelShown();

signals:
    /// A monitor came or went, or a monitor's free area changed; logged already.
    void screensChanged();

private:
    void watch(QScreen *screen);
    void report(const char *what);

    settings::AppSettings &m_settings;
    platform::PreferencesStore &m_store;
    QPointer<QScreen> m_manualTargetScreen;
    QPointer<QScreen> m_pointerScreen;
    int m_lastKnownScreenCount = 0;
};

} // namespace orvella::shell
