// Launch at login as an XDG autostart desktop entry.
#pragma once

#include <QString>

#include <optional>

namespace orvella::platform {

/**
 * `$XDG_CONFIG_HOME/autostart/org.orvella.Orvella.desktop`, named like the installed
 * desktop entry so that session settings show the two as one application. Enabled means
 * the file exists and does not say `Hidden=true` (the desktop's session settings hide an
 * entry that way instead of deleting it). Earlier builds wrote `com.orvella.Orvella.desktop`:
 * it still counts while it is the only one, and is removed on the next change.
 */
class AutostartEntry
{
public:
    explicit AutostartEntry(QString filePath = defaultFilePath());

    static QString defaultFilePath();
    QString filePath() const { return m_filePath; }

    bool isEnabled() const;
    /// Writes an entry whose Exec key is `command` (quoted as that key wants it), or removes
    /// it. False on I/O failure.
    bool setEnabled(bool enabled, const QString &command);
    /// The program a login should start: the AppImage when running from one.
    static QString currentExecutable();
    /// What a login should run: the AppImage when running from one, else the installed
    /// desktop entry's Exec (a login starts Orvella the way the menu does), else this
    /// program's path.
    static QString loginCommand();
    /// The installed `org.orvella.Orvella.desktop` in the XDG data directories, first found
    /// first; absent when Orvella runs uninstalled.
    static std::optional<QString> installedDesktopEntry();

private:
    QString legacyFilePath() const;

    QString m_filePath;
};

} // namespace orvella::platform
