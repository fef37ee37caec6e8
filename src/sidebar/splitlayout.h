// How many sidebar columns the window list needs, and the panel frame snapped to device pixels.
#pragma once

#include "tracking/windowcategory.h"

#include <QRectF>

namespace orvella::settings {
class AppSettings;
}

namespace orvella::sidebar::splitLayout {

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

/// Whom a height estimate is for: the panel's width is sized with a more generous estimate
/// than the view packs its columns with, so the panel is never narrower than the columns.
enum class Estimate { Panel, View };

double estimatedCategoryHeight(const tracking::WindowCategory &category, const Metrics &metrics,
                               Estimate estimate = Estimate::Panel);

/// The column of each section, in order: a section goes to a new column when the one being
/// filled already holds one and would grow past max(`height` - 8, 220). Order never changes.
QList<int> packColumns(const QList<tracking::WindowCategory> &visible, double height, const Metrics &metrics,
                       Estimate estimate);

/// The columns the panel needs on a screen whose visible height is `height`; 1 when the
/// split layout is off or nothing is shown.
int columnCount(const QList<tracking::WindowCategory> &visible, double height, bool splitActive,
                const Metrics &metrics);

/// Each edge rounded to the nearest device pixel; a scale below 1 counts as 1.
QRectF snapped(const QRectF &frame, double scale);

/// Whether two frames differ by more than half a point in position or size: smaller moves
/// are not worth a redraw.
bool differs(const QRectF &a, const QRectF &b);

} // namespace orvella::sidebar::splitLayout
