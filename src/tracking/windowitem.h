// One listed window, as the sidebar shows it.
#pragma once

#include <QImage>
#include <QList>
#include <QRectF>
#include <QString>

#include <optional>

namespace orvella::tracking {

struct WindowItem
{
    /// The identity string: a signature (see identity.h), a ghost id or a closed-app id.
    QString id;
    qint32 pid = 0;
    /// Place among the owning application's windows in mapping order, oldest first;
    /// raising a window leaves it unchanged.
    int axIndex = 0;
    QString appName;
    std::optional<QString> bundleIdentifier;
    QString windowTitle;
    QImage icon;      ///< null when the application has none
    QString iconName; ///< icon-theme name, when the application's desktop entry gives one
    bool isMinimized = false;
    std::optional<qint64> windowNumber;
    QRectF bounds;
    bool isActive = false;
    /// Full screen on its monitor: a sidebar that hides for full-screen windows goes away.
    bool isFullScreen = false;
    /// The shelf this window was assigned to when the item was built.
    std::optional<QString> assignedShelfName;
    /// A placeholder for a shelved window whose application is not running.
    bool isClosed = false;
    /// The owning process's start time (see AppSnapshot); with the pid and the owner it
    /// tells whether a window number still names the window it named before.
    quint64 processStartTime = 0;

    /// The bundle identifier when present, else the application name.
    QString owner() const { return bundleIdentifier.value_or(appName); }
};

/// Same length and, position by position, the same id, app name, title, minimized,
/// active and closed state: what the sidebar shows. Moves alone do not count.
bool windowsUIEqual(const QList<WindowItem> &a, const QList<WindowItem> &b);

} // namespace orvella::tracking
