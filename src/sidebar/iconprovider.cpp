// Icons for the sidebar's views: applications' own icons and the desktop's themed symbols.
#include "sidebar/iconprovider.h"

#include "tracking/windowmanager.h"

#include <QIcon>
#include <QPainter>
#include <QUrl>

namespace orvella::sidebar {

namespace {

constexpr int kDefaultSide = 16;

QImage themed(const QString &name, const QSize &size)
{
    const QIcon icon = QIcon::fromTheme(name);
    return icon.isNull() ? QImage() : icon.pixmap(size).toImage();
}

} // namespace

IconProvider::IconProvider(const tracking::WindowManager &manager)
    : QQuickImageProvider(QQuickImageProvider::Image)
    , m_manager(manager)
{
    // A session without a desktop names no icon theme; Adwaita is the one most installed.
    if (QIcon::fallbackThemeName().isEmpty() || QIcon::fallbackThemeName() == QLatin1String("hicolor"))
        QIcon::setFallbackThemeName(QStringLiteral("Adwaita"));
}

QImage IconProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const QSize side = requestedSize.isValid() && !requestedSize.isEmpty()
                           ? requestedSize
                           : QSize(kDefaultSide, kDefaultSide);
    const QString kind = id.section(QLatin1Char('/'), 0, 0);
    QImage image;
    if (kind == QLatin1String("app")) {
        const QString windowID = QUrl::fromPercentEncoding(id.section(QLatin1Char('/'), 1).toUtf8());
        if (const std::optional<tracking::WindowItem> w = m_manager.canonicalWindow(windowID)) {
            image = !w->icon.isNull() ? w->icon.scaled(side, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                      : themed(w->iconName, side);
        }
    } else if (kind == QLatin1String("symbol")) {
        image = themed(QUrl::fromPercentEncoding(id.section(QLatin1Char('/'), 1, 1).toUtf8()), side);
        const QColor colour(QUrl::fromPercentEncoding(id.section(QLatin1Char('/'), 2, 2).toUtf8()));
        if (!image.isNull() && colour.isValid()) {
            image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            QPainter painter(&image);
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(image.rect(), colour);
        }
    }
    if (size)
        *size = image.size();
    return image;
}

} // namespace orvella::sidebar
