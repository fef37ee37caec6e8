// What the desktop knows Orvella by: its desktop entry and the translated summary its
// AppStream metadata carries, both written from the interface texts.
#pragma once

#include "settings/applanguage.h"

#include <QString>

namespace orvella::shell::desktopMetadata {

/// The application id: the desktop entry's name, the icon's and the bus name.
inline constexpr char kApplicationID[] = "org.orvella.Orvella";

/// The locale a desktop entry or AppStream file writes for `language`: "de", "zh_CN";
/// empty for English, which is the untranslated text.
QString localeName(settings::AppLanguage language);

/// The desktop entry that starts `exec` (already quoted as the Exec key wants it), with
/// the generic name, comment and keywords in every interface language.
QString desktopEntry(const QString &exec);

/// The `<summary>` elements of the AppStream metadata, English first, indented by two
/// spaces, one per line.
QString appStreamSummaries();

} // namespace orvella::shell::desktopMetadata
