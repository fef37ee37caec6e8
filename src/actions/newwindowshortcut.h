// The keyboard shortcut that asks an application for a new window.
#pragma once

#include "platform/windowcontrol.h"

#include <QString>

namespace orvella::actions {

/// A shortcut as the override table keeps it: a virtual key code (45 is "N") and
/// modifier flags (Command 0x100000, typed as Control here; Shift 0x20000).
struct NewWindowShortcut
{
    static constexpr quint64 kShift = 0x20000;
    static constexpr quint64 kCommand = 0x100000;
    /// The "N" key.
    static constexpr int kKeyN = 45;

    int keyCode = kKeyN;
    quint64 modifiers = kCommand;

    /// "Ctrl+N", "Ctrl+Shift+N": the keys as they are typed on this desktop.
    QString description() const;
    /// Command becomes Control, key code 45 the keysym "n"; Shift stays Shift. A key
    /// code outside 0-65535, or one without a known key, types only the modifiers.
    platform::KeyShortcut keyShortcut() const;

    friend bool operator==(const NewWindowShortcut &, const NewWindowShortcut &) = default;
};

/// The editors that open a new window with Command+Shift+N (Command+N opens a tab or
/// a file there), their Linux identities included, and the Linux terminal emulators,
/// which leave Ctrl+N to the shell; Command+N for everyone else.
NewWindowShortcut newWindowShortcut(const QString &bundleID);

} // namespace orvella::actions
