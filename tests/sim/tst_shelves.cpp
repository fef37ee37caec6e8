// Shelves through the window manager on the simulated desktop: operations, order,
// ghosts and placeholders. Retitles, restarts and reused window numbers are
// tst_shelfidentity's and tst_shelvesx11's.
#include "platform/preferencesstore.h"
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "settings/appsettings.h"
#include "tracking/identity.h"
#include "tracking/windowmanager.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using platform::sim::SimulatedDesktop;

namespace {

constexpr qint32 kEditor = 100;
const QString kEditorID = QStringLiteral("org.gnome.TextEditor");

QString wn(qint64 number)
{
    return QStringLiteral("org.gnome.TextEditor::wn:%1").arg(number);
}

SimulatedDesktop::Window window(qint64 number, const QString &title)
{
    SimulatedDesktop::Window w;
    w.number = number;
    w.title = title;
    return w;
}

QStringList windowTitles(const WindowCategory &c)
{
    QStringList out;
    for (const WindowItem &w : c.windows)
        out.append(w.windowTitle);
    return out;
}

} // namespace

class TestShelves : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void collapseMoveHideAndShowSectionsAlone();
    void movingWindowsKeepsTheUsersOrder();
    void removedWindowStaysOutOfItsShelf();
    void addRemoveAndRenameShelves();
    void shelvedWindowsShowAsGhostsAndAsClosedPlaceholders();

private:
    void newManager();
    void refresh();
    /// Editor windows 1, 2, … with these titles and a new shelf holding the first `shelved`.
    QString shelfWith(const QStringList &titles, int shelved);
    const WindowCategory *section(const QString &id) const;

    QTemporaryDir m_dir;
    std::shared_ptr<SimulatedDesktop> m_desktop;
    platform::sim::ManualScheduler m_clock;
    std::unique_ptr<platform::PreferencesStore> m_store;
    std::unique_ptr<WindowManager> m_wm;
    int m_n = 0;
};

void TestShelves::init()
{
    m_desktop = std::make_shared<SimulatedDesktop>();
    m_desktop->addApp({kEditor, QStringLiteral("Text Editor"), kEditorID, true, {}});
    m_store =
        std::make_unique<platform::PreferencesStore>(m_dir.filePath(QStringLiteral("p%1.json").arg(++m_n)));
    newManager();
}

void TestShelves::cleanup()
{
    m_wm.reset();
    m_store.reset();
}

void TestShelves::newManager()
{
    m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, m_store.get(), m_clock);
    m_wm->restoreState();
}

void TestShelves::refresh()
{
    m_wm->refresh();
    QTRY_VERIFY(!m_wm->state().isRefreshing);
}

QString TestShelves::shelfWith(const QStringList &titles, int shelved)
{
    for (int n = 1; n <= titles.size(); ++n)
        m_desktop->addWindow(kEditor, window(n, titles[n - 1]));
    refresh();
    const QString shelf = m_wm->addShelf();
    for (int n = 1; n <= shelved; ++n)
        m_wm->dragMoveWindow(wn(n), shelf);
    return shelf;
}

const WindowCategory *TestShelves::section(const QString &id) const
{
    for (const WindowCategory &c : m_wm->categories()) {
        if (c.id == id)
            return &c;
    }
    return nullptr;
}

void TestShelves::collapseMoveHideAndShowSectionsAlone()
{
    const QString shelf = shelfWith({"a"}, 0);
    m_wm->toggleCategoryCollapsed(kEditorID);
    QVERIFY(section(kEditorID)->isCollapsed);
    QCOMPARE(m_store->dictionaryValue(QStringLiteral("ov.categoryCollapsed"))->value(kEditorID).toBool(),
             true);
    m_wm->toggleCategoryCollapsed(kEditorID);
    QVERIFY(!section(kEditorID)->isCollapsed);
    QCOMPARE(m_store->dictionaryValue(QStringLiteral("ov.categoryCollapsed"))->value(kEditorID).toBool(),
             false);

    QCOMPARE(m_wm->state().categoryOrder, QStringList({kEditorID, shelf}));
    m_wm->moveCategory(shelf, kEditorID);
    QCOMPARE(m_wm->state().categoryOrder, QStringList({shelf, kEditorID}));
    QCOMPARE(m_wm->categories().constFirst().id, shelf);
    m_wm->moveCategory(shelf, shelf); // before itself: to the end
    QCOMPARE(m_wm->state().categoryOrder, QStringList({kEditorID, shelf}));
    QCOMPARE(m_wm->categories().constFirst().id, kEditorID);

    m_store->flush();
    const QJsonObject before = m_store->snapshot();
    QSignalSpy changed(m_wm.get(), &WindowManager::categoriesChanged);
    // Ids that name no section change nothing, on screen or on disk.
    QVERIFY(!m_wm->moveCategory(QStringLiteral("not-a-section"), shelf));
    QVERIFY(!m_wm->toggleCategoryCollapsed(QStringLiteral("not-a-section")));
    QVERIFY(!m_wm->setCategoryHidden(QStringLiteral("not-a-section"), true));
    QCOMPARE(m_store->snapshot(), before);
    QVERIFY(!m_store->hasUnsavedChanges());
    QCOMPARE(changed.count(), 0);

    QCOMPARE(m_wm->visibleCategories().size(), 2);
    m_wm->setCategoryHidden(kEditorID, true);
    QCOMPARE(m_wm->visibleCategories().size(), 1);
    QCOMPARE(m_wm->categories().size(), 2);
    m_wm->setOnlyCategory(kEditorID);
    QCOMPARE(m_wm->visibleCategories().size(), 1);
    QCOMPARE(m_wm->visibleCategories().constFirst().id, kEditorID);
    m_wm->setOnlyCategory(QString());
    m_wm->setCategoryHidden(kEditorID, false);
    QCOMPARE(m_wm->visibleCategories().size(), 2);
    QCOMPARE(m_store->stringListValue(QStringLiteral("ov.categoryHidden")), std::optional(QStringList()));

    // The section shown alone goes away with its application: the others show, not nothing.
    m_wm->setOnlyCategory(kEditorID);
    m_desktop->removeApp(kEditor);
    refresh();
    QCOMPARE(m_wm->visibleCategories().size(), 1);
    QCOMPARE(m_wm->visibleCategories().constFirst().id, shelf);

    // A section listed twice in a stored order shows once; one unused for a month leaves it.
    m_wm->state().categoryOrder = {shelf, QStringLiteral("old.app"), kEditorID, shelf};
    m_wm->state().categoryLastSeen.insert(QStringLiteral("old.app"), m_clock.now().date().addDays(-31));
    m_wm->buildCategories();
    QCOMPARE(m_store->stringListValue(QStringLiteral("ov.categoryOrder")),
             std::optional(QStringList({shelf, kEditorID})));
}

void TestShelves::movingWindowsKeepsTheUsersOrder()
{
    const QString shelf = shelfWith({"doc1", "doc2", "doc3"}, 2);
    QVERIFY(m_wm->dragMoveWindow(identity::ghostID(wn(3)), shelf, wn(1))); // ghost ids act on the window
    QCOMPARE(windowTitles(*section(shelf)), QStringList({"doc3", "doc1", "doc2"}));
    QCOMPARE(m_wm->categoryIDForWindow(wn(3)), std::optional(shelf));
    QVERIFY(!m_wm->dragMoveWindow(wn(1), QStringLiteral("shelf-99")));
    QVERIFY(!m_wm->dragMoveWindow(QStringLiteral("no::such"), shelf));

    // The order survives the next refreshes.
    refresh();
    QCOMPARE(windowTitles(*section(shelf)), QStringList({"doc3", "doc1", "doc2"}));
}

void TestShelves::removedWindowStaysOutOfItsShelf()
{
    const QString shelf = shelfWith({"keep out"}, 1);
    const QString id = wn(1);
    QVERIFY(m_wm->removeWindowFromShelf(id));
    QCOMPARE(m_wm->categoryIDForWindow(id), std::optional(kEditorID));
    QVERIFY(m_wm->state().explicitlyRemovedSigs.contains(id));
    QVERIFY(m_wm->state().explicitlyRemovedDescriptors.contains(
        QStringLiteral("org.gnome.TextEditor::keep out")));

    // A memory of the old place must not bring it back, not even after a restart.
    m_wm->state().lastShelfByPidAndIndex.insert(QStringLiteral("100:0"), shelf);
    refresh();
    QCOMPARE(m_wm->categoryIDForWindow(id), std::optional(kEditorID));
    newManager();
    refresh();
    QCOMPARE(m_wm->categoryIDForWindow(id), std::optional(kEditorID));

    // Putting it back on a shelf clears the marks.
    m_wm->dragMoveWindow(id, shelf);
    QCOMPARE(m_wm->categoryIDForWindow(id), std::optional(shelf));
    QVERIFY(m_wm->state().explicitlyRemovedSigs.isEmpty());
    QVERIFY(m_wm->state().explicitlyRemovedDescriptors.isEmpty());
}

void TestShelves::addRemoveAndRenameShelves()
{
    const QString shelf = shelfWith({"a"}, 1);
    QCOMPARE(shelf, QStringLiteral("shelf-1"));
    QCOMPARE(section(shelf)->displayName, QStringLiteral("Shelf 1"));
    QVERIFY(!m_wm->renameCategory(shelf, QStringLiteral("  \n ")));
    QVERIFY(m_wm->renameCategory(shelf, QStringLiteral("  Reading ")));
    QCOMPARE(section(shelf)->displayName, QStringLiteral("Reading"));
    QVERIFY(m_wm->renameCategory(kEditorID, QStringLiteral("Notes")));
    QCOMPARE(section(kEditorID)->displayName, QStringLiteral("Notes"));

    QVERIFY(m_wm->removeShelf(shelf));
    QCOMPARE(section(shelf), nullptr);
    QCOMPARE(m_wm->categoryIDForWindow(wn(1)), std::optional(kEditorID));
    QVERIFY(m_wm->state().windowCategoryAssignment.isEmpty());
    QVERIFY(m_wm->state().manualShelfAssignmentByDescriptor.isEmpty());
    QVERIFY(!m_wm->state().categoryCustomNames.contains(shelf));
    QVERIFY(!m_wm->removeShelf(shelf));
    // A new shelf numbers after the highest: this one's number is free again.
    QCOMPARE(m_wm->addShelf(), shelf);
    QCOMPARE(section(shelf)->windows.size(), 0);
    m_wm->state().shelfIDs = {QStringLiteral("shelf-7"), QStringLiteral("shelf-2"),
                              QStringLiteral("shelf-x")};
    QCOMPARE(m_wm->addShelf(), QStringLiteral("shelf-8"));
    QCOMPARE(m_store->stringListValue(QStringLiteral("ov.shelfIDs"))->constLast(), QStringLiteral("shelf-8"));
    QCOMPARE(m_store->dictionaryValue(QStringLiteral("ov.defaultShelfNames"))
                 ->value(QStringLiteral("shelf-8"))
                 .toString(),
             QStringLiteral("Shelf 8"));
}

void TestShelves::shelvedWindowsShowAsGhostsAndAsClosedPlaceholders()
{
    qputenv("XDG_CONFIG_HOME", m_dir.path().toUtf8());
    platform::PreferencesStore settingsStore(m_dir.filePath(QStringLiteral("settings-%1.json").arg(m_n)));
    settings::AppSettings appSettings(settingsStore);
    appSettings.setShowClosedShelfApps(true);
    m_wm = std::make_unique<WindowManager>(m_desktop, &appSettings, m_store.get(), m_clock);

    m_desktop->addApp({200, QStringLiteral("Files"), std::nullopt, true, {}});
    m_desktop->addWindow(200, window(5, QStringLiteral("Downloads")));
    refresh();
    const QString shelf = m_wm->addShelf();
    m_wm->dragMoveWindow(QStringLiteral("Files::wn:5"), shelf);
    QCOMPARE(section(QStringLiteral("Files"))->windows.constFirst().id, QStringLiteral("Files::wn:5-ghost"));
    QCOMPARE(section(shelf)->windows.constFirst().assignedShelfName, std::optional(shelf));

    // The application quits: its window stays on the shelf as a placeholder.
    m_desktop->removeApp(200);
    refresh();
    QCOMPARE(windowTitles(*section(shelf)), QStringList({"Downloads"}));
    QCOMPARE(section(shelf)->windows.constFirst().id, QStringLiteral("closed-Files::Downloads"));
    QVERIFY(section(shelf)->windows.constFirst().isClosed);

    // Without ghosts and closed apps, the shelf is empty and Files has no section.
    appSettings.setShowClosedShelfApps(false);
    refresh();
    QCOMPARE(section(shelf)->windows.size(), 0);
    QCOMPARE(section(QStringLiteral("Files")), nullptr);
    m_wm.reset();
}

QTEST_GUILESS_MAIN(TestShelves)
#include "tst_shelves.moc"
