// Random lives of applications on the simulated desktop: quits, restarts that reuse
// pids and window numbers, retitles and restarts of the window manager. Whatever
// happens, a window is on the shelf exactly when the user put it there.
#include "platform/preferencesstore.h"
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "tracking/windowmanager.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using namespace orvella::tracking;
using platform::sim::SimulatedDesktop;

namespace {

constexpr quint32 kSeed = 20261123;
constexpr int kSequences = 1000;
constexpr int kSteps = 14;
const QStringList kOwners{QStringLiteral("org.example.A"), QStringLiteral("org.example.B"),
                          QStringLiteral("org.example.C")};

// One application as the user knows it: its windows by title, and whether it runs.
struct Life
{
    QString owner;
    qint32 pid = 0;
    bool running = false;
    QStringList titles;
    QHash<QString, qint64> numbers; ///< title → window number while running
    /// Numbers of windows it closed: a client's ids return to the server only when it quits.
    QList<qint64> spent;
};

class Sequence
{
public:
    Sequence(quint32 seed, const QString &storePath)
        : m_random(seed)
        , m_store(storePath)
    {
        m_desktop = std::make_shared<SimulatedDesktop>();
        for (const QString &owner : kOwners)
            m_lives.append({owner, 0, false, {}, {}, {}});
        restartManager();
        m_shelf = m_wm->addShelf();
    }

    // Runs the steps; returns an empty string, or what went wrong and how it came about.
    QString run()
    {
        for (int step = 0; step < kSteps; ++step) {
            act();
            m_wm->refresh();
            m_wm->waitForRefresh(5000);
            if (const QString wrong = check(); !wrong.isEmpty())
                return wrong + QStringLiteral("\n  after: ") + m_log.join(QStringLiteral("; "));
        }
        return {};
    }

private:
    int pick(int bound) { return int(m_random.bounded(bound)); }

    void act()
    {
        Life &life = m_lives[pick(int(m_lives.size()))];
        const int what = pick(8);
        if (!life.running) {
            startApp(life);
        } else if (what == 0) {
            quitApp(life);
        } else if (what == 1 && !life.titles.isEmpty()) {
            const QString title = life.titles[pick(int(life.titles.size()))];
            note(QStringLiteral("close %1").arg(title));
            life.spent.append(life.numbers.take(title));
            m_desktop->removeWindow(life.spent.constLast());
            life.titles.removeOne(title);
            m_shelved.remove(title);
        } else if (what == 2 && !life.titles.isEmpty()) {
            const QString title = life.titles[pick(int(life.titles.size()))];
            const QString renamed = newTitle();
            note(QStringLiteral("retitle %1 → %2").arg(title, renamed));
            const qint64 number = life.numbers.take(title);
            m_desktop->setTitle(number, renamed);
            life.numbers.insert(renamed, number);
            life.titles.replace(life.titles.indexOf(title), renamed);
            if (m_shelved.remove(title))
                m_shelved.insert(renamed);
            m_wm->refresh();
            m_wm->waitForRefresh(5000);
        } else if (what == 3 && !life.titles.isEmpty()) {
            const QString title = life.titles[pick(int(life.titles.size()))];
            const bool shelve = !m_shelved.contains(title);
            note(QStringLiteral("%1 %2").arg(shelve ? "shelve" : "unshelve", title));
            const QString id = idOf(title);
            if (shelve ? m_wm->dragMoveWindow(id, m_shelf) : m_wm->removeWindowFromShelf(id))
                shelve ? void(m_shelved.insert(title)) : void(m_shelved.remove(title));
        } else if (what == 4) {
            note(QStringLiteral("restart manager"));
            restartManager();
        } else {
            openWindow(life, newTitle());
        }
    }

    void startApp(Life &life)
    {
        // A pid that another process had is handed out again now and then.
        life.pid = m_lastPids.isEmpty() || pick(2) ? 100 + m_nextPid++ : m_lastPids.takeLast();
        note(QStringLiteral("start %1 pid %2").arg(life.owner).arg(life.pid));
        m_desktop->addApp({life.pid, life.owner, life.owner, true, {}, false, ++m_clockTicks});
        life.running = true;
        QStringList titles = life.titles;
        life.titles.clear();
        while (!titles.isEmpty())
            openWindow(life, titles.takeAt(pick(int(titles.size()))));
    }

    void quitApp(Life &life)
    {
        note(QStringLiteral("quit %1").arg(life.owner));
        m_desktop->removeApp(life.pid);
        m_lastPids.append(life.pid);
        m_free += life.numbers.values() + life.spent;
        life.numbers.clear();
        life.spent.clear();
        life.running = false;
    }

    void openWindow(Life &life, const QString &title)
    {
        // The X server hands out the ids of windows that are gone first.
        const qint64 number = !m_free.isEmpty() && pick(4) ? m_free.takeLast() : ++m_nextNumber;
        SimulatedDesktop::Window w;
        w.number = number;
        w.title = title;
        m_desktop->addWindow(life.pid, w);
        life.titles.append(title);
        life.numbers.insert(title, number);
        note(QStringLiteral("open %1 as %2").arg(title).arg(number));
    }

    void restartManager()
    {
        m_wm.reset();
        m_wm = std::make_unique<WindowManager>(m_desktop, nullptr, &m_store, m_clock);
        m_wm->restoreState();
    }

    QString newTitle() { return QStringLiteral("w%1").arg(++m_titles); }
    void note(const QString &line) { m_log.append(line); }

    QString idOf(const QString &title) const
    {
        for (const WindowItem &w : m_wm->windows()) {
            if (w.windowTitle == title)
                return w.id;
        }
        return {};
    }

    QString check() const
    {
        for (const WindowItem &w : m_wm->windows()) {
            const bool onShelf = m_wm->categoryIDForWindow(w.id) == m_shelf;
            if (onShelf != m_shelved.contains(w.windowTitle))
                return QStringLiteral("%1 (%2) is %3 the shelf")
                    .arg(w.windowTitle, w.id, onShelf ? QStringLiteral("on") : QStringLiteral("off"));
        }
        return {};
    }

    QRandomGenerator m_random;
    platform::PreferencesStore m_store;
    platform::sim::ManualScheduler m_clock;
    std::shared_ptr<SimulatedDesktop> m_desktop;
    std::unique_ptr<WindowManager> m_wm;
    QList<Life> m_lives;
    QSet<QString> m_shelved;
    QList<qint64> m_free;
    QList<qint32> m_lastPids;
    QString m_shelf;
    QStringList m_log;
    qint64 m_nextNumber = 0;
    qint32 m_nextPid = 0;
    quint64 m_clockTicks = 0;
    int m_titles = 0;
};

} // namespace

class TestShelfIdentity : public QObject
{
    Q_OBJECT
private slots:
    void shelvesHoldExactlyWhatTheUserPutThere();
};

void TestShelfIdentity::shelvesHoldExactlyWhatTheUserPutThere()
{
    // Thousands of refreshes: their log lines would bury a failure.
    QLoggingCategory::setFilterRules(QStringLiteral("orvella.tracking.info=false"));
    QTemporaryDir dir;
    for (int i = 0; i < kSequences; ++i) {
        Sequence sequence(kSeed + quint32(i), dir.filePath(QStringLiteral("p%1.json").arg(i)));
        const QString wrong = sequence.run();
        QVERIFY2(wrong.isEmpty(),
                 qPrintable(QStringLiteral("seed %1: %2").arg(kSeed + quint32(i)).arg(wrong)));
    }
}

QTEST_GUILESS_MAIN(TestShelfIdentity)
#include "tst_shelfidentity.moc"
