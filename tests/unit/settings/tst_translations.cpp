// The nine translated tables: complete, with the English placeholders, and really translated.
#include "settings/localizationmanager.h"

#include <QRegularExpression>
#include <QTest>

using namespace orvella::settings;

namespace {

// English texts a translation may keep as they are: brand and technical words that
// every language writes the same way, and texts made of nothing else.
const QSet<QString> kSameInEveryLanguage{
    QString(), // menu.settings is empty on purpose
    "Orvella", "CPU", "IP", "Wi-Fi", "X11", "EWMH", "OK", "Dock",
};

QStringList placeholders(const QString &text)
{
    static const QRegularExpression re(QStringLiteral("%(@|d|%)"));
    QStringList out;
    for (auto it = re.globalMatch(text); it.hasNext();)
        out.append(it.next().captured(0));
    return out;
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT
private slots:
    void table_data();
    void table();
};

void TestTranslations::table_data()
{
    QTest::addColumn<int>("language");
    for (AppLanguage language : appLanguage::allCases()) {
        if (language != AppLanguage::en)
            QTest::newRow(qPrintable(appLanguage::rawValue(language))) << int(language);
    }
}

// Every English key and nothing else, with the English placeholders, and really translated.
void TestTranslations::table()
{
    QFETCH(int, language);
    QCOMPARE(LocalizationManager::orderedKeys(AppLanguage(language)),
             LocalizationManager::orderedKeys(AppLanguage::en));
    const auto &english = LocalizationManager::allTranslations(AppLanguage::en);
    const auto &table = LocalizationManager::allTranslations(AppLanguage(language));
    QStringList untranslated;
    for (auto it = english.begin(); it != english.end(); ++it) {
        const QString text = table.value(it.key());
        QVERIFY2(placeholders(text) == placeholders(it.value()),
                 qPrintable(it.key() + QStringLiteral(": ") + text));
        // A stray '%' would garble the text when it is used as a format.
        QCOMPARE(text.count(u'%'), it.value().count(u'%'));
        if (text == it.value() && !kSameInEveryLanguage.contains(text))
            untranslated.append(it.key());
    }
    QVERIFY2(untranslated.size() * 100 < english.size() * 5, qPrintable(untranslated.join(u' ')));
}

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
