// Starting applications from their desktop entries through GIO.
#pragma once

#include "platform/windowcontrol.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace orvella::platform::applauncher {

/// Whether a desktop entry "<bundleID>.desktop" exists in the XDG data directories.
bool exists(const QString &bundleID);

/// Of a desktop entry's actions, the one that opens a new plain window ("new-window",
/// "new-empty-window", "NewWindow", "window-new"; private and incognito ones never);
/// absent when there is none.
std::optional<QString> pickNewWindowAction(const QStringList &actions);

/// pickNewWindowAction() over the actions the entry "<bundleID>.desktop" declares.
std::optional<QString> newWindowAction(const QString &bundleID);

/// A startup-notification id for launching `bundleID` now, unique to this process:
/// "<host>+<pid>-<sequence>-<bundleID>_TIME<timestamp>", the part after "_TIME" being the
/// X server time of the request that caused the launch (window managers weigh the new
/// window's claim to the focus by it). Characters outside [A-Za-z0-9._-] in the id
/// become '_'.
QString makeStartupID(const QString &bundleID, std::uint32_t timestamp);

/// Launches the entry's application detached, or runs its `action` when that is not
/// empty (GIO handles Exec field codes, TryExec, D-Bus activation and startup
/// notification). NotFound when there is no such entry. A `startupID` that is not empty
/// is handed to an application whose entry says StartupNotify=true (DESKTOP_STARTUP_ID,
/// or the activation's platform data). `started`, when given, receives the process GIO
/// started (or 0) and the startup id when it was handed over.
LaunchOutcome launch(const QString &bundleID, const QString &action, const QString &startupID, QString *error,
                     LaunchedProcess *started);

} // namespace orvella::platform::applauncher
