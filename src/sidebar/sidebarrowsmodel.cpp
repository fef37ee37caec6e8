// The sidebar's list as one flat model: each visible section's header followed by its windows.
#include "sidebar/sidebarrowsmodel.h"

namespace orvella::sidebar {

int SidebarRowsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SidebarRowsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case KindRole: {
        static const QStringList kinds{QStringLiteral("section"), QStringLiteral("window"),
                                       QStringLiteral("label"), QStringLiteral("placeholder"),
                                       QStringLiteral("hint")};
        return kinds.at(int(row.kind));
    }
    case ItemIdRole: return row.id;
    case Qt::DisplayRole:
    case TitleRole: return row.title;
    case SectionIdRole: return row.sectionId;
    case IsShelfRole: return row.isShelf;
    case IsCollapsedRole: return row.isCollapsed;
    case WindowCountRole: return row.windowCount;
    case IsActiveRole: return row.isActive;
    case IsMinimizedRole: return row.isMinimized;
    case IconIdRole: return row.iconId;
    case SubtitleRole: return row.subtitle;
    case ColumnRole: return row.column;
    default: return {};
    }
}

QHash<int, QByteArray> SidebarRowsModel::roleNames() const
{
    return {{KindRole, "kind"},
            {ItemIdRole, "itemId"},
            {TitleRole, "title"},
            {SectionIdRole, "sectionId"},
            {IsShelfRole, "isShelf"},
            {IsCollapsedRole, "isCollapsed"},
            {WindowCountRole, "windowCount"},
            {IsActiveRole, "isActive"},
            {IsMinimizedRole, "isMinimized"},
            {IconIdRole, "iconId"},
            {SubtitleRole, "subtitle"},
            {ColumnRole, "column"}};
}

QList<int> SidebarRowsModel::changedRoles(const Row &a, const Row &b)
{
    QList<int> roles;
    if (a.title != b.title)
        roles << Qt::DisplayRole << TitleRole;
    if (a.isCollapsed != b.isCollapsed)
        roles << IsCollapsedRole;
    if (a.windowCount != b.windowCount)
        roles << WindowCountRole;
    if (a.isActive != b.isActive)
        roles << IsActiveRole;
    if (a.isMinimized != b.isMinimized)
        roles << IsMinimizedRole;
    if (a.iconId != b.iconId)
        roles << IconIdRole;
    if (a.subtitle != b.subtitle)
        roles << SubtitleRole;
    if (a.column != b.column)
        roles << ColumnRole;
    return roles;
}

QList<SidebarRowsModel::Row> SidebarRowsModel::rowsFor(const QList<tracking::WindowCategory> &visible,
                                                       const QList<int> &columns)
{
    QList<Row> rows;
    int column = 0; // the titles and the hint stand in the column of the section they introduce
    const auto push = [&rows, &column](Row row) {
        row.column = column;
        rows.append(row);
    };
    const auto label = [&push](const char *key) {
        Row r;
        r.kind = Kind::Label;
        r.id = r.title = QString::fromLatin1(key);
        push(r);
    };
    bool shelvesOpen = false;
    bool appsOpen = false;
    bool anyShelfHasWindows = false;
    for (const tracking::WindowCategory &category : visible)
        anyShelfHasWindows = anyShelfHasWindows || (category.isShelf() && !category.windows.isEmpty());
    for (qsizetype i = 0; i < visible.size(); ++i) {
        const tracking::WindowCategory &category = visible[i];
        column = columns.value(i, 0);
        if (category.isShelf() && !shelvesOpen) {
            shelvesOpen = true;
            label("section.myShelves");
        }
        if (!category.isShelf() && !appsOpen) {
            appsOpen = true;
            if (shelvesOpen && !anyShelfHasWindows)
                push({Kind::Hint, QStringLiteral("hint"), {}, {}, false, false, 0, false, false, {}, {}});
            label("section.appWindows");
        }
        const QString firstWindow = category.windows.isEmpty() ? QString() : category.windows.first().id;
        push({Kind::Section,
              category.id,
              category.displayName,
              category.id,
              category.isShelf(),
              category.isCollapsed,
              int(category.windows.size()),
              false,
              false,
              category.isShelf() ? QString() : firstWindow,
              {}});
        if (category.isCollapsed)
            continue;
        if (category.isShelf() && category.windows.isEmpty()) {
            push({Kind::Placeholder,
                  category.id + QStringLiteral("/empty"),
                  {},
                  category.id,
                  true,
                  false,
                  0,
                  false,
                  false,
                  {},
                  {}});
        }
        for (const tracking::WindowItem &w : category.windows) {
            push({Kind::Window, w.id, w.windowTitle.isEmpty() ? w.appName : w.windowTitle, category.id,
                  category.isShelf(), false, 0, w.isActive, w.isMinimized, w.id, w.appName});
        }
    }
    if (shelvesOpen && !appsOpen && !anyShelfHasWindows)
        push({Kind::Hint, QStringLiteral("hint"), {}, {}, false, false, 0, false, false, {}, {}});
    return rows;
}

void SidebarRowsModel::setCategories(const QList<tracking::WindowCategory> &visible,
                                     const QList<int> &columns)
{
    QList<Row> rows = rowsFor(visible, columns);
    const bool sameShape =
        rows.size() == m_rows.size()
        && std::equal(rows.cbegin(), rows.cend(), m_rows.cbegin(), [](const Row &a, const Row &b) {
               return a.kind == b.kind && a.id == b.id && a.sectionId == b.sectionId;
           });
    if (!sameShape) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
        return;
    }
    for (int i = 0; i < rows.size(); ++i) {
        const QList<int> roles = changedRoles(m_rows[i], rows[i]);
        if (roles.isEmpty())
            continue;
        m_rows[i] = rows[i];
        emit dataChanged(index(i), index(i), roles);
    }
}

} // namespace orvella::sidebar
