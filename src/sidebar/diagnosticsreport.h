// The diagnostic text a user reviews before sending it with feedback.
#pragma once

#include <QString>
#include <QStringList>

namespace orvella::settings {
class AppSettings;
}

namespace orvella::sidebar {

/**
 * What the feedback window shows and, if the user ticks it, sends: version, Qt version,
 * window manager, screen layout, the settings that differ from their defaults and this
 * run's last log lines. Window titles are private: unless the user opts in, every known
 * title is blanked out of the log lines, and no list of windows is added.
 */
struct DiagnosticsReport
{
    QString version;
    QString qtVersion;
    QString windowManager;
    QStringList screens;         ///< "name WxH+X+Y @scale"
    QStringList changedSettings; ///< "key = value"
    QStringList logLines;
    QStringList windowTitles; ///< the windows Orvella knows now

    /// The text, titles included only when `includeWindowTitles`.
    QString compose(bool includeWindowTitles) const;

    /// The stored settings whose values differ from their defaults, by preferences key.
    static QStringList changedSettingsOf(const settings::AppSettings &settings);
    /// The screens Qt knows, primary first.
    static QStringList screenLayout();
};

} // namespace orvella::sidebar
