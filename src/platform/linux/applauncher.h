// Starting applications from their desktop entries through GIO.
#pragma once

#include "platform/windowcontrol.h"

#include <QString>

namespace orvella::platform::applauncher {

/// Whether a desktop entry "<bundleID>.desktop" exists in the XDG data directories.
bool exists(const QString &bundleID);

/// Launches the entry's application detached (GIO handles Exec field codes, TryExec,
/// D-Bus activation and startup notification). NotFound when there is no such entry.
LaunchOutcome launch(const QString &bundleID, QString *error);

} // namespace orvella::platform::applauncher
