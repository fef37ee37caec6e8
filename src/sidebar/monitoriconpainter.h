// The system monitor's readings drawn as a small square image for the tray.
#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>

#include <optional>

class QPalette;

namespace orvella::settings {
class AppSettings;
}

namespace orvella::sidebar {

/// One set of readings; an empty value is a reading this machine does not have (no
/// battery, no sensor) or has not taken yet.
struct MonitorReadings
{
    struct Rates
    {
        quint64 down = 0; ///< bytes per second
        quint64 up = 0;
        bool operator==(const Rates &) const = default;
    };
    std::optional<double> cpu;    ///< percent
    std::optional<double> memory; ///< percent
    std::optional<double> disk;   ///< percent
    std::optional<Rates> network;
    std::optional<double> battery;     ///< percent
    std::optional<double> temperature; ///< degrees Celsius
    bool operator==(const MonitorReadings &) const = default;
};

/**
 * Tray icons are squares of 16 to 64 pixels, far too small for the wide layouts a menu
 * bar affords, so every style tag maps onto one of three drawings:
 *
 *  - Bars: one thin vertical bar per chosen metric (the first four, in the order
 *    chosen), filled to its level and coloured by it. "full", "compact", "twoLine",
 *    "style4" (mini bars), "style5" (mini graphs), "style7" (stacked pairs),
 *    "style8" (badges, the default) and any unknown tag.
 *  - Text: the most important chosen metric as a bare number ("37"). "minimal",
 *    "style1", "style2" and "style3", the layouts built from values.
 *  - Ring: the most important chosen metric as a ring gauge, its number inside when
 *    the image is large enough to read it. "style6".
 *
 * "Most important" runs cpu, mem, temp, bat, disk, net. No chosen metric counts as
 * cpu alone, so the icon never turns invisible. The network has no natural full scale;
 * its level is logarithmic, full at 1 GB/s.
 */
class MonitorIconPainter
{
public:
    enum class Style { Bars, Text, Ring };

    /// The drawing for a style tag; `known` tells whether the tag was recognised.
    static Style styleForTag(const QString &tag, bool *known = nullptr);

    /// The readings as a `pixelSize` square. Text and tracks use `textColor`; levels
    /// are green, amber or red unless `monochrome` asks for `textColor` throughout.
    static QImage paint(const MonitorReadings &readings, const QStringList &metrics, Style style,
                        const QColor &textColor, int pixelSize, bool monochrome = false);

    /// The colour for the readings: the palette's window text when automatic, else the
    /// light or dark choice for the current appearance.
    static QColor textColor(const settings::AppSettings &settings, const QPalette &palette);
};

/// One line per chosen metric that has a reading, "CPU: 37%", in the interface language;
/// empty when none has.
QString tooltipText(const MonitorReadings &readings, const QStringList &metrics);

} // namespace orvella::sidebar
