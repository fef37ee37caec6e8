// Named sets of the 26 sidebar colours that the scheme picker applies at once.
#pragma once

#include "settings/settingsschema.h"

#include <QColor>
#include <QList>
#include <QString>

#include <utility>

namespace orvella::settings {

struct ColorSchemePreset
{
    QString name;
    /// One colour for each of the 26 sidebar colour settings.
    QList<std::pair<Setting, QColor>> colors;

    /// Every preset in picker order; the first is "Default", the settings' defaults.
    static QList<ColorSchemePreset> all();
    /// The preset called `name`, if any.
    static std::optional<ColorSchemePreset> named(const QString &name);
};

} // namespace orvella::settings
