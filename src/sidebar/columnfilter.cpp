// One column of a split sidebar: the rows of the shared model that the packing put there.
#include "sidebar/columnfilter.h"

#include "sidebar/sidebarrowsmodel.h"

namespace orvella::sidebar {

void ColumnFilter::setColumn(int column)
{
    if (column == m_column)
        return;
    m_column = column;
    invalidateFilter();
    emit columnChanged();
}

bool ColumnFilter::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    const QModelIndex index = sourceModel()->index(sourceRow, 0, sourceParent);
    return index.data(SidebarRowsModel::ColumnRole).toInt() == m_column;
}

} // namespace orvella::sidebar
