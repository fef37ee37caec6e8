// Interface texts: the English table, the language tables' shape, lookup fallback and
// language detection.
#include "settings/localizationmanager.h"

#include <QFile>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace orvella::settings;

class TestLocalization : public QObject
{
    Q_OBJECT
private slots:
    void englishTableHoldsEveryKeyInOrder();
    void englishTexts_data();
    void englishTexts();
    void languageTablesHoldOnlyEnglishKeysInEnglishOrder();
    void lookupFallsBackToEnglishThenTheKey();
    void setLanguageTakesEffectAtOnce();
    void detectionFromPreferredList_data();
    void detectionFromPreferredList();
    void detectionFromEnvironment_data();
    void detectionFromEnvironment();
    void languagesInPickerOrder();
    void placeholdersAreFilledInOrder_data();
    void placeholdersAreFilledInOrder();
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
    // another platform's settings, and a name for applications that have none.
    const QStringList linuxKeys{
        "banner.x11Required",       "banner.x11Required.subtitle", "banner.x11Required.title",
        "banner.x11Required.step1", "banner.x11Required.step2",    "banner.x11Required.step3",
        "banner.x11StillMissing",   "permission.x11.desc",         "permission.x11.hint",
        "settings.x11Ready",        "settings.x11Missing",         "settings.x11Hint",
        "general.unknown"};
    QCOMPARE(keys.mid(360), linuxKeys);
    QCOMPARE(LocalizationManager::allTranslations(AppLanguage::en).size(), keys.size());
}

void TestLocalization::englishTexts_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *key, const char *text) {
        QTest::newRow(key) << QString::fromUtf8(key) << QString::fromUtf8(text);
    };
    row("general.left", "Left");
    row("general.right", "Right");
    row("general.center", "Center");
    row("general.off", "OFF");
    row("general.delete", "Delete");
    row("general.cancel", "Cancel");
    row("general.name", "Name");
    row("general.fix", "Fix");
    row("sidebar.hide", "Hide sidebar");
    row("sidebar.addShelf", "Add new shelf");
    row("sidebar.settings", "Settings");
    row("sidebar.unlockResize", "Unlock sidebar width resizing");
    row("sidebar.lockResize", "Lock sidebar width resizing");
    row("sidebar.moveToNextMonitor", "Move sidebar to next monitor");
    row("sidebar.minimizeRestore", "Minimize / restore all open windows\n(or double-click / click this row)");
    row("sidebar.refresh", "Refresh window list");
    row("empty.title", "No windows");
    row("empty.subtitle", "Open some apps to see\ntheir windows here.");
    row("category.expand", "Expand shelf");
    row("category.collapse", "Collapse shelf");
    row("category.confirmRename", "Confirm rename");
    row("category.deleteShelf", "Delete shelf");
    row("category.deleteConfirm", "Delete \"%@\"?");
    row("category.deleteMsg", "Windows will be moved back to their app categories.");
    row("category.rename", "Rename Shelf");
    row("category.openNewWindow", "Open New Window");
    row("category.tile", "Tile shelf windows");
    row("category.tileTitle", "Tile %@ windows");
    row("category.width30", "30%% width");
    row("category.width50", "50%% width");
    row("category.tileDesc", "Distributes windows evenly vertically at the chosen width and alignment.");
    row("category.tileWarning",
        "⚠️ Some apps enforce a minimum window height, so the layout may not always be perfectly even. "
        "Orvella always arranges windows as closely as system constraints allow.");
    row("category.showHide", "Show / Hide all windows\n(or click / double-click this row)");
    row("tooltip.window", "%@\nClick: focus window\nDouble-click: minimize window");
    row("tooltip.windowAssigned",
        "%@\nAlready assigned to %@\nClick: focus window\nDouble-click: minimize window");
    row("tooltip.closedApp", "%@ (closed)\nClick to reopen");
    row("tooltip.category", "%@\nClick: restore & focus all windows\nDouble-click: minimize all windows");
    row("window.tileWindow", "Tile Window");
    row("window.moveToShelf", "Move to Shelf");
    row("window.removeFromShelf", "Remove from Shelf");
    row("window.closeWindow", "Close Window");
    row("window.options", "Options");
    row("window.appWindowsTitle", "%@ Windows");
    row("window.noOtherWindows", "No other open windows");
    row("window.dragHere", "Drag windows here");
    row("window.dragHere.hint", "↓ from Apps below");
    row("hint.dragToShelf", "Drag windows to your shelves");
    row("hint.dragToShelf.sub", "↑ Grab any row and drop it into a shelf above");
    row("menu.toggleSidebar", "Toggle Sidebar");
    row("menu.settings", "");
    row("menu.quit", "Quit Orvella");
    row("banner.axRequired", "Accessibility access is required to refresh windows.");
    row("banner.axRequired.subtitle", "System Settings → Privacy & Security → Accessibility\nIf the toggle "
                                      "is ON, switch it OFF and back ON, then relaunch.");
    row("banner.openSettings", "Open Settings");
    row("banner.axRequired.title", "Permission needed");
    row("banner.axRequired.step1", "Open System Settings");
    row("banner.axRequired.step2", "Privacy & Security → Accessibility");
    row("banner.axRequired.step3", "Switch OFF → wait 5 sec → ON, then relaunch (repeat if needed)");
    row("banner.refreshing", "Refreshing… (AX: %@)");
    row("banner.axStillNotGranted", "Accessibility still not granted. Enable Orvella in System Settings → "
                                    "Privacy & Security → Accessibility.");
    row("banner.refreshResult", "Result: AX=%@, windows=%@, CG≈%@");
    row("feedback.windowTitle", "Orvella — Feedback");
}

void TestLocalization::englishTexts()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    const auto &english = LocalizationManager::allTranslations(AppLanguage::en);
    QVERIFY2(english.contains(key), qPrintable(key));
    QCOMPARE(english.value(key), text);
}

// Translators copy the English file; a table with stray keys or a different order
// means it was built from an old copy.
void TestLocalization::languageTablesHoldOnlyEnglishKeysInEnglishOrder()
{
    const QStringList english = LocalizationManager::orderedKeys(AppLanguage::en);
    for (AppLanguage language : appLanguage::allCases()) {
        const QStringList keys = LocalizationManager::orderedKeys(language);
        QStringList englishSubsequence;
        for (const QString &key : english) {
            if (keys.contains(key))
                englishSubsequence.append(key);
        }
        QVERIFY2(keys == englishSubsequence, qPrintable(appLanguage::rawValue(language)));
        QCOMPARE(LocalizationManager::allTranslations(language).size(), keys.size());
    }
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

    LocalizationManager &l10n = LocalizationManager::shared();
    l10n.setLanguage(QStringLiteral("sl"));
    QCOMPARE(l10n.string(QStringLiteral("unknown.key")), QStringLiteral("unknown.key"));
    QVERIFY(!l10n.string(QStringLiteral("general.delete")).isEmpty());
    QVERIFY(l10n.string(QStringLiteral("general.delete")) != QLatin1String("general.delete"));
}

void TestLocalization::setLanguageTakesEffectAtOnce()
{
    LocalizationManager &l10n = LocalizationManager::shared();
    l10n.setLanguage(QStringLiteral("en"));
    QCOMPARE(l10n.string(QStringLiteral("category.deleteShelf")), QStringLiteral("Delete shelf"));

    QSignalSpy spy(&l10n, &LocalizationManager::languageChanged);
    l10n.setLanguage(QStringLiteral("ja"));
    QCOMPARE(l10n.language(), AppLanguage::ja);
    QCOMPARE(l10n.string(QStringLiteral("category.deleteShelf")),
             LocalizationManager::lookup(LocalizationManager::allTranslations(AppLanguage::ja),
                                         LocalizationManager::allTranslations(AppLanguage::en),
                                         QStringLiteral("category.deleteShelf")));
    QCOMPARE(spy.count(), 1);

    l10n.setLanguage(QStringLiteral("klingon"));
    QCOMPARE(l10n.language(), AppLanguage::en);
    QCOMPARE(l10n.string(QStringLiteral("category.deleteShelf")), QStringLiteral("Delete shelf"));
}

void TestLocalization::detectionFromPreferredList_data()
{
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<QString>("expected");
    QTest::newRow("regional German") << QStringList{"de-AT", "en-US"} << "de";
    QTest::newRow("Traditional Chinese skipped") << QStringList{"zh-Hant-TW", "fr-FR"} << "fr";
    QTest::newRow("only Traditional Chinese") << QStringList{"zh-Hant-TW"} << "en";
    QTest::newRow("Simplified, underscores") << QStringList{"zh_Hans_CN"} << "zh-Hans";
    QTest::newRow("Brazilian Portuguese") << QStringList{"pt-BR"} << "pt";
    QTest::newRow("unsupported") << QStringList{"ru-RU"} << "en";
    QTest::newRow("first supported wins") << QStringList{"ru-RU", "sl-SI", "de-DE"} << "sl";
    QTest::newRow("empty") << QStringList{} << "en";
}

void TestLocalization::detectionFromPreferredList()
{
    QFETCH(QStringList, preferred);
    QFETCH(QString, expected);
    QCOMPARE(LocalizationManager::detectSystemLanguage(preferred), expected);
}

// gettext's reading of the environment, as a Linux desktop sets it.
void TestLocalization::detectionFromEnvironment_data()
{
    QTest::addColumn<QStringList>("variables"); // NAME=value
    QTest::addColumn<QString>("expected");
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

void TestLocalization::detectionFromEnvironment()
{
    QFETCH(QStringList, variables);
    QFETCH(QString, expected);
    QProcessEnvironment env;
    for (const QString &v : variables)
        env.insert(v.section(u'=', 0, 0), v.section(u'=', 1));
    QCOMPARE(LocalizationManager::detectSystemLanguage(LocalizationManager::preferredLanguages(env)),
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

QTEST_GUILESS_MAIN(TestLocalization)
#include "tst_localization.moc"
