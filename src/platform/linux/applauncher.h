// Starting applications from their desktop entries through GIO.
#pragma once

#include "platform/windowcontrol.h"

#include <QString>
#include <QStringList>

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

/// Launches the entry's application detached, or runs its `action` when that is not
/// empty (GIO handles Exec field codes, TryExec, D-Bus activation and startup
/// notification). NotFound when there is no such entry. `pid`, when given, receives
/// the process GIO started, or 0.
LaunchOutcome launch(const QString &bundleID, const QString &action, QString *error, qint32 *pid);

} // namespace orvella::platform::applauncher
