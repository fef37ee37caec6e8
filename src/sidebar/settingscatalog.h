// Every control of the settings window, by page, with the texts it is found by.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace orvella::sidebar {

struct SettingsEntry
{
    /// "general", "appearance", "previews", "monitor", "privacy", "about".
    QString page;
    /// How the window draws it: "switch", "choice", "number", "color", "shortcut",
    /// "scheme", "language", "metrics", "privacy", "about", "action".
    QString kind;
    /// The AppSettings property it edits ("color": the pair's name without Light/Dark;
    /// "action": what the button does).
    QString property;
    QString titleKey;
    QString descKey;
    /// For "choice": stored values and the text keys that label them.
    QStringList values;
    QStringList labelKeys;
    double minimum = 0;
    double maximum = 0;
    double step = 1;
    /// For "color": the switch that makes the colour follow the system; may be empty.
    QString autoProperty;
    /// Shown under the control while the settings bridge's boolean property of that name
    /// is true ("noCompositor", "noComposite"); empty: never.
    QString noteWhen;
    QString noteKey;
};

namespace settingsCatalog {

/// The pages in the order the window lists them, with their title keys.
const QList<std::pair<QString, QString>> &pages();
/// Every entry, page by page, in the order each page shows them.
const QList<SettingsEntry> &entries();

} // namespace settingsCatalog

} // namespace orvella::sidebar
