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

namespace orvella::platform {
class AutostartEntry;
class DesktopAppearance;
class PreferencesStore;
} // namespace orvella::platform

namespace orvella::settings {

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
    Q_PROPERTY(double sidebarWidth READ sidebarWidth WRITE setSidebarWidth NOTIFY sidebarWidthChanged)
    Q_PROPERTY(QString position READ position WRITE setPosition NOTIFY positionChanged)
    Q_PROPERTY(double fontSize READ fontSize WRITE setFontSize NOTIFY fontSizeChanged)
    Q_PROPERTY(double rowSpacing READ rowSpacing WRITE setRowSpacing NOTIFY rowSpacingChanged)
    Q_PROPERTY(bool showIcons READ showIcons WRITE setShowIcons NOTIFY showIconsChanged)
    Q_PROPERTY(bool showSubtitle READ showSubtitle WRITE setShowSubtitle NOTIFY showSubtitleChanged)
    Q_PROPERTY(double headerFontSize READ headerFontSize WRITE setHeaderFontSize NOTIFY headerFontSizeChanged)
    Q_PROPERTY(
        QString appearanceMode READ appearanceMode WRITE setAppearanceMode NOTIFY appearanceModeChanged)
    Q_PROPERTY(
        QString selectedScheme READ selectedScheme WRITE setSelectedScheme NOTIFY selectedSchemeChanged)
    Q_PROPERTY(QColor activeRowColorLight READ activeRowColorLight WRITE setActiveRowColorLight NOTIFY
                   activeRowColorLightChanged)
    Q_PROPERTY(QColor activeRowColorDark READ activeRowColorDark WRITE setActiveRowColorDark NOTIFY
                   activeRowColorDarkChanged)
    Q_PROPERTY(QColor headerRowColorLight READ headerRowColorLight WRITE setHeaderRowColorLight NOTIFY
                   headerRowColorLightChanged)
    Q_PROPERTY(QColor headerRowColorDark READ headerRowColorDark WRITE setHeaderRowColorDark NOTIFY
                   headerRowColorDarkChanged)
    Q_PROPERTY(QColor activeDotColorLight READ activeDotColorLight WRITE setActiveDotColorLight NOTIFY
                   activeDotColorLightChanged)
    Q_PROPERTY(QColor activeDotColorDark READ activeDotColorDark WRITE setActiveDotColorDark NOTIFY
                   activeDotColorDarkChanged)
    Q_PROPERTY(QColor titleTextColorLight READ titleTextColorLight WRITE setTitleTextColorLight NOTIFY
                   titleTextColorLightChanged)
    Q_PROPERTY(QColor titleTextColorDark READ titleTextColorDark WRITE setTitleTextColorDark NOTIFY
                   titleTextColorDarkChanged)
    Q_PROPERTY(QColor subtitleTextColorLight READ subtitleTextColorLight WRITE setSubtitleTextColorLight
                   NOTIFY subtitleTextColorLightChanged)
    Q_PROPERTY(QColor subtitleTextColorDark READ subtitleTextColorDark WRITE setSubtitleTextColorDark NOTIFY
                   subtitleTextColorDarkChanged)
    Q_PROPERTY(QColor headerTextColorLight READ headerTextColorLight WRITE setHeaderTextColorLight NOTIFY
                   headerTextColorLightChanged)
    Q_PROPERTY(QColor headerTextColorDark READ headerTextColorDark WRITE setHeaderTextColorDark NOTIFY
                   headerTextColorDarkChanged)
    Q_PROPERTY(QColor sidebarBackgroundColorLight READ sidebarBackgroundColorLight WRITE
                   setSidebarBackgroundColorLight NOTIFY sidebarBackgroundColorLightChanged)
    Q_PROPERTY(QColor sidebarBackgroundColorDark READ sidebarBackgroundColorDark WRITE
                   setSidebarBackgroundColorDark NOTIFY sidebarBackgroundColorDarkChanged)
    Q_PROPERTY(QColor shelfSectionBgColorLight READ shelfSectionBgColorLight WRITE setShelfSectionBgColorLight
                   NOTIFY shelfSectionBgColorLightChanged)
    Q_PROPERTY(QColor shelfSectionBgColorDark READ shelfSectionBgColorDark WRITE setShelfSectionBgColorDark
                   NOTIFY shelfSectionBgColorDarkChanged)
    Q_PROPERTY(QColor shelfSectionInnerBgColorLight READ shelfSectionInnerBgColorLight WRITE
                   setShelfSectionInnerBgColorLight NOTIFY shelfSectionInnerBgColorLightChanged)
    Q_PROPERTY(QColor shelfSectionInnerBgColorDark READ shelfSectionInnerBgColorDark WRITE
                   setShelfSectionInnerBgColorDark NOTIFY shelfSectionInnerBgColorDarkChanged)
    Q_PROPERTY(QColor shelfSectionBorderColorLight READ shelfSectionBorderColorLight WRITE
                   setShelfSectionBorderColorLight NOTIFY shelfSectionBorderColorLightChanged)
    Q_PROPERTY(QColor shelfSectionBorderColorDark READ shelfSectionBorderColorDark WRITE
                   setShelfSectionBorderColorDark NOTIFY shelfSectionBorderColorDarkChanged)
    Q_PROPERTY(QColor appSectionBgColorLight READ appSectionBgColorLight WRITE setAppSectionBgColorLight
                   NOTIFY appSectionBgColorLightChanged)
    Q_PROPERTY(QColor appSectionBgColorDark READ appSectionBgColorDark WRITE setAppSectionBgColorDark NOTIFY
                   appSectionBgColorDarkChanged)
    Q_PROPERTY(QColor appSectionInnerBgColorLight READ appSectionInnerBgColorLight WRITE
                   setAppSectionInnerBgColorLight NOTIFY appSectionInnerBgColorLightChanged)
    Q_PROPERTY(QColor appSectionInnerBgColorDark READ appSectionInnerBgColorDark WRITE
                   setAppSectionInnerBgColorDark NOTIFY appSectionInnerBgColorDarkChanged)
    Q_PROPERTY(QColor appSectionBorderColorLight READ appSectionBorderColorLight WRITE
                   setAppSectionBorderColorLight NOTIFY appSectionBorderColorLightChanged)
    Q_PROPERTY(QColor appSectionBorderColorDark READ appSectionBorderColorDark WRITE
                   setAppSectionBorderColorDark NOTIFY appSectionBorderColorDarkChanged)
    Q_PROPERTY(bool titleTextColorAuto READ titleTextColorAuto WRITE setTitleTextColorAuto NOTIFY
                   titleTextColorAutoChanged)
    Q_PROPERTY(bool subtitleTextColorAuto READ subtitleTextColorAuto WRITE setSubtitleTextColorAuto NOTIFY
                   subtitleTextColorAutoChanged)
    Q_PROPERTY(bool headerTextColorAuto READ headerTextColorAuto WRITE setHeaderTextColorAuto NOTIFY
                   headerTextColorAutoChanged)
    Q_PROPERTY(bool autoHide READ autoHide WRITE setAutoHide NOTIFY autoHideChanged)
    Q_PROPERTY(bool autoHideFullscreen READ autoHideFullscreen WRITE setAutoHideFullscreen NOTIFY
                   autoHideFullscreenChanged)
    Q_PROPERTY(bool sidebarLocked READ sidebarLocked WRITE setSidebarLocked NOTIFY sidebarLockedChanged)
    Q_PROPERTY(bool expandAndRestoreOnTap READ expandAndRestoreOnTap WRITE setExpandAndRestoreOnTap NOTIFY
                   expandAndRestoreOnTapChanged)
    Q_PROPERTY(
        bool showWebFavicons READ showWebFavicons WRITE setShowWebFavicons NOTIFY showWebFaviconsChanged)
    Q_PROPERTY(QString shelfDisplayMode READ shelfDisplayMode WRITE setShelfDisplayMode NOTIFY
                   shelfDisplayModeChanged)
    Q_PROPERTY(QString sidebarListLayoutMode READ sidebarListLayoutMode WRITE setSidebarListLayoutMode NOTIFY
                   sidebarListLayoutModeChanged)
    Q_PROPERTY(
        bool showShelfBorder READ showShelfBorder WRITE setShowShelfBorder NOTIFY showShelfBorderChanged)
    Q_PROPERTY(bool showCustomSectionBackground READ showCustomSectionBackground WRITE
                   setShowCustomSectionBackground NOTIFY showCustomSectionBackgroundChanged)
    Q_PROPERTY(bool showCustomSidebarBackground READ showCustomSidebarBackground WRITE
                   setShowCustomSidebarBackground NOTIFY showCustomSidebarBackgroundChanged)
    Q_PROPERTY(
        bool showRowTileStyle READ showRowTileStyle WRITE setShowRowTileStyle NOTIFY showRowTileStyleChanged)
    Q_PROPERTY(QString sidebarScreen READ sidebarScreen WRITE setSidebarScreen NOTIFY sidebarScreenChanged)
    Q_PROPERTY(QString sidebarGlassMode READ sidebarGlassMode WRITE setSidebarGlassMode NOTIFY
                   sidebarGlassModeChanged)
    Q_PROPERTY(bool rememberLastScreen READ rememberLastScreen WRITE setRememberLastScreen NOTIFY
                   rememberLastScreenChanged)
    Q_PROPERTY(double tooltipAutoHideDuration READ tooltipAutoHideDuration WRITE setTooltipAutoHideDuration
                   NOTIFY tooltipAutoHideDurationChanged)
    Q_PROPERTY(bool avoidSidebar READ avoidSidebar WRITE setAvoidSidebar NOTIFY avoidSidebarChanged)
    Q_PROPERTY(bool showActiveWindowBorder READ showActiveWindowBorder WRITE setShowActiveWindowBorder NOTIFY
                   showActiveWindowBorderChanged)
    Q_PROPERTY(double autoSplitActivationDelay READ autoSplitActivationDelay WRITE setAutoSplitActivationDelay
                   NOTIFY autoSplitActivationDelayChanged)
    Q_PROPERTY(bool showAllWindowsInAppSection READ showAllWindowsInAppSection WRITE
                   setShowAllWindowsInAppSection NOTIFY showAllWindowsInAppSectionChanged)
    Q_PROPERTY(QString windowPreviewSize READ windowPreviewSize WRITE setWindowPreviewSize NOTIFY
                   windowPreviewSizeChanged)
    Q_PROPERTY(bool showClosedShelfApps READ showClosedShelfApps WRITE setShowClosedShelfApps NOTIFY
                   showClosedShelfAppsChanged)
    Q_PROPERTY(QString systemMonitorDisplay READ systemMonitorDisplay WRITE setSystemMonitorDisplay NOTIFY
                   systemMonitorDisplayChanged)
    Q_PROPERTY(QString systemMonitorMenuBarStyle READ systemMonitorMenuBarStyle WRITE
                   setSystemMonitorMenuBarStyle NOTIFY systemMonitorMenuBarStyleChanged)
    Q_PROPERTY(QColor menuBarTextColorLight READ menuBarTextColorLight WRITE setMenuBarTextColorLight NOTIFY
                   menuBarTextColorLightChanged)
    Q_PROPERTY(QColor menuBarTextColorDark READ menuBarTextColorDark WRITE setMenuBarTextColorDark NOTIFY
                   menuBarTextColorDarkChanged)
    Q_PROPERTY(bool menuBarTextColorAuto READ menuBarTextColorAuto WRITE setMenuBarTextColorAuto NOTIFY
                   menuBarTextColorAutoChanged)
    Q_PROPERTY(bool menuBarUseTemplateImage READ menuBarUseTemplateImage WRITE setMenuBarUseTemplateImage
                   NOTIFY menuBarUseTemplateImageChanged)
    Q_PROPERTY(double systemMonitorInterval READ systemMonitorInterval WRITE setSystemMonitorInterval NOTIFY
                   systemMonitorIntervalChanged)
    Q_PROPERTY(QStringList systemMonitorMetrics READ systemMonitorMetrics WRITE setSystemMonitorMetrics NOTIFY
                   systemMonitorMetricsChanged)
    Q_PROPERTY(QString appLanguage READ appLanguage WRITE setAppLanguage NOTIFY appLanguageChanged)
    Q_PROPERTY(bool isApplyingScheme READ isApplyingScheme NOTIFY isApplyingSchemeChanged)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)
    Q_PROPERTY(bool isDarkAppearance READ isDarkAppearance NOTIFY appearanceChanged)

public:
    /// Loads every setting from `store`, applies language and appearance, and starts
    /// following the desktop's light/dark preference.
    explicit AppSettings(platform::PreferencesStore &store, QObject *parent = nullptr);
    ~AppSettings() override;

    double sidebarWidth() const { return get<double>(Setting::sidebarWidth); }
    void setSidebarWidth(double v) { assign(Setting::sidebarWidth, QVariant::fromValue(v)); }
    QString position() const { return get<QString>(Setting::position); }
    void setPosition(const QString &v) { assign(Setting::position, QVariant::fromValue(v)); }
    double fontSize() const { return get<double>(Setting::fontSize); }
    void setFontSize(double v) { assign(Setting::fontSize, QVariant::fromValue(v)); }
    double rowSpacing() const { return get<double>(Setting::rowSpacing); }
    void setRowSpacing(double v) { assign(Setting::rowSpacing, QVariant::fromValue(v)); }
    bool showIcons() const { return get<bool>(Setting::showIcons); }
    void setShowIcons(bool v) { assign(Setting::showIcons, QVariant::fromValue(v)); }
    bool showSubtitle() const { return get<bool>(Setting::showSubtitle); }
    void setShowSubtitle(bool v) { assign(Setting::showSubtitle, QVariant::fromValue(v)); }
    double headerFontSize() const { return get<double>(Setting::headerFontSize); }
    void setHeaderFontSize(double v) { assign(Setting::headerFontSize, QVariant::fromValue(v)); }
    QString appearanceMode() const { return get<QString>(Setting::appearanceMode); }
    void setAppearanceMode(const QString &v) { assign(Setting::appearanceMode, QVariant::fromValue(v)); }
    QString selectedScheme() const { return get<QString>(Setting::selectedScheme); }
    void setSelectedScheme(const QString &v) { assign(Setting::selectedScheme, QVariant::fromValue(v)); }
    QColor activeRowColorLight() const { return get<QColor>(Setting::activeRowColorLight); }
    void setActiveRowColorLight(const QColor &v)
    {
        assign(Setting::activeRowColorLight, QVariant::fromValue(v));
    }
    QColor activeRowColorDark() const { return get<QColor>(Setting::activeRowColorDark); }
    void setActiveRowColorDark(const QColor &v)
    {
        assign(Setting::activeRowColorDark, QVariant::fromValue(v));
    }
    QColor headerRowColorLight() const { return get<QColor>(Setting::headerRowColorLight); }
    void setHeaderRowColorLight(const QColor &v)
    {
        assign(Setting::headerRowColorLight, QVariant::fromValue(v));
    }
    QColor headerRowColorDark() const { return get<QColor>(Setting::headerRowColorDark); }
    void setHeaderRowColorDark(const QColor &v)
    {
        assign(Setting::headerRowColorDark, QVariant::fromValue(v));
    }
    QColor activeDotColorLight() const { return get<QColor>(Setting::activeDotColorLight); }
    void setActiveDotColorLight(const QColor &v)
    {
        assign(Setting::activeDotColorLight, QVariant::fromValue(v));
    }
    QColor activeDotColorDark() const { return get<QColor>(Setting::activeDotColorDark); }
    void setActiveDotColorDark(const QColor &v)
    {
        assign(Setting::activeDotColorDark, QVariant::fromValue(v));
    }
    QColor titleTextColorLight() const { return get<QColor>(Setting::titleTextColorLight); }
    void setTitleTextColorLight(const QColor &v)
    {
        assign(Setting::titleTextColorLight, QVariant::fromValue(v));
    }
    QColor titleTextColorDark() const { return get<QColor>(Setting::titleTextColorDark); }
    void setTitleTextColorDark(const QColor &v)
    {
        assign(Setting::titleTextColorDark, QVariant::fromValue(v));
    }
    QColor subtitleTextColorLight() const { return get<QColor>(Setting::subtitleTextColorLight); }
    void setSubtitleTextColorLight(const QColor &v)
    {
        assign(Setting::subtitleTextColorLight, QVariant::fromValue(v));
    }
    QColor subtitleTextColorDark() const { return get<QColor>(Setting::subtitleTextColorDark); }
    void setSubtitleTextColorDark(const QColor &v)
    {
        assign(Setting::subtitleTextColorDark, QVariant::fromValue(v));
    }
    QColor headerTextColorLight() const { return get<QColor>(Setting::headerTextColorLight); }
    void setHeaderTextColorLight(const QColor &v)
    {
        assign(Setting::headerTextColorLight, QVariant::fromValue(v));
    }
    QColor headerTextColorDark() const { return get<QColor>(Setting::headerTextColorDark); }
    void setHeaderTextColorDark(const QColor &v)
    {
        assign(Setting::headerTextColorDark, QVariant::fromValue(v));
    }
    QColor sidebarBackgroundColorLight() const { return get<QColor>(Setting::sidebarBackgroundColorLight); }
    void setSidebarBackgroundColorLight(const QColor &v)
    {
        assign(Setting::sidebarBackgroundColorLight, QVariant::fromValue(v));
    }
    QColor sidebarBackgroundColorDark() const { return get<QColor>(Setting::sidebarBackgroundColorDark); }
    void setSidebarBackgroundColorDark(const QColor &v)
    {
        assign(Setting::sidebarBackgroundColorDark, QVariant::fromValue(v));
    }
    QColor shelfSectionBgColorLight() const { return get<QColor>(Setting::shelfSectionBgColorLight); }
    void setShelfSectionBgColorLight(const QColor &v)
    {
        assign(Setting::shelfSectionBgColorLight, QVariant::fromValue(v));
    }
    QColor shelfSectionBgColorDark() const { return get<QColor>(Setting::shelfSectionBgColorDark); }
    void setShelfSectionBgColorDark(const QColor &v)
    {
        assign(Setting::shelfSectionBgColorDark, QVariant::fromValue(v));
    }
    QColor shelfSectionInnerBgColorLight() const
    {
        return get<QColor>(Setting::shelfSectionInnerBgColorLight);
    }
    void setShelfSectionInnerBgColorLight(const QColor &v)
    {
        assign(Setting::shelfSectionInnerBgColorLight, QVariant::fromValue(v));
    }
    QColor shelfSectionInnerBgColorDark() const { return get<QColor>(Setting::shelfSectionInnerBgColorDark); }
    void setShelfSectionInnerBgColorDark(const QColor &v)
    {
        assign(Setting::shelfSectionInnerBgColorDark, QVariant::fromValue(v));
    }
    QColor shelfSectionBorderColorLight() const { return get<QColor>(Setting::shelfSectionBorderColorLight); }
    void setShelfSectionBorderColorLight(const QColor &v)
    {
        assign(Setting::shelfSectionBorderColorLight, QVariant::fromValue(v));
    }
    QColor shelfSectionBorderColorDark() const { return get<QColor>(Setting::shelfSectionBorderColorDark); }
    void setShelfSectionBorderColorDark(const QColor &v)
    {
        assign(Setting::shelfSectionBorderColorDark, QVariant::fromValue(v));
    }
    QColor appSectionBgColorLight() const { return get<QColor>(Setting::appSectionBgColorLight); }
    void setAppSectionBgColorLight(const QColor &v)
    {
        assign(Setting::appSectionBgColorLight, QVariant::fromValue(v));
    }
    QColor appSectionBgColorDark() const { return get<QColor>(Setting::appSectionBgColorDark); }
    void setAppSectionBgColorDark(const QColor &v)
    {
        assign(Setting::appSectionBgColorDark, QVariant::fromValue(v));
    }
    QColor appSectionInnerBgColorLight() const { return get<QColor>(Setting::appSectionInnerBgColorLight); }
    void setAppSectionInnerBgColorLight(const QColor &v)
    {
        assign(Setting::appSectionInnerBgColorLight, QVariant::fromValue(v));
    }
    QColor appSectionInnerBgColorDark() const { return get<QColor>(Setting::appSectionInnerBgColorDark); }
    void setAppSectionInnerBgColorDark(const QColor &v)
    {
        assign(Setting::appSectionInnerBgColorDark, QVariant::fromValue(v));
    }
    QColor appSectionBorderColorLight() const { return get<QColor>(Setting::appSectionBorderColorLight); }
    void setAppSectionBorderColorLight(const QColor &v)
    {
        assign(Setting::appSectionBorderColorLight, QVariant::fromValue(v));
    }
    QColor appSectionBorderColorDark() const { return get<QColor>(Setting::appSectionBorderColorDark); }
    void setAppSectionBorderColorDark(const QColor &v)
    {
        assign(Setting::appSectionBorderColorDark, QVariant::fromValue(v));
    }
    bool titleTextColorAuto() const { return get<bool>(Setting::titleTextColorAuto); }
    void setTitleTextColorAuto(bool v) { assign(Setting::titleTextColorAuto, QVariant::fromValue(v)); }
    bool subtitleTextColorAuto() const { return get<bool>(Setting::subtitleTextColorAuto); }
    void setSubtitleTextColorAuto(bool v) { assign(Setting::subtitleTextColorAuto, QVariant::fromValue(v)); }
    bool headerTextColorAuto() const { return get<bool>(Setting::headerTextColorAuto); }
    void setHeaderTextColorAuto(bool v) { assign(Setting::headerTextColorAuto, QVariant::fromValue(v)); }
    bool autoHide() const { return get<bool>(Setting::autoHide); }
    void setAutoHide(bool v) { assign(Setting::autoHide, QVariant::fromValue(v)); }
    bool autoHideFullscreen() const { return get<bool>(Setting::autoHideFullscreen); }
    void setAutoHideFullscreen(bool v) { assign(Setting::autoHideFullscreen, QVariant::fromValue(v)); }
    bool sidebarLocked() const { return get<bool>(Setting::sidebarLocked); }
    void setSidebarLocked(bool v) { assign(Setting::sidebarLocked, QVariant::fromValue(v)); }
    bool expandAndRestoreOnTap() const { return get<bool>(Setting::expandAndRestoreOnTap); }
    void setExpandAndRestoreOnTap(bool v) { assign(Setting::expandAndRestoreOnTap, QVariant::fromValue(v)); }
    bool showWebFavicons() const { return get<bool>(Setting::showWebFavicons); }
    void setShowWebFavicons(bool v) { assign(Setting::showWebFavicons, QVariant::fromValue(v)); }
    QString shelfDisplayMode() const { return get<QString>(Setting::shelfDisplayMode); }
    void setShelfDisplayMode(const QString &v) { assign(Setting::shelfDisplayMode, QVariant::fromValue(v)); }
    QString sidebarListLayoutMode() const { return get<QString>(Setting::sidebarListLayoutMode); }
    void setSidebarListLayoutMode(const QString &v)
    {
        assign(Setting::sidebarListLayoutMode, QVariant::fromValue(v));
    }
    bool showShelfBorder() const { return get<bool>(Setting::showShelfBorder); }
    void setShowShelfBorder(bool v) { assign(Setting::showShelfBorder, QVariant::fromValue(v)); }
    bool showCustomSectionBackground() const { return get<bool>(Setting::showCustomSectionBackground); }
    void setShowCustomSectionBackground(bool v)
    {
        assign(Setting::showCustomSectionBackground, QVariant::fromValue(v));
    }
    bool showCustomSidebarBackground() const { return get<bool>(Setting::showCustomSidebarBackground); }
    void setShowCustomSidebarBackground(bool v)
    {
        assign(Setting::showCustomSidebarBackground, QVariant::fromValue(v));
    }
    bool showRowTileStyle() const { return get<bool>(Setting::showRowTileStyle); }
    void setShowRowTileStyle(bool v) { assign(Setting::showRowTileStyle, QVariant::fromValue(v)); }
    QString sidebarScreen() const { return get<QString>(Setting::sidebarScreen); }
    void setSidebarScreen(const QString &v) { assign(Setting::sidebarScreen, QVariant::fromValue(v)); }
    QString sidebarGlassMode() const { return get<QString>(Setting::sidebarGlassMode); }
    void setSidebarGlassMode(const QString &v) { assign(Setting::sidebarGlassMode, QVariant::fromValue(v)); }
    bool rememberLastScreen() const { return get<bool>(Setting::rememberLastScreen); }
    void setRememberLastScreen(bool v) { assign(Setting::rememberLastScreen, QVariant::fromValue(v)); }
    double tooltipAutoHideDuration() const { return get<double>(Setting::tooltipAutoHideDuration); }
    void setTooltipAutoHideDuration(double v)
    {
        assign(Setting::tooltipAutoHideDuration, QVariant::fromValue(v));
    }
    bool avoidSidebar() const { return get<bool>(Setting::avoidSidebar); }
    void setAvoidSidebar(bool v) { assign(Setting::avoidSidebar, QVariant::fromValue(v)); }
    bool showActiveWindowBorder() const { return get<bool>(Setting::showActiveWindowBorder); }
    void setShowActiveWindowBorder(bool v)
    {
        assign(Setting::showActiveWindowBorder, QVariant::fromValue(v));
    }
    double autoSplitActivationDelay() const { return get<double>(Setting::autoSplitActivationDelay); }
    void setAutoSplitActivationDelay(double v)
    {
        assign(Setting::autoSplitActivationDelay, QVariant::fromValue(v));
    }
    bool showAllWindowsInAppSection() const { return get<bool>(Setting::showAllWindowsInAppSection); }
    void setShowAllWindowsInAppSection(bool v)
    {
        assign(Setting::showAllWindowsInAppSection, QVariant::fromValue(v));
    }
    QString windowPreviewSize() const { return get<QString>(Setting::windowPreviewSize); }
    void setWindowPreviewSize(const QString &v)
    {
        assign(Setting::windowPreviewSize, QVariant::fromValue(v));
    }
    bool showClosedShelfApps() const { return get<bool>(Setting::showClosedShelfApps); }
    void setShowClosedShelfApps(bool v) { assign(Setting::showClosedShelfApps, QVariant::fromValue(v)); }
    QString systemMonitorDisplay() const { return get<QString>(Setting::systemMonitorDisplay); }
    void setSystemMonitorDisplay(const QString &v)
    {
        assign(Setting::systemMonitorDisplay, QVariant::fromValue(v));
    }
    QString systemMonitorMenuBarStyle() const { return get<QString>(Setting::systemMonitorMenuBarStyle); }
    void setSystemMonitorMenuBarStyle(const QString &v)
    {
        assign(Setting::systemMonitorMenuBarStyle, QVariant::fromValue(v));
    }
    QColor menuBarTextColorLight() const { return get<QColor>(Setting::menuBarTextColorLight); }
    void setMenuBarTextColorLight(const QColor &v)
    {
        assign(Setting::menuBarTextColorLight, QVariant::fromValue(v));
    }
    QColor menuBarTextColorDark() const { return get<QColor>(Setting::menuBarTextColorDark); }
    void setMenuBarTextColorDark(const QColor &v)
    {
        assign(Setting::menuBarTextColorDark, QVariant::fromValue(v));
    }
    bool menuBarTextColorAuto() const { return get<bool>(Setting::menuBarTextColorAuto); }
    void setMenuBarTextColorAuto(bool v) { assign(Setting::menuBarTextColorAuto, QVariant::fromValue(v)); }
    bool menuBarUseTemplateImage() const { return get<bool>(Setting::menuBarUseTemplateImage); }
    void setMenuBarUseTemplateImage(bool v)
    {
        assign(Setting::menuBarUseTemplateImage, QVariant::fromValue(v));
    }
    double systemMonitorInterval() const { return get<double>(Setting::systemMonitorInterval); }
    void setSystemMonitorInterval(double v)
    {
        assign(Setting::systemMonitorInterval, QVariant::fromValue(v));
    }
    QStringList systemMonitorMetrics() const { return get<QStringList>(Setting::systemMonitorMetrics); }
    void setSystemMonitorMetrics(const QStringList &v)
    {
        assign(Setting::systemMonitorMetrics, QVariant::fromValue(v));
    }
    QString appLanguage() const { return get<QString>(Setting::appLanguage); }
    void setAppLanguage(const QString &v) { assign(Setting::appLanguage, QVariant::fromValue(v)); }

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
    /// Applies the preset called `name`; false when there is none.
    Q_INVOKABLE bool applySchemeNamed(const QString &name);
    /// Every setting back to its default (the login item excepted), the drag hint back
    /// on, the language re-detected and the "Default" scheme applied.
    Q_INVOKABLE void resetToDefaults();

    /// A setting's value by id; for generic views such as the settings search.
    QVariant value(Setting id) const { return m_values[size_t(id)]; }

signals:
    void sidebarWidthChanged();
    void positionChanged();
    void fontSizeChanged();
    void rowSpacingChanged();
    void showIconsChanged();
    void showSubtitleChanged();
    void headerFontSizeChanged();
    void appearanceModeChanged();
    void selectedSchemeChanged();
    void activeRowColorLightChanged();
    void activeRowColorDarkChanged();
    void headerRowColorLightChanged();
    void headerRowColorDarkChanged();
    void activeDotColorLightChanged();
    void activeDotColorDarkChanged();
    void titleTextColorLightChanged();
    void titleTextColorDarkChanged();
    void subtitleTextColorLightChanged();
    void subtitleTextColorDarkChanged();
    void headerTextColorLightChanged();
    void headerTextColorDarkChanged();
    void sidebarBackgroundColorLightChanged();
    void sidebarBackgroundColorDarkChanged();
    void shelfSectionBgColorLightChanged();
    void shelfSectionBgColorDarkChanged();
    void shelfSectionInnerBgColorLightChanged();
    void shelfSectionInnerBgColorDarkChanged();
    void shelfSectionBorderColorLightChanged();
    void shelfSectionBorderColorDarkChanged();
    void appSectionBgColorLightChanged();
    void appSectionBgColorDarkChanged();
    void appSectionInnerBgColorLightChanged();
    void appSectionInnerBgColorDarkChanged();
    void appSectionBorderColorLightChanged();
    void appSectionBorderColorDarkChanged();
    void titleTextColorAutoChanged();
    void subtitleTextColorAutoChanged();
    void headerTextColorAutoChanged();
    void autoHideChanged();
    void autoHideFullscreenChanged();
    void sidebarLockedChanged();
    void expandAndRestoreOnTapChanged();
    void showWebFaviconsChanged();
    void shelfDisplayModeChanged();
    void sidebarListLayoutModeChanged();
    void showShelfBorderChanged();
    void showCustomSectionBackgroundChanged();
    void showCustomSidebarBackgroundChanged();
    void showRowTileStyleChanged();
    void sidebarScreenChanged();
    void sidebarGlassModeChanged();
    void rememberLastScreenChanged();
    void tooltipAutoHideDurationChanged();
    void avoidSidebarChanged();
    void showActiveWindowBorderChanged();
    void autoSplitActivationDelayChanged();
    void showAllWindowsInAppSectionChanged();
    void windowPreviewSizeChanged();
    void showClosedShelfAppsChanged();
    void systemMonitorDisplayChanged();
    void systemMonitorMenuBarStyleChanged();
    void menuBarTextColorLightChanged();
    void menuBarTextColorDarkChanged();
    void menuBarTextColorAutoChanged();
    void menuBarUseTemplateImageChanged();
    void systemMonitorIntervalChanged();
    void systemMonitorMetricsChanged();
    void appLanguageChanged();
    void isApplyingSchemeChanged();
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

    platform::PreferencesStore &m_store;
    platform::AutostartEntry *m_autostart;
    platform::DesktopAppearance *m_desktopAppearance;
    std::array<QVariant, size_t(Setting::Count)> m_values;
    std::array<QMetaMethod, size_t(Setting::Count)> m_notifiers;
    bool m_isApplyingScheme = false;
    bool m_launchAtLogin = false;
};

} // namespace orvella::settings
