// The installed desktop entries, indexed for telling which application a window belongs to.
#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <mutex>
#include <optional>

namespace orvella::platform {

/// What Orvella takes from one desktop entry.
struct DesktopEntry
{
    QString id;       ///< desktop-file id without ".desktop" ("org.gnome.TextEditor")
    QString name;     ///< localized Name
    QString iconName; ///< Icon: a theme name or an absolute path; empty when unset
};

/**
 * Every desktop entry GIO knows (also NoDisplay ones: a hidden entry still names its
 * windows' application). The index is built on the first lookup and then kept, so it
 * reflects the XDG data directories as they were then. Lookups are case-insensitive
 * and thread-safe.
 */
class DesktopEntries
{
public:
    DesktopEntries() = default;
    DesktopEntries(const DesktopEntries &) = delete;
    DesktopEntries &operator=(const DesktopEntries &) = delete;

    /// By desktop-file id, with or without ".desktop" and with or without a directory
    /// (`_KDE_NET_WM_DESKTOP_FILE` may hold a path).
    std::optional<DesktopEntry> byId(const QString &id) const;
    /// By StartupWMClass, else by desktop-file id.
    std::optional<DesktopEntry> byWmClass(const QString &wmClass) const;
    /// How many entries were indexed.
    qsizetype size() const;

private:
    void load() const;
    std::optional<DesktopEntry> find(const QHash<QString, qsizetype> &index, const QString &key) const;

    mutable std::once_flag m_loaded;
    mutable QList<DesktopEntry> m_entries;
    mutable QHash<QString, qsizetype> m_byId;      ///< lower-case id -> entry
    mutable QHash<QString, qsizetype> m_byWmClass; ///< lower-case StartupWMClass -> entry
};

} // namespace orvella::platform
