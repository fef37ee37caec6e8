// Drawing the tray's monitor image and writing its tooltip.
#include "sidebar/monitoriconpainter.h"

#include "monitor/formatters.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <cmath>

namespace orvella::sidebar {

namespace {

const QStringList kPriority{QStringLiteral("cpu"), QStringLiteral("mem"),  QStringLiteral("temp"),
                            QStringLiteral("bat"), QStringLiteral("disk"), QStringLiteral("net")};
constexpr int kMaxBars = 4;
const QString kNoValue = QStringLiteral("–");

QStringList knownMetrics(const QStringList &metrics)
{
    QStringList known;
    for (const QString &metric : metrics) {
        if (kPriority.contains(metric) && !known.contains(metric))
            known << metric;
    }
    return known.isEmpty() ? QStringList{QStringLiteral("cpu")} : known;
}

QString primaryMetric(const QStringList &metrics)
{
    const QStringList known = knownMetrics(metrics);
    for (const QString &metric : kPriority) {
        if (known.contains(metric))
            return metric;
    }
    return QStringLiteral("cpu");
}

std::optional<double> percentOf(const MonitorReadings &r, const QString &metric)
{
    if (metric == QLatin1String("cpu"))
        return r.cpu;
    if (metric == QLatin1String("mem"))
        return r.memory;
    if (metric == QLatin1String("disk"))
        return r.disk;
    if (metric == QLatin1String("bat"))
        return r.battery;
    return std::nullopt;
}

// How full a bar or ring is, 0 to 1; empty without a reading.
std::optional<double> levelOf(const MonitorReadings &r, const QString &metric)
{
    std::optional<double> level;
    if (metric == QLatin1String("net")) {
        if (r.network)
            level = std::log10(1.0 + double(r.network->down + r.network->up)) / 9.0;
    } else if (metric == QLatin1String("temp")) {
        if (r.temperature)
            level = *r.temperature / 100.0;
    } else if (const auto percent = percentOf(r, metric)) {
        level = *percent / 100.0;
    }
    if (level && !std::isfinite(*level))
        return std::nullopt;
    return level ? std::optional<double>(std::clamp(*level, 0.0, 1.0)) : std::nullopt;
}

// Green while comfortable, amber when getting tight, red when something needs attention;
// for the battery it is the low end that warns.
QColor levelColor(const QString &metric, double level)
{
    static const QColor green(0x34, 0xc7, 0x59), amber(0xff, 0x9f, 0x0a), red(0xff, 0x3b, 0x30);
    if (metric == QLatin1String("bat"))
        return level < 0.2 ? red : level < 0.4 ? amber : green;
    if (metric == QLatin1String("temp"))
        return level < 0.7 ? green : level < 0.85 ? amber : red;
    return level < 0.7 ? green : level < 0.9 ? amber : red;
}

QString numberOf(const MonitorReadings &r, const QString &metric)
{
    if (metric == QLatin1String("net"))
        return r.network ? monitor::formatSpeedShort(r.network->down) : kNoValue;
    if (metric == QLatin1String("temp"))
        return r.temperature ? QString::number(std::lround(*r.temperature)) + QStringLiteral("°") : kNoValue;
    const auto percent = percentOf(r, metric);
    return percent ? QString::number(std::lround(*percent)) : kNoValue;
}

QColor faded(QColor color)
{
    color.setAlphaF(color.alphaF() * 0.3f);
    return color;
}

// The bold font whose rendering of `text` fits `width` and `height`.
QFont fittedFont(const QString &text, qreal width, qreal height)
{
    QFont font;
    font.setBold(true);
    for (int px = std::max(1, int(height)); px > 4; --px) {
        font.setPixelSize(px);
        const QFontMetricsF metrics(font);
        if (metrics.horizontalAdvance(text) <= width && metrics.capHeight() <= height * 0.72)
            break;
    }
    return font;
}

void drawBars(QPainter &p, const MonitorReadings &r, const QStringList &metrics, const QColor &text, int size,
              bool monochrome)
{
    const QStringList shown = knownMetrics(metrics).mid(0, kMaxBars);
    const int count = int(shown.size());
    const qreal margin = size * 0.1;
    const qreal gap = std::max(1.0, size / 14.0);
    const qreal width = std::min(size * 0.2, (size - 2 * margin - gap * (count - 1)) / count);
    const qreal height = size - 2 * margin;
    qreal x = (size - (width * count + gap * (count - 1))) / 2;
    const qreal radius = width / 3;
    for (const QString &metric : shown) {
        const QRectF track(x, margin, width, height);
        p.setBrush(faded(text));
        p.drawRoundedRect(track, radius, radius);
        if (const auto level = levelOf(r, metric); level && *level > 0) {
            const qreal filled = std::max(width, height * *level);
            p.setBrush(monochrome ? text : levelColor(metric, *level));
            p.drawRoundedRect(QRectF(x, track.bottom() - filled, width, filled), radius, radius);
        }
        x += width + gap;
    }
}

void drawText(QPainter &p, const MonitorReadings &r, const QStringList &metrics, const QColor &text, int size)
{
    const QString number = numberOf(r, primaryMetric(metrics));
    p.setFont(fittedFont(number, size * 0.98, size));
    p.setPen(text);
    p.drawText(QRectF(0, 0, size, size), Qt::AlignCenter, number);
}

void drawRing(QPainter &p, const MonitorReadings &r, const QStringList &metrics, const QColor &text, int size,
              bool monochrome)
{
    const QString metric = primaryMetric(metrics);
    const qreal stroke = std::max(2.0, size * 0.13);
    const QRectF ring =
        QRectF(0, 0, size, size).adjusted(stroke / 2 + 1, stroke / 2 + 1, -stroke / 2 - 1, -stroke / 2 - 1);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(faded(text), stroke));
    p.drawEllipse(ring);
    const auto level = levelOf(r, metric);
    if (level && *level > 0) {
        p.setPen(QPen(monochrome ? text : levelColor(metric, *level), stroke, Qt::SolidLine, Qt::RoundCap));
        p.drawArc(ring, 90 * 16, -int(std::lround(*level * 360 * 16)));
    }
    // Below 32 pixels a number inside the ring is a smudge; the tooltip carries it.
    if (size >= 32) {
        const QString number = numberOf(r, metric);
        const qreal inner = ring.width() - stroke;
        p.setFont(fittedFont(number, inner * 0.8, inner * 0.8));
        p.setPen(text);
        p.drawText(ring, Qt::AlignCenter, number);
    }
}

} // namespace

MonitorIconPainter::Style MonitorIconPainter::styleForTag(const QString &tag, bool *known)
{
    static const QStringList text{QStringLiteral("minimal"), QStringLiteral("style1"),
                                  QStringLiteral("style2"), QStringLiteral("style3")};
    static const QStringList bars{QStringLiteral("full"),    QStringLiteral("compact"),
                                  QStringLiteral("twoLine"), QStringLiteral("style4"),
                                  QStringLiteral("style5"),  QStringLiteral("style7"),
                                  QStringLiteral("style8")};
    if (known)
        *known = true;
    if (text.contains(tag))
        return Style::Text;
    if (tag == QLatin1String("style6"))
        return Style::Ring;
    if (known && !bars.contains(tag))
        *known = false;
    return Style::Bars;
}

QImage MonitorIconPainter::paint(const MonitorReadings &readings, const QStringList &metrics, Style style,
                                 const QColor &textColor, int pixelSize, bool monochrome)
{
    const int size = std::clamp(pixelSize, 8, 512);
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setPen(Qt::NoPen);
    switch (style) {
    case Style::Bars: drawBars(p, readings, metrics, textColor, size, monochrome); break;
    case Style::Text: drawText(p, readings, metrics, textColor, size); break;
    case Style::Ring: drawRing(p, readings, metrics, textColor, size, monochrome); break;
    }
    return image;
}

QColor MonitorIconPainter::textColor(const settings::AppSettings &settings, const QPalette &palette)
{
    if (settings.menuBarTextColorAuto())
        return palette.color(QPalette::WindowText);
    return settings.isDarkAppearance() ? settings.menuBarTextColorDark() : settings.menuBarTextColorLight();
}

QString tooltipText(const MonitorReadings &readings, const QStringList &metrics)
{
    const auto &l10n = settings::LocalizationManager::shared();
    const auto percent = [](double value) { return QString::number(std::lround(value)) + QLatin1Char('%'); };
    QStringList lines;
    for (const QString &metric : knownMetrics(metrics)) {
        QString key, value;
        if (metric == QLatin1String("net")) {
            if (readings.network)
                value = QStringLiteral("↓ %1  ↑ %2")
                            .arg(monitor::formatSpeed(readings.network->down),
                                 monitor::formatSpeed(readings.network->up));
            key = QStringLiteral("sysmon.network");
        } else if (metric == QLatin1String("temp")) {
            if (readings.temperature)
                value = QString::number(std::lround(*readings.temperature)) + QStringLiteral(" °C");
            key = QStringLiteral("sysmon.temperature");
        } else {
            if (const auto reading = percentOf(readings, metric))
                value = percent(*reading);
            key = metric == QLatin1String("cpu")    ? QStringLiteral("sysmon.cpu")
                  : metric == QLatin1String("mem")  ? QStringLiteral("sysmon.memory")
                  : metric == QLatin1String("disk") ? QStringLiteral("sysmon.disk")
                                                    : QStringLiteral("sysmon.battery");
        }
        if (!value.isEmpty())
            lines << l10n.string(key) + QStringLiteral(": ") + value;
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace orvella::sidebar
