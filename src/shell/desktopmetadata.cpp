// The desktop entry and the AppStream summaries, written from the interface texts.
#include "shell/desktopmetadata.h"

#include "logging.h"
#include "settings/localizationmanager.h"

#include <functional>

namespace orvella::shell::desktopMetadata {

namespace {

using settings::AppLanguage;
using settings::LocalizationManager;

// The translated text of `key`; absent when the language has none of its own, so the entry
// falls back to English instead of repeating it.
std::optional<QString> translated(AppLanguage language, const QString &key)
{
    const QString text = LocalizationManager::allTranslations(language).value(key).trimmed();
    if (text.isEmpty())
        return std::nullopt;
    if (language != AppLanguage::en
        && text == LocalizationManager::allTranslations(AppLanguage::en).value(key).trimmed())
        return std::nullopt;
    return text;
}

// A desktop entry's value is one line; a stray line break or tab in a translation would
// start a key of its own.
QString entryValue(QString text)
{
    text.replace(u'\\', QStringLiteral("\\\\"));
    text.replace(u'\n', QStringLiteral("\\n"));
    text.replace(u'\t', QStringLiteral("\\t"));
    text.replace(u'\r', QStringLiteral("\\r"));
    return text;
}

// Keywords are a list: every item ends with ';', empty items are dropped.
std::optional<QString> keywordList(const QString &text)
{
    QStringList items;
    for (const QString &item : text.split(u';', Qt::SkipEmptyParts)) {
        if (!item.trimmed().isEmpty())
            items.append(item.trimmed());
    }
    if (items.isEmpty())
        return std::nullopt;
    return entryValue(items.join(u';') + u';');
}

QString xmlEscaped(const QString &text)
{
    return text.toHtmlEscaped();
}

// One key in every language that has a text for it: "Key=..." then "Key[de]=...".
QString localizedKey(const char *entryKey, const QString &textKey,
                     const std::function<std::optional<QString>(const QString &)> &value)
{
    QString out;
    for (AppLanguage language : settings::appLanguage::allCases()) {
        const auto text = translated(language, textKey);
        const auto formatted = text ? value(*text) : std::nullopt;
        if (!formatted) {
            if (language == AppLanguage::en)
                qCWarning(lcShell).noquote() << "[OV] desktop entry: no English text for" << textKey;
            continue;
        }
        const QString locale = localeName(language);
        out += QString::fromLatin1(entryKey) + (locale.isEmpty() ? QString() : u'[' + locale + u']') + u'='
               + *formatted + u'\n';
    }
    return out;
}

} // namespace

QString localeName(AppLanguage language)
{
    switch (language) {
    case AppLanguage::en: return {};
    // Simplified Chinese is what the mainland's locale reads.
    case AppLanguage::zhHans: return QStringLiteral("zh_CN");
    default: return settings::appLanguage::rawValue(language);
    }
}

QString desktopEntry(const QString &exec)
{
    const auto plain = [](const QString &text) -> std::optional<QString> { return entryValue(text); };
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Version=1.4\n"
                          "Name=Orvella\n")
           + localizedKey("GenericName", QStringLiteral("desktop.genericName"), plain)
           + localizedKey("Comment", QStringLiteral("desktop.comment"), plain)
           + localizedKey("Keywords", QStringLiteral("desktop.keywords"), keywordList)
           + QStringLiteral("Exec=%1\n"
                            "Icon=%2\n"
                            "Terminal=false\n"
                            "Categories=Utility;\n"
                            // It lives in the tray: no window comes up for a launch
                            // feedback to wait on, and it sends desktop notifications.
                            "StartupNotify=false\n"
                            "X-GNOME-UsesNotifications=true\n")
                 .arg(exec, QString::fromLatin1(kApplicationID));
}

QString appStreamSummaries()
{
    QString out;
    for (AppLanguage language : settings::appLanguage::allCases()) {
        const auto text = translated(language, QStringLiteral("desktop.comment"));
        if (!text)
            continue;
        const QString locale = localeName(language);
        out += QStringLiteral("  <summary%1>%2</summary>\n")
                   .arg(locale.isEmpty() ? QString() : QStringLiteral(" xml:lang=\"%1\"").arg(locale),
                        xmlEscaped(*text));
    }
    return out;
}

} // namespace orvella::shell::desktopMetadata
