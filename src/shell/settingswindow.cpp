// The settings window and the feedback window.
#include "shell/settingswindow.h"

#include "logging.h"
#include "monitor/systemmonitorservice.h"
#include "platform/urlopener.h"
#include "platform/x11/x11sessionfacts.h"
#include "services/telemetryservice.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "shell/appdelegate.h"
#include "shell/panelcontroller.h"
#include "sidebar/diagnosticsreport.h"
#include "sidebar/settingssearchmodel.h"
#include "tracking/windowmanager.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQmlProperty>
#include <QQuickWindow>
#include <QTimer>

namespace orvella::shell {

SettingsWindow::SettingsWindow(AppDelegate &app, QObject *parent)
    : QObject(parent)
    , m_app(app)
{
    const platform::x11::SessionFacts facts = platform::x11::readSessionFacts();
    m_windowManager = facts.windowManager;
    m_compositor = facts.compositor;
    m_composite = facts.compositeExtension;
    if (PanelController *panel = m_app.panel())
        connect(panel, &PanelController::hotkeyConflictChanged, this, &SettingsWindow::hotkeyConflictChanged);
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::build()
{
    m_search = std::make_unique<sidebar::SettingsSearchModel>();
    m_engine = std::make_unique<QQmlApplicationEngine>();
    QQmlContext *context = m_engine->rootContext();
    context->setContextProperty(QStringLiteral("appSettings"), &m_app.appSettings());
    context->setContextProperty(QStringLiteral("l10n"), &settings::LocalizationManager::shared());
    context->setContextProperty(QStringLiteral("settingsModel"), m_search.get());
    context->setContextProperty(QStringLiteral("bridge"), this);
    context->setContextProperty(QStringLiteral("systemMonitor"), &m_app.systemMonitor());
    m_engine->load(QUrl(QStringLiteral("qrc:/qml/settings/SettingsWindow.qml")));
    if (QQuickWindow *w = window())
        QQmlProperty(w, QStringLiteral("anyVisible")).connectNotifySignal(this, SLOT(releaseWhenHidden()));
    else
        qCWarning(lcShell) << "[OV] the settings window failed to load";
}

void SettingsWindow::releaseWhenHidden()
{
    // The sidebar runs all day and the settings are opened now and then: a closed window
    // gives its QML engine's memory back. Deferred, because the engine is still delivering
    // the signal that got us here.
    QTimer::singleShot(0, this, [this] {
        QQuickWindow *w = window();
        if (!w || w->property("anyVisible").toBool())
            return;
        m_engine.reset();
        m_search.reset();
    });
}

QQuickWindow *SettingsWindow::window() const
{
    if (!m_engine || m_engine->rootObjects().isEmpty())
        return nullptr;
    return qobject_cast<QQuickWindow *>(m_engine->rootObjects().constFirst());
}

void SettingsWindow::open()
{
    if (!m_engine)
        build();
    if (QQuickWindow *w = window()) {
        w->show();
        w->raise();
        w->requestActivate();
    }
}

void SettingsWindow::openFeedback()
{
    open();
    if (QQuickWindow *w = window())
        QMetaObject::invokeMethod(w, "openFeedback");
}

QString SettingsWindow::hotkeyConflict() const
{
    return m_app.panel() ? m_app.panel()->hotkeyConflict() : QString();
}

QString SettingsWindow::version() const
{
    return QStringLiteral(ORVELLA_VERSION);
}

QString SettingsWindow::qtVersion() const
{
    return QString::fromLatin1(qVersion());
}

bool SettingsWindow::doNotTrack() const
{
    return m_app.telemetryService().doNotTrack();
}

QString SettingsWindow::telemetryEndpoint() const
{
    const auto url = m_app.telemetryService().endpointURL();
    return url ? url->toString() : QString();
}

QVariantList SettingsWindow::languages() const
{
    QVariantList out;
    for (settings::AppLanguage language : settings::appLanguage::allCases())
        out.append(QVariantMap{{QStringLiteral("code"), settings::appLanguage::rawValue(language)},
                               {QStringLiteral("name"), settings::appLanguage::displayName(language)}});
    return out;
}

void SettingsWindow::quit()
{
    m_app.quit();
}

void SettingsWindow::resetToDefaults()
{
    qCInfo(lcShell) << "[OV] settings reset to their defaults";
    m_app.appSettings().resetToDefaults();
}

QString SettingsWindow::queuedEvents() const
{
    return m_app.telemetryService().pendingEvents().join(QLatin1Char('\n'));
}

QString SettingsWindow::diagnostics(bool includeWindowTitles) const
{
    sidebar::DiagnosticsReport report;
    report.version = version();
    report.qtVersion = qtVersion();
    report.windowManager = m_windowManager;
    report.screens = sidebar::DiagnosticsReport::screenLayout();
    report.changedSettings = sidebar::DiagnosticsReport::changedSettingsOf(m_app.appSettings());
    report.logLines = logging::recentLines();
    for (const tracking::WindowItem &item : m_app.windowManager().windows())
        report.windowTitles.append(item.windowTitle);
    return report.compose(includeWindowTitles);
}

void SettingsWindow::copyText(const QString &text) const
{
    QGuiApplication::clipboard()->setText(text);
}

bool SettingsWindow::sendFeedback(const QString &type, const QString &text, bool withDiagnostics,
                                  bool includeWindowTitles) const
{
    QString body = text;
    if (withDiagnostics)
        body += QStringLiteral("\n\n-- \n") + diagnostics(includeWindowTitles);
    // Every reserved character encoded, so that "&", "+" and "#" in the text survive.
    const QString subject = QStringLiteral("Orvella %1: %2").arg(version(), type);
    const QUrl mail(QStringLiteral("mailto:%1?subject=%2&body=%3")
                        .arg(QString::fromLatin1(kFeedbackAddress),
                             QString::fromLatin1(QUrl::toPercentEncoding(subject)),
                             QString::fromLatin1(QUrl::toPercentEncoding(body))),
                    QUrl::StrictMode);
    return platform::urlOpener::openMail(mail);
}

void SettingsWindow::openWebsite() const
{
    platform::urlOpener::open(QUrl(QString::fromLatin1(kWebsite)));
}

QString SettingsWindow::keyText(int key, int modifiers) const
{
    switch (key) {
    case Qt::Key_Control:
    case Qt::Key_Shift:
    case Qt::Key_Alt:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_AltGr:
    case Qt::Key_unknown: return {};
    default: break;
    }
    return QKeySequence(QKeyCombination(Qt::KeyboardModifiers(modifiers), Qt::Key(key)))
        .toString(QKeySequence::PortableText);
}

} // namespace orvella::shell
