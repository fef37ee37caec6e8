// One column of a split sidebar: the rows of the shared model that the packing put there.
#pragma once

#include <QSortFilterProxyModel>

namespace orvella::sidebar {

/// Passes the rows of its source whose column role equals `column`.
class ColumnFilter : public QSortFilterProxyModel
{
    Q_OBJECT
    Q_PROPERTY(int column READ column WRITE setColumn NOTIFY columnChanged)
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    int column() const { return m_column; }
    void setColumn(int column);

signals:
    void columnChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    int m_column = 0;
};

} // namespace orvella::sidebar
