// Maps the Linux identities of applications onto the identifiers per-app rules are keyed by.
#pragma once

#include <QString>

#include <optional>

namespace orvella::tracking::appAliases {

inline constexpr auto kVSCode = "com.microsoft.VSCode";
inline constexpr auto kNotes = "com.apple.Notes";
inline constexpr auto kFinder = "com.apple.finder";
inline constexpr auto kChrome = "com.google.Chrome";
inline constexpr auto kNumbers = "com.apple.Numbers";

/// The identifier the per-application rules use for `bundleID`: a Linux desktop-file id
/// such as "code" or "google-chrome" answers as the rules' "com.microsoft.VSCode" or
/// "com.google.Chrome"; any other identifier answers as itself.
std::optional<QString> ruleIdentity(const std::optional<QString> &bundleID);

/// True when `bundleID` is, or is an alias of, the rules' identifier `rule`.
bool is(const std::optional<QString> &bundleID, const char *rule);

} // namespace orvella::tracking::appAliases
