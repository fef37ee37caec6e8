// The keyboard shortcut that asks an application for a new window.
#include "actions/newwindowshortcut.h"

#include "tracking/appaliases.h"

#include <QHash>

namespace orvella::actions {

namespace {

constexpr quint32 kKeysymN = 0x6e;

// Built once; keyed by the identifiers the per-application rules use, lower-cased
// (desktop-file ids differ in case between distributions: "Alacritty", "alacritty").
const QHash<QString, NewWindowShortcut> &newWindowShortcutOverrides()
{
    static const QHash<QString, NewWindowShortcut> table = [] {
        const NewWindowShortcut commandShiftN{NewWindowShortcut::kKeyN,
                                              NewWindowShortcut::kCommand | NewWindowShortcut::kShift};
        QHash<QString, NewWindowShortcut> t;
        for (const char *id : {"com.microsoft.VSCode", "com.microsoft.VSCodeInsiders", "com.vscodium",
                               "com.vscodium.VSCodiumInsiders", "com.sublimetext.4", "com.sublimetext.3",
                               "com.barebones.bbedit"})
            t.insert(QString::fromLatin1(id).toLower(), commandShiftN);
        // Terminal emulators: Ctrl+N is typed into the shell, Ctrl+Shift+N is theirs.
        for (const char *id :
             {"org.gnome.Terminal", "gnome-terminal", "org.gnome.Console", "kgx", "org.kde.konsole",
              "konsole", "xfce4-terminal", "org.xfce.terminal", "com.gexperts.Tilix", "tilix", "terminator",
              "mate-terminal", "lxterminal", "qterminal", "io.elementary.terminal", "kitty", "alacritty",
              "org.wezfurlong.wezterm", "com.mitchellh.ghostty"})
            t.insert(QString::fromLatin1(id).toLower(), commandShiftN);
        // Editors whose Ctrl+N opens a document in a new tab.
        for (const char *id :
             {"org.gnome.TextEditor", "gnome-text-editor", "org.gnome.gedit", "gedit", "dev.zed.Zed"})
            t.insert(QString::fromLatin1(id).toLower(), commandShiftN);
        return t;
    }();
    return table;
}

} // namespace

QString NewWindowShortcut::description() const
{
    QString text;
    if (modifiers & kCommand)
        text += QStringLiteral("Ctrl+");
    if (modifiers & kShift)
        text += QStringLiteral("Shift+");
    return text + (keyCode == kKeyN ? QStringLiteral("N") : QStringLiteral("key %1").arg(keyCode));
}

platform::KeyShortcut NewWindowShortcut::keyShortcut() const
{
    platform::KeyShortcut out;
    out.keysym = keyCode == kKeyN ? kKeysymN : 0;
    out.control = (modifiers & kCommand) != 0;
    out.shift = (modifiers & kShift) != 0;
    return out;
}

NewWindowShortcut newWindowShortcut(const QString &bundleID)
{
    const auto identity = tracking::appAliases::ruleIdentity(bundleID);
    return newWindowShortcutOverrides().value(identity.value_or(bundleID).toLower(), NewWindowShortcut{});
}

} // namespace orvella::actions
