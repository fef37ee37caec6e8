// Looks interface texts up by key in the chosen language, falling back to English.
#pragma once

#include "settings/applanguage.h"

#include <QHash>
#include <QObject>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace orvella::settings {

/**
 * The interface-text tables and the current language.
 *
 * Each language's table is a JSON file compiled into the binary
 * (":/translations/<raw value>.json") and parsed once, on first use. Lookups go to
 * the current language, then English, then answer the key itself, so a missing text
 * shows up as its dotted name instead of an empty label.
 */
class LocalizationManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString language READ languageCode NOTIFY languageChanged)
public:
    /// The one instance, created on first use (main thread).
    static LocalizationManager &shared();

    AppLanguage language() const { return m_language; }
    QString languageCode() const { return appLanguage::rawValue(m_language); }
    /// The current language's table.
    const QHash<QString, QString> &strings() const { return *m_strings; }

    /// Selects the language whose raw value is `code`; English when none is.
    Q_INVOKABLE void setLanguage(const QString &code);
    /// The text for `key` in the current language (see the class comment).
    Q_INVOKABLE QString string(const QString &key) const;

    /// The text for `key` with its "%@" and "%d" placeholders filled from `arguments`
    /// in order, and "%%" written as "%".
    Q_INVOKABLE QString formatted(const QString &key, const QStringList &arguments) const;
    /// Fills a format text the same way; missing arguments leave their placeholder.
    static QString format(const QString &pattern, const QStringList &arguments);

    /// The lookup chain: `current`, then `english`, then the key itself.
    static QString lookup(const QHash<QString, QString> &current, const QHash<QString, QString> &english,
                          const QString &key);

    /// A language's whole table, parsed on first use; empty when the language has none.
    static const QHash<QString, QString> &allTranslations(AppLanguage language);
    /// Keys of a language's table in file order (the English order for a complete table).
    static QStringList orderedKeys(AppLanguage language);

    /// The raw value for the initial `appLanguage`, from the user's preferred languages.
    static QString detectSystemLanguage();
    /// The same decision over an explicit preferred-language list (BCP 47-like tags).
    static QString detectSystemLanguage(const QStringList &preferredLanguages);
    /// The preferred-language list as gettext reads it: `LANGUAGE` (unless the locale is
    /// C/POSIX), else the first of `LC_ALL`, `LC_MESSAGES`, `LANG`; entries normalised to
    /// tags such as "de-AT" and "zh-Hans-CN".
    static QStringList preferredLanguages(const QProcessEnvironment &env);

signals:
    void languageChanged();

private:
    LocalizationManager();

    AppLanguage m_language = AppLanguage::en;
    const QHash<QString, QString> *m_strings = nullptr;
};

} // namespace orvella::settings
