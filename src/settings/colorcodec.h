// The stored text form of colours: "#RRGGBBAA" in upper-case hexadecimal.
#pragma once

#include <QColor>
#include <QString>

#include <optional>

namespace orvella::settings::colorCodec {

/// "#RRGGBBAA"; each 0...1 component times 255, truncated toward zero. Absent for a
/// colour that has no RGB form (an invalid QColor).
std::optional<QString> encode(const QColor &color);
/// The colour of a text that is exactly "#" and 8 hexadecimal digits; absent otherwise.
std::optional<QColor> decode(const QString &text);

} // namespace orvella::settings::colorCodec
