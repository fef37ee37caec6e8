// Completion scripts for bash, zsh and fish, written from the verb table.
#pragma once

#include <QString>

namespace orvella::shell::shellCompletions {

/// For bash-completion's directory: `complete -F _orvella orvella`.
QString bash();
/// For zsh's site-functions: `#compdef orvella`.
QString zsh();
/// For fish's vendor_completions.d.
QString fish();

} // namespace orvella::shell::shellCompletions
