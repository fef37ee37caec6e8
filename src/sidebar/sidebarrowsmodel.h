// The sidebar's list as one flat model: each visible section's header followed by its windows.
#pragma once

#include "tracking/windowcategory.h"

#include <QAbstractListModel>

namespace orvella::sidebar {

/**
 * One row per section header and per window of an expanded section, in display order, with
 * the list's furniture between them: a title above the shelves and above the application
 * sections, a placeholder in an expanded empty shelf, and the drag hint after the shelves
 * while none holds a window. When
 * a new grouping keeps the same rows in the same order, only the changed roles of the
 * changed rows are announced, so a title change repaints one row and an unchanged refresh
 * nothing; any other change resets the model.
 */
class SidebarRowsModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role {
        /// "section", "window", "label" (title is a text key), "placeholder" or "hint"
        KindRole = Qt::UserRole + 1,
        ItemIdRole, ///< the section's or the window's id
        TitleRole,
        SectionIdRole,
        IsShelfRole,
        IsCollapsedRole,
        WindowCountRole,
        IsActiveRole,
        IsMinimizedRole,
        IconIdRole, ///< the window whose application icon stands for the row; empty: none
        SubtitleRole,
        ColumnRole, ///< the split column the row's section was packed into; 0 in one column
    };
    Q_ENUM(Role)

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// `columns` holds each section's split column (as splitLayout::packColumns gives them);
    /// empty: one column.
    void setCategories(const QList<tracking::WindowCategory> &visible, const QList<int> &columns = {});

private:
    enum class Kind { Section, Window, Label, Placeholder, Hint };
    struct Row
    {
        Kind kind = Kind::Window;
        QString id;
        QString title;
        QString sectionId;
        bool isShelf = false;
        bool isCollapsed = false;
        int windowCount = 0;
        bool isActive = false;
        bool isMinimized = false;
        QString iconId;
        QString subtitle;
        int column = 0;
    };
    static QList<Row> rowsFor(const QList<tracking::WindowCategory> &visible, const QList<int> &columns);
    static QList<int> changedRoles(const Row &a, const Row &b);

    QList<Row> m_rows;
};

} // namespace orvella::sidebar
