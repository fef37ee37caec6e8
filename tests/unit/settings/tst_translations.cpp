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

QList<AppLanguage> translatedLanguages()
{
    QList<AppLanguage> out;
    for (AppLanguage language : appLanguage::allCases()) {
        if (language != AppLanguage::en)
            out.append(language);
    }
    return out;
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT
private slots:
    void tables_data();
    void everyEnglishKeyAndNothingElse();
    void everyEnglishKeyAndNothingElse_data() { tables_data(); }
    void placeholdersMatchEnglish();
    void placeholdersMatchEnglish_data() { tables_data(); }
    void tablesAreNotEnglishInDisguise();
    void tablesAreNotEnglishInDisguise_data() { tables_data(); }
};

void TestTranslations::tables_data()
{
    QTest::addColumn<int>("language");
    for (AppLanguage language : translatedLanguages())
        QTest::newRow(qPrintable(appLanguage::rawValue(language))) << int(language);
}

void TestTranslations::everyEnglishKeyAndNothingElse()
{
    QFETCH(int, language);
    QCOMPARE(LocalizationManager::orderedKeys(AppLanguage(language)),
             LocalizationManager::orderedKeys(AppLanguage::en));
}

void TestTranslations::placeholdersMatchEnglish()
{
    QFETCH(int, language);
    const auto &english = LocalizationManager::allTranslations(AppLanguage::en);
    const auto &table = LocalizationManager::allTranslations(AppLanguage(language));
    for (auto it = english.begin(); it != english.end(); ++it) {
        const QStringList expected = placeholders(it.value());
        const QStringList actual = placeholders(table.value(it.key()));
        QVERIFY2(actual == expected, qPrintable(it.key() + QStringLiteral(": ") + table.value(it.key())));
        // A stray '%' would garble the text when it is used as a format.
        QCOMPARE(table.value(it.key()).count(u'%'), it.value().count(u'%'));
    }
}

void TestTranslations::tablesAreNotEnglishInDisguise()
{
    QFETCH(int, language);
    const auto &english = LocalizationManager::allTranslations(AppLanguage::en);
    const auto &table = LocalizationManager::allTranslations(AppLanguage(language));
    QStringList untranslated;
    for (auto it = english.begin(); it != english.end(); ++it) {
        if (table.value(it.key()) == it.value() && !kSameInEveryLanguage.contains(it.value()))
            untranslated.append(it.key());
    }
    QVERIFY2(untranslated.size() * 100 < english.size() * 5, qPrintable(untranslated.join(u' ')));
}

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
