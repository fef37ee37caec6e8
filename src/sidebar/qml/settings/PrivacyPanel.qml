// What telemetry records, whether anything can leave this machine, and the queue itself.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

ColumnLayout {
    id: panel
    required property var window
    required property string description
    spacing: 8

    Label {
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        text: panel.description
    }
    Label {
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        text: bridge.telemetryEndpoint.length === 0
              ? panel.window.t("settings.privacy.noEndpoint")
              : (l10n.language, l10n.formatted("settings.privacy.endpoint", [bridge.telemetryEndpoint]))
    }
    Label {
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        font.bold: bridge.doNotTrack
        text: panel.window.t(bridge.doNotTrack ? "settings.privacy.dnt" : "settings.privacy.dntHint")
    }
    Button {
        text: panel.window.t("settings.privacy.showQueue")
        Accessible.name: text
        onClicked: {
            const events = bridge.queuedEvents()
            queue.text = events.length > 0 ? events : panel.window.t("settings.privacy.queueEmpty")
            queue.visible = true
        }
    }
    TextArea {
        id: queue
        Layout.fillWidth: true
        visible: false
        readOnly: true
        wrapMode: TextEdit.WrapAnywhere
        font.family: "monospace"
        Accessible.name: panel.window.t("settings.privacy.showQueue")
    }
}
