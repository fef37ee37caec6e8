// Decoding of X window properties, fed with well-formed, truncated and hostile data.
#include "platform/x11/x11properties.h"

#include <QtTest>

#include <limits>

using namespace orvella::platform::x11;

namespace {

// Any atom number other than STRING and CARDINAL stands in for UTF8_STRING.
constexpr std::uint32_t kUtf8 = 300;
constexpr std::uint32_t kAtomAtom = 4;
constexpr std::uint32_t kPixel = 0xff204060;

QByteArray items(const QList<quint32> &values)
{
    return QByteArray(reinterpret_cast<const char *>(values.constData()), values.size() * 4);
}

// An image header followed by `pixels` pixels (not necessarily width * height of them).
QList<quint32> image(quint32 width, quint32 height, qsizetype pixels, quint32 colour = kPixel)
{
    QList<quint32> out{width, height};
    out.append(QList<quint32>(pixels, colour));
    return out;
}

QList<quint32> square(quint32 side, quint32 colour = kPixel)
{
    return image(side, side, qsizetype(side) * side, colour);
}

RawProperty rawProperty(std::uint32_t type, int format, const QByteArray &bytes, std::uint32_t bytesAfter = 0)
{
    return {type, format, QByteArrayView(bytes), bytesAfter};
}

} // namespace

using Sizes = QList<QSize>;
using State = DecodeState;

class TestX11Properties : public QObject
{
    Q_OBJECT

private slots:
    void iconList_data();
    void iconList();
    void bestIcon_data();
    void bestIcon();
    void decoders_data();
    void decoders();
};

void TestX11Properties::iconList_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<Sizes>("images");
    QTest::addColumn<bool>("problem");

    QTest::newRow("empty") << QByteArray() << Sizes{} << false;
    QTest::newRow("one image") << items(square(2)) << Sizes{{2, 2}} << false;
    QTest::newRow("several images") << items(square(1) + image(3, 2, 6) + square(4))
                                    << Sizes{{1, 1}, {3, 2}, {4, 4}} << false;
    QTest::newRow("largest side accepted") << items(image(1024, 1, 1024)) << Sizes{{1024, 1}} << false;
    QTest::newRow("zero width") << items(image(0, 4, 4)) << Sizes{} << true;
    QTest::newRow("zero height ends the walk")
        << items(square(1) + image(4, 0, 0) + square(2)) << Sizes{{1, 1}} << true;
    QTest::newRow("width over the cap is skipped")
        << items(image(1025, 1, 1025) + square(2)) << Sizes{{2, 2}} << true;
    QTest::newRow("height over the cap is skipped")
        << items(image(1, 1025, 1025) + square(2)) << Sizes{{2, 2}} << true;
    // 0x10000 * 0x10001 is 0x1'0001'0000: cut to 32 bits it would claim just the 0x10000
    // pixels that follow and let the walk continue into the bytes after them.
    QTest::newRow("w*h overflowing 32 bits")
        << items(image(0x10000, 0x10001, 0x10000) + square(1)) << Sizes{} << true;
    QTest::newRow("declared size beyond the data") << items(image(4, 4, 15)) << Sizes{} << true;
    QTest::newRow("valid, then beyond the data")
        << items(square(1) + image(64, 64, 10)) << Sizes{{1, 1}} << true;
    QTest::newRow("header without its height")
        << items(square(1) + QList<quint32>{7}) << Sizes{{1, 1}} << true;
    QTest::newRow("bytes not a whole item")
        << items(square(1)) + QByteArray("\x01\x02", 2) << Sizes{{1, 1}} << true;
}

void TestX11Properties::iconList()
{
    QFETCH(QByteArray, data);
    QFETCH(Sizes, images);
    QFETCH(bool, problem);
    const IconList list = parseIconList(data);
    Sizes found;
    for (const IconImageRef &ref : list.images) {
        found.append(QSize(ref.width, ref.height));
        // Every image handed out lies wholly inside the data.
        QVERIFY(ref.offset >= 2);
        QVERIFY((ref.offset + qsizetype(ref.width) * ref.height) * 4 <= data.size());
    }
    QCOMPARE(found, images);
    QCOMPARE(list.problem != nullptr, problem);
}

void TestX11Properties::bestIcon_data()
{
    QTest::addColumn<Sizes>("images");
    QTest::addColumn<int>("best");

    QTest::newRow("none") << Sizes{} << -1;
    QTest::newRow("exact size") << Sizes{{16, 16}, {32, 32}, {48, 48}} << 1;
    QTest::newRow("closest smaller") << Sizes{{64, 64}, {24, 24}, {16, 16}} << 1;
    QTest::newRow("closest larger") << Sizes{{16, 16}, {40, 40}, {128, 128}} << 1;
    QTest::newRow("tie prefers larger") << Sizes{{16, 16}, {48, 48}} << 1;
    QTest::newRow("tie prefers larger, either order") << Sizes{{48, 48}, {16, 16}} << 0;
    QTest::newRow("larger side counts") << Sizes{{64, 16}, {8, 30}} << 1;
}

void TestX11Properties::bestIcon()
{
    QFETCH(Sizes, images);
    QFETCH(int, best);
    QList<IconImageRef> refs;
    for (const QSize &size : images)
        refs.append({size.width(), size.height(), 2});
    QCOMPARE(bestIconIndex(refs, 32), qsizetype(best));
}

namespace {

QString joined(const QList<quint32> &values)
{
    QStringList out;
    for (quint32 v : values)
        out.append(QString::number(v));
    return out.join(u' ');
}

// What a decoder made of a property in one line: its state, the value, and "!" when it
// reported a problem (a refusal always does).
template<typename T>
QString outcome(const Decoded<T> &d, const QString &value)
{
    static const char *const states[] = {"value", "absent", "malformed"};
    return QString::fromLatin1(states[int(d.state)]) + (value.isEmpty() ? QString() : u' ' + value)
           + (d.problem ? QStringLiteral(" !") : QString());
}

} // namespace

// _NET_WM_NAME ("utf8", UTF-8 only), WM_NAME ("legacy", in whatever encoding its type says),
// WM_CLASS, atom lists ("cardinals", at most 4), _NET_FRAME_EXTENTS and _NET_WM_ICON (the
// image closest to 32 pixels: its size, format and last pixel, so its own and not a neighbour's).
void TestX11Properties::decoders_data()
{
    QTest::addColumn<QString>("decoder");
    QTest::addColumn<quint32>("type");
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<quint32>("bytesAfter");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const char *decoder, quint32 type, int format,
                        const QByteArray &bytes, const QString &expected, quint32 bytesAfter = 0) {
        QTest::newRow(name) << QString::fromLatin1(decoder) << type << format << bytes << bytesAfter
                            << expected;
    };
    const QString unicode = QString::fromUtf8("Überblick — 日本語 🙂");
    row("text not set", "utf8", 0, 0, {}, "absent");
    row("empty text", "utf8", kUtf8, 8, {}, "value");
    row("unicode", "utf8", kUtf8, 8, unicode.toUtf8(), "value " + unicode);
    row("invalid bytes replaced", "utf8", kUtf8, 8, "a\xff\xfe z",
        QString::fromUtf8("value a\xef\xbf\xbd\xef\xbf\xbd z"));
    row("cut at a NUL", "utf8", kUtf8, 8, {"title\0junk", 10}, "value title");
    row("bounded", "utf8", kUtf8, 8, QByteArray(10000, 'y'), "value " + QString(4096, 'y'));
    row("bound before a split 4-byte character", "utf8", kUtf8, 8, QByteArray(4094, 'x') + "\xf0\x9f\x99\x82",
        "value " + QString(4094, 'x'));
    row("text of the wrong type", "utf8", kAtomString, 8, "abc", "malformed !");
    row("text of the wrong format", "utf8", kUtf8, 32, "abcd", "malformed !");
    row("legacy Latin-1", "legacy", kAtomString, 8, "caf\xe9", QString::fromUtf8("value café"));
    row("legacy typed UTF8_STRING", "legacy", kUtf8, 8, "caf\xc3\xa9", QString::fromUtf8("value café"));
    row("legacy compound text read as Latin-1", "legacy", 400, 8, "plain", "value plain");
    row("legacy bounded", "legacy", kAtomString, 8, QByteArray(5000, 'z'), "value " + QString(4096, 'z'));

    row("class not set", "class", 0, 8, {}, "absent |");
    row("well formed", "class", kAtomString, 8, {"navigator\0Firefox\0", 18}, "value navigator|Firefox");
    row("no final NUL", "class", kAtomString, 8, {"code\0Code", 9}, "value code|Code !");
    row("no NUL at all", "class", kAtomString, 8, "xterm", "value xterm| !");
    row("empty parts", "class", kAtomString, 8, {"\0\0", 2}, "value |");
    row("extra parts ignored", "class", kAtomString, 8, {"a\0b\0c\0", 6}, "value a|b");
    row("empty class", "class", kAtomString, 8, {}, "value | !");
    row("class of the wrong type", "class", kUtf8, 8, {"a\0b\0", 4}, "malformed | !");

    row("list not set", "cardinals", 0, 0, {}, "absent");
    row("list", "cardinals", kAtomAtom, 32, items({5, 6, 7}), "value 5 6 7");
    row("set but empty", "cardinals", kAtomAtom, 32, {}, "value");
    row("longer than the bound", "cardinals", kAtomAtom, 32, items({1, 2, 3, 4, 5, 6}), "value 1 2 3 4 !");
    row("more left on the server", "cardinals", kAtomAtom, 32, items({1, 2}), "value 1 2 !", 4000);
    row("ragged length", "cardinals", kAtomAtom, 32, QByteArray(7, '\1'), "malformed !");
    row("list of the wrong type", "cardinals", kAtomCardinal, 32, items({1}), "malformed !");
    row("list of the wrong format", "cardinals", kAtomAtom, 16, items({1}), "malformed !");

    const QByteArray three = items(square(16, 0xff0000ff) + square(32, 0xff00ff00) + square(64, 0xffff0000));
    row("icon not set", "icon", 0, 0, {}, "absent");
    row("best of three icons", "icon", kAtomCardinal, 32, three, "value 32x32 premultiplied ff00ff00");
    row("icon of the wrong type", "icon", kAtomString, 32, three, "malformed !");
    row("icon of the wrong format", "icon", kAtomCardinal, 8, three, "malformed !");
    row("only a hostile icon image", "icon", kAtomCardinal, 32, items(image(65535, 65535, 16)),
        "malformed !");
    row("valid icon before a hostile image", "icon", kAtomCardinal, 32,
        items(square(16, 0xff00ff00) + image(65535, 65535, 16)), "value 16x16 premultiplied ff00ff00 !");
    row("empty icon", "icon", kAtomCardinal, 32, {}, "malformed !");

    row("decorations", "extents", kAtomCardinal, 32, items({1, 2, 20, 4}), "value 1 2 20 4");
    row("no decorations", "extents", kAtomCardinal, 32, items({0, 0, 0, 0}), "value 0 0 0 0");
    row("too few extents", "extents", kAtomCardinal, 32, items({1, 2, 3}), "malformed 0 0 0 0 !");
    row("implausible extent", "extents", kAtomCardinal, 32,
        items({1, 2, std::numeric_limits<quint32>::max(), 4}), "malformed 0 0 0 0 !");
}

void TestX11Properties::decoders()
{
    QFETCH(QString, decoder);
    QFETCH(quint32, type);
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QFETCH(quint32, bytesAfter);
    QFETCH(QString, expected);
    const RawProperty raw = rawProperty(type, format, bytes, bytesAfter);
    QString found;
    if (decoder == QLatin1String("utf8") || decoder == QLatin1String("legacy")) {
        const auto d =
            decoder == QLatin1String("utf8") ? decodeUtf8Text(raw, kUtf8) : decodeLegacyText(raw, kUtf8);
        found = outcome(d, d.value);
    } else if (decoder == QLatin1String("class")) {
        const auto d = decodeWmClass(raw);
        found = outcome(d, d.value.instance + u'|' + d.value.className);
    } else if (decoder == QLatin1String("cardinals")) {
        const auto d = decodeCardinals(raw, kAtomAtom, 4);
        found = outcome(d, joined(d.value));
        // The single-value reader refuses what the list reader refuses, and an empty list.
        const auto single = decodeCardinal(raw, kAtomAtom);
        QCOMPARE(single.hasValue(), !d.value.isEmpty());
        if (single.hasValue())
            QCOMPARE(single.value, d.value.first());
    } else if (decoder == QLatin1String("icon")) {
        const auto d = decodeIcon(raw);
        const QImage &i = d.value;
        const char *layout =
            i.format() == QImage::Format_ARGB32_Premultiplied ? "premultiplied" : "other format";
        found = outcome(d, i.isNull() ? QString()
                                      : QString::asprintf("%dx%d %s %08x", i.width(), i.height(), layout,
                                                          i.pixel(i.width() - 1, i.height() - 1)));
    } else {
        const auto d = decodeFrameExtents(raw);
        found = outcome(d, joined({d.value.left, d.value.right, d.value.top, d.value.bottom}));
    }
    QCOMPARE(found, expected);
}

QTEST_GUILESS_MAIN(TestX11Properties)
#include "tst_x11properties.moc"
