// The command line's side of the control interface: hands a command to the running application.
#pragma once

#include "shell/windowcommand.h"

#include <optional>

namespace orvella::shell::controlClient {

/// Whether an Orvella application owns the control name on this session's bus.
bool instanceRunning();

/// Carries `command` out in the running application. Absent when no application answers
/// (no session bus, or nobody owns the name), so that the caller can act on its own.
std::optional<CommandResult> send(const WindowCommand &command);

/// The running application's window list, as `orvella list` (or `--json`) prints it.
std::optional<CommandResult> list(bool json);

} // namespace orvella::shell::controlClient
