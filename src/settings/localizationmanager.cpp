// Looks interface texts up by key in the chosen language, falling back to English.
#include "settings/localizationmanager.h"

#include "logging.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <map>
#include <memory>

namespace orvella::settings {

namespace {

QByteArray readTable(AppLanguage language)
{
    QFile file(QStringLiteral(":/translations/%1.json").arg(appLanguage::rawValue(language)));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QHash<QString, QString> parseTable(AppLanguage language)
{
    QHash<QString, QString> table;
    const QByteArray bytes = readTable(language);
    if (bytes.isEmpty())
        return table;
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    if (!doc.isObject()) {
        qCWarning(lcSettings).noquote() << "[OV] translations: table" << appLanguage::rawValue(language)
                                        << "does not parse:" << error.errorString() << "; using English";
        return table;
    }
    const QJsonObject object = doc.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (it.value().isString())
            table.insert(it.key(), it.value().toString());
    }
    return table;
}

// gettext locale names carry the region, not the script; the Chinese script is
// implied by the region, and deciding it here keeps the detection rules simple.
QString normalizedTag(QString entry)
{
    entry = entry.section(QLatin1Char('.'), 0, 0).section(QLatin1Char('@'), 0, 0);
    entry.replace(QLatin1Char('_'), QLatin1Char('-'));
    const QStringList parts = entry.split(QLatin1Char('-'));
    if (parts.value(0).compare(QLatin1String("zh"), Qt::CaseInsensitive) != 0)
        return entry;
    const QString second = parts.value(1);
    if (second.compare(QLatin1String("Hans"), Qt::CaseInsensitive) == 0
        || second.compare(QLatin1String("Hant"), Qt::CaseInsensitive) == 0)
        return entry;
    static const QStringList traditionalRegions{QStringLiteral("TW"), QStringLiteral("HK"),
                                                QStringLiteral("MO")};
    const QString script =
        traditionalRegions.contains(second.toUpper()) ? QStringLiteral("Hant") : QStringLiteral("Hans");
    return second.isEmpty() ? QStringLiteral("zh-") + script : QStringLiteral("zh-%1-%2").arg(script, second);
}

bool isCLocale(const QString &locale)
{
    return locale == QLatin1String("C") || locale == QLatin1String("POSIX")
           || locale.startsWith(QLatin1String("C."));
}

} // namespace

LocalizationManager &LocalizationManager::shared()
{
    static LocalizationManager *instance = new LocalizationManager;
    return *instance;
}

LocalizationManager::LocalizationManager()
    : m_strings(&allTranslations(AppLanguage::en))
{}

const QHash<QString, QString> &LocalizationManager::allTranslations(AppLanguage language)
{
    static std::map<AppLanguage, std::unique_ptr<const QHash<QString, QString>>> tables;
    auto &slot = tables[language];
    if (!slot)
        slot = std::make_unique<const QHash<QString, QString>>(parseTable(language));
    return *slot;
}

QStringList LocalizationManager::orderedKeys(AppLanguage language)
{
    // QJsonObject forgets the file order; the format puts one entry on each line.
    static const QRegularExpression entry(QStringLiteral(R"re(^\s*"((?:[^"\\]|\\.)*)"\s*:)re"),
                                          QRegularExpression::MultilineOption);
    QStringList keys;
    const QString text = QString::fromUtf8(readTable(language));
    for (auto it = entry.globalMatch(text); it.hasNext();)
        keys.append(it.next().captured(1));
    return keys;
}

void LocalizationManager::setLanguage(const QString &code)
{
    const AppLanguage language = appLanguage::fromRawValue(code).value_or(AppLanguage::en);
    m_strings = &allTranslations(language);
    if (language == m_language)
        return;
    m_language = language;
    emit languageChanged();
}

QString LocalizationManager::string(const QString &key) const
{
    return lookup(*m_strings, allTranslations(AppLanguage::en), key);
}

QString LocalizationManager::formatted(const QString &key, const QStringList &arguments) const
{
    return format(string(key), arguments);
}

QString LocalizationManager::format(const QString &pattern, const QStringList &arguments)
{
    QString out;
    out.reserve(pattern.size());
    qsizetype next = 0;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern[i];
        const QChar spec = i + 1 < pattern.size() ? pattern[i + 1] : QChar();
        if (c != u'%' || (spec != u'@' && spec != u'd' && spec != u'%')) {
            out += c;
            continue;
        }
        ++i;
        if (spec == u'%')
            out += u'%';
        else if (next < arguments.size())
            out += arguments[next++];
        else
            out += c + QString(spec);
    }
    return out;
}

QString LocalizationManager::lookup(const QHash<QString, QString> &current,
                                    const QHash<QString, QString> &english, const QString &key)
{
    if (auto it = current.constFind(key); it != current.constEnd())
        return *it;
    if (auto it = english.constFind(key); it != english.constEnd())
        return *it;
    return key;
}

QString LocalizationManager::detectSystemLanguage()
{
    return detectSystemLanguage(preferredLanguages(QProcessEnvironment::systemEnvironment()));
}

QString LocalizationManager::detectSystemLanguage(const QStringList &preferredLanguages)
{
    for (const QString &entry : preferredLanguages) {
        if (entry.startsWith(QLatin1String("zh-Hans")) || entry.startsWith(QLatin1String("zh_Hans")))
            return QStringLiteral("zh-Hans");
        // Traditional Chinese readers are better served by their next choice than by
        // Simplified characters.
        if (entry.startsWith(QLatin1String("zh-Hant")) || entry.startsWith(QLatin1String("zh_Hant")))
            continue;
        if (appLanguage::fromRawValue(entry.left(2)))
            return entry.left(2);
    }
    return QStringLiteral("en");
}

QStringList LocalizationManager::preferredLanguages(const QProcessEnvironment &env)
{
    QString locale;
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = env.value(QLatin1String(name));
        if (!locale.isEmpty())
            break;
    }
    if (locale.isEmpty() || isCLocale(locale))
        return {};

    QStringList entries = env.value(QStringLiteral("LANGUAGE")).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (entries.isEmpty())
        entries = {locale};
    QStringList tags;
    for (const QString &entry : entries) {
        if (!isCLocale(entry))
            tags.append(normalizedTag(entry));
    }
    return tags;
}

} // namespace orvella::settings
