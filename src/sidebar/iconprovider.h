// Icons for the sidebar's views: applications' own icons and the desktop's themed symbols.
#pragma once

#include <QQuickImageProvider>

namespace orvella::tracking {
class WindowManager;
}

namespace orvella::sidebar {

/**
 * Serves "image://orvella/app/<window id>" (the window's own icon, else its desktop
 * entry's themed icon; empty when neither exists) and "image://orvella/symbol/<icon
 * name>/<colour>" (a themed symbolic icon painted in that colour, so it reads on light and
 * dark alike). Ids are percent-encoded. Reads the window model, so images must be loaded
 * synchronously, on the main thread.
 */
class IconProvider : public QQuickImageProvider
{
public:
    explicit IconProvider(const tracking::WindowManager &manager);

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

private:
    const tracking::WindowManager &m_manager;
};

} // namespace orvella::sidebar
