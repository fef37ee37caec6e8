// The manual page: written from the README's command text, and refused when the README and
// the command line disagree on the verbs.
#include "shell/manpage.h"

#include <QFile>
#include <QTest>

using namespace orvella::shell;

class TestManPage : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void readmeAndTableAgree_data();
    void readmeAndTableAgree();
    void markdownBecomesRoff_data();
    void markdownBecomesRoff();

private:
    QString m_readme;
};

void TestManPage::initTestCase()
{
    QFile file(QStringLiteral(ORVELLA_README));
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_readme = QString::fromUtf8(file.readAll());
}

// Each row edits the README's command block; `error` is what the refusal must name, or
// empty when the page is written.
void TestManPage::readmeAndTableAgree_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("error");
    QTest::newRow("as it is") << QString() << QString() << QString();
    QTest::newRow("a verb left out") << QStringLiteral(
        "orvella quit          save and end the running Orvella\n")
                                     << QString() << QStringLiteral("missing there: quit");
    QTest::newRow("a verb the command line lacks")
        << QStringLiteral("orvella quit ") << QStringLiteral("orvella frobnicate  x\norvella quit ")
        << QStringLiteral("unknown there: frobnicate");
    QTest::newRow("a part left open")
        << QStringLiteral("<!-- /man -->") << QString() << QStringLiteral("is not closed");
}

void TestManPage::readmeAndTableAgree()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, error);
    QString readme = m_readme;
    if (!from.isEmpty()) {
        QVERIFY2(readme.contains(from), qPrintable(from));
        readme.replace(readme.indexOf(from), from.size(), to);
    }
    QString why;
    const auto page = manPage::render(readme, {QStringLiteral("1.2.3"), QStringLiteral("2026-01-02")}, &why);
    if (error.isEmpty()) {
        QVERIFY2(page, qPrintable(why));
        QVERIFY(page->startsWith(QLatin1String(".TH ORVELLA 1 \"2026-01-02\" \"Orvella 1.2.3\"")));
        // The README's own words for a verb, not the table's summary.
        QVERIFY(page->contains(QLatin1String("(it may ask to save)")));
    } else {
        QVERIFY(!page);
        QVERIFY2(why.contains(error), qPrintable(why));
    }
}

void TestManPage::markdownBecomesRoff_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("roff");
    QTest::newRow("code and bold") << QStringLiteral("Run `orvella --help` **now**.")
                                   << QStringLiteral(".PP\nRun \\fBorvella \\-\\-help\\fR \\fBnow\\fR.\n");
    QTest::newRow("a leading dot is not a request")
        << QStringLiteral(".config holds it") << QStringLiteral(".PP\n\\&.config holds it\n");
    QTest::newRow("backslashes print") << QStringLiteral("a\\b") << QStringLiteral(".PP\na\\eb\n");
    QTest::newRow("list item with its continuation")
        << QStringLiteral("- one\n  two\n- three")
        << QStringLiteral(".IP \\(bu 2\none two\n.IP \\(bu 2\nthree\n");
    QTest::newRow("link") << QStringLiteral("[site](https://orvella.org)")
                          << QStringLiteral(".PP\nsite <https://orvella.org>\n");
    QTest::newRow("fenced block keeps its lines")
        << QStringLiteral("```\n.x\n  y\n```") << QStringLiteral(".PP\n.RS 4\n.nf\n\\&.x\n  y\n.fi\n.RE\n");
}

void TestManPage::markdownBecomesRoff()
{
    QFETCH(QString, markdown);
    QFETCH(QString, roff);
    QCOMPARE(manPage::roffFromMarkdown(markdown), roff);
}

QTEST_GUILESS_MAIN(TestManPage)
#include "tst_manpage.moc"
