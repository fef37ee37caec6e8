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
    // Titles above the shelves and the applications; a collapsed section shows its header only.
    const auto kinds = [&model] {
        QStringList out;
        for (int i = 0; i < model.rowCount(); ++i)
            out << model.index(i).data(SidebarRowsModel::KindRole).toString();
        return out;
    };
    QCOMPARE(kinds(), QStringList({"label", "section", "window", "window", "label", "section"}));
    QCOMPARE(model.index(5).data(SidebarRowsModel::WindowCountRole).toInt(), 1);

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.setCategories(sections);
    QCOMPARE(changed.count() + reset.count(), 0);

    sections[0].windows[1].windowTitle = QStringLiteral("b renamed");
    model.setCategories(sections);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed[0][0].toModelIndex().row(), 3);
    QCOMPARE(changed[0][2].value<QList<int>>(), (QList<int>{Qt::DisplayRole, SidebarRowsModel::TitleRole}));
    QCOMPARE(reset.count(), 0);

    sections[1].isCollapsed = false;
    model.setCategories(sections);
    QCOMPARE(reset.count(), 1);
    QCOMPARE(model.index(6).data(SidebarRowsModel::TitleRole).toString(), QStringLiteral("c"));

    // An empty shelf asks for windows, and while no shelf holds one the hint follows the shelves.
    model.setCategories({section("shelf-1", {}), section("app", {"c"})});
    QCOMPARE(kinds(), QStringList({"label", "section", "placeholder", "hint", "label", "section", "window"}));
}

QTEST_GUILESS_MAIN(TestSidebarRowsModel)
#include "tst_sidebarrowsmodel.moc"
