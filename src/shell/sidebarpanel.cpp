// The docked sidebar window: a frameless Qt Quick view on one monitor's edge.
#include "shell/sidebarpanel.h"

#include "actions/screenpixels.h"
#include "logging.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "sidebar/columnfilter.h"
#include "sidebar/iconprovider.h"
#include "tracking/windowmanager.h"

#include <QAbstractItemModel>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include <cmath>

namespace orvella::shell {

SidebarPanel::SidebarPanel(platform::PanelHost *host, QAbstractItemModel &rows,
                           tracking::WindowManager &manager, settings::AppSettings &settings,
                           const QVariantMap &viewObjects, QObject *parent)
    : QObject(parent)
    , m_host(host)
    , m_settings(settings)
    , m_view(std::make_unique<QQuickView>())
{
    m_view->setTitle(QStringLiteral("Orvella"));
    m_view->setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                     | Qt::WindowDoesNotAcceptFocus);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    static const int columnFilterType =
        qmlRegisterType<sidebar::ColumnFilter>("Orvella", 1, 0, "ColumnFilter");
    Q_UNUSED(columnFilterType)
    m_view->engine()->addImageProvider(QStringLiteral("orvella"), new sidebar::IconProvider(manager));
    QVariantMap properties = viewObjects;
    properties.insert(
        {{QStringLiteral("rows"), QVariant::fromValue(&rows)},
         {QStringLiteral("windowManager"), QVariant::fromValue(&manager)},
         {QStringLiteral("settings"), QVariant::fromValue(&settings)},
         {QStringLiteral("strings"), QVariant::fromValue(&settings::LocalizationManager::shared())},
         {QStringLiteral("columns"), 1},
         {QStringLiteral("fontSize"), settings.fontSize()},
         {QStringLiteral("headerFontSize"), settings.headerFontSize()},
         {QStringLiteral("rowSpacing"), settings.rowSpacing()}});
    m_view->setInitialProperties(properties);
    m_view->setSource(QUrl(QStringLiteral("qrc:/qml/SidebarContent.qml")));
    if (m_view->status() != QQuickView::Ready)
        qCWarning(lcShell) << "[OV] sidebar view failed to load:" << m_view->errors();
    m_view->installEventFilter(this);
    QQuickView *view = m_view.get();
    const auto follow = [view, &settings] {
        if (QQuickItem *root = view->rootObject()) {
            root->setProperty("fontSize", settings.fontSize());
            root->setProperty("headerFontSize", settings.headerFontSize());
            root->setProperty("rowSpacing", settings.rowSpacing());
        }
    };
    connect(&settings, &settings::AppSettings::fontSizeChanged, this, follow);
    connect(&settings, &settings::AppSettings::headerFontSizeChanged, this, follow);
    connect(&settings, &settings::AppSettings::rowSpacingChanged, this, follow);
}

SidebarPanel::~SidebarPanel() = default;

void SidebarPanel::place(QScreen *screen, const QRectF &frame)
{
    const bool moved = screen != m_screen;
    m_screen = screen;
    m_frame = frame;
    // The geometry alone moves the window to the monitor holding it; setting the screen as
    // well would make Qt reposition it a second time, racing the window manager's answer.
    m_view->setGeometry(frame.toAlignedRect());
    if (moved || m_reserve)
        applyReservation();
}

QRectF SidebarPanel::frame() const
{
    const QRect placed = m_frame.toAlignedRect();
    const QRect actual = m_view->geometry();
    const bool moved = std::abs(actual.x() - placed.x()) > 1 || std::abs(actual.y() - placed.y()) > 1
                       || std::abs(actual.width() - placed.width()) > 1
                       || std::abs(actual.height() - placed.height()) > 1;
    return moved && m_view->isVisible() ? QRectF(actual) : m_frame;
}

void SidebarPanel::setColumns(int columns)
{
    if (QQuickItem *root = m_view->rootObject())
        root->setProperty("columns", columns);
}

void SidebarPanel::show()
{
    if (!m_docked && m_host) {
        m_host->makeDock(*m_view);
        m_docked = true;
    }
    m_view->show();
    applyReservation();
}

void SidebarPanel::hide()
{
    m_view->hide();
    applyReservation();
}

bool SidebarPanel::isShown() const
{
    return m_view->isVisible();
}

void SidebarPanel::setReserved(bool reserve)
{
    if (reserve == m_reserve)
        return;
    m_reserve = reserve;
    applyReservation();
}

void SidebarPanel::applyReservation()
{
    if (!m_host || !m_docked)
        return;
    const bool right = m_settings.position() == QLatin1String("right");
    const auto edge = right ? platform::PanelHost::Edge::Right : platform::PanelHost::Edge::Left;
    // A strut is measured from the root window's edge: on a monitor's inner edge it would
    // reserve the whole monitor beside it. There the nudge alone keeps windows clear.
    const QRect desktop = m_screen ? m_screen->virtualGeometry() : QRect();
    const QRect logical = m_screen ? m_screen->geometry() : QRect();
    const bool outerEdge = right ? logical.right() >= desktop.right() : logical.left() <= desktop.left();
    if (!m_reserve || !m_screen || !m_view->isVisible() || !outerEdge) {
        m_host->reserveEdge(*m_view, edge, {}, 0);
        return;
    }
    // The window manager counts struts in device pixels of the root window.
    const QRect monitor = actions::deviceScreen(*m_screen).frame.toAlignedRect();
    const int width = int(std::lround(m_frame.width() * m_screen->devicePixelRatio()));
    m_host->reserveEdge(*m_view, edge, monitor, width);
}

bool SidebarPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view.get()) {
        if (event->type() == QEvent::Enter)
            emit pointerEntered();
        else if (event->type() == QEvent::Leave)
            emit pointerLeft();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace orvella::shell
