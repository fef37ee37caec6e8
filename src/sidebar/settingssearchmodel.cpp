// The settings window's list: one page's controls, or every control a search matches.
#include "sidebar/settingssearchmodel.h"

#include "settings/localizationmanager.h"

namespace orvella::sidebar {

namespace {

QString text(const QString &key)
{
    return key.isEmpty() ? QString() : settings::LocalizationManager::shared().string(key);
}

// Folded for comparison: lower case, accents dropped ("Schrift" finds "schrift",
// "modele" finds "modèle").
QString folded(const QString &s)
{
    const QString decomposed = s.toCaseFolded().normalized(QString::NormalizationForm_KD);
    QString out;
    out.reserve(decomposed.size());
    for (QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            out.append(c);
    }
    return out;
}

QString pageTitle(const QString &page)
{
    for (const auto &[id, key] : settingsCatalog::pages()) {
        if (id == page)
            return text(key);
    }
    return page;
}

} // namespace

SettingsSearchModel::SettingsSearchModel(QObject *parent)
    : QAbstractListModel(parent)
{
    refilter();
    // Matches depend on the language's texts; rows show them.
    connect(&settings::LocalizationManager::shared(), &settings::LocalizationManager::languageChanged, this,
            &SettingsSearchModel::refilter);
}

void SettingsSearchModel::setPage(const QString &page)
{
    if (m_page == page)
        return;
    m_page = page;
    emit pageChanged();
    refilter();
}

void SettingsSearchModel::setQuery(const QString &query)
{
    if (m_query == query)
        return;
    m_query = query;
    emit queryChanged();
    refilter();
}

bool SettingsSearchModel::matches(const SettingsEntry &entry, const QString &query)
{
    const QString needle = folded(query.trimmed());
    if (needle.isEmpty())
        return true;
    QStringList haystack{text(entry.titleKey), text(entry.descKey)};
    for (const QString &key : entry.labelKeys)
        haystack.append(text(key));
    for (const QString &s : haystack) {
        if (folded(s).contains(needle))
            return true;
    }
    return false;
}

void SettingsSearchModel::refilter()
{
    beginResetModel();
    m_rows.clear();
    const QList<SettingsEntry> &all = settingsCatalog::entries();
    const bool searching = !m_query.trimmed().isEmpty();
    for (int i = 0; i < all.size(); ++i) {
        if (searching ? matches(all[i], m_query) : all[i].page == m_page)
            m_rows.append(i);
    }
    endResetModel();
    emit countChanged();
}

QStringList SettingsSearchModel::shownProperties() const
{
    QStringList out;
    for (int i : m_rows)
        out.append(settingsCatalog::entries()[i].property);
    return out;
}

int SettingsSearchModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SettingsSearchModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const SettingsEntry &e = settingsCatalog::entries()[m_rows[index.row()]];
    switch (role) {
    case PageRole: return e.page;
    case PageTitleRole: return pageTitle(e.page);
    case KindRole: return e.kind;
    case PropertyRole: return e.property;
    case Qt::DisplayRole:
    case TitleRole: return text(e.titleKey);
    case DescriptionRole: return text(e.descKey);
    case ValuesRole: return e.values;
    case LabelsRole: {
        QStringList labels;
        for (const QString &key : e.labelKeys)
            labels.append(text(key));
        return labels;
    }
    case MinimumRole: return e.minimum;
    case MaximumRole: return e.maximum;
    case StepRole: return e.step;
    case AutoPropertyRole: return e.autoProperty;
    case NoteWhenRole: return e.noteWhen;
    case NoteRole: return text(e.noteKey);
    default: return {};
    }
}

QHash<int, QByteArray> SettingsSearchModel::roleNames() const
{
    return {{PageRole, "page"},         {PageTitleRole, "pageTitle"},
            {KindRole, "kind"},         {PropertyRole, "setting"},
            {TitleRole, "title"},       {DescriptionRole, "description"},
            {ValuesRole, "values"},     {LabelsRole, "labels"},
            {MinimumRole, "minimum"},   {MaximumRole, "maximum"},
            {StepRole, "step"},         {AutoPropertyRole, "autoProperty"},
            {NoteWhenRole, "noteWhen"}, {NoteRole, "note"}};
}

} // namespace orvella::sidebar
