// How many sidebar columns the window list needs, and the panel frame snapped to device pixels.
#pragma once

#include "tracking/windowcategory.h"

#include <QRectF>

namespace orvella::settings {
class AppSettings;
}

namespace orvella::shell::splitLayout {

/// The list settings the height estimate depends on.
struct Metrics
{
    double headerFontSize = 12;
    double fontSize = 10;
    double rowSpacing = 3;
    bool showSubtitle = false;
    bool cards = true; ///< `shelfDisplayMode` is "cards"

    static Metrics from(const settings::AppSettings &settings);
};

/// A section's height for sizing the panel; deliberately more generous than the view's own
/// packing estimate, so the panel is never narrower than the columns drawn in it.
double estimatedCategoryHeight(const tracking::WindowCategory &category, const Metrics &metrics);

/// The columns the sections need on a screen whose visible height is `height`; 1 when the
/// split layout is off or nothing is shown.
int columnCount(const QList<tracking::WindowCategory> &visible, double height, bool splitActive,
                const Metrics &metrics);

/// Each edge rounded to the nearest device pixel; a scale below 1 counts as 1.
QRectF snapped(const QRectF &frame, double scale);

/// Whether two frames differ by more than half a point in position or size: smaller moves
/// are not worth a redraw.
bool differs(const QRectF &a, const QRectF &b);

} // namespace orvella::shell::splitLayout
