// Named sets of the 26 sidebar colours that the scheme picker applies at once.
#include "settings/colorschemepreset.h"

namespace orvella::settings {

namespace {

// Built on demand: the defaults follow the desktop's accent colour.
ColorSchemePreset defaultPreset()
{
    ColorSchemePreset preset{QStringLiteral("Default"), {}};
    for (const SettingSpec &spec : schema()) {
        if (spec.marksCustomScheme)
            preset.colors.append({spec.id, defaultValue(spec).value<QColor>()});
    }
    return preset;
}

} // namespace

QList<ColorSchemePreset> ColorSchemePreset::all()
{
    return {defaultPreset()};
}

std::optional<ColorSchemePreset> ColorSchemePreset::named(const QString &name)
{
    for (ColorSchemePreset &preset : all()) {
        if (preset.name == name)
            return std::move(preset);
    }
    return std::nullopt;
}

} // namespace orvella::settings
