// The settings window and the feedback window: Qt Quick views over the settings store,
// and the few verbs they need from the rest of the application.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include <memory>

class QQmlApplicationEngine;
class QQuickWindow;

namespace orvella::sidebar {
class SettingsSearchModel;
}

namespace orvella::shell {

class AppDelegate;

/**
 * Built on first open; opening again raises it. The QML binds the settings' properties
 * directly, so every control writes its setting at once; this object adds what the
 * settings store does not know: the hot key's conflict, what the X session can draw,
 * the telemetry state, the diagnostics and the feedback mail.
 */
class SettingsWindow : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString hotkeyConflict READ hotkeyConflict NOTIFY hotkeyConflictChanged)
    Q_PROPERTY(bool noCompositor READ noCompositor CONSTANT)
    Q_PROPERTY(bool noComposite READ noComposite CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString qtVersion READ qtVersion CONSTANT)
    Q_PROPERTY(bool doNotTrack READ doNotTrack CONSTANT)
    Q_PROPERTY(QString telemetryEndpoint READ telemetryEndpoint CONSTANT)
    Q_PROPERTY(QVariantList languages READ languages CONSTANT)
public:
    static constexpr const char *kFeedbackAddress = "feedback@orvella.org";
    static constexpr const char *kWebsite = "https://orvella.org";

    explicit SettingsWindow(AppDelegate &app, QObject *parent = nullptr);
    ~SettingsWindow() override;

    /// Shows the window, building it the first time, and brings it to the front.
    void open();
    /// Shows the feedback window.
    Q_INVOKABLE void openFeedback();
    QQuickWindow *window() const;

    QString hotkeyConflict() const;
    bool noCompositor() const { return !m_compositor; }
    bool noComposite() const { return !m_composite; }
    QString version() const;
    QString qtVersion() const;
    bool doNotTrack() const;
    QString telemetryEndpoint() const;
    QVariantList languages() const;

    Q_INVOKABLE void quit();
    Q_INVOKABLE void resetToDefaults();
    /// The events waiting to be sent, one JSON document a line.
    Q_INVOKABLE QString queuedEvents() const;
    Q_INVOKABLE QString diagnostics(bool includeWindowTitles) const;
    Q_INVOKABLE void copyText(const QString &text) const;
    /// Opens the user's mail program with the message; false when it could not be started.
    Q_INVOKABLE bool sendFeedback(const QString &type, const QString &text, bool withDiagnostics,
                                  bool includeWindowTitles) const;
    Q_INVOKABLE void openWebsite() const;
    /// "Ctrl+Alt+K" for a key event's key and modifiers; empty for a lone modifier.
    Q_INVOKABLE QString keyText(int key, int modifiers) const;

signals:
    void hotkeyConflictChanged();

private slots:
    void releaseWhenHidden();

private:
    void build();

    AppDelegate &m_app;
    std::unique_ptr<sidebar::SettingsSearchModel> m_search;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QString m_windowManager;
    bool m_compositor = false;
    bool m_composite = false;
};

} // namespace orvella::shell
