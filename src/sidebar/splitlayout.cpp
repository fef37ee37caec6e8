// How many sidebar columns the window list needs, and the panel frame snapped to device pixels.
#include "sidebar/splitlayout.h"

#include "settings/appsettings.h"

#include <algorithm>
#include <cmath>

namespace orvella::sidebar::splitLayout {

Metrics Metrics::from(const settings::AppSettings &settings)
{
    return {settings.headerFontSize(), settings.fontSize(), settings.rowSpacing(), settings.showSubtitle(),
            settings.shelfDisplayMode() == QLatin1String("cards")};
}

double estimatedCategoryHeight(const tracking::WindowCategory &category, const Metrics &m, Estimate estimate)
{
    const bool panel = estimate == Estimate::Panel;
    const double header = std::max(m.headerFontSize + 2 * m.rowSpacing + 18, 30.0);
    if (category.isCollapsed)
        return header + (panel ? 12 : 8);
    if (category.isShelf() && category.windows.isEmpty())
        return header + (panel ? 60 : 52);
    const double row = std::max(m.fontSize + 2 * m.rowSpacing + 16 + (m.showSubtitle ? 12 : 0), 26.0);
    return header + row * double(category.windows.size()) + (panel && m.cards ? 18 : 12);
}

QList<int> packColumns(const QList<tracking::WindowCategory> &visible, double height, const Metrics &metrics,
                       Estimate estimate)
{
    // Small screens still get columns of a usable height.
    const double limit = std::max(height - 8, 220.0);
    QList<int> columns;
    double running = 0;
    int column = 0;
    for (const tracking::WindowCategory &category : visible) {
        const double h = estimatedCategoryHeight(category, metrics, estimate);
        if (running > 0 && running + h > limit) {
            ++column;
            running = h;
        } else {
            running += h;
        }
        columns.append(column);
    }
    return columns;
}

int columnCount(const QList<tracking::WindowCategory> &visible, double height, bool splitActive,
                const Metrics &metrics)
{
    if (!splitActive || visible.isEmpty())
        return 1;
    return packColumns(visible, height, metrics, Estimate::Panel).last() + 1;
}

QRectF snapped(const QRectF &frame, double scale)
{
    const double s = std::max(scale, 1.0);
    const auto snap = [s](double v) { return std::round(v * s) / s; };
    return {snap(frame.x()), snap(frame.y()), snap(frame.width()), snap(frame.height())};
}

bool differs(const QRectF &a, const QRectF &b)
{
    return std::abs(a.x() - b.x()) > 0.5 || std::abs(a.y() - b.y()) > 0.5
           || std::abs(a.width() - b.width()) > 0.5 || std::abs(a.height() - b.height()) > 0.5;
}

} // namespace orvella::sidebar::splitLayout
