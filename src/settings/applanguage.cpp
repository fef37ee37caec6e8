// The ten interface languages, with their stored raw values, names and flags.
#include "settings/applanguage.h"

namespace orvella::settings::appLanguage {

namespace {

struct LanguageInfo
{
    AppLanguage language;
    const char *raw;
    const char *displayName;
    const char *flag;
};

// One row per language in picker order; names are each language's name for itself.
constexpr std::array<LanguageInfo, 10> kLanguages{{
    {AppLanguage::en, "en", "English", "🇺🇸"},
    {AppLanguage::zhHans, "zh-Hans", "简体中文", "🇨🇳"},
    {AppLanguage::es, "es", "Español", "🇪🇸"},
    {AppLanguage::fr, "fr", "Français", "🇫🇷"},
    {AppLanguage::de, "de", "Deutsch", "🇩🇪"},
    {AppLanguage::ja, "ja", "日本語", "🇯🇵"},
    {AppLanguage::pt, "pt", "Português", "🇧🇷"},
    {AppLanguage::ko, "ko", "한국어", "🇰🇷"},
    {AppLanguage::it, "it", "Italiano", "🇮🇹"},
    {AppLanguage::sl, "sl", "Slovenščina", "🇸🇮"},
}};

const LanguageInfo &info(AppLanguage language)
{
    return kLanguages[size_t(language)];
}

} // namespace

const std::array<AppLanguage, 10> &allCases()
{
    static const std::array<AppLanguage, 10> cases = [] {
        std::array<AppLanguage, 10> out{};
        for (size_t i = 0; i < kLanguages.size(); ++i)
            out[i] = kLanguages[i].language;
        return out;
    }();
    return cases;
}

QString rawValue(AppLanguage language)
{
    return QString::fromLatin1(info(language).raw);
}

std::optional<AppLanguage> fromRawValue(const QString &raw)
{
    for (const LanguageInfo &row : kLanguages) {
        if (raw == QLatin1String(row.raw))
            return row.language;
    }
    return std::nullopt;
}

QString displayName(AppLanguage language)
{
    return QString::fromUtf8(info(language).displayName);
}

QString flag(AppLanguage language)
{
    return QString::fromUtf8(info(language).flag);
}

} // namespace orvella::settings::appLanguage
