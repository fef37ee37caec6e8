// Every user preference as one observable object, persisted key by key.
#include "settings/appsettings.h"

#include "logging.h"
#include "platform/linux/autostartentry.h"
#include "platform/linux/desktopappearance.h"
#include "platform/preferencesstore.h"
#include "settings/colorcodec.h"
#include "settings/localizationmanager.h"

#include <QGuiApplication>
#include <QJsonObject>
#include <QMetaProperty>

namespace orvella::settings {

namespace {

// The hand-edited colours, kept while another scheme is shown so that cycling back finds
// them again: colour key -> stored colour text.
const QString kCustomSchemeKey = QStringLiteral("ov.customColorScheme");

QGuiApplication *guiApp()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance());
}

} // namespace

AppSettings::AppSettings(platform::PreferencesStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_autostart(new platform::AutostartEntry)
    , m_desktopAppearance(new platform::DesktopAppearance(this))
{
    const QMetaObject *meta = metaObject();
    for (const SettingSpec &spec : schema()) {
        const QMetaProperty property = meta->property(meta->indexOfProperty(spec.property));
        Q_ASSERT_X(property.isValid() && property.hasNotifySignal(), spec.property,
                   "every stored setting needs a property with a change signal");
        m_notifiers[size_t(spec.id)] = property.notifySignal();
        m_values[size_t(spec.id)] = loadValue(spec);
    }

    LocalizationManager::shared().setLanguage(appLanguage());
    m_launchAtLogin = m_autostart->isEnabled();
    applyAppearanceMode();

    // The desktop switched between light and dark: views re-pick their colours. The
    // connection dies with this object.
    connect(m_desktopAppearance, &platform::DesktopAppearance::changed, this, &AppSettings::appearanceChanged,
            Qt::QueuedConnection);
}

AppSettings::~AppSettings()
{
    delete m_autostart;
}

QVariant AppSettings::loadValue(const SettingSpec &spec) const
{
    switch (spec.kind) {
    case SettingKind::Number:
        if (auto v = m_store.doubleValue(spec.key))
            return *v;
        break;
    case SettingKind::Switch:
        if (auto v = m_store.boolValue(spec.key))
            return *v;
        break;
    case SettingKind::Text:
        if (auto v = m_store.stringValue(spec.key);
            v && (spec.allowed.isEmpty() || spec.allowed.contains(*v)))
            return *v;
        if (spec.id == Setting::appLanguage)
            return LocalizationManager::detectSystemLanguage();
        break;
    case SettingKind::TextList:
        if (auto v = m_store.stringListValue(spec.key))
            return *v;
        break;
    case SettingKind::Color:
        for (const QString &key : {spec.key, spec.olderKey}) {
            if (key.isEmpty())
                continue;
            if (auto text = m_store.stringValue(key)) {
                if (auto color = colorCodec::decode(*text))
                    return *color;
            }
        }
        break;
    }
    return defaultValue(spec);
}

void AppSettings::persist(const SettingSpec &spec, const QVariant &value)
{
    switch (spec.kind) {
    case SettingKind::Number: m_store.setDouble(spec.key, value.toDouble()); break;
    case SettingKind::Switch: m_store.setBool(spec.key, value.toBool()); break;
    case SettingKind::Text: m_store.setString(spec.key, value.toString()); break;
    case SettingKind::TextList: m_store.setStringList(spec.key, value.toStringList()); break;
    case SettingKind::Color:
        // A colour without an RGB form is not written: the stored one stays.
        if (auto text = colorCodec::encode(value.value<QColor>()))
            m_store.setString(spec.key, *text);
        break;
    }
}

void AppSettings::assign(Setting id, const QVariant &value)
{
    const SettingSpec &spec = specFor(id);
    QVariant &slot = m_values[size_t(id)];
    // Always written, so that a mistyped stored value is replaced even when the
    // property already holds the same (default) value.
    persist(spec, value);
    if (slot == value)
        return;
    slot = value;
    m_notifiers[size_t(id)].invoke(this, Qt::DirectConnection);

    if (id == Setting::appearanceMode)
        applyAppearanceMode();
    else if (id == Setting::appLanguage)
        LocalizationManager::shared().setLanguage(value.toString());
    else if (spec.marksCustomScheme && !m_isApplyingScheme)
        setSelectedScheme(QString::fromLatin1(ColorSchemePreset::kCustom));
    else if (id == Setting::selectedScheme)
        emit schemeNamesChanged();
}

void AppSettings::setLaunchAtLogin(bool enabled)
{
    if (!m_autostart->setEnabled(enabled, platform::AutostartEntry::loginCommand()))
        qCInfo(lcSettings) << "[OV] launch at login could not be changed to" << enabled;
    if (m_launchAtLogin == enabled)
        return;
    m_launchAtLogin = enabled;
    emit launchAtLoginChanged();
}

bool AppSettings::isDarkAppearance() const
{
    const QString mode = appearanceMode();
    if (mode == QLatin1String("dark"))
        return true;
    if (mode == QLatin1String("light"))
        return false;
    if (auto prefersDark = m_desktopAppearance->prefersDark())
        return *prefersDark;
    return guiApp() && systemColors::isDark(QGuiApplication::palette());
}

void AppSettings::applyAppearanceMode()
{
    if (guiApp()) {
        const QString mode = appearanceMode();
        if (mode == QLatin1String("light"))
            QGuiApplication::setPalette(systemColors::palette(Appearance::Light));
        else if (mode == QLatin1String("dark"))
            QGuiApplication::setPalette(systemColors::palette(Appearance::Dark));
        else
            QGuiApplication::setPalette(QPalette()); // nothing forced: the desktop's palette
    }
    emit appearanceChanged();
}

void AppSettings::setApplyingScheme(bool applying)
{
    if (m_isApplyingScheme == applying)
        return;
    m_isApplyingScheme = applying;
    emit isApplyingSchemeChanged();
}

void AppSettings::keepCustomScheme()
{
    QJsonObject colors;
    for (const SettingSpec &spec : schema()) {
        if (!spec.marksCustomScheme)
            continue;
        if (auto text = colorCodec::encode(get<QColor>(spec.id)))
            colors.insert(spec.key, *text);
    }
    m_store.setDictionary(kCustomSchemeKey, colors);
}

void AppSettings::applyScheme(const ColorSchemePreset &preset)
{
    // Leaving hand-edited colours: keep them for the way back.
    if (selectedScheme() == QLatin1String(ColorSchemePreset::kCustom)
        && preset.name != QLatin1String(ColorSchemePreset::kCustom))
        keepCustomScheme();
    setApplyingScheme(true);
    for (const auto &[id, color] : preset.colors)
        assign(id, color);
    setSelectedScheme(preset.name);
    setApplyingScheme(false);
}

bool AppSettings::applySchemeNamed(const QString &name)
{
    auto preset = ColorSchemePreset::named(name);
    if (!preset && name == QLatin1String(ColorSchemePreset::kCustom)) {
        if (selectedScheme() == name)
            return true;
        const auto kept = m_store.dictionaryValue(kCustomSchemeKey);
        if (!kept)
            return false;
        // A colour missing or unreadable in the kept set stays as it is now.
        preset = ColorSchemePreset{name, {}};
        for (const SettingSpec &spec : schema()) {
            if (!spec.marksCustomScheme)
                continue;
            if (auto color = colorCodec::decode(kept->value(spec.key).toString()))
                preset->colors.append({spec.id, *color});
            else if (kept->contains(spec.key))
                qCInfo(lcSettings).noquote() << "[OV] ignoring the kept custom colour" << spec.key;
        }
    }
    if (preset)
        applyScheme(*preset);
    else
        qCInfo(lcSettings).noquote() << "[OV] no colour scheme named" << name;
    return preset.has_value();
}

QStringList AppSettings::schemeNames() const
{
    QStringList names;
    for (const ColorSchemePreset &preset : ColorSchemePreset::all())
        names.append(preset.name);
    const QString custom = QString::fromLatin1(ColorSchemePreset::kCustom);
    if (selectedScheme() == custom || m_store.contains(kCustomSchemeKey))
        names.append(custom);
    return names;
}

void AppSettings::cycleScheme(int step)
{
    applySchemeNamed(ColorSchemePreset::cycled(schemeNames(), selectedScheme(), step));
}

void AppSettings::deleteCustomScheme()
{
    m_store.remove(kCustomSchemeKey);
    if (selectedScheme() == QLatin1String(ColorSchemePreset::kCustom)) {
        // Nothing to keep any more: show the default colours without saving these.
        setSelectedScheme(QStringLiteral("Default"));
        applyScheme(ColorSchemePreset::all().constFirst());
    }
    emit schemeNamesChanged();
}

void AppSettings::resetToDefaults()
{
    m_store.remove(QStringLiteral("ov.settingsMetadataBaselineVersion"));
    m_store.remove(QStringLiteral("ov.dragHintDismissed"));
    deleteCustomScheme();

    for (const SettingSpec &spec : schema()) {
        const bool setElsewhere = spec.marksCustomScheme || spec.id == Setting::appearanceMode
                                  || spec.id == Setting::selectedScheme || spec.id == Setting::appLanguage;
        if (!setElsewhere)
            assign(spec.id, defaultValue(spec));
    }
    setAppLanguage(LocalizationManager::detectSystemLanguage());
    setAppearanceMode(QStringLiteral("system"));
    applyScheme(ColorSchemePreset::all().constFirst());
}

} // namespace orvella::settings
