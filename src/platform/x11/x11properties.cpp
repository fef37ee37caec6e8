// Decoding of X window properties: pure functions over the bytes of a property reply.
#include "platform/x11/x11properties.h"

#include <cstdlib>
#include <cstring>

namespace orvella::platform::x11 {

namespace {

constexpr std::uint32_t kMaxFrameExtent = 65535;

std::uint32_t itemAt(QByteArrayView items, qsizetype index)
{
    // Test data and reply buffers need not be 4-aligned; memcpy never cares.
    std::uint32_t value = 0;
    std::memcpy(&value, items.data() + index * 4, sizeof value);
    return value;
}

// Where a cut at `limit` bytes must go back to so that no UTF-8 sequence is split.
qsizetype utf8CutPoint(QByteArrayView bytes, qsizetype limit)
{
    if (bytes.size() <= limit)
        return bytes.size();
    qsizetype cut = limit;
    // Step back over continuation bytes (10xxxxxx) to the lead byte of the split sequence.
    while (cut > 0 && (uchar(bytes[cut]) & 0xc0) == 0x80 && limit - cut < 3)
        --cut;
    return cut;
}

} // namespace

QString boundedUtf8(QByteArrayView bytes)
{
    const qsizetype nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes = bytes.first(nul);
    return QString::fromUtf8(bytes.first(utf8CutPoint(bytes, kMaxTitleBytes)));
}

Decoded<QString> decodeUtf8Text(const RawProperty &property, std::uint32_t utf8StringAtom)
{
    if (property.type == 0)
        return Decoded<QString>::absent();
    if (property.type != utf8StringAtom || property.format != 8)
        return Decoded<QString>::malformed("not a UTF8_STRING");
    return Decoded<QString>::of(boundedUtf8(property.bytes));
}

Decoded<QString> decodeLegacyText(const RawProperty &property, std::uint32_t utf8StringAtom)
{
    if (property.type == 0)
        return Decoded<QString>::absent();
    if (property.format != 8)
        return Decoded<QString>::malformed("text property not in 8-bit format");
    if (property.type == utf8StringAtom)
        return Decoded<QString>::of(boundedUtf8(property.bytes));
    QByteArrayView bytes = property.bytes.first(std::min<qsizetype>(property.bytes.size(), kMaxTitleBytes));
    if (const qsizetype nul = bytes.indexOf('\0'); nul >= 0)
        bytes = bytes.first(nul);
    return Decoded<QString>::of(QString::fromLatin1(bytes));
}

Decoded<QList<std::uint32_t>> decodeCardinals(const RawProperty &property, std::uint32_t expectedType,
                                              qsizetype maxItems)
{
    using Result = Decoded<QList<std::uint32_t>>;
    if (property.type == 0)
        return Result::absent();
    if (property.type != expectedType || property.format != 32)
        return Result::malformed("unexpected type or format");
    if (property.bytes.size() % 4 != 0)
        return Result::malformed("length is not a whole number of 32-bit items");
    const qsizetype count = std::min(property.bytes.size() / 4, std::max<qsizetype>(maxItems, 0));
    QList<std::uint32_t> values;
    values.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        values.append(itemAt(property.bytes, i));
    const bool cut = count < property.bytes.size() / 4 || property.bytesAfter > 0;
    return Result::of(std::move(values), cut ? "longer than the bound; the rest is ignored" : nullptr);
}

Decoded<std::uint32_t> decodeCardinal(const RawProperty &property, std::uint32_t expectedType)
{
    const auto list = decodeCardinals(property, expectedType, 1);
    if (!list.hasValue())
        return {list.state, 0, list.problem};
    if (list.value.isEmpty())
        return Decoded<std::uint32_t>::malformed("set but empty");
    return Decoded<std::uint32_t>::of(list.value.constFirst());
}

Decoded<WmClass> decodeWmClass(const RawProperty &property)
{
    if (property.type == 0)
        return Decoded<WmClass>::absent();
    if (property.type != kAtomString || property.format != 8)
        return Decoded<WmClass>::malformed("WM_CLASS is not a STRING");
    const QByteArrayView bytes = property.bytes;
    const qsizetype firstNul = bytes.indexOf('\0');
    if (firstNul < 0)
        return Decoded<WmClass>::of({QString::fromLatin1(bytes), QString()}, "WM_CLASS without a class part");
    const QByteArrayView rest = bytes.sliced(firstNul + 1);
    const qsizetype secondNul = rest.indexOf('\0');
    WmClass value{QString::fromLatin1(bytes.first(firstNul)),
                  QString::fromLatin1(secondNul < 0 ? rest : rest.first(secondNul))};
    return Decoded<WmClass>::of(std::move(value), secondNul < 0 ? "WM_CLASS without its final NUL" : nullptr);
}

Decoded<FrameExtents> decodeFrameExtents(const RawProperty &property)
{
    const auto list = decodeCardinals(property, kAtomCardinal, 4);
    if (!list.hasValue())
        return {list.state, {}, list.problem};
    if (list.value.size() != 4)
        return Decoded<FrameExtents>::malformed("fewer than four extents");
    for (std::uint32_t v : list.value) {
        if (v > kMaxFrameExtent)
            return Decoded<FrameExtents>::malformed("implausibly wide frame extent");
    }
    return Decoded<FrameExtents>::of({list.value[0], list.value[1], list.value[2], list.value[3]});
}

IconList parseIconList(QByteArrayView bytes)
{
    IconList out;
    const qsizetype count = bytes.size() / 4;
    qsizetype i = 0;
    while (count - i >= 2) {
        const std::uint32_t width = itemAt(bytes, i);
        const std::uint32_t height = itemAt(bytes, i + 1);
        i += 2;
        if (width == 0 || height == 0) {
            out.problem = "icon image with a zero side";
            return out;
        }
        // 64-bit: two 32-bit sides multiply beyond 32 bits, never beyond 64.
        const std::uint64_t pixels = std::uint64_t(width) * height;
        if (pixels > std::uint64_t(count - i)) {
            out.problem = "icon image declares more pixels than the data holds";
            return out;
        }
        if (width > kMaxIconSide || height > kMaxIconSide)
            out.problem = "icon image over 1024 pixels skipped";
        else
            out.images.append({int(width), int(height), i});
        i += qsizetype(pixels);
    }
    if (i < count || bytes.size() % 4 != 0)
        out.problem = "icon data ends inside an image header";
    return out;
}

qsizetype bestIconIndex(const QList<IconImageRef> &images, int preferredSide)
{
    qsizetype best = -1;
    for (qsizetype i = 0; i < images.size(); ++i) {
        if (best < 0) {
            best = i;
            continue;
        }
        const int side = std::max(images[i].width, images[i].height);
        const int bestSide = std::max(images[best].width, images[best].height);
        const int distance = std::abs(side - preferredSide);
        const int bestDistance = std::abs(bestSide - preferredSide);
        if (distance < bestDistance || (distance == bestDistance && side > bestSide))
            best = i;
    }
    return best;
}

Decoded<QImage> decodeIcon(const RawProperty &property, int preferredSide)
{
    if (property.type == 0)
        return Decoded<QImage>::absent();
    if (property.type != kAtomCardinal || property.format != 32)
        return Decoded<QImage>::malformed("_NET_WM_ICON is not a CARDINAL list");
    const IconList list = parseIconList(property.bytes);
    const qsizetype best = bestIconIndex(list.images, preferredSide);
    if (best < 0)
        return Decoded<QImage>::malformed(list.problem ? list.problem : "no icon image");
    const IconImageRef &ref = list.images[best];
    // The pixels are 0xAARRGGBB items in host order: exactly QImage's ARGB32 layout.
    QImage image(ref.width, ref.height, QImage::Format_ARGB32);
    if (image.isNull())
        return Decoded<QImage>::malformed("icon image could not be allocated");
    const char *pixels = property.bytes.data() + ref.offset * 4;
    for (int y = 0; y < ref.height; ++y)
        std::memcpy(image.scanLine(y), pixels + qsizetype(y) * ref.width * 4, size_t(ref.width) * 4);
    return Decoded<QImage>::of(image.convertToFormat(QImage::Format_ARGB32_Premultiplied), list.problem);
}

} // namespace orvella::platform::x11
