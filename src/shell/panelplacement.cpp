// Which monitor the sidebar panel belongs on, remembered across restarts.
#include "shell/panelplacement.h"

#include "logging.h"
#include "platform/preferencesstore.h"
#include "settings/appsettings.h"
#include "shell/screenidentity.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace orvella::shell {

namespace {

const QString kLastScreenKey = QStringLiteral("ov.lastSidebarScreen");

} // namespace

PanelPlacement::PanelPlacement(settings::AppSettings &settings, platform::PreferencesStore &store,
                               QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_store(store)
    , m_lastKnownScreenCount(int(QGuiApplication::screens().size()))
{
    connect(qApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watch(screen);
        report("new-monitor");
    });
    connect(qApp, &QGuiApplication::screenRemoved, this, [this] {
        // Qt still lists the leaving screen while it announces it.
        QMetaObject::invokeMethod(
            this, [this] { report("monitor-lost"); }, Qt::QueuedConnection);
    });
    connect(qApp, &QGuiApplication::primaryScreenChanged, this, &PanelPlacement::screensChanged);
    for (QScreen *screen : QGuiApplication::screens())
        watch(screen);
}

QScreen *PanelPlacement::targetScreen() const
{
    if (m_manualTargetScreen)
        return m_manualTargetScreen;
    if (m_settings.sidebarScreen() == QLatin1String("mouse")) {
        if (m_pointerScreen)
            return m_pointerScreen;
        if (QScreen *screen = QGuiApplication::screenAt(QCursor::pos()))
            return screen;
    }
    return QGuiApplication::primaryScreen();
}

void PanelPlacement::restoreLastScreen()
{
    if (!m_settings.rememberLastScreen())
        return;
    const std::optional<ScreenIdentity> saved =
        ScreenIdentity::fromJson(m_store.dictionaryValue(kLastScreenKey).value_or(QJsonObject()));
    if (!saved)
        return;
    const QList<QScreen *> screens = QGuiApplication::screens();
    QList<ScreenIdentity> candidates;
    for (const QScreen *screen : screens)
        candidates.append(ScreenIdentity::of(*screen));
    const int match = saved->bestMatch(candidates);
    qCInfo(lcShell).noquote() << "[OV] restoreLastScreen" << saved->connector
                              << (match >= 0 ? "→ " + screens[match]->name()
                                             : QStringLiteral("→ not connected"));
    if (match >= 0)
        m_manualTargetScreen = screens[match];
}

void PanelPlacement::saveScreen(const QScreen *screen)
{
    if (screen && m_settings.rememberLastScreen())
        m_store.setDictionary(kLastScreenKey, ScreenIdentity::of(*screen).toJson());
}

QScreen *PanelPlacement::cycleFrom(QScreen *current)
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    if (screens.size() < 2)
        return nullptr;
    const qsizetype index = screens.indexOf(current ? current : targetScreen());
    m_manualTargetScreen = screens[(index + 1) % screens.size()];
    qCInfo(lcShell).noquote() << "[OV] sidebar moved to monitor" << m_manualTargetScreen->name();
    return m_manualTargetScreen;
}

void PanelPlacement::panelShown()
{
    m_pointerScreen = QGuiApplication::screenAt(QCursor::pos());
}

void PanelPlacement::watch(QScreen *screen)
{
    connect(screen, &QScreen::availableGeometryChanged, this, [this] { report("visibleFrame-changed"); });
}

void PanelPlacement::report(const char *what)
{
    const int count = int(QGuiApplication::screens().size());
    // A reserved edge changes the available area too: that is the panel's own doing, not news.
    if (qstrcmp(what, "visibleFrame-changed") != 0 || count != m_lastKnownScreenCount)
        qCInfo(lcShell).noquote()
            << QStringLiteral("didChangeScreenParameters %1 count=%2").arg(QLatin1String(what)).arg(count);
    m_lastKnownScreenCount = count;
    emit screensChanged();
}

} // namespace orvella::shell
