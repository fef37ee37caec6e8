// Fixed light and dark palettes, and the system colours the settings' defaults use.
#include "settings/systemcolors.h"

#include <QGuiApplication>

namespace orvella::settings::systemColors {

namespace {

QColor desktopAccent()
{
    // Without an application object there is no desktop palette to ask.
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QGuiApplication::palette().color(QPalette::Active, QPalette::Highlight);
    return QColor(0x35, 0x84, 0xe4);
}

} // namespace

QPalette palette(Appearance appearance)
{
    const bool dark = appearance == Appearance::Dark;
    const QColor window = dark ? QColor(0x2b, 0x2b, 0x2b) : QColor(0xf6, 0xf5, 0xf4);
    const QColor base = dark ? QColor(0x1e, 0x1e, 0x1e) : QColor(0xff, 0xff, 0xff);
    const QColor text = dark ? QColor(0xff, 0xff, 0xff) : QColor(0x00, 0x00, 0x00);
    const QColor button = dark ? QColor(0x3a, 0x3a, 0x3a) : QColor(0xe8, 0xe8, 0xe7);
    const QColor accent = desktopAccent();

    QPalette p(button, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, dark ? QColor(0x26, 0x26, 0x26) : QColor(0xf3, 0xf3, 0xf3));
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, resolve(SystemColorRole::SecondaryText, appearance));
    p.setColor(QPalette::Highlight, accent);
    p.setColor(QPalette::HighlightedText, QColor(0xff, 0xff, 0xff));
    p.setColor(QPalette::Link, accent);
    p.setColor(QPalette::Disabled, QPalette::WindowText, resolve(SystemColorRole::SecondaryText, appearance));
    p.setColor(QPalette::Disabled, QPalette::Text, resolve(SystemColorRole::SecondaryText, appearance));
    p.setColor(QPalette::Disabled, QPalette::ButtonText, resolve(SystemColorRole::SecondaryText, appearance));
    return p;
}

QColor resolve(SystemColorRole role, Appearance appearance)
{
    const bool dark = appearance == Appearance::Dark;
    switch (role) {
    case SystemColorRole::Accent: return desktopAccent();
    case SystemColorRole::PrimaryText:
        return dark ? QColor::fromRgbF(1, 1, 1, 0.85f) : QColor::fromRgbF(0, 0, 0, 0.85f);
    case SystemColorRole::SecondaryText:
        return dark ? QColor::fromRgbF(1, 1, 1, 0.55f) : QColor::fromRgbF(0, 0, 0, 0.5f);
    case SystemColorRole::Clear: return QColor(0, 0, 0, 0);
    }
    return {};
}

QColor resolve(SystemColorRole role, Appearance appearance, double opacity)
{
    QColor color = resolve(role, appearance);
    color.setAlphaF(float(opacity));
    return color;
}

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Active, QPalette::Window).lightness() < 128;
}

} // namespace orvella::settings::systemColors
