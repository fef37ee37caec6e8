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
    void iconProperty_data();
    void iconProperty();
    void text_data();
    void text();
    void wmClass_data();
    void wmClass();
    void cardinals_data();
    void cardinals();
    void frameExtents_data();
    void frameExtents();
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

void TestX11Properties::iconProperty_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<State>("state");
    QTest::addColumn<QSize>("size");

    const QByteArray three = items(square(16, 0xff0000ff) + square(32, 0xff00ff00) + square(64, 0xffff0000));
    QTest::newRow("not set") << 0u << 0 << QByteArray() << State::Absent << QSize(0, 0);
    QTest::newRow("best of three") << kAtomCardinal << 32 << three << State::Value << QSize(32, 32);
    QTest::newRow("wrong type") << kAtomString << 32 << three << State::Malformed << QSize(0, 0);
    QTest::newRow("wrong format") << kAtomCardinal << 8 << three << State::Malformed << QSize(0, 0);
    QTest::newRow("only a hostile image")
        << kAtomCardinal << 32 << items(image(65535, 65535, 16)) << State::Malformed << QSize(0, 0);
    QTest::newRow("valid before a hostile image")
        << kAtomCardinal << 32 << items(square(16, 0xff00ff00) + image(65535, 65535, 16)) << State::Value
        << QSize(16, 16);
    QTest::newRow("empty") << kAtomCardinal << 32 << QByteArray() << State::Malformed << QSize(0, 0);
}

void TestX11Properties::iconProperty()
{
    QFETCH(quint32, type);
    QFETCH(int, format);
    QFETCH(QByteArray, data);
    QFETCH(State, state);
    QFETCH(QSize, size);
    const Decoded<QImage> icon = decodeIcon(rawProperty(type, format, data));
    QCOMPARE(icon.state, state);
    QCOMPARE(icon.value.size(), size);
    QCOMPARE(icon.value.isNull(), state != State::Value);
    if (state == State::Value) {
        QCOMPARE(icon.value.format(), QImage::Format_ARGB32_Premultiplied);
        // The chosen image's own pixels, not a neighbour's.
        QCOMPARE(icon.value.pixel(size.width() - 1, size.height() - 1), qRgba(0, 0xff, 0, 0xff));
    }
}

// _NET_WM_NAME, UTF-8 only; and WM_NAME ("legacy"), in whatever encoding its type says.
void TestX11Properties::text_data()
{
    QTest::addColumn<bool>("legacy");
    QTest::addColumn<quint32>("type");
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<State>("state");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, bool legacy, quint32 type, int format, const QByteArray &bytes,
                        State state, const QString &text) {
        QTest::newRow(name) << legacy << type << format << bytes << state << text;
    };
    const QString unicode = QString::fromUtf8("Überblick — 日本語 🙂");
    row("not set", false, 0, 0, {}, State::Absent, {});
    row("empty", false, kUtf8, 8, {}, State::Value, {});
    row("unicode", false, kUtf8, 8, unicode.toUtf8(), State::Value, unicode);
    row("invalid bytes replaced", false, kUtf8, 8, "a\xff\xfe z", State::Value,
        QString::fromUtf8("a\xef\xbf\xbd\xef\xbf\xbd z"));
    row("cut at a NUL", false, kUtf8, 8, {"title\0junk", 10}, State::Value, "title");
    row("bounded", false, kUtf8, 8, QByteArray(10000, 'y'), State::Value, QString(4096, 'y'));
    row("bound before a split 4-byte character", false, kUtf8, 8, QByteArray(4094, 'x') + "\xf0\x9f\x99\x82",
        State::Value, QString(4094, 'x'));
    row("wrong type", false, kAtomString, 8, "abc", State::Malformed, {});
    row("wrong format", false, kUtf8, 32, "abcd", State::Malformed, {});
    row("legacy Latin-1", true, kAtomString, 8, "caf\xe9", State::Value, QString::fromUtf8("café"));
    row("legacy typed UTF8_STRING", true, kUtf8, 8, "caf\xc3\xa9", State::Value, QString::fromUtf8("café"));
    row("legacy compound text read as Latin-1", true, 400, 8, "plain", State::Value, "plain");
    row("legacy bounded", true, kAtomString, 8, QByteArray(5000, 'z'), State::Value, QString(4096, 'z'));
}

void TestX11Properties::text()
{
    QFETCH(bool, legacy);
    QFETCH(quint32, type);
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QFETCH(State, state);
    QFETCH(QString, text);
    const RawProperty raw = rawProperty(type, format, bytes);
    const Decoded<QString> decoded = legacy ? decodeLegacyText(raw, kUtf8) : decodeUtf8Text(raw, kUtf8);
    QCOMPARE(decoded.state, state);
    QCOMPARE(decoded.value, text);
    QVERIFY(decoded.value.toUtf8().size() <= qsizetype(kMaxTitleBytes));
}

void TestX11Properties::wmClass_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<State>("state");
    QTest::addColumn<QString>("instance");
    QTest::addColumn<QString>("className");
    QTest::addColumn<bool>("problem");
    const auto row = [](const char *name, quint32 type, QByteArray bytes, State state, const char *instance,
                        const char *className, bool problem) {
        QTest::newRow(name) << type << bytes << state << QString::fromLatin1(instance)
                            << QString::fromLatin1(className) << problem;
    };
    row("not set", 0, {}, State::Absent, "", "", false);
    row("well formed", kAtomString, {"navigator\0Firefox\0", 18}, State::Value, "navigator", "Firefox",
        false);
    row("no final NUL", kAtomString, {"code\0Code", 9}, State::Value, "code", "Code", true);
    row("no NUL at all", kAtomString, "xterm", State::Value, "xterm", "", true);
    row("empty parts", kAtomString, {"\0\0", 2}, State::Value, "", "", false);
    row("extra parts ignored", kAtomString, {"a\0b\0c\0", 6}, State::Value, "a", "b", false);
    row("empty value", kAtomString, {}, State::Value, "", "", true);
    row("wrong type", kUtf8, {"a\0b\0", 4}, State::Malformed, "", "", true);
}

void TestX11Properties::wmClass()
{
    QFETCH(quint32, type);
    QFETCH(QByteArray, bytes);
    QFETCH(State, state);
    QFETCH(QString, instance);
    QFETCH(QString, className);
    QFETCH(bool, problem);
    const Decoded<WmClass> decoded = decodeWmClass(rawProperty(type, 8, bytes));
    QCOMPARE(decoded.state, state);
    QCOMPARE(decoded.value.instance, instance);
    QCOMPARE(decoded.value.className, className);
    QCOMPARE(decoded.problem != nullptr, problem);
}

void TestX11Properties::cardinals_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<quint32>("bytesAfter");
    QTest::addColumn<State>("state");
    QTest::addColumn<QList<quint32>>("values");
    QTest::addColumn<bool>("problem");
    const auto row = [](const char *name, quint32 type, int format, const QByteArray &bytes,
                        quint32 bytesAfter, State state, const QList<quint32> &values, bool problem) {
        QTest::newRow(name) << type << format << bytes << bytesAfter << state << values << problem;
    };
    row("not set", 0, 0, {}, 0, State::Absent, {}, false);
    row("list", kAtomAtom, 32, items({5, 6, 7}), 0, State::Value, {5, 6, 7}, false);
    row("set but empty", kAtomAtom, 32, {}, 0, State::Value, {}, false);
    row("longer than the bound", kAtomAtom, 32, items({1, 2, 3, 4, 5, 6}), 0, State::Value, {1, 2, 3, 4},
        true);
    row("more left on the server", kAtomAtom, 32, items({1, 2}), 4000, State::Value, {1, 2}, true);
    row("ragged length", kAtomAtom, 32, QByteArray(7, '\1'), 0, State::Malformed, {}, true);
    row("wrong type", kAtomCardinal, 32, items({1}), 0, State::Malformed, {}, true);
    row("wrong format", kAtomAtom, 16, items({1}), 0, State::Malformed, {}, true);
}

void TestX11Properties::cardinals()
{
    QFETCH(quint32, type);
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QFETCH(quint32, bytesAfter);
    QFETCH(State, state);
    QFETCH(QList<quint32>, values);
    QFETCH(bool, problem);
    const auto decoded = decodeCardinals(rawProperty(type, format, bytes, bytesAfter), kAtomAtom, 4);
    QCOMPARE(decoded.state, state);
    QCOMPARE(decoded.value, values);
    QCOMPARE(decoded.problem != nullptr, problem);

    // The single-value reader refuses what the list reader refuses, and an empty list.
    const auto single = decodeCardinal(rawProperty(type, format, bytes, bytesAfter), kAtomAtom);
    QCOMPARE(single.hasValue(), !values.isEmpty());
    if (single.hasValue())
        QCOMPARE(single.value, values.first());
}

void TestX11Properties::frameExtents_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<State>("state");
    QTest::addColumn<QList<quint32>>("extents");

    using List = QList<quint32>;
    QTest::newRow("decorations") << items({1, 2, 20, 4}) << State::Value << List{1, 2, 20, 4};
    QTest::newRow("none") << items({0, 0, 0, 0}) << State::Value << List{0, 0, 0, 0};
    QTest::newRow("too few") << items({1, 2, 3}) << State::Malformed << List{0, 0, 0, 0};
    QTest::newRow("implausible") << items({1, 2, std::numeric_limits<quint32>::max(), 4}) << State::Malformed
                                 << List{0, 0, 0, 0};
}

void TestX11Properties::frameExtents()
{
    QFETCH(QByteArray, bytes);
    QFETCH(State, state);
    QFETCH(QList<quint32>, extents);
    const Decoded<FrameExtents> decoded = decodeFrameExtents(rawProperty(kAtomCardinal, 32, bytes));
    QCOMPARE(decoded.state, state);
    const FrameExtents &e = decoded.value;
    QCOMPARE((QList<quint32>{e.left, e.right, e.top, e.bottom}), extents);
}

QTEST_GUILESS_MAIN(TestX11Properties)
#include "tst_x11properties.moc"
