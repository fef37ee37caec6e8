// The hot key: click, then press the new combination. Escape cancels, the clear button
// removes the hot key. A key another program holds is reported under the field.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

ColumnLayout {
    id: field
    required property var window
    required property string title
    property bool recording: false

    RowLayout {
        Button {
            id: capture
            implicitWidth: 170
            focusPolicy: Qt.StrongFocus
            text: field.recording ? field.window.t("settings.shortcut.record")
                                  : (appSettings.globalShortcut.length > 0 ? appSettings.globalShortcut : "—")
            Accessible.name: field.title
            Accessible.description: appSettings.globalShortcut
            onClicked: { field.recording = true; forceActiveFocus() }
            onActiveFocusChanged: if (!activeFocus) field.recording = false
            Keys.onPressed: event => {
                if (!field.recording)
                    return
                event.accepted = true
                if (event.key === Qt.Key_Escape) {
                    field.recording = false
                    return
                }
                const keys = bridge.keyText(event.key, event.modifiers)
                // A key alone would be taken from every program: ask for a modifier.
                if (keys.length === 0 || (event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier)) === 0)
                    return
                appSettings.globalShortcut = keys
                field.recording = false
            }
        }
        Button {
            text: field.window.t("settings.shortcut.clear")
            enabled: appSettings.globalShortcut.length > 0
            Accessible.name: field.title + ": " + text
            onClicked: appSettings.globalShortcut = ""
        }
    }
    Label {
        Layout.maximumWidth: 300
        visible: bridge.hotkeyConflict.length > 0 && bridge.hotkeyConflict === appSettings.globalShortcut
        text: l10n.language, l10n.formatted("settings.shortcut.taken", [bridge.hotkeyConflict])
        wrapMode: Text.Wrap
        color: "#c0392b"
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
