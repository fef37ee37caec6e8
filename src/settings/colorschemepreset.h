// Named sets of the 26 sidebar colours that the scheme picker applies at once.
#pragma once

#include "settings/settingsschema.h"

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

namespace orvella::settings {

struct ColorSchemePreset
{
    /// The picker's name for colours the user edited by hand.
    static constexpr const char *kCustom = "Custom";

    QString name;
    /// One colour for each of the 26 sidebar colour settings.
    QList<std::pair<Setting, QColor>> colors;

    /// Every preset in picker order; the first is "Default", the settings' defaults.
    static QList<ColorSchemePreset> all();
    /// The preset called `name`, if any.
    static std::optional<ColorSchemePreset> named(const QString &name);
    /// The name `step` places after `current` in `names`, wrapping at both ends. A name
    /// not in the list counts as standing just before the first.
    static QString cycled(const QStringList &names, const QString &current, int step);
};

} // namespace orvella::settings
