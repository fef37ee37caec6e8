// Named sets of the 26 sidebar colours that the scheme picker applies at once.
#include "settings/colorschemepreset.h"

#include <algorithm>

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

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(float(alpha));
    return color;
}

// One appearance of a scheme: an accent, the text on the sidebar, and the sidebar's own
// background. Everything else is derived, so that every scheme keeps the same contrast
// steps as the default one and stays readable.
struct Tone
{
    QColor accent;
    QColor text;
    QColor background;
};

void addTone(ColorSchemePreset &preset, const Tone &tone, bool dark)
{
    const int offset = dark ? 1 : 0;
    const auto put = [&](Setting light, const QColor &color) {
        preset.colors.append({Setting(int(light) + offset), color});
    };
    using S = Setting;
    put(S::activeRowColorLight, withAlpha(tone.accent, dark ? 0.30 : 0.20));
    put(S::headerRowColorLight, withAlpha(tone.accent, dark ? 0.16 : 0.10));
    put(S::activeDotColorLight, withAlpha(tone.accent, 0.85));
    put(S::titleTextColorLight, tone.text);
    put(S::subtitleTextColorLight, withAlpha(tone.text, 0.65));
    put(S::headerTextColorLight, dark ? tone.accent.lighter(140) : tone.accent.darker(150));
    put(S::sidebarBackgroundColorLight, tone.background);
    put(S::shelfSectionBgColorLight, withAlpha(tone.accent, 0.08));
    put(S::shelfSectionInnerBgColorLight, withAlpha(tone.accent, 0.05));
    put(S::shelfSectionBorderColorLight, withAlpha(tone.accent, 0.30));
    put(S::appSectionBgColorLight, withAlpha(tone.text, 0.06));
    put(S::appSectionInnerBgColorLight, withAlpha(tone.text, 0.04));
    put(S::appSectionBorderColorLight, withAlpha(tone.text, 0.14));
}

ColorSchemePreset tinted(const char *name, const Tone &light, const Tone &dark)
{
    ColorSchemePreset preset{QString::fromLatin1(name), {}};
    addTone(preset, light, false);
    addTone(preset, dark, true);
    // Light and dark interleave in the schema; keep the preset in schema order.
    std::sort(preset.colors.begin(), preset.colors.end(),
              [](const auto &a, const auto &b) { return int(a.first) < int(b.first); });
    return preset;
}

} // namespace

QList<ColorSchemePreset> ColorSchemePreset::all()
{
    const auto rgb = [](const char *hex) { return QColor(QString::fromLatin1(hex)); };
    return {
        defaultPreset(),
        tinted("Harbor", {rgb("#1F6FB2"), rgb("#14202B"), rgb("#F3F7FB")},
               {rgb("#5AA9E6"), rgb("#E6EEF5"), rgb("#16202A")}),
        tinted("Meadow", {rgb("#2E7D4F"), rgb("#17261C"), rgb("#F3F8F2")},
               {rgb("#6CC48E"), rgb("#E3F1E6"), rgb("#15201A")}),
        tinted("Ember", {rgb("#C2571A"), rgb("#2B1B12"), rgb("#FBF5EF")},
               {rgb("#F29A5C"), rgb("#F5E7DC"), rgb("#231914")}),
        tinted("Slate", {rgb("#56606B"), rgb("#1C1F23"), rgb("#F4F5F6")},
               {rgb("#A3ADB8"), rgb("#E8EAED"), rgb("#1B1D20")}),
        tinted("Orchid", {rgb("#8A3FA8"), rgb("#24162B"), rgb("#F8F3FA")},
               {rgb("#C792E0"), rgb("#F0E6F5"), rgb("#1F1724")}),
    };
}

std::optional<ColorSchemePreset> ColorSchemePreset::named(const QString &name)
{
    for (ColorSchemePreset &preset : all()) {
        if (preset.name == name)
            return std::move(preset);
    }
    return std::nullopt;
}

QString ColorSchemePreset::cycled(const QStringList &names, const QString &current, int step)
{
    if (names.isEmpty())
        return current;
    const qsizetype n = names.size();
    const qsizetype at = names.indexOf(current);
    // Unknown: "next" lands on the first, "previous" on the last.
    const qsizetype from = at < 0 ? (step > 0 ? -1 : 0) : at;
    return names[((from + step) % n + n) % n];
}

} // namespace orvella::settings
