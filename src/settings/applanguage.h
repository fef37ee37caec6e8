// The ten interface languages, with their stored raw values, names and flags.
#pragma once

#include <QString>

#include <array>
#include <optional>

namespace orvella::settings {

/// Interface languages in picker order. The raw value is what `appLanguage` stores.
enum class AppLanguage { en, zhHans, es, fr, de, ja, pt, ko, it, sl };

namespace appLanguage {

/// Every case, in picker order.
const std::array<AppLanguage, 10> &allCases();
/// The stored text ("en", "zh-Hans", ...); also the language's id.
QString rawValue(AppLanguage language);
/// The case whose raw value equals `raw` exactly, if any.
std::optional<AppLanguage> fromRawValue(const QString &raw);
/// The language's own name for itself, as the picker shows it.
QString displayName(AppLanguage language);
/// A national-flag emoji shown beside the name.
QString flag(AppLanguage language);

} // namespace appLanguage
} // namespace orvella::settings
