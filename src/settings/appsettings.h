// Every user preference as one observable object, persisted key by key.
#pragma once

#include "settings/colorschemepreset.h"
#include "settings/settingsschema.h"

#include <QColor>
#include <QMetaMethod>
#include <QObject>
#include <QStringList>
#include <QVariant>

#include <array>
#include <type_traits>

namespace orvella::platform {
class AutostartEntry;
class DesktopAppearance;
class PreferencesStore;
} // namespace orvella::platform

namespace orvella::settings {

// One stored setting: a property of its real type with a getter, a setter and its own
// change signal, all backed by the value of `Setting::name`. moc expands the macro like
// any other, so QML sees 68 ordinary typed properties. The capitalised name is passed in
// because the preprocessor cannot derive `setName` from `name`.
#define ORVELLA_SETTING(Type, name, Name)                                                                    \
    Q_PROPERTY(Type name READ name WRITE set##Name NOTIFY name##Changed)                                     \
    Type name() const                                                                                        \
    {                                                                                                        \
        return get<Type>(Setting::name);                                                                     \
    }                                                                                                        \
    void set##Name(In<Type> v)                                                                               \
    {                                                                                                        \
        assign(Setting::name, QVariant::fromValue(v));                                                       \
    }                                                                                                        \
    Q_SIGNAL void name##Changed()

/**
 * The one settings object. Reading a property is a plain member read; writing one
 * stores it, writes it through to the preferences store under its key and emits the
 * property's change signal (only when the value changed). Values that are absent,
 * mistyped or malformed in the store load as defaults; nothing here can fail.
 *
 * A few writes have side effects: `appearanceMode` re-applies the application
 * palette, `appLanguage` switches the interface language, `launchAtLogin` adds or
 * removes the XDG autostart entry, and any of the 26 sidebar colours turns
 * `selectedScheme` to "Custom" unless a preset is being applied.
 *
 * Main thread only.
 */
class AppSettings : public QObject
{
    Q_OBJECT
    // Setters keep the usual Qt signatures: numbers and switches by value, the rest by
    // const reference.
    template<typename T>
    using In = std::conditional_t<std::is_arithmetic_v<T>, T, const T &>;

public:
    // The stored settings, in the order of the schema; keys and defaults live there.
    ORVELLA_SETTING(double, sidebarWidth, SidebarWidth);
    ORVELLA_SETTING(QString, position, Position);
    ORVELLA_SETTING(double, fontSize, FontSize);
    ORVELLA_SETTING(double, rowSpacing, RowSpacing);
    ORVELLA_SETTING(bool, showIcons, ShowIcons);
    ORVELLA_SETTING(bool, showSubtitle, ShowSubtitle);
    ORVELLA_SETTING(double, headerFontSize, HeaderFontSize);
    ORVELLA_SETTING(QString, appearanceMode, AppearanceMode);
    ORVELLA_SETTING(QString, selectedScheme, SelectedScheme);
    ORVELLA_SETTING(QColor, activeRowColorLight, ActiveRowColorLight);
    ORVELLA_SETTING(QColor, activeRowColorDark, ActiveRowColorDark);
    ORVELLA_SETTING(QColor, headerRowColorLight, HeaderRowColorLight);
    ORVELLA_SETTING(QColor, headerRowColorDark, HeaderRowColorDark);
    ORVELLA_SETTING(QColor, activeDotColorLight, ActiveDotColorLight);
    ORVELLA_SETTING(QColor, activeDotColorDark, ActiveDotColorDark);
    ORVELLA_SETTING(QColor, titleTextColorLight, TitleTextColorLight);
    ORVELLA_SETTING(QColor, titleTextColorDark, TitleTextColorDark);
    ORVELLA_SETTING(QColor, subtitleTextColorLight, SubtitleTextColorLight);
    ORVELLA_SETTING(QColor, subtitleTextColorDark, SubtitleTextColorDark);
    ORVELLA_SETTING(QColor, headerTextColorLight, HeaderTextColorLight);
    ORVELLA_SETTING(QColor, headerTextColorDark, HeaderTextColorDark);
    ORVELLA_SETTING(QColor, sidebarBackgroundColorLight, SidebarBackgroundColorLight);
    ORVELLA_SETTING(QColor, sidebarBackgroundColorDark, SidebarBackgroundColorDark);
    ORVELLA_SETTING(QColor, shelfSectionBgColorLight, ShelfSectionBgColorLight);
    ORVELLA_SETTING(QColor, shelfSectionBgColorDark, ShelfSectionBgColorDark);
    ORVELLA_SETTING(QColor, shelfSectionInnerBgColorLight, ShelfSectionInnerBgColorLight);
    ORVELLA_SETTING(QColor, shelfSectionInnerBgColorDark, ShelfSectionInnerBgColorDark);
    ORVELLA_SETTING(QColor, shelfSectionBorderColorLight, ShelfSectionBorderColorLight);
    ORVELLA_SETTING(QColor, shelfSectionBorderColorDark, ShelfSectionBorderColorDark);
    ORVELLA_SETTING(QColor, appSectionBgColorLight, AppSectionBgColorLight);
    ORVELLA_SETTING(QColor, appSectionBgColorDark, AppSectionBgColorDark);
    ORVELLA_SETTING(QColor, appSectionInnerBgColorLight, AppSectionInnerBgColorLight);
    ORVELLA_SETTING(QColor, appSectionInnerBgColorDark, AppSectionInnerBgColorDark);
    ORVELLA_SETTING(QColor, appSectionBorderColorLight, AppSectionBorderColorLight);
    ORVELLA_SETTING(QColor, appSectionBorderColorDark, AppSectionBorderColorDark);
    ORVELLA_SETTING(bool, titleTextColorAuto, TitleTextColorAuto);
    ORVELLA_SETTING(bool, subtitleTextColorAuto, SubtitleTextColorAuto);
    ORVELLA_SETTING(bool, headerTextColorAuto, HeaderTextColorAuto);
    ORVELLA_SETTING(bool, autoHide, AutoHide);
    ORVELLA_SETTING(bool, autoHideFullscreen, AutoHideFullscreen);
    ORVELLA_SETTING(bool, sidebarLocked, SidebarLocked);
    ORVELLA_SETTING(bool, expandAndRestoreOnTap, ExpandAndRestoreOnTap);
    ORVELLA_SETTING(bool, showWebFavicons, ShowWebFavicons);
    ORVELLA_SETTING(QString, shelfDisplayMode, ShelfDisplayMode);
    ORVELLA_SETTING(QString, sidebarListLayoutMode, SidebarListLayoutMode);
    ORVELLA_SETTING(bool, showShelfBorder, ShowShelfBorder);
    ORVELLA_SETTING(bool, showCustomSectionBackground, ShowCustomSectionBackground);
    ORVELLA_SETTING(bool, showCustomSidebarBackground, ShowCustomSidebarBackground);
    ORVELLA_SETTING(bool, showRowTileStyle, ShowRowTileStyle);
    ORVELLA_SETTING(QString, sidebarScreen, SidebarScreen);
    ORVELLA_SETTING(QString, sidebarGlassMode, SidebarGlassMode);
    ORVELLA_SETTING(bool, rememberLastScreen, RememberLastScreen);
    ORVELLA_SETTING(double, tooltipAutoHideDuration, TooltipAutoHideDuration);
    ORVELLA_SETTING(bool, avoidSidebar, AvoidSidebar);
    ORVELLA_SETTING(bool, showActiveWindowBorder, ShowActiveWindowBorder);
    ORVELLA_SETTING(double, autoSplitActivationDelay, AutoSplitActivationDelay);
    ORVELLA_SETTING(bool, showAllWindowsInAppSection, ShowAllWindowsInAppSection);
    ORVELLA_SETTING(QString, windowPreviewSize, WindowPreviewSize);
    ORVELLA_SETTING(bool, showClosedShelfApps, ShowClosedShelfApps);
    ORVELLA_SETTING(QString, systemMonitorDisplay, SystemMonitorDisplay);
    ORVELLA_SETTING(QString, systemMonitorMenuBarStyle, SystemMonitorMenuBarStyle);
    ORVELLA_SETTING(QColor, menuBarTextColorLight, MenuBarTextColorLight);
    ORVELLA_SETTING(QColor, menuBarTextColorDark, MenuBarTextColorDark);
    ORVELLA_SETTING(bool, menuBarTextColorAuto, MenuBarTextColorAuto);
    ORVELLA_SETTING(bool, menuBarUseTemplateImage, MenuBarUseTemplateImage);
    ORVELLA_SETTING(double, systemMonitorInterval, SystemMonitorInterval);
    ORVELLA_SETTING(QStringList, systemMonitorMetrics, SystemMonitorMetrics);
    ORVELLA_SETTING(QString, appLanguage, AppLanguage);
    /// Shows or hides the sidebar from anywhere ("Ctrl+Alt+O"); empty: none.
    ORVELLA_SETTING(QString, globalShortcut, GlobalShortcut);

    Q_PROPERTY(bool isApplyingScheme READ isApplyingScheme NOTIFY isApplyingSchemeChanged)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)
    Q_PROPERTY(bool isDarkAppearance READ isDarkAppearance NOTIFY appearanceChanged)
    /// The picker's entries: the presets, then "Custom" while there is a custom scheme.
    Q_PROPERTY(QStringList schemeNames READ schemeNames NOTIFY schemeNamesChanged)

    /// Loads every setting from `store`, applies language and appearance, and starts
    /// following the desktop's light/dark preference.
    explicit AppSettings(platform::PreferencesStore &store, QObject *parent = nullptr);
    ~AppSettings() override;

    bool isApplyingScheme() const { return m_isApplyingScheme; }
    bool launchAtLogin() const { return m_launchAtLogin; }
    /// Registers or removes the autostart entry; a failure is logged, not reported.
    void setLaunchAtLogin(bool enabled);

    /// "dark" and "light" decide; "system" asks the desktop, then the palette.
    bool isDarkAppearance() const;
    /// Forces the light or dark palette, or returns to the desktop's, then announces
    /// an appearance change.
    Q_INVOKABLE void applyAppearanceMode();
    /// Writes a preset's 26 colours without marking the scheme "Custom", then selects it.
    void applyScheme(const ColorSchemePreset &preset);
    /// Applies the preset called `name`, or the kept custom colours for "Custom"; false
    /// when there is no such scheme.
    Q_INVOKABLE bool applySchemeNamed(const QString &name);
    QStringList schemeNames() const;
    /// Applies the scheme `step` entries after the selected one in schemeNames(), wrapping.
    Q_INVOKABLE void cycleScheme(int step);
    /// Forgets the custom colours; while they are shown, "Default" replaces them.
    Q_INVOKABLE void deleteCustomScheme();
    /// Every setting back to its default (the login item excepted), the drag hint back
    /// on, the language re-detected and the "Default" scheme applied.
    Q_INVOKABLE void resetToDefaults();

    /// A setting's value by id; for generic views such as the settings search.
    QVariant value(Setting id) const { return m_values[size_t(id)]; }

signals:
    void isApplyingSchemeChanged();
    void schemeNamesChanged();
    void launchAtLoginChanged();
    /// The appearance mode or the desktop's appearance changed: views re-pick colours.
    void appearanceChanged();

private:
    template<typename T>
    T get(Setting id) const
    {
        return m_values[size_t(id)].value<T>();
    }
    void assign(Setting id, const QVariant &value);
    QVariant loadValue(const SettingSpec &spec) const;
    void persist(const SettingSpec &spec, const QVariant &value);
    void setApplyingScheme(bool applying);
    void keepCustomScheme();

    platform::PreferencesStore &m_store;
    platform::AutostartEntry *m_autostart;
    platform::DesktopAppearance *m_desktopAppearance;
    std::array<QVariant, size_t(Setting::Count)> m_values;
    // Each setting's change signal, found by property name at construction, so that the
    // generic assign() can emit the right one.
    std::array<QMetaMethod, size_t(Setting::Count)> m_notifiers;
    bool m_isApplyingScheme = false;
    bool m_launchAtLogin = false;
};

#undef ORVELLA_SETTING

} // namespace orvella::settings
