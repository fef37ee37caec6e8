// Every stored setting: property name, preferences key, type, default, allowed values.
#pragma once

#include "settings/systemcolors.h"

#include <QStringList>
#include <QVariant>

#include <span>

namespace orvella::settings {

/// Stored settings in declaration order; the schema table is indexed by this.
enum class Setting {
    sidebarWidth,
    position,
    fontSize,
    rowSpacing,
    showIcons,
    showSubtitle,
    headerFontSize,
    appearanceMode,
    selectedScheme,
    activeRowColorLight,
    activeRowColorDark,
    headerRowColorLight,
    headerRowColorDark,
    activeDotColorLight,
    activeDotColorDark,
    titleTextColorLight,
    titleTextColorDark,
    subtitleTextColorLight,
    subtitleTextColorDark,
    headerTextColorLight,
    headerTextColorDark,
    sidebarBackgroundColorLight,
    sidebarBackgroundColorDark,
    shelfSectionBgColorLight,
    shelfSectionBgColorDark,
    shelfSectionInnerBgColorLight,
    shelfSectionInnerBgColorDark,
    shelfSectionBorderColorLight,
    shelfSectionBorderColorDark,
    appSectionBgColorLight,
    appSectionBgColorDark,
    appSectionInnerBgColorLight,
    appSectionInnerBgColorDark,
    appSectionBorderColorLight,
    appSectionBorderColorDark,
    titleTextColorAuto,
    subtitleTextColorAuto,
    headerTextColorAuto,
    autoHide,
    autoHideFullscreen,
    sidebarLocked,
    expandAndRestoreOnTap,
    showWebFavicons,
    shelfDisplayMode,
    sidebarListLayoutMode,
    showShelfBorder,
    showCustomSectionBackground,
    showCustomSidebarBackground,
    showRowTileStyle,
    sidebarScreen,
    sidebarGlassMode,
    rememberLastScreen,
    tooltipAutoHideDuration,
    avoidSidebar,
    showActiveWindowBorder,
    autoSplitActivationDelay,
    showAllWindowsInAppSection,
    windowPreviewSize,
    showClosedShelfApps,
    systemMonitorDisplay,
    systemMonitorMenuBarStyle,
    menuBarTextColorLight,
    menuBarTextColorDark,
    menuBarTextColorAuto,
    menuBarUseTemplateImage,
    systemMonitorInterval,
    systemMonitorMetrics,
    appLanguage,
    globalShortcut,
    Count
};

enum class SettingKind { Number, Switch, Text, TextList, Color };

/// A colour default: a system colour at an opacity (negative = its own), per appearance.
struct ColorDefault
{
    SystemColorRole role;
    double opacity;
    Appearance appearance;
};

struct SettingSpec
{
    Setting id;
    const char *property; ///< the AppSettings property name
    QString key;          ///< the preferences key
    SettingKind kind;
    QVariant defaultValue; ///< unset for colours (see colorDefault) and appLanguage
    QStringList allowed;   ///< non-empty: stored texts outside the list load as the default
    QString olderKey;      ///< colours written by earlier versions (empty: none)
    ColorDefault colorDefault{};
    bool marksCustomScheme = false; ///< one of the 26 sidebar colours
};

/// The schema, in declaration order (`schema()[int(id)].id == id`).
std::span<const SettingSpec> schema();
inline const SettingSpec &specFor(Setting id)
{
    return schema()[size_t(id)];
}

/// The default of a setting, colours resolved against their appearance. appLanguage
/// has no fixed default (it is detected) and answers an invalid QVariant.
QVariant defaultValue(const SettingSpec &spec);

/// Stored value of `windowPreviewSize` for the picker's extra-large entry (640 px).
inline constexpr const char *kWindowPreviewExtraLarge = "xlarge";

} // namespace orvella::settings
