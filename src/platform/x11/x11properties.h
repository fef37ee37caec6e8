// Decoding of X window properties: pure functions over the bytes of a property reply.
#pragma once

#include <QByteArrayView>
#include <QImage>
#include <QList>
#include <QString>

#include <cstdint>

namespace orvella::platform::x11 {

/// Longest title read, in bytes: a 1 MiB title costs no more than this.
inline constexpr std::uint32_t kMaxTitleBytes = 4096;
/// Largest `_NET_WM_ICON` read, in bytes; what lies beyond is never transferred.
inline constexpr std::uint32_t kMaxIconBytes = 1u << 20;
/// Widest and tallest icon image accepted; larger ones are skipped.
inline constexpr std::uint32_t kMaxIconSide = 1024;
/// The predefined atoms the decoders check types against (fixed by the X protocol).
inline constexpr std::uint32_t kAtomCardinal = 6;
inline constexpr std::uint32_t kAtomString = 31;

/// A property value as the server returned it, detached from xcb.
struct RawProperty
{
    std::uint32_t type = 0;       ///< 0 (None): the property is not set
    int format = 0;               ///< 8, 16 or 32 bits per item
    QByteArrayView bytes;         ///< the value; format-32 items in host byte order
    std::uint32_t bytesAfter = 0; ///< what the request's length bound left on the server
};

/// What decoding a property found: a value, nothing, or data that was refused.
enum class DecodeState { Value, Absent, Malformed };

/// A decoded property value with its DecodeState.
template<typename T>
struct Decoded
{
    using State = DecodeState;
    State state = State::Absent;
    T value{};
    /// Why the data was refused, or what was irregular about a value that could still be
    /// read (a string literal for the log); null when all was well.
    const char *problem = nullptr;

    static Decoded of(T value, const char *irregularity = nullptr)
    {
        return {State::Value, std::move(value), irregularity};
    }
    static Decoded absent() { return {}; }
    static Decoded malformed(const char *why) { return {State::Malformed, T{}, why}; }
    bool hasValue() const { return state == State::Value; }
};

/// The two parts of WM_CLASS; either may be empty.
struct WmClass
{
    QString instance;
    QString className;
};

/// `_NET_FRAME_EXTENTS`: the decoration around a client, in pixels.
struct FrameExtents
{
    std::uint32_t left = 0, right = 0, top = 0, bottom = 0;
};

/// One image of a `_NET_WM_ICON` list: its size and where its pixels start (in items).
struct IconImageRef
{
    int width = 0;
    int height = 0;
    qsizetype offset = 0;
};

/// The usable images of a `_NET_WM_ICON` value, in property order.
struct IconList
{
    QList<IconImageRef> images;
    /// Why parsing stopped early or skipped an image; null when the whole value was used.
    const char *problem = nullptr;
};

/// UTF-8 cut to at most kMaxTitleBytes on a character boundary and at the first NUL;
/// invalid sequences become U+FFFD.
QString boundedUtf8(QByteArrayView bytes);

/// A property of type UTF8_STRING (`_NET_WM_NAME`, `_GTK_APPLICATION_ID`).
Decoded<QString> decodeUtf8Text(const RawProperty &property, std::uint32_t utf8StringAtom);
/// WM_NAME: UTF-8 when typed UTF8_STRING, else Latin-1 (STRING; COMPOUND_TEXT read so).
Decoded<QString> decodeLegacyText(const RawProperty &property, std::uint32_t utf8StringAtom);

/// Format-32 items of `expectedType`, at most `maxItems` of them.
Decoded<QList<std::uint32_t>> decodeCardinals(const RawProperty &property, std::uint32_t expectedType,
                                              qsizetype maxItems);
/// The first format-32 item of `expectedType`; a set but empty property is malformed.
Decoded<std::uint32_t> decodeCardinal(const RawProperty &property, std::uint32_t expectedType);

/// WM_CLASS, "instance\0class\0"; a missing terminator is tolerated and reported.
Decoded<WmClass> decodeWmClass(const RawProperty &property);
/// Four CARDINALs, each at most 65535.
Decoded<FrameExtents> decodeFrameExtents(const RawProperty &property);

/// Walks a `_NET_WM_ICON` value (width, height, width*height ARGB pixels, repeated).
/// Never reads beyond `items`: a declared size beyond the data ends the walk, a zero
/// side ends it, and an image wider or taller than kMaxIconSide is skipped.
IconList parseIconList(QByteArrayView items);
/// Of `images`, the one whose larger side is closest to `preferredSide`, the larger one
/// on a tie; -1 when the list is empty.
qsizetype bestIconIndex(const QList<IconImageRef> &images, int preferredSide);
/// The best-fitting image of a `_NET_WM_ICON` property (closest to preferredSide
/// square), as ARGB32 premultiplied.
Decoded<QImage> decodeIcon(const RawProperty &property, int preferredSide = 32);

} // namespace orvella::platform::x11
