// AppSettings: defaults, fallbacks for bad stored values, the colour format, change
// signals and write-through, scheme marking, reset and launch at login.
#include "platform/preferencesstore.h"
#include "settings/appsettings.h"
#include "settings/colorcodec.h"
#include "settings/localizationmanager.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace orvella::settings;
using orvella::platform::PreferencesStore;

class TestAppSettings : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void loading_data();
    void loading();
    void colorTextDecoding_data();
    void colorTextDecoding();
    void colorSavingTruncates();
    void everySettingSignalsOnceAndWritesThrough();
    void sidebarColoursMarkTheSchemeCustom();
    void presetsAreCompleteAndReadable();
    void cycling_data();
    void cycling();
    void customSchemeIsKeptWhileCyclingAndDeleted();
    void appLanguageSwitchesTheInterfaceLanguage();
    void appearanceModeForcesAndReleasesThePalette();
    void launchAtLoginIsAnAutostartEntry();
    void resetRestoresDefaultsButNotTheLoginItem();

private:
    std::unique_ptr<PreferencesStore> storeWith(const QJsonObject &values);

    QTemporaryDir m_dir;
    QString m_path;
    int m_n = 0;
};

void TestAppSettings::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CONFIG_HOME", m_dir.path().toUtf8());
    // An Orvella installed on this machine must not decide what the entries start.
    qputenv("XDG_DATA_HOME", m_dir.filePath(QStringLiteral("data-home")).toUtf8());
    qputenv("XDG_DATA_DIRS", m_dir.filePath(QStringLiteral("data-dirs")).toUtf8());
    qunsetenv("LANGUAGE");
    qunsetenv("LC_ALL");
    qunsetenv("LC_MESSAGES");
    qputenv("LANG", "de_DE.UTF-8");
}

void TestAppSettings::init()
{
    m_path = m_dir.filePath(QStringLiteral("prefs-%1.json").arg(++m_n));
    QFile::remove(m_dir.filePath(QStringLiteral("autostart/org.orvella.Orvella.desktop")));
}

std::unique_ptr<PreferencesStore> TestAppSettings::storeWith(const QJsonObject &values)
{
    QFile f(m_path);
    if (f.open(QIODevice::WriteOnly))
        f.write(QJsonDocument(values).toJson());
    f.close();
    return std::make_unique<PreferencesStore>(m_path);
}

// Each row opens a store holding `stored` and reads one property back.
void TestAppSettings::loading_data()
{
    QTest::addColumn<QJsonObject>("stored");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("expected");
    const auto row = [](const char *name, const QJsonObject &stored, const char *p, const QVariant &v) {
        QTest::newRow(name) << stored << QString::fromLatin1(p) << v;
    };
    const auto byDefault = [&](const char *p, const QVariant &v) { row(p, {}, p, v); };

    byDefault("sidebarBackgroundColorDark", QColor(0, 0, 0, 0));
    byDefault("appLanguage", QStringLiteral("de")); // detected from LANG
    byDefault("launchAtLogin", false);

    // Mistyped or unlisted stored values load as the default.
    row("layout not in list", {{"sidebarListLayoutMode", "twoColumns"}}, "sidebarListLayoutMode",
        QStringLiteral("singleColumn"));
    row("glass mode wrong case", {{"sidebarGlassMode", "ON"}}, "sidebarGlassMode", QStringLiteral("auto"));
    row("number stored as text", {{"fontSize", "12"}}, "fontSize", 10.0);
    row("switch stored as number", {{"showIcons", 0}}, "showIcons", true);
    row("text stored as number", {{"sidebarPosition", 1}}, "position", QStringLiteral("left"));
    row("metrics with a number", {{"systemMonitorMetrics", QJsonArray{"cpu", 3}}}, "systemMonitorMetrics",
        QStringList{"cpu", "mem", "disk", "net", "bat", "temp"});
    row("colour as number", {{"activeRowColor_light", 5}}, "activeRowColorLight",
        systemColors::resolve(SystemColorRole::Accent, Appearance::Light, 0.15));

    // Texts without an allowed list are taken as stored.
    row("unlisted position kept", {{"sidebarPosition", "center"}}, "position", QStringLiteral("center"));
    row("valid layout kept", {{"sidebarListLayoutMode", "autoSplit"}}, "sidebarListLayoutMode",
        QStringLiteral("autoSplit"));

    // Colours saved by earlier versions under one key serve both appearances until the
    // current key is written.
    row("older key, light", {{"activeRowColor", "#10203040"}}, "activeRowColorLight",
        QColor(0x10, 0x20, 0x30, 0x40));
    row("older key, dark", {{"activeRowColor", "#10203040"}}, "activeRowColorDark",
        QColor(0x10, 0x20, 0x30, 0x40));
    row("current key wins",
        {{"shelfSectionBgColor2", "#01020304"}, {"shelfSectionBgColor2_dark", "#AABBCCDD"}},
        "shelfSectionBgColorDark", QColor(0xAA, 0xBB, 0xCC, 0xDD));
}

void TestAppSettings::loading()
{
    QFETCH(QJsonObject, stored);
    QFETCH(QString, property);
    QFETCH(QVariant, expected);
    auto store = storeWith(stored);
    AppSettings s(*store);
    QCOMPARE(s.property(property.toLatin1()), expected);
}

void TestAppSettings::colorTextDecoding_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("expected"); // invalid = ignored
    QTest::newRow("red, half alpha") << "#FF000080" << QColor(255, 0, 0, 128);
    QTest::newRow("lower case") << "#0a0b0cff" << QColor(10, 11, 12, 255);
    QTest::newRow("seven characters") << "#FF0000" << QColor();
    QTest::newRow("no hash") << "FF000080FF" << QColor();
    QTest::newRow("not hex") << "#FF00GG80" << QColor();
    QTest::newRow("sign in digits") << "#+F000080" << QColor();
    QTest::newRow("0x prefix") << "#0xFF0000" << QColor();
    QTest::newRow("ten characters") << "#FF000080F" << QColor();
    QTest::newRow("empty") << "" << QColor();
}

void TestAppSettings::colorTextDecoding()
{
    QFETCH(QString, text);
    QFETCH(QColor, expected);
    const auto decoded = colorCodec::decode(text);
    QCOMPARE(decoded.value_or(QColor()), expected);

    // Through the store: an ignored text leaves the default in place.
    auto store = storeWith({{QStringLiteral("activeDotColor_dark"), text}});
    AppSettings s(*store);
    const QColor fallback = systemColors::resolve(SystemColorRole::Accent, Appearance::Dark, 0.35);
    QCOMPARE(s.activeDotColorDark(), expected.isValid() ? expected : fallback);
}

void TestAppSettings::colorSavingTruncates()
{
    auto store = storeWith({});
    AppSettings s(*store);
    s.setTitleTextColorLight(QColor::fromRgbF(0.5f, 0.5f, 0.5f, 1.0f));
    QCOMPARE(store->stringValue(QStringLiteral("titleTextColor_light")),
             std::optional(QStringLiteral("#7F7F7FFF")));
    // Eight-bit values survive a save and a load unchanged.
    s.setTitleTextColorDark(QColor(255, 0, 0, 128));
    QCOMPARE(store->stringValue(QStringLiteral("titleTextColor_dark")),
             std::optional(QStringLiteral("#FF000080")));
    // A colour with no RGB form writes nothing.
    s.setTitleTextColorDark(QColor());
    QCOMPARE(store->stringValue(QStringLiteral("titleTextColor_dark")),
             std::optional(QStringLiteral("#FF000080")));
}

// The schema and the class meet only by property name: a name missing on either side, a
// property of the wrong type, a key not written, or a signal missing or repeated shows here.
void TestAppSettings::everySettingSignalsOnceAndWritesThrough()
{
    auto store = storeWith({});
    AppSettings s(*store);
    for (const SettingSpec &spec : schema()) {
        QVariant changed;
        switch (spec.kind) {
        case SettingKind::Number: changed = s.value(spec.id).toDouble() + 7; break;
        case SettingKind::Switch: changed = !s.value(spec.id).toBool(); break;
        case SettingKind::Text:
            changed = spec.allowed.isEmpty() ? QStringLiteral("ja") : spec.allowed.last();
            break;
        case SettingKind::TextList: changed = QStringList{QStringLiteral("temp")}; break;
        case SettingKind::Color: changed = QColor(1, 2, 3, 4); break;
        }
        const QMetaProperty property =
            s.metaObject()->property(s.metaObject()->indexOfProperty(spec.property));
        QVERIFY2(property.metaType() == changed.metaType(), spec.property); // what QML binds to
        QSignalSpy spy(&s, property.notifySignal());
        QVERIFY2(property.write(&s, changed), spec.property);
        QVERIFY2(spy.count() == 1, spec.property);
        QCOMPARE(s.property(spec.property), changed);
        QVERIFY2(store->contains(spec.key), qPrintable(spec.key));
        property.write(&s, changed);
        QVERIFY2(spy.count() == 1, "no signal for an unchanged value");
    }
    // What was written reads back in a fresh object.
    AppSettings again(*store);
    for (const SettingSpec &spec : schema())
        QVERIFY2(again.value(spec.id) == s.value(spec.id), spec.property);
}

void TestAppSettings::sidebarColoursMarkTheSchemeCustom()
{
    auto store = storeWith({});
    AppSettings s(*store);
    s.setMenuBarTextColorLight(QColor(9, 9, 9));
    QCOMPARE(s.selectedScheme(), QStringLiteral("Default"));

    s.setHeaderRowColorDark(QColor(9, 9, 9));
    QCOMPARE(s.selectedScheme(), QStringLiteral("Custom"));
    QCOMPARE(store->stringValue(QStringLiteral("colorScheme")), std::optional(QStringLiteral("Custom")));

    QSignalSpy applying(&s, &AppSettings::isApplyingSchemeChanged);
    QVERIFY(s.applySchemeNamed(QStringLiteral("Default")));
    QCOMPARE(s.selectedScheme(), QStringLiteral("Default"));
    QCOMPARE(store->stringValue(QStringLiteral("colorScheme")), std::optional(QStringLiteral("Default")));
    QCOMPARE(s.headerRowColorDark(),
             systemColors::resolve(SystemColorRole::PrimaryText, Appearance::Dark, 0.12));
    QCOMPARE(applying.count(), 2);
    QVERIFY(!s.isApplyingScheme());
    QVERIFY(!s.applySchemeNamed(QStringLiteral("No such scheme")));
}

namespace {

double luminance(const QColor &c)
{
    const auto channel = [](double v) {
        return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

} // namespace

void TestAppSettings::presetsAreCompleteAndReadable()
{
    const QList<ColorSchemePreset> presets = ColorSchemePreset::all();
    QVERIFY(presets.size() >= 6);
    QCOMPARE(presets.first().name, QStringLiteral("Default"));
    QSet<QString> names;
    for (const ColorSchemePreset &p : presets) {
        names.insert(p.name);
        QCOMPARE(p.colors.size(), 26);
        QSet<Setting> covered;
        QHash<Setting, QColor> colors;
        for (const auto &[id, color] : p.colors) {
            QVERIFY2(specFor(id).marksCustomScheme, qPrintable(p.name));
            covered.insert(id);
            colors.insert(id, color);
        }
        QCOMPARE(covered.size(), 26);
        if (p.name == QLatin1String("Default"))
            continue; // follows the desktop, whose background is not ours
        // Titles and shelf headers read on the scheme's own background in both appearances.
        for (Setting text : {Setting::titleTextColorLight, Setting::titleTextColorDark,
                             Setting::headerTextColorLight, Setting::headerTextColorDark}) {
            const bool dark = (int(text) - int(Setting::titleTextColorLight)) % 2 == 1;
            const QColor bg = colors.value(dark ? Setting::sidebarBackgroundColorDark
                                                : Setting::sidebarBackgroundColorLight);
            QVERIFY2(contrast(colors.value(text), bg) >= 4.5,
                     qPrintable(p.name + u' ' + QString::fromLatin1(specFor(text).property)));
        }
    }
    QCOMPARE(names.size(), presets.size());
    QVERIFY(!names.contains(QStringLiteral("Custom")));
}

void TestAppSettings::cycling_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<int>("step");
    QTest::addColumn<QString>("expected");
    QTest::newRow("next") << "B" << 1 << "C";
    QTest::newRow("wraps forward") << "C" << 1 << "A";
    QTest::newRow("wraps backward") << "A" << -1 << "C";
    QTest::newRow("unknown, next") << "Gone" << 1 << "A";
    QTest::newRow("unknown, previous") << "Gone" << -1 << "C";
}

void TestAppSettings::cycling()
{
    QFETCH(QString, current);
    QFETCH(int, step);
    QFETCH(QString, expected);
    QCOMPARE(ColorSchemePreset::cycled({"A", "B", "C"}, current, step), expected);
}

void TestAppSettings::customSchemeIsKeptWhileCyclingAndDeleted()
{
    auto store = storeWith({});
    AppSettings s(*store);
    const QStringList presets = [] {
        QStringList n;
        for (const auto &p : ColorSchemePreset::all())
            n << p.name;
        return n;
    }();
    QCOMPARE(s.schemeNames(), presets);
    s.cycleScheme(1);
    QCOMPARE(s.selectedScheme(), presets[1]);
    s.cycleScheme(-2);
    QCOMPARE(s.selectedScheme(), presets.last());

    const QColor mine(12, 34, 56);
    s.setActiveRowColorLight(mine);
    QCOMPARE(s.schemeNames(), presets + QStringList{"Custom"});
    s.cycleScheme(1); // Custom is last: on to Default, the edit kept
    QCOMPARE(s.selectedScheme(), QStringLiteral("Default"));
    QVERIFY(s.activeRowColorLight() != mine);
    QCOMPARE(s.schemeNames().last(), QStringLiteral("Custom"));

    // A later run still finds it.
    AppSettings again(*store);
    QVERIFY(again.applySchemeNamed(QStringLiteral("Custom")));
    QCOMPARE(again.activeRowColorLight(), mine);
    QCOMPARE(again.selectedScheme(), QStringLiteral("Custom"));

    again.deleteCustomScheme();
    QCOMPARE(again.selectedScheme(), QStringLiteral("Default"));
    QCOMPARE(again.schemeNames(), presets);
    QVERIFY(!again.applySchemeNamed(QStringLiteral("Custom")));
}

void TestAppSettings::appLanguageSwitchesTheInterfaceLanguage()
{
    auto store = storeWith({{QStringLiteral("appLanguage"), QStringLiteral("fr")}});
    AppSettings s(*store);
    QCOMPARE(LocalizationManager::shared().languageCode(), QStringLiteral("fr"));
    s.setAppLanguage(QStringLiteral("ja"));
    QCOMPARE(LocalizationManager::shared().language(), AppLanguage::ja);
    s.setAppLanguage(QStringLiteral("xx"));
    QCOMPARE(LocalizationManager::shared().language(), AppLanguage::en);
}

void TestAppSettings::appearanceModeForcesAndReleasesThePalette()
{
    const QColor desktopWindow = QGuiApplication::palette().color(QPalette::Window);
    auto store = storeWith({});
    AppSettings s(*store);
    QSignalSpy spy(&s, &AppSettings::appearanceChanged);

    s.setAppearanceMode(QStringLiteral("dark"));
    QVERIFY(s.isDarkAppearance());
    QVERIFY(systemColors::isDark(QGuiApplication::palette()));
    s.setAppearanceMode(QStringLiteral("light"));
    QVERIFY(!s.isDarkAppearance());
    QVERIFY(!systemColors::isDark(QGuiApplication::palette()));
    s.setAppearanceMode(QStringLiteral("system"));
    QCOMPARE(QGuiApplication::palette().color(QPalette::Window), desktopWindow);
    QCOMPARE(s.isDarkAppearance(), systemColors::isDark(QGuiApplication::palette()));
    QVERIFY(spy.count() >= 3);
}

void TestAppSettings::launchAtLoginIsAnAutostartEntry()
{
    const QString entry = m_dir.filePath(QStringLiteral("autostart/org.orvella.Orvella.desktop"));
    auto store = storeWith({});
    {
        AppSettings s(*store);
        s.setLaunchAtLogin(true);
        QFile f(entry);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray text = f.readAll();
        QVERIFY(text.startsWith("[Desktop Entry]\n"));
        QVERIFY(text.contains("Exec=\"" + QCoreApplication::applicationFilePath().toUtf8() + "\"\n"));
    }
    QVERIFY(AppSettings(*store).launchAtLogin());

    // The session manager's way of switching an entry off.
    QFile f(entry);
    QVERIFY(f.open(QIODevice::Append));
    f.write("Hidden=true\n");
    f.close();
    QVERIFY(!AppSettings(*store).launchAtLogin());

    AppSettings s(*store);
    s.setLaunchAtLogin(false);
    QVERIFY(!QFile::exists(entry));

    // Installed, a login starts what the menu's entry starts; an earlier build's entry, under
    // the old name, counts until the next change and then goes, so no login starts Orvella twice.
    const QString legacy = m_dir.filePath(QStringLiteral("autostart/com.orvella.Orvella.desktop"));
    QFile old(legacy);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("[Desktop Entry]\nExec=/old/orvella\n");
    old.close();
    QVERIFY(AppSettings(*store).launchAtLogin());
    QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("data-dirs/applications"))));
    QFile installed(m_dir.filePath(QStringLiteral("data-dirs/applications/org.orvella.Orvella.desktop")));
    QVERIFY(installed.open(QIODevice::WriteOnly));
    installed.write(
        "[Desktop Entry]\nName=Orvella\nExec=/opt/orvella/bin/orvella\n[Desktop Action x]\nExec=no\n");
    installed.close();
    AppSettings again(*store);
    again.setLaunchAtLogin(true);
    QVERIFY(!QFile::exists(legacy));
    QFile written(entry);
    QVERIFY(written.open(QIODevice::ReadOnly));
    QVERIFY(written.readAll().contains("\nExec=/opt/orvella/bin/orvella\n"));
    installed.remove();
}

void TestAppSettings::resetRestoresDefaultsButNotTheLoginItem()
{
    auto store = storeWith({{QStringLiteral("ov.dragHintDismissed"), true},
                            {QStringLiteral("ov.settingsMetadataBaselineVersion"), QStringLiteral("1.2")},
                            {QStringLiteral("ov.categoryOrder"), QJsonArray{"shelf-1"}}});
    AppSettings s(*store);
    s.setLaunchAtLogin(true);
    s.setSidebarWidth(400);
    s.setMenuBarTextColorDark(QColor(1, 1, 1));
    s.setAppSectionBorderColorLight(QColor(1, 1, 1));
    s.setAppearanceMode(QStringLiteral("dark"));
    s.setAppLanguage(QStringLiteral("ko"));

    s.resetToDefaults();
    QCOMPARE(s.sidebarWidth(), 250.0);
    QCOMPARE(s.menuBarTextColorDark(), QColor(255, 255, 255));
    QCOMPARE(s.appSectionBorderColorLight(),
             systemColors::resolve(SystemColorRole::PrimaryText, Appearance::Light, 0.12));
    QCOMPARE(s.appearanceMode(), QStringLiteral("system"));
    QCOMPARE(s.appLanguage(), QStringLiteral("de"));
    QCOMPARE(s.selectedScheme(), QStringLiteral("Default"));
    QVERIFY(s.launchAtLogin());
    QVERIFY(!store->contains(QStringLiteral("ov.dragHintDismissed")));
    QVERIFY(!store->contains(QStringLiteral("ov.settingsMetadataBaselineVersion")));
    QVERIFY(store->contains(QStringLiteral("ov.categoryOrder"))); // shelves are not settings
    QCOMPARE(store->doubleValue(QStringLiteral("sidebarWidth")), std::optional(250.0));
}

QTEST_MAIN(TestAppSettings)
#include "tst_appsettings.moc"
