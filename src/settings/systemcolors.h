// Fixed light and dark palettes, and the system colours the settings' defaults use.
#pragma once

#include <QColor>
#include <QPalette>

namespace orvella::settings {

enum class Appearance { Light, Dark };

/// The named system colours colour defaults are built from.
enum class SystemColorRole { Accent, PrimaryText, SecondaryText, Clear };

/**
 * Linux desktops have no system-wide "label colour" or "secondary label colour", so
 * they are fixed here per appearance (near-black or near-white text at 85 % and 50 %
 * / 55 % opacity, as text on light and dark panels is usually drawn). The accent is
 * the desktop's highlight colour when an application palette exists.
 */
namespace systemColors {

/// The palette Orvella forces for "light" or "dark"; its highlight is the desktop's.
QPalette palette(Appearance appearance);
/// A system colour resolved against an appearance into a fixed RGBA value.
QColor resolve(SystemColorRole role, Appearance appearance);
/// `resolve` with its alpha replaced by `opacity` (0...1).
QColor resolve(SystemColorRole role, Appearance appearance, double opacity);
/// True when a palette's window colour is dark.
bool isDark(const QPalette &palette);

} // namespace systemColors
} // namespace orvella::settings
