// Every stored setting: property name, preferences key, type, default, allowed values.
#include "settings/settingsschema.h"

#include <vector>

namespace orvella::settings {

namespace {

using K = SettingKind;
using R = SystemColorRole;

SettingSpec plain(Setting id, const char *name, const QString &key, SettingKind kind, QVariant def,
                  QStringList allowed = {})
{
    return {id, name, key, kind, std::move(def), std::move(allowed), QString(), ColorDefault{}, false};
}

SettingSpec number(Setting id, const char *name, const char *key, double def)
{
    return plain(id, name, QString::fromLatin1(key), K::Number, def);
}

SettingSpec flag(Setting id, const char *name, bool def)
{
    return plain(id, name, QString::fromLatin1(name), K::Switch, def);
}

SettingSpec text(Setting id, const char *name, const char *key, const char *def, QStringList allowed = {})
{
    return plain(id, name, QString::fromLatin1(key), K::Text, QString::fromLatin1(def), std::move(allowed));
}

// One light/dark pair of sidebar colours: "<key>_light"/"<key>_dark", older key "<key>".
void colorPair(std::vector<SettingSpec> &out, Setting light, const char *lightName, const char *darkName,
               const char *key, R role, double opacity)
{
    const QString olderKey = QString::fromLatin1(key);
    out.push_back({light,
                   lightName,
                   olderKey + QStringLiteral("_light"),
                   K::Color,
                   {},
                   {},
                   olderKey,
                   {role, opacity, Appearance::Light},
                   true});
    out.push_back({Setting(int(light) + 1),
                   darkName,
                   olderKey + QStringLiteral("_dark"),
                   K::Color,
                   {},
                   {},
                   olderKey,
                   {role, opacity, Appearance::Dark},
                   true});
}

std::vector<SettingSpec> buildSchema()
{
    std::vector<SettingSpec> s;
    s.reserve(size_t(Setting::Count));
    using S = Setting;
    s.push_back(number(S::sidebarWidth, "sidebarWidth", "sidebarWidth", 250));
    s.push_back(text(S::position, "position", "sidebarPosition", "left"));
    s.push_back(number(S::fontSize, "fontSize", "fontSize", 10));
    s.push_back(number(S::rowSpacing, "rowSpacing", "rowSpacing", 3));
    s.push_back(flag(S::showIcons, "showIcons", true));
    s.push_back(flag(S::showSubtitle, "showSubtitle", false));
    s.push_back(number(S::headerFontSize, "headerFontSize", "headerFontSize", 12));
    s.push_back(text(S::appearanceMode, "appearanceMode", "appearanceMode", "system"));
    s.push_back(text(S::selectedScheme, "selectedScheme", "colorScheme", "Default"));

    colorPair(s, S::activeRowColorLight, "activeRowColorLight", "activeRowColorDark", "activeRowColor",
              R::Accent, 0.15);
    colorPair(s, S::headerRowColorLight, "headerRowColorLight", "headerRowColorDark", "headerRowColor",
              R::PrimaryText, 0.12);
    colorPair(s, S::activeDotColorLight, "activeDotColorLight", "activeDotColorDark", "activeDotColor",
              R::Accent, 0.35);
    colorPair(s, S::titleTextColorLight, "titleTextColorLight", "titleTextColorDark", "titleTextColor",
              R::PrimaryText, -1);
    colorPair(s, S::subtitleTextColorLight, "subtitleTextColorLight", "subtitleTextColorDark",
              "subtitleTextColor", R::SecondaryText, -1);
    colorPair(s, S::headerTextColorLight, "headerTextColorLight", "headerTextColorDark", "headerTextColor",
              R::SecondaryText, -1);
    colorPair(s, S::sidebarBackgroundColorLight, "sidebarBackgroundColorLight", "sidebarBackgroundColorDark",
              "sidebarBackgroundColor", R::Clear, -1);
    colorPair(s, S::shelfSectionBgColorLight, "shelfSectionBgColorLight", "shelfSectionBgColorDark",
              "shelfSectionBgColor2", R::PrimaryText, 0.06);
    colorPair(s, S::shelfSectionInnerBgColorLight, "shelfSectionInnerBgColorLight",
              "shelfSectionInnerBgColorDark", "shelfSectionInnerBgColor2", R::PrimaryText, 0.04);
    colorPair(s, S::shelfSectionBorderColorLight, "shelfSectionBorderColorLight",
              "shelfSectionBorderColorDark", "shelfSectionBorderColor2", R::PrimaryText, 0.12);
    colorPair(s, S::appSectionBgColorLight, "appSectionBgColorLight", "appSectionBgColorDark",
              "appSectionBgColor2", R::PrimaryText, 0.06);
    colorPair(s, S::appSectionInnerBgColorLight, "appSectionInnerBgColorLight", "appSectionInnerBgColorDark",
              "appSectionInnerBgColor2", R::PrimaryText, 0.04);
    colorPair(s, S::appSectionBorderColorLight, "appSectionBorderColorLight", "appSectionBorderColorDark",
              "appSectionBorderColor2", R::PrimaryText, 0.12);

    s.push_back(flag(S::titleTextColorAuto, "titleTextColorAuto", true));
    s.push_back(flag(S::subtitleTextColorAuto, "subtitleTextColorAuto", true));
    s.push_back(flag(S::headerTextColorAuto, "headerTextColorAuto", true));
    s.push_back(flag(S::autoHide, "autoHide", false));
    s.push_back(flag(S::autoHideFullscreen, "autoHideFullscreen", false));
    s.push_back(flag(S::sidebarLocked, "sidebarLocked", true));
    s.push_back(flag(S::expandAndRestoreOnTap, "expandAndRestoreOnTap", true));
    s.push_back(flag(S::showWebFavicons, "showWebFavicons", true));
    s.push_back(text(S::shelfDisplayMode, "shelfDisplayMode", "shelfDisplayMode", "cards"));
    s.push_back(text(S::sidebarListLayoutMode, "sidebarListLayoutMode", "sidebarListLayoutMode",
                     "singleColumn", {"singleColumn", "splitView", "autoSplit"}));
    s.push_back(flag(S::showShelfBorder, "showShelfBorder", true));
    s.push_back(flag(S::showCustomSectionBackground, "showCustomSectionBackground", false));
    s.push_back(flag(S::showCustomSidebarBackground, "showCustomSidebarBackground", false));
    s.push_back(flag(S::showRowTileStyle, "showRowTileStyle", false));
    s.push_back(text(S::sidebarScreen, "sidebarScreen", "sidebarScreen", "primary"));
    s.push_back(
        text(S::sidebarGlassMode, "sidebarGlassMode", "sidebarGlassMode", "auto", {"auto", "on", "off"}));
    s.push_back(flag(S::rememberLastScreen, "rememberLastScreen", true));
    s.push_back(number(S::tooltipAutoHideDuration, "tooltipAutoHideDuration", "tooltipAutoHideDuration", 3));
    s.push_back(flag(S::avoidSidebar, "avoidSidebar", true));
    s.push_back(flag(S::showActiveWindowBorder, "showActiveWindowBorder", true));
    s.push_back(
        number(S::autoSplitActivationDelay, "autoSplitActivationDelay", "autoSplitActivationDelay", 1));
    s.push_back(flag(S::showAllWindowsInAppSection, "showAllWindowsInAppSection", true));
    s.push_back(text(S::windowPreviewSize, "windowPreviewSize", "windowPreviewSize", "off"));
    s.push_back(flag(S::showClosedShelfApps, "showClosedShelfApps", false));
    s.push_back(text(S::systemMonitorDisplay, "systemMonitorDisplay", "systemMonitorDisplay", "both"));
    s.push_back(text(S::systemMonitorMenuBarStyle, "systemMonitorMenuBarStyle", "systemMonitorMenuBarStyle",
                     "style8"));
    s.push_back(plain(S::menuBarTextColorLight, "menuBarTextColorLight",
                      QStringLiteral("menuBarTextColor_light"), K::Color, QColor(0, 0, 0, 255)));
    s.push_back(plain(S::menuBarTextColorDark, "menuBarTextColorDark",
                      QStringLiteral("menuBarTextColor_dark"), K::Color, QColor(255, 255, 255, 255)));
    s.push_back(flag(S::menuBarTextColorAuto, "menuBarTextColorAuto", true));
    s.push_back(flag(S::menuBarUseTemplateImage, "menuBarUseTemplateImage", false));
    s.push_back(number(S::systemMonitorInterval, "systemMonitorInterval", "systemMonitorInterval", 3));
    s.push_back(plain(S::systemMonitorMetrics, "systemMonitorMetrics", QStringLiteral("systemMonitorMetrics"),
                      K::TextList, QStringList{"cpu", "mem", "disk", "net", "bat", "temp"}));
    s.push_back(plain(S::appLanguage, "appLanguage", QStringLiteral("appLanguage"), K::Text, {}));
    s.push_back(text(S::globalShortcut, "globalShortcut", "globalShortcut", "Ctrl+Alt+O"));
    return s;
}

} // namespace

std::span<const SettingSpec> schema()
{
    static const std::vector<SettingSpec> table = buildSchema();
    return table;
}

QVariant defaultValue(const SettingSpec &spec)
{
    if (spec.kind != SettingKind::Color || spec.defaultValue.isValid())
        return spec.defaultValue;
    const ColorDefault &d = spec.colorDefault;
    return d.opacity < 0 ? systemColors::resolve(d.role, d.appearance)
                         : systemColors::resolve(d.role, d.appearance, d.opacity);
}

} // namespace orvella::settings
