// The sidebar's row model: a title change repaints its row alone, an unchanged grouping
// announces nothing, and a structural change stays consistent under the model tester.
#include "sidebar/sidebarrowsmodel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace orvella;
using sidebar::SidebarRowsModel;

namespace {

tracking::WindowCategory section(const QString &id, const QStringList &titles, bool collapsed = false)
{
    tracking::WindowCategory c;
    c.id = id;
    c.displayName = id;
    c.isCollapsed = collapsed;
    for (const QString &title : titles) {
        tracking::WindowItem w;
        w.id = id + QLatin1Char('/') + title;
        w.windowTitle = title;
        c.windows.append(w);
    }
    return c;
}

} // namespace

class TestSidebarRowsModel : public QObject
{
    Q_OBJECT
private slots:
    void changesAreAnnouncedExactly();
};

void TestSidebarRowsModel::changesAreAnnouncedExactly()
{
    SidebarRowsModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QList<tracking::WindowCategory> sections{section("shelf-1", {"a", "b"}), section("app", {"c"}, true)};
    model.setCategories(sections);
    // A collapsed section shows its header only.
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(model.index(3).data(SidebarRowsModel::WindowCountRole).toInt(), 1);

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.setCategories(sections);
    QCOMPARE(changed.count() + reset.count(), 0);

    sections[0].windows[1].windowTitle = QStringLiteral("b renamed");
    model.setCategories(sections);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed[0][0].toModelIndex().row(), 2);
    QCOMPARE(changed[0][2].value<QList<int>>(), (QList<int>{Qt::DisplayRole, SidebarRowsModel::TitleRole}));
    QCOMPARE(reset.count(), 0);

    sections[1].isCollapsed = false;
    model.setCategories(sections);
    QCOMPARE(reset.count(), 1);
    QCOMPARE(model.index(4).data(SidebarRowsModel::TitleRole).toString(), QStringLiteral("c"));
}

QTEST_GUILESS_MAIN(TestSidebarRowsModel)
#include "tst_sidebarrowsmodel.moc"
