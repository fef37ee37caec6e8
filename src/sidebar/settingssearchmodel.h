// The settings window's list: one page's controls, or every control a search matches.
#pragma once

#include "sidebar/settingscatalog.h"

#include <QAbstractListModel>

namespace orvella::sidebar {

/**
 * Rows of the settings catalog. With an empty query it lists the current page; with a
 * query it lists, across all pages, the entries whose title, description or choice
 * labels contain it in the current interface language (case and accents aside). Texts
 * are looked up per row, so a language switch relabels every row at once.
 */
class SettingsSearchModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(QString page READ page WRITE setPage NOTIFY pageChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    /// A query is typed and nothing matches it.
    Q_PROPERTY(bool noResults READ noResults NOTIFY countChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
public:
    enum Role {
        PageRole = Qt::UserRole + 1,
        PageTitleRole,
        KindRole,
        PropertyRole,
        TitleRole,
        DescriptionRole,
        ValuesRole,
        LabelsRole,
        MinimumRole,
        MaximumRole,
        StepRole,
        AutoPropertyRole,
        NoteWhenRole,
        NoteRole,
    };

    explicit SettingsSearchModel(QObject *parent = nullptr);

    QString page() const { return m_page; }
    void setPage(const QString &page);
    QString query() const { return m_query; }
    void setQuery(const QString &query);
    bool noResults() const { return !m_query.trimmed().isEmpty() && m_rows.isEmpty(); }

    /// The property names of the rows shown, in order (what a search left).
    Q_INVOKABLE QStringList shownProperties() const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Whether `entry` matches `query` in the current language.
    static bool matches(const SettingsEntry &entry, const QString &query);

signals:
    void pageChanged();
    void queryChanged();
    void countChanged();

private:
    void refilter();

    QString m_page = QStringLiteral("general");
    QString m_query;
    QList<int> m_rows; ///< indexes into the catalog
};

} // namespace orvella::sidebar
