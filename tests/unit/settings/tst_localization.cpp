// Interface texts: the English table and the translated ones, placeholders, lookup fallback
// and language detection.
#include "settings/localizationmanager.h"

#include <QFile>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSignalSpy>
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

class TestLocalization : public QObject
{
    Q_OBJECT
private slots:
    void englishTableHoldsEveryKeyInOrder();
    void englishTexts_data();
    void englishTexts();
    void lookupFallsBackToEnglishThenTheKey();
    void detection_data();
    void detection();
    void languagesInPickerOrder();
    void placeholdersAreFilledInOrder_data();
    void placeholdersAreFilledInOrder();
    void translatedTable_data();
    void translatedTable();
};

void TestLocalization::placeholdersAreFilledInOrder_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");
    QTest::newRow("two texts") << "%@\nAlready assigned to %@" << QStringList{"a.txt", "Shelf 1"}
                               << "a.txt\nAlready assigned to Shelf 1";
    QTest::newRow("percent sign") << "30%% width" << QStringList{} << "30% width";
    QTest::newRow("count") << "%d windows" << QStringList{"3"} << "3 windows";
    QTest::newRow("argument holding a placeholder")
        << "Delete \"%@\"?" << QStringList{"100%@"} << "Delete \"100%@\"?";
    QTest::newRow("missing argument")
        << "Result: AX=%@, windows=%@" << QStringList{"yes"} << "Result: AX=yes, windows=%@";
    QTest::newRow("lone percent at the end") << "100%" << QStringList{} << "100%";
}

void TestLocalization::placeholdersAreFilledInOrder()
{
    QFETCH(QString, pattern);
    QFETCH(QStringList, arguments);
    QFETCH(QString, expected);
    QCOMPARE(LocalizationManager::format(pattern, arguments), expected);
}

void TestLocalization::englishTableHoldsEveryKeyInOrder()
{
    QFile file(QStringLiteral(ORVELLA_ENGLISH_KEYS));
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
    const QStringList expected = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(expected.size(), 360);

    const QStringList keys = LocalizationManager::orderedKeys(AppLanguage::en);
    QCOMPARE(keys.mid(0, 360), expected);
    QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size()); // no key twice
    // The rest are the Linux build's own keys: stand-ins for texts that send the user to
    // another platform's settings, a name for applications that have none, and the tray
    // menu's and the session window's texts, the update check's outcomes, and the desktop
    // entry's texts.
    const QStringList linuxKeys{
        "banner.x11Required", "banner.x11Required.subtitle", "banner.x11Required.title",
        "banner.x11Required.step1", "banner.x11Required.step2", "banner.x11Required.step3",
        "banner.x11StillMissing", "permission.x11.desc", "permission.x11.hint", "settings.x11Ready",
        "settings.x11Missing", "settings.x11Hint", "general.unknown", "sysmon.cpu", "menu.showSidebar",
        "menu.hideSidebar", "menu.showDesktop", "menu.openSettings", "general.close",
        "permission.x11.waylandOnly", "update.upToDate", "update.checkFailed", "desktop.genericName",
        "desktop.comment", "desktop.keywords",
        // the settings window's pages, notes and feedback extras
        "settings.page.general", "settings.page.appearance", "settings.page.previews",
        "settings.page.privacy", "settings.page.about", "settings.windowPreview.small",
        "settings.windowPreview.medium", "settings.windowPreview.large", "settings.windowPreview.xlarge",
        "settings.windowPreview.noComposite", "settings.sidebarGlass.noCompositor",
        "settings.shortcut.record", "settings.shortcut.clear", "settings.shortcut.taken",
        "settings.resetDefaults.desc", "settings.resetDefaults.confirm", "settings.resetDefaults.ok",
        "settings.privacy.title", "settings.privacy.records", "settings.privacy.noEndpoint",
        "settings.privacy.endpoint", "settings.privacy.dnt", "settings.privacy.dntHint",
        "settings.privacy.showQueue", "settings.privacy.queueEmpty", "settings.about.title",
        "settings.about.version", "settings.about.licensesText", "feedback.copyDiagnostics",
        "feedback.includeTitles", "sysmon.preview"};
    QCOMPARE(keys.mid(360), linuxKeys);
    QCOMPARE(LocalizationManager::allTranslations(AppLanguage::en).size(), keys.size());
}

// Texts whose characters the table must carry through as they are: quotes, newlines, the
// escaped percent sign, placeholders, emoji, and the one text that is empty on purpose.
void TestLocalization::englishTexts_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *key, const char *text) {
        QTest::newRow(key) << QString::fromUtf8(key) << QString::fromUtf8(text);
    };
    row("category.deleteConfirm", "Delete \"%@\"?");
    row("category.width30", "30%% width");
    row("tooltip.windowAssigned",
        "%@\nAlready assigned to %@\nClick: focus window\nDouble-click: minimize window");
    row("category.tileWarning",
        "⚠️ Some apps enforce a minimum window height, so the layout may not always be perfectly even. "
        "Orvella always arranges windows as closely as system constraints allow.");
    row("menu.settings", "");
}

void TestLocalization::englishTexts()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    const auto &english = LocalizationManager::allTranslations(AppLanguage::en);
    QVERIFY2(english.contains(key), qPrintable(key));
    QCOMPARE(english.value(key), text);
}

void TestLocalization::lookupFallsBackToEnglishThenTheKey()
{
    const QHash<QString, QString> english{{QStringLiteral("general.cancel"), QStringLiteral("Cancel")},
                                          {QStringLiteral("general.name"), QStringLiteral("Name")}};
    const QHash<QString, QString> slovenian{{QStringLiteral("general.cancel"), QStringLiteral("Prekliči")}};
    QCOMPARE(LocalizationManager::lookup(slovenian, english, QStringLiteral("general.cancel")),
             QStringLiteral("Prekliči"));
    QCOMPARE(LocalizationManager::lookup(slovenian, english, QStringLiteral("general.name")),
             QStringLiteral("Name"));
    QCOMPARE(LocalizationManager::lookup(slovenian, english, QStringLiteral("no.such.key")),
             QStringLiteral("no.such.key"));

    // The shared instance: the table at once, one signal per change, English for an unknown language.
    LocalizationManager &l10n = LocalizationManager::shared();
    const QString key = QStringLiteral("category.deleteShelf");
    l10n.setLanguage(QStringLiteral("sl"));
    QSignalSpy changed(&l10n, &LocalizationManager::languageChanged);
    QCOMPARE(l10n.string(key), LocalizationManager::allTranslations(AppLanguage::sl).value(key));
    QVERIFY(l10n.string(key) != QLatin1String("Delete shelf"));
    QCOMPARE(l10n.string(QStringLiteral("unknown.key")), QStringLiteral("unknown.key"));
    l10n.setLanguage(QStringLiteral("klingon"));
    QCOMPARE(l10n.language(), AppLanguage::en);
    QCOMPARE(l10n.string(key), QStringLiteral("Delete shelf"));
    l10n.setLanguage(QStringLiteral("en"));
    QCOMPARE(changed.count(), 1);
}

// From the preferred list, or from the environment as gettext reads it on a Linux desktop.
void TestLocalization::detection_data()
{
    QTest::addColumn<QStringList>("input"); // NAME=value pairs, else the preferred list itself
    QTest::addColumn<QString>("expected");
    QTest::newRow("regional German") << QStringList{"de-AT", "en-US"} << "de";
    QTest::newRow("Traditional Chinese skipped") << QStringList{"zh-Hant-TW", "fr-FR"} << "fr";
    QTest::newRow("only Traditional Chinese") << QStringList{"zh-Hant-TW"} << "en";
    QTest::newRow("Simplified, underscores") << QStringList{"zh_Hans_CN"} << "zh-Hans";
    QTest::newRow("first supported wins") << QStringList{"ru-RU", "sl-SI", "de-DE"} << "sl";
    QTest::newRow("LANG") << QStringList{"LANG=fr_FR.UTF-8"} << "fr";
    QTest::newRow("LC_ALL over LANG") << QStringList{"LANG=de_DE.UTF-8", "LC_ALL=ja_JP.UTF-8"} << "ja";
    QTest::newRow("LC_MESSAGES over LANG")
        << QStringList{"LANG=de_DE.UTF-8", "LC_MESSAGES=it_IT.UTF-8"} << "it";
    QTest::newRow("LANGUAGE list") << QStringList{"LANG=en_US.UTF-8", "LANGUAGE=ru:ko:en"} << "ko";
    QTest::newRow("LANGUAGE ignored under C") << QStringList{"LANG=C", "LANGUAGE=de"} << "en";
    QTest::newRow("C.UTF-8") << QStringList{"LANG=C.UTF-8"} << "en";
    QTest::newRow("mainland Chinese") << QStringList{"LANG=zh_CN.UTF-8"} << "zh-Hans";
    QTest::newRow("Taiwanese Chinese") << QStringList{"LANG=zh_TW.UTF-8"} << "en";
    QTest::newRow("Hong Kong then Japanese") << QStringList{"LANG=zh_HK.UTF-8", "LANGUAGE=zh_HK:ja"} << "ja";
    QTest::newRow("modifier") << QStringList{"LANG=sl_SI.UTF-8@euro"} << "sl";
    QTest::newRow("nothing set") << QStringList{} << "en";
}

void TestLocalization::detection()
{
    QFETCH(QStringList, input);
    QFETCH(QString, expected);
    QProcessEnvironment env;
    for (const QString &v : input)
        env.insert(v.section(u'=', 0, 0), v.section(u'=', 1));
    const bool list = !input.isEmpty() && !input.first().contains(u'=');
    QCOMPARE(LocalizationManager::detectSystemLanguage(list ? input
                                                            : LocalizationManager::preferredLanguages(env)),
             expected);
}

void TestLocalization::languagesInPickerOrder()
{
    QStringList raw;
    for (AppLanguage language : appLanguage::allCases()) {
        raw.append(appLanguage::rawValue(language));
        QVERIFY(!appLanguage::displayName(language).isEmpty());
        QVERIFY(!appLanguage::flag(language).isEmpty());
        QCOMPARE(appLanguage::fromRawValue(raw.last()), std::optional(language));
    }
    QCOMPARE(raw, QStringList({"en", "zh-Hans", "es", "fr", "de", "ja", "pt", "ko", "it", "sl"}));
    QCOMPARE(appLanguage::fromRawValue(QStringLiteral("zh")), std::nullopt);
}

void TestLocalization::translatedTable_data()
{
    QTest::addColumn<int>("language");
    for (AppLanguage language : appLanguage::allCases()) {
        if (language != AppLanguage::en)
            QTest::newRow(qPrintable(appLanguage::rawValue(language))) << int(language);
    }
}

// The nine translated tables: every English key and nothing else, with the English
// placeholders, and really translated.
void TestLocalization::translatedTable()
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

QTEST_GUILESS_MAIN(TestLocalization)
#include "tst_localization.moc"
