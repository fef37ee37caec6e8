// Every control of the settings window, by page, with the texts it is found by.
#include "sidebar/settingscatalog.h"

namespace orvella::sidebar::settingsCatalog {

namespace {

QStringList list(std::initializer_list<const char *> items)
{
    QStringList out;
    for (const char *item : items)
        out.append(QString::fromLatin1(item));
    return out;
}

SettingsEntry entry(const char *page, const char *kind, const char *property, const char *titleKey,
                    const char *descKey = "")
{
    SettingsEntry e;
    e.page = QString::fromLatin1(page);
    e.kind = QString::fromLatin1(kind);
    e.property = QString::fromLatin1(property);
    e.titleKey = QString::fromLatin1(titleKey);
    e.descKey = QString::fromLatin1(descKey);
    return e;
}

SettingsEntry toggle(const char *page, const char *property, const char *key)
{
    const QString k = QString::fromLatin1(key);
    return entry(page, "switch", property, key, (k + QStringLiteral(".desc")).toLatin1().constData());
}

SettingsEntry choice(const char *page, const char *property, const char *key, QStringList values,
                     QStringList labelKeys)
{
    SettingsEntry e =
        entry(page, "choice", property, key, (QString::fromLatin1(key) + QStringLiteral(".desc")).toLatin1());
    e.values = std::move(values);
    e.labelKeys = std::move(labelKeys);
    return e;
}

SettingsEntry number(const char *page, const char *property, const char *key, double min, double max,
                     double step)
{
    SettingsEntry e =
        entry(page, "number", property, key, (QString::fromLatin1(key) + QStringLiteral(".desc")).toLatin1());
    e.minimum = min;
    e.maximum = max;
    e.step = step;
    return e;
}

SettingsEntry color(const char *pair, const char *key, const char *autoProperty = "")
{
    SettingsEntry e = entry("appearance", "color", pair, key,
                            (QString::fromLatin1(key) + QStringLiteral(".desc")).toLatin1());
    e.autoProperty = QString::fromLatin1(autoProperty);
    return e;
}

SettingsEntry noted(SettingsEntry e, const char *when, const char *key)
{
    e.noteWhen = QString::fromLatin1(when);
    e.noteKey = QString::fromLatin1(key);
    return e;
}

QList<SettingsEntry> build()
{
    return {
        entry("general", "language", "appLanguage", "settings.language", "settings.language.desc"),
        toggle("general", "launchAtLogin", "settings.launchLogin"),
        choice("general", "sidebarScreen", "settings.showSidebarOn", list({"primary", "mouse"}),
               list({"settings.primaryScreen", "settings.mouseScreen"})),
        toggle("general", "rememberLastScreen", "settings.rememberLastScreen"),
        choice("general", "position", "settings.position", list({"left", "right"}),
               list({"general.left", "general.right"})),
        number("general", "sidebarWidth", "settings.width", 160, 600, 10),
        toggle("general", "sidebarLocked", "settings.sidebarResizeLock"),
        toggle("general", "autoHide", "settings.autoHide"),
        toggle("general", "autoHideFullscreen", "settings.autoHideFullscreen"),
        entry("general", "shortcut", "globalShortcut", "settings.shortcut", "settings.shortcut.desc"),
        toggle("general", "avoidSidebar", "settings.pushWindows"),
        toggle("general", "expandAndRestoreOnTap", "settings.expandRestore"),
        toggle("general", "showAllWindowsInAppSection", "settings.showAllWindows"),
        toggle("general", "showClosedShelfApps", "settings.closedShelfApps"),
        number("general", "tooltipAutoHideDuration", "settings.tooltipDuration", 1, 15, 1),
        entry("general", "action", "quit", "settings.quitApp", "settings.quitApp.desc"),

        choice("appearance", "appearanceMode", "settings.appearanceMode", list({"system", "light", "dark"}),
               list({"settings.appearanceMode.system", "settings.appearanceMode.light",
                     "settings.appearanceMode.dark"})),
        entry("appearance", "scheme", "selectedScheme", "settings.colorScheme"),
        color("activeRowColor", "colors.activeRow"),
        color("activeDotColor", "colors.activeDot"),
        color("headerRowColor", "colors.shelfHeader"),
        color("headerTextColor", "colors.shelfHeaderText", "headerTextColorAuto"),
        color("titleTextColor", "colors.windowTitle", "titleTextColorAuto"),
        color("subtitleTextColor", "colors.windowSubtitle", "subtitleTextColorAuto"),
        toggle("appearance", "showCustomSidebarBackground", "settings.customSidebarBackground"),
        color("sidebarBackgroundColor", "colors.sidebarBackground"),
        toggle("appearance", "showCustomSectionBackground", "settings.customSectionBackground"),
        color("shelfSectionBgColor", "colors.shelvesBehind"),
        color("shelfSectionInnerBgColor", "colors.shelvesInside"),
        color("shelfSectionBorderColor", "colors.shelvesBorder"),
        color("appSectionBgColor", "colors.appsBehind"),
        color("appSectionInnerBgColor", "colors.appsInside"),
        color("appSectionBorderColor", "colors.appsBorder"),
        choice("appearance", "shelfDisplayMode", "settings.displayMode", list({"list", "cards"}),
               list({"settings.displayMode.list", "settings.displayMode.cards"})),
        choice("appearance", "sidebarListLayoutMode", "settings.listLayout",
               list({"singleColumn", "splitView", "autoSplit"}),
               list({"settings.listLayout.oneColumn", "settings.listLayout.splitView",
                     "settings.listLayout.autoSplit"})),
        number("appearance", "autoSplitActivationDelay", "settings.autoSplitDelay", 0, 5, 0.5),
        number("appearance", "headerFontSize", "settings.shelfFontSize", 8, 24, 1),
        number("appearance", "fontSize", "settings.windowFontSize", 8, 24, 1),
        number("appearance", "rowSpacing", "settings.rowSpacing", 0, 12, 1),
        toggle("appearance", "showIcons", "settings.showIcons"),
        toggle("appearance", "showWebFavicons", "settings.showFavicons"),
        toggle("appearance", "showSubtitle", "settings.showSubtitle"),
        toggle("appearance", "showShelfBorder", "settings.showBorder"),
        toggle("appearance", "showRowTileStyle", "settings.show3D"),
        toggle("appearance", "showActiveWindowBorder", "settings.activeWindowBorder"),
        noted(choice("appearance", "sidebarGlassMode", "settings.sidebarGlass", list({"auto", "on", "off"}),
                     list({"settings.sidebarGlass.auto", "settings.sidebarGlass.on",
                           "settings.sidebarGlass.off"})),
              "noCompositor", "settings.sidebarGlass.noCompositor"),

        noted(choice(
                  "previews", "windowPreviewSize", "settings.windowPreview.size",
                  list({"off", "small", "medium", "large", "xlarge"}),
                  list({"sysmon.display.off", "settings.windowPreview.small", "settings.windowPreview.medium",
                        "settings.windowPreview.large", "settings.windowPreview.xlarge"})),
              "noComposite", "settings.windowPreview.noComposite"),

        choice("monitor", "systemMonitorDisplay", "sysmon.display",
               list({"off", "sidebar", "menubar", "both"}),
               list({"sysmon.display.off", "sysmon.display.sidebar", "sysmon.display.menubar",
                     "sysmon.display.both"})),
        choice("monitor", "systemMonitorMenuBarStyle", "sysmon.menuBarStyle",
               list({"style1", "style2", "style3", "style4", "style5", "style6", "style7", "style8"}),
               list({"sysmon.style.style1", "sysmon.style.style2", "sysmon.style.style3",
                     "sysmon.style.style4", "sysmon.style.style5", "sysmon.style.style6",
                     "sysmon.style.style7", "sysmon.style.style8"})),
        [] {
            SettingsEntry e = entry("monitor", "color", "menuBarTextColor", "sysmon.menuBarTextColor",
                                    "sysmon.menuBarTextColor.desc");
            e.autoProperty = QStringLiteral("menuBarTextColorAuto");
            return e;
        }(),
        toggle("monitor", "menuBarUseTemplateImage", "sysmon.menuBarUseTemplate"),
        number("monitor", "systemMonitorInterval", "sysmon.interval", 1, 30, 1),
        entry("monitor", "metrics", "systemMonitorMetrics", "sysmon.metrics", "sysmon.preview"),

        entry("privacy", "privacy", "", "settings.privacy.title", "settings.privacy.records"),

        entry("about", "about", "", "settings.about.title", "settings.about.licensesText"),
        entry("about", "action", "feedback", "contact.sendFeedback", "contact.sendFeedback.desc"),
        entry("about", "action", "reset", "settings.resetDefaults", "settings.resetDefaults.desc"),
    };
}

} // namespace

const QList<std::pair<QString, QString>> &pages()
{
    static const QList<std::pair<QString, QString>> table{
        {QStringLiteral("general"), QStringLiteral("settings.page.general")},
        {QStringLiteral("appearance"), QStringLiteral("settings.page.appearance")},
        {QStringLiteral("previews"), QStringLiteral("settings.page.previews")},
        {QStringLiteral("monitor"), QStringLiteral("sysmon.title")},
        {QStringLiteral("privacy"), QStringLiteral("settings.page.privacy")},
        {QStringLiteral("about"), QStringLiteral("settings.page.about")},
    };
    return table;
}

const QList<SettingsEntry> &entries()
{
    static const QList<SettingsEntry> table = build();
    return table;
}

} // namespace orvella::sidebar::settingsCatalog
