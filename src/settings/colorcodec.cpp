// The stored text form of colours: "#RRGGBBAA" in upper-case hexadecimal.
#include "settings/colorcodec.h"

#include <QRgba64>

namespace orvella::settings::colorCodec {

namespace {

// Integer arithmetic on QColor's 16-bit channels gives the exact truncation of
// component x 255; going through floating point can land a hair under an integer
// (128/255 x 255 = 127.99...) and lose a step on every save.
int toByte(quint16 channel)
{
    return int(quint32(channel) * 255u / 65535u);
}

} // namespace

std::optional<QString> encode(const QColor &color)
{
    if (!color.isValid())
        return std::nullopt;
    const QRgba64 rgba = color.toRgb().rgba64();
    return QStringLiteral("#%1%2%3%4")
        .arg(toByte(rgba.red()), 2, 16, QLatin1Char('0'))
        .arg(toByte(rgba.green()), 2, 16, QLatin1Char('0'))
        .arg(toByte(rgba.blue()), 2, 16, QLatin1Char('0'))
        .arg(toByte(rgba.alpha()), 2, 16, QLatin1Char('0'))
        .toUpper();
}

std::optional<QColor> decode(const QString &text)
{
    if (text.size() != 9 || !text.startsWith(QLatin1Char('#')))
        return std::nullopt;
    // toUInt alone would accept a sign or "0x" in place of digits.
    for (QChar c : QStringView(text).mid(1)) {
        const char16_t u = c.unicode();
        const bool hex = (u >= '0' && u <= '9') || (u >= 'a' && u <= 'f') || (u >= 'A' && u <= 'F');
        if (!hex)
            return std::nullopt;
    }
    bool ok = false;
    const quint32 value = text.mid(1).toUInt(&ok, 16);
    if (!ok)
        return std::nullopt;
    return QColor(int((value >> 24) & 0xff), int((value >> 16) & 0xff), int((value >> 8) & 0xff),
                  int(value & 0xff));
}

} // namespace orvella::settings::colorCodec
