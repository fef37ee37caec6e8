// The tray icon, its menu and its picture of the monitor's readings.
#include "shell/trayicon.h"

#include "logging.h"
#include "monitor/systemmonitorservice.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "shell/appicon.h"
#include "sidebar/monitoriconpainter.h"

#include <QApplication>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

namespace orvella::shell {

namespace {

using sidebar::MonitorIconPainter;
using sidebar::MonitorReadings;

// Trays ask for anything from 16 pixels (XEmbed) to 64 (HiDPI panels); the icon carries
// each so that none is scaled from another.
constexpr int kIconSizes[] = {16, 22, 24, 32, 48, 64};
constexpr int kLargestSize = 64;
constexpr int kTrayWatchMs = 5000;

// What the service knows, with "not known" spelled out: nothing before the first sample,
// no battery or sensor reading where the machine has none.
MonitorReadings readingsOf(const monitor::SystemMonitorService &m)
{
    MonitorReadings r;
    if (m.cpuHistory().isEmpty())
        return r;
    r.cpu = m.cpuUsage();
    if (m.memoryTotalGB() > 0)
        r.memory = m.memoryUsage();
    if (m.diskTotalGB() > 0)
        r.disk = m.diskUsage();
    r.network = MonitorReadings::Rates{m.networkDownSpeed(), m.networkUpSpeed()};
    if (m.hasBattery() && m.batteryLevel() >= 0)
        r.battery = m.batteryLevel();
    if (m.cpuTemperature() > 0)
        r.temperature = m.cpuTemperature();
    return r;
}

void call(const std::function<void()> &action)
{
    if (action)
        action();
}

} // namespace

TrayIcon::TrayIcon(settings::AppSettings &settings, monitor::SystemMonitorService &monitor,
                   TrayActions actions, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_monitor(monitor)
    , m_actions(std::move(actions))
    , m_menu(new QMenu)
    , m_tray(new QSystemTrayIcon(this))
    , m_trayWatch(new QTimer(this))
{
    const auto entry = [this](std::function<void()> TrayActions::*action) {
        QAction *item = m_menu->addAction(QString());
        connect(item, &QAction::triggered, this, [this, action] { call(m_actions.*action); });
        return item;
    };
    m_toggleSidebar = entry(&TrayActions::toggleSidebar);
    m_showDesktop = entry(&TrayActions::showDesktop);
    m_menu->addSeparator();
    m_settingsAction = entry(&TrayActions::openSettings);
    m_whatsNew = entry(&TrayActions::openWhatsNew);
    m_menu->addSeparator();
    m_relaunch = entry(&TrayActions::relaunch);
    m_quit = entry(&TrayActions::quit);
    m_settingsAction->setMenuRole(QAction::PreferencesRole);
    m_quit->setMenuRole(QAction::QuitRole);
    m_tray->setContextMenu(m_menu);
    connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            call(m_actions.toggleSidebar);
    });

    retranslate();
    connect(&settings::LocalizationManager::shared(), &settings::LocalizationManager::languageChanged, this,
            &TrayIcon::retranslate);

    using S = settings::AppSettings;
    for (auto changed :
         {&S::systemMonitorDisplayChanged, &S::systemMonitorMetricsChanged, &S::menuBarTextColorLightChanged,
          &S::menuBarTextColorDarkChanged, &S::menuBarTextColorAutoChanged,
          &S::menuBarUseTemplateImageChanged, &S::appearanceChanged})
        connect(&m_settings, changed, this, &TrayIcon::refresh);
    connect(&m_settings, &S::systemMonitorMenuBarStyleChanged, this, &TrayIcon::styleChanged);
    connect(&m_monitor, &monitor::SystemMonitorService::sampled, this, &TrayIcon::refresh);
    styleChanged();

    m_trayWatch->setInterval(kTrayWatchMs);
    connect(m_trayWatch, &QTimer::timeout, this, &TrayIcon::showWhenTrayAvailable);
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        m_tray->show();
    } else {
        qCInfo(lcShell, "[OV] no system tray on this desktop; the tray icon stays hidden");
        m_trayWatch->start();
    }
}

TrayIcon::~TrayIcon()
{
    m_tray->hide();
    m_tray->setContextMenu(nullptr);
    delete m_menu;
}

void TrayIcon::setSidebarVisible(bool visible)
{
    m_sidebarVisible = visible;
    retranslate();
}

QIcon TrayIcon::icon() const
{
    return m_tray->icon();
}

QString TrayIcon::toolTip() const
{
    return m_tray->toolTip();
}

void TrayIcon::retranslate()
{
    const auto &l10n = settings::LocalizationManager::shared();
    m_toggleSidebar->setText(l10n.string(m_sidebarVisible ? QStringLiteral("menu.hideSidebar")
                                                          : QStringLiteral("menu.showSidebar")));
    m_showDesktop->setText(l10n.string(QStringLiteral("menu.showDesktop")));
    m_settingsAction->setText(l10n.string(QStringLiteral("menu.openSettings")));
    m_whatsNew->setText(l10n.string(QStringLiteral("contact.whatsNew")));
    m_relaunch->setText(l10n.string(QStringLiteral("permission.relaunch")));
    m_quit->setText(l10n.string(QStringLiteral("menu.quit")));
}

void TrayIcon::styleChanged()
{
    bool known = true;
    MonitorIconPainter::styleForTag(m_settings.systemMonitorMenuBarStyle(), &known);
    if (!known)
        qCWarning(lcShell, "[OV] unknown menu bar style \"%s\"; the tray draws bars",
                  qPrintable(m_settings.systemMonitorMenuBarStyle()));
    refresh();
}

void TrayIcon::refresh()
{
    const QString display = m_settings.systemMonitorDisplay();
    if (display != QLatin1String("menubar") && display != QLatin1String("both")) {
        if (m_showsReadings || m_tray->icon().isNull()) {
            m_tray->setIcon(appIcon());
            m_tray->setToolTip(QStringLiteral("Orvella"));
        }
        m_showsReadings = false;
        m_lastReadingsImage = QImage();
        return;
    }

    const MonitorReadings readings = readingsOf(m_monitor);
    const QStringList metrics = m_settings.systemMonitorMetrics();
    const auto style = MonitorIconPainter::styleForTag(m_settings.systemMonitorMenuBarStyle());
    const QColor color = MonitorIconPainter::textColor(m_settings, QApplication::palette());
    const bool monochrome = m_settings.menuBarUseTemplateImage();
    const auto draw = [&](int size) {
        return MonitorIconPainter::paint(readings, metrics, style, color, size, monochrome);
    };
    QString tip = sidebar::tooltipText(readings, metrics);
    if (tip.isEmpty())
        tip = QStringLiteral("Orvella");

    const QImage largest = draw(kLargestSize);
    if (m_showsReadings && largest == m_lastReadingsImage && tip == m_tray->toolTip())
        return;
    QIcon icon;
    for (int size : kIconSizes)
        icon.addPixmap(QPixmap::fromImage(size == kLargestSize ? largest : draw(size)));
    m_tray->setIcon(icon);
    m_tray->setToolTip(tip);
    m_lastReadingsImage = largest;
    m_showsReadings = true;
}

void TrayIcon::showWhenTrayAvailable()
{
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_trayWatch->stop();
    qCInfo(lcShell, "[OV] a system tray appeared; showing the tray icon");
    m_tray->show();
}

} // namespace orvella::shell
