// Text for a terminal: what other programs wrote is shown, never obeyed.
#include "shell/terminaltext.h"

#include <QTest>

using namespace orvella::shell;

class TestTerminalText : public QObject
{
    Q_OBJECT
private slots:
    void escaped_data();
    void escaped();
};

void TestTerminalText::escaped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char *name, const QString &text, const char *shown) {
        QTest::newRow(name) << text << QString::fromUtf8(shown);
    };
    row("plain, any script", QStringLiteral("Ünïcode ✓ 文档 — שלום 😀"), "Ünïcode ✓ 文档 — שלום 😀");
    row("line breaks and tabs", QStringLiteral("a\nb\r\tc"), R"(a\nb\r\tc)");
    row("terminal title and colour", QStringLiteral("\x1b]0;x\x07\x1b[31mred"), R"(\x1b]0;x\x07\x1b[31mred)");
    row("NUL and DEL", QString::fromUtf16(u"a\u0000b\u007f", 4), R"(a\x00b\x7f)");
    row("C1 CSI and NEL", QString::fromUtf16(u"\u009b2J\u0085"), R"(\u009b2J\u0085)");
    row("line and paragraph separators", QString::fromUtf16(u"a\u2028b\u2029"), R"(a\u2028b\u2029)");
    row("bidi override and isolate", QString::fromUtf16(u"\u202eexe.txt\u2066"), R"(\u202eexe.txt\u2066)");
    // Marks and joiners belong to the text they sit in.
    row("marks and joiners kept", QString::fromUtf16(u"a\u200fb👩\u200d💻"), "a\u200fb👩\u200d💻");
    row("lone surrogates",
        QString::fromUtf16(u"a\xd800"
                           u"b\xdc00"),
        "a\uFFFDb\uFFFD");
}

void TestTerminalText::escaped()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(terminalText::escaped(text), shown);
    QCOMPARE(terminalText::lines({text, text}), (shown + u'\n' + shown + u'\n').toUtf8());
}

QTEST_GUILESS_MAIN(TestTerminalText)
#include "tst_terminaltext.moc"
