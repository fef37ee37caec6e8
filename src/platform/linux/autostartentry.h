// Launch at login as an XDG autostart desktop entry.
#pragma once

#include <QString>

namespace orvella::platform {

/**
 * `$XDG_CONFIG_HOME/autostart/com.orvella.Orvella.desktop`. Enabled means the file
 * exists and does not say `Hidden=true` (the desktop's session settings hide an entry
 * that way instead of deleting it).
 */
class AutostartEntry
{
public:
    explicit AutostartEntry(QString filePath = defaultFilePath());

    static QString defaultFilePath();
    QString filePath() const { return m_filePath; }

    bool isEnabled() const;
    /// Writes an entry that starts `executable`, or removes it. False on I/O failure.
    bool setEnabled(bool enabled, const QString &executable);
    /// The program a login should start: the AppImage when running from one.
    static QString currentExecutable();

private:
    QString m_filePath;
};

} // namespace orvella::platform
