// Identity strings, order entries, title rules, UI equality and matching by frame.
#include "tracking/identity.h"
#include "tracking/windowcategory.h"
#include "tracking/windowreader.h"

#include <QTest>

using namespace orvella::tracking;
using namespace orvella::tracking::identity;

namespace {

WindowItem item(const QString &id, const QString &title,
                std::optional<QString> bundle = QStringLiteral("org.gnome.TextEditor"))
{
    WindowItem w;
    w.id = id;
    w.pid = 812;
    w.axIndex = 2;
    w.appName = QStringLiteral("Text Editor");
    w.bundleIdentifier = std::move(bundle);
    w.windowTitle = title;
    return w;
}

} // namespace

class TestIdentity : public QObject
{
    Q_OBJECT
private slots:
    void decodeOrderEntry_data();
    void decodeOrderEntry();
    void encodedEntriesDecodeToTheirParts();
    void keysOfOneWindow();
    void ownerFallsBackToAppName();
    void idsOfRepeatedBases();
    void normalizedTitle_data();
    void normalizedTitle();
    void uiEquality();
    void matchByFrame_data();
    void matchByFrame();
};

void TestIdentity::decodeOrderEntry_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("sig");
    QTest::addColumn<QString>("pidIdx");      // empty = absent
    QTest::addColumn<QString>("fingerprint"); // empty = absent
    const auto row = [](const char *name, const char *entry, const char *sig, const char *pidIdx = "",
                        const char *fingerprint = "") {
        QTest::newRow(name) << QString::fromUtf8(entry) << QString::fromUtf8(sig) << QString::fromUtf8(pidIdx)
                            << QString::fromUtf8(fingerprint);
    };
    row("three parts", "code::wn:41__812:0__code::main.cpp", "code::wn:41", "812:0", "code::main.cpp");
    row("two parts (older form)", "code::main.cpp__812:3", "code::main.cpp", "812:3");
    row("bare signature", "code::main.cpp", "code::main.cpp");
    row("tail without colon is a bare signature", "app::a__b", "app::a__b");
    row("separator inside the title reads as bare", "app::x__y__1:2__app::x__y", "app::x__y__1:2__app::x__y");
    row("pidIdx without colon falls back to two parts", "app::t__99__app::t:z", "app::t__99", "app::t:z");
}

void TestIdentity::decodeOrderEntry()
{
    QFETCH(QString, entry);
    QFETCH(QString, sig);
    QFETCH(QString, pidIdx);
    QFETCH(QString, fingerprint);
    const OrderEntry decoded = identity::decodeOrderEntry(entry);
    QCOMPARE(decoded.sig, sig);
    QCOMPARE(decoded.pidIdx.value_or(QString()), pidIdx);
    QCOMPARE(decoded.fingerprint.value_or(QString()), fingerprint);
}

void TestIdentity::encodedEntriesDecodeToTheirParts()
{
    const WindowItem titled = item(QStringLiteral("org.gnome.TextEditor::wn:7"), QStringLiteral("notes.txt"));
    QCOMPARE(encodeOrderEntry(titled),
             QStringLiteral("org.gnome.TextEditor::wn:7__812:2__org.gnome.TextEditor::notes.txt"));

    const WindowItem untitled = item(QStringLiteral("org.gnome.TextEditor::wn:8"), QString());
    QCOMPARE(identity::decodeOrderEntry(encodeOrderEntry(untitled)).fingerprint,
             std::optional(QStringLiteral("org.gnome.TextEditor::Text Editor")));
}

void TestIdentity::keysOfOneWindow()
{
    const WindowItem w = item(QStringLiteral("x"), QStringLiteral("  report.odt \n"));
    QCOMPARE(windowNumberSignature(w.owner(), -5), QStringLiteral("org.gnome.TextEditor::wn:-5"));
    QCOMPARE(titleSignature(w.owner(), w.windowTitle),
             QStringLiteral("org.gnome.TextEditor::  report.odt \n"));
    QCOMPARE(identity::pidIdx(812, 0), QStringLiteral("812:0"));
    QCOMPARE(manualShelfDescriptor(w, false),
             std::optional(QStringLiteral("org.gnome.TextEditor::report.odt")));

    const WindowItem blank = item(QStringLiteral("y"), QStringLiteral(" \t\n"));
    QCOMPARE(manualShelfDescriptor(blank, false), std::nullopt);
    QCOMPARE(ghostID(QStringLiteral("a::b")), QStringLiteral("a::b-ghost"));
    QCOMPARE(withoutGhostSuffix(ghostID(QStringLiteral("a::b"))), QStringLiteral("a::b"));
    QCOMPARE(closedID(QStringLiteral("a::b")), QStringLiteral("closed-a::b"));
}

void TestIdentity::ownerFallsBackToAppName()
{
    const WindowItem w = item(QStringLiteral("id"), QStringLiteral("doc"), std::nullopt);
    QCOMPARE(w.owner(), QStringLiteral("Text Editor"));
    QCOMPARE(baseSignature(w.owner(), std::nullopt, w.windowTitle), QStringLiteral("Text Editor::doc"));
    QCOMPARE(baseSignature(w.owner(), 42, w.windowTitle), QStringLiteral("Text Editor::wn:42"));
    QCOMPARE(fingerprint(w), QStringLiteral("Text Editor::doc"));
    QCOMPARE(manualShelfDescriptor(w, true), std::optional(QStringLiteral("Text Editor::doc")));
}

void TestIdentity::idsOfRepeatedBases()
{
    IdAllocator ids;
    QCOMPARE(ids.next(QStringLiteral("a::t")), QStringLiteral("a::t"));
    QCOMPARE(ids.next(QStringLiteral("a::u")), QStringLiteral("a::u"));
    QCOMPARE(ids.next(QStringLiteral("a::t")), QStringLiteral("a::t#1"));
    QCOMPARE(ids.next(QStringLiteral("a::t")), QStringLiteral("a::t#2"));
}

void TestIdentity::normalizedTitle_data()
{
    QTest::addColumn<QString>("bundle");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const char *bundle, const char *title, const char *expected) {
        QTest::newRow(name) << QString::fromUtf8(bundle) << QString::fromUtf8(title)
                            << QString::fromUtf8(expected);
    };
    const char *vs = "com.microsoft.VSCode";
    row("problems count", vs, "main.cpp • 3 problems in this file — orvella", "main.cpp");
    row("one problem", vs, "a.h • 1 problem in this file", "a.h");
    row("modified", vs, "main.cpp — orvella — Modified", "main.cpp — orvella");
    row("modified then untracked", vs, "x — Untracked — Modified", "x");
    row("chat, modified", vs, "x — Pending changes from chat • Modified", "x");
    row("only one chat suffix", vs, "x — Pending changes from chat — Pending changes from chat",
        "x — Pending changes from chat");
    row("trimmed", vs, "  x  ", "x");
    row("Linux identity of the editor", "code", "x — Modified", "x");
    row("other editors unchanged", "org.gnome.TextEditor", "x — Modified ", "x — Modified ");
}

void TestIdentity::normalizedTitle()
{
    QFETCH(QString, bundle);
    QFETCH(QString, title);
    QFETCH(QString, expected);
    QCOMPARE(normalizedTitleForMatching(title, bundle), expected);
}

void TestIdentity::uiEquality()
{
    const WindowItem a = item(QStringLiteral("a"), QStringLiteral("one"));
    WindowItem moved = a;
    moved.bounds = QRectF(5, 5, 10, 10);
    moved.windowNumber = 3;
    QVERIFY(windowsUIEqual({a}, {moved}));
    WindowItem retitled = a;
    retitled.windowTitle = QStringLiteral("two");
    QVERIFY(!windowsUIEqual({a}, {retitled}));
    WindowItem minimized = a;
    minimized.isMinimized = true;
    QVERIFY(!windowsUIEqual({a}, {minimized}));
    QVERIFY(!windowsUIEqual({a}, {a, a}));

    WindowItem assigned = moved;
    assigned.assignedShelfName = QStringLiteral("shelf-1");
    QVERIFY(categoriesUIEqual({{QStringLiteral("c"), QStringLiteral("C"), {a}}},
                              {{QStringLiteral("c"), QStringLiteral("C"), {moved}}}));
    QVERIFY(!categoriesUIEqual({{QStringLiteral("c"), QStringLiteral("C"), {a}}},
                               {{QStringLiteral("c"), QStringLiteral("C"), {assigned}}}));
    QVERIFY(!categoriesUIEqual({{QStringLiteral("c"), QStringLiteral("C"), {a}, false}},
                               {{QStringLiteral("c"), QStringLiteral("C"), {a}, true}}));
}

void TestIdentity::matchByFrame_data()
{
    QTest::addColumn<QRectF>("frame");
    QTest::addColumn<QList<qint64>>("usedBefore");
    QTest::addColumn<qint64>("expected"); // 0 = no match
    // Records of pid 7: #1 at (100,100,800,600), #2 at (104,100,800,600), #3 at (300,300,400,400).
    QTest::newRow("exact") << QRectF(300, 300, 400, 400) << QList<qint64>{} << qint64(3);
    QTest::newRow("12 points off on every side")
        << QRectF(312, 288, 412, 388) << QList<qint64>{} << qint64(3);
    QTest::newRow("12.5 points off") << QRectF(312.5, 300, 400, 400) << QList<qint64>{} << qint64(0);
    QTest::newRow("nearest wins") << QRectF(103, 100, 800, 600) << QList<qint64>{} << qint64(2);
    QTest::newRow("tie goes to the earlier") << QRectF(102, 100, 800, 600) << QList<qint64>{} << qint64(1);
    QTest::newRow("used numbers are skipped") << QRectF(100, 100, 800, 600) << QList<qint64>{1} << qint64(2);
    QTest::newRow("empty frame") << QRectF(100, 100, 0, 600) << QList<qint64>{} << qint64(0);
}

void TestIdentity::matchByFrame()
{
    QFETCH(QRectF, frame);
    QFETCH(QList<qint64>, usedBefore);
    QFETCH(qint64, expected);
    const QList<CGWindowRecord> records{{8, 9, QRectF(300, 300, 400, 400)}, // another process
                                        {7, 1, QRectF(100, 100, 800, 600)},
                                        {7, 2, QRectF(104, 100, 800, 600)},
                                        {7, 3, QRectF(300, 300, 400, 400)}};
    QSet<qint64> used(usedBefore.begin(), usedBefore.end());
    const auto match = orvella::tracking::matchByFrame(7, frame, records, used);
    QCOMPARE(match.value_or(0), expected);
    if (match)
        QVERIFY(used.contains(*match));
}

QTEST_GUILESS_MAIN(TestIdentity)
#include "tst_identity.moc"
