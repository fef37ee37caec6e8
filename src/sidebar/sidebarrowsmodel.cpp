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
    case KindRole: return row.isSection ? QStringLiteral("section") : QStringLiteral("window");
    case ItemIdRole: return row.id;
    case Qt::DisplayRole:
    case TitleRole: return row.title;
    case SectionIdRole: return row.sectionId;
    case IsShelfRole: return row.isShelf;
    case IsCollapsedRole: return row.isCollapsed;
    case WindowCountRole: return row.windowCount;
    case IsActiveRole: return row.isActive;
    case IsMinimizedRole: return row.isMinimized;
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
            {IsMinimizedRole, "isMinimized"}};
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
    return roles;
}

void SidebarRowsModel::setCategories(const QList<tracking::WindowCategory> &visible)
{
    QList<Row> rows;
    for (const tracking::WindowCategory &category : visible) {
        rows.append({true, category.id, category.displayName, category.id, category.isShelf(),
                     category.isCollapsed, int(category.windows.size()), false, false});
        if (category.isCollapsed)
            continue;
        for (const tracking::WindowItem &w : category.windows) {
            rows.append({false, w.id, w.windowTitle.isEmpty() ? w.appName : w.windowTitle, category.id,
                         category.isShelf(), false, 0, w.isActive, w.isMinimized});
        }
    }
    const bool sameShape =
        rows.size() == m_rows.size()
        && std::equal(rows.cbegin(), rows.cend(), m_rows.cbegin(), [](const Row &a, const Row &b) {
               return a.isSection == b.isSection && a.id == b.id && a.sectionId == b.sectionId;
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
