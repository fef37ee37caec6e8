// The settings window's catalog and search: every entry edits a real setting and shows
// real texts, and a search finds controls by the words of the language shown.
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "sidebar/settingssearchmodel.h"

#include <QAbstractItemModelTester>
#include <QTest>

using namespace orvella;
using sidebar::SettingsSearchModel;

class TestSettingsSearch : public QObject
{
    Q_OBJECT
private slots:
    void everyEntryNamesARealSettingAndRealTexts();
    void search_data();
    void search();
    void pageWithoutQueryAndRelabelOnLanguageSwitch();
};

void TestSettingsSearch::everyEntryNamesARealSettingAndRealTexts()
{
    const auto &english = settings::LocalizationManager::allTranslations(settings::AppLanguage::en);
    const QMetaObject &meta = settings::AppSettings::staticMetaObject;
    const QStringList unbound{"privacy", "about", "action"};
    for (const sidebar::SettingsEntry &e : sidebar::settingsCatalog::entries()) {
        QStringList keys{e.titleKey, e.descKey, e.noteKey};
        keys += e.labelKeys;
        for (const QString &key : keys)
            QVERIFY2(key.isEmpty() || english.contains(key), qPrintable(e.property + u' ' + key));
        QCOMPARE(e.values.size(), e.labelKeys.size());
        if (unbound.contains(e.kind))
            continue;
        const QStringList properties =
            e.kind == QLatin1String("color")
                ? QStringList{e.property + QStringLiteral("Light"), e.property + QStringLiteral("Dark")}
                : QStringList{e.property};
        for (const QString &p : properties + QStringList{e.autoProperty}) {
            if (!p.isEmpty())
                QVERIFY2(meta.indexOfProperty(p.toLatin1()) >= 0, qPrintable(p));
        }
    }
}

void TestSettingsSearch::search_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("shown");
    const QStringList fonts{"headerFontSize", "fontSize"};
    QTest::newRow("english") << "en"
                             << "font" << fonts;
    QTest::newRow("case and spaces") << "en"
                                     << "  FONT " << fonts;
    QTest::newRow("german") << "de"
                            << "schriftgröße" << fonts;
    QTest::newRow("japanese") << "ja"
                              << "フォント" << fonts;
    QTest::newRow("english word in german") << "de"
                                            << "font" << QStringList();
    QTest::newRow("accents aside") << "fr"
                                   << "apercu" << QStringList{"windowPreviewSize", "systemMonitorMetrics"};
    QTest::newRow("choice label") << "en"
                                  << "with the pointer" << QStringList{"sidebarScreen"};
    QTest::newRow("nothing") << "en"
                             << "xyzzy" << QStringList();
}

void TestSettingsSearch::search()
{
    QFETCH(QString, language);
    QFETCH(QString, query);
    QFETCH(QStringList, shown);
    settings::LocalizationManager::shared().setLanguage(language);
    SettingsSearchModel model;
    QAbstractItemModelTester tester(&model);
    model.setQuery(query);
    QCOMPARE(model.shownProperties(), shown);
    QCOMPARE(model.noResults(), shown.isEmpty());
}

void TestSettingsSearch::pageWithoutQueryAndRelabelOnLanguageSwitch()
{
    auto &l10n = settings::LocalizationManager::shared();
    l10n.setLanguage(QStringLiteral("en"));
    SettingsSearchModel model;
    model.setPage(QStringLiteral("previews"));
    QCOMPARE(model.shownProperties(), QStringList{"windowPreviewSize"});
    QVERIFY(!model.noResults());
    const QModelIndex first = model.index(0);
    QCOMPARE(first.data(SettingsSearchModel::TitleRole).toString(), QStringLiteral("Preview size"));
    l10n.setLanguage(QStringLiteral("de"));
    QCOMPARE(model.index(0).data(SettingsSearchModel::TitleRole).toString(),
             l10n.string(QStringLiteral("settings.windowPreview.size")));
    QVERIFY(model.index(0).data(SettingsSearchModel::TitleRole).toString() != QStringLiteral("Preview size"));
}

QTEST_GUILESS_MAIN(TestSettingsSearch)
#include "tst_settingssearch.moc"
