// The colour scheme: the presets (and "Custom" while hand-edited colours exist), stepped
// through with the arrows; the custom scheme can be deleted after a question.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

RowLayout {
    id: picker
    required property var window
    readonly property string custom: "Custom"
    function label(name) { return name === custom ? window.t("settings.colorScheme.custom") : name }

    Button {
        implicitWidth: 32
        text: "‹"
        Accessible.name: picker.window.t("settings.colorScheme.prevHelp")
        ToolTip.visible: hovered
        ToolTip.text: Accessible.name
        onClicked: appSettings.cycleScheme(-1)
    }
    ComboBox {
        implicitWidth: 200
        model: appSettings.schemeNames.map(picker.label)
        currentIndex: appSettings.schemeNames.indexOf(appSettings.selectedScheme)
        onActivated: index => appSettings.applySchemeNamed(appSettings.schemeNames[index])
        Accessible.name: picker.window.t("settings.colorScheme")
    }
    Button {
        implicitWidth: 32
        text: "›"
        Accessible.name: picker.window.t("settings.colorScheme.nextHelp")
        ToolTip.visible: hovered
        ToolTip.text: Accessible.name
        onClicked: appSettings.cycleScheme(1)
    }
    Button {
        text: picker.window.t("general.delete")
        visible: appSettings.schemeNames.indexOf(picker.custom) >= 0
        Accessible.name: picker.window.t("settings.colorScheme.deleteHelp")
        onClicked: confirm.open()
    }
    Item { Layout.fillWidth: true }

    Dialog {
        id: confirm
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        title: picker.window.t("settings.colorScheme.deleteTitle")
        footer: DialogButtonBox {
            Button {
                text: picker.window.t("general.cancel")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
                Accessible.name: text
            }
            Button {
                text: picker.window.t("general.delete")
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
                Accessible.name: text
            }
        }
        Label {
            width: 380
            wrapMode: Text.Wrap
            text: picker.window.t("settings.colorScheme.deleteMsg")
        }
        onAccepted: appSettings.deleteCustomScheme()
    }
}
