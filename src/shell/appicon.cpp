// Drawing the application icon.
#include "shell/appicon.h"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>

namespace orvella::shell {

namespace {

QImage drawIcon(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);

    const qreal s = size;
    QLinearGradient tile(0, 0, 0, s);
    tile.setColorAt(0, QColor(0x4a, 0x86, 0xf0));
    tile.setColorAt(1, QColor(0x2b, 0x5c, 0xd6));
    p.setBrush(tile);
    p.drawRoundedRect(QRectF(0, 0, s, s).adjusted(s * 0.04, s * 0.04, -s * 0.04, -s * 0.04), s * 0.22,
                      s * 0.22);

    // The window, and the sidebar that is the whole point of the application.
    const QRectF window = QRectF(0, 0, s, s).adjusted(s * 0.2, s * 0.24, -s * 0.2, -s * 0.24);
    p.setBrush(QColor(255, 255, 255, 235));
    p.drawRoundedRect(window, s * 0.07, s * 0.07);
    const QRectF sidebar(window.left() + s * 0.06, window.top() + s * 0.06, window.width() * 0.32,
                         window.height() - s * 0.12);
    p.setBrush(QColor(0x2b, 0x5c, 0xd6));
    p.drawRoundedRect(sidebar, s * 0.035, s * 0.035);
    // Rows only where there are enough pixels to tell them apart.
    if (size >= 32) {
        p.setBrush(QColor(255, 255, 255, 220));
        const qreal row = sidebar.height() / 5;
        for (int i = 0; i < 3; ++i)
            p.drawRoundedRect(QRectF(sidebar.left() + sidebar.width() * 0.2,
                                     sidebar.top() + row * (0.7 + i * 1.3), sidebar.width() * 0.6,
                                     row * 0.55),
                              row * 0.2, row * 0.2);
    }
    return image;
}

} // namespace

QIcon appIcon()
{
    // Not cached in a static: pixmaps must not outlive the application object.
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(QPixmap::fromImage(drawIcon(size)));
    return icon;
}

} // namespace orvella::shell
