// A light/dark pair of colours, each picked with a dialog, and the switch that hands the
// colour back to the system where the setting has one.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Dialogs
import QtQuick.Layouts

RowLayout {
    id: pair
    required property var window
    required property string setting
    required property string autoProperty
    required property string title
    readonly property bool automatic: autoProperty.length > 0 && appSettings[autoProperty] === true
    spacing: 12

    CheckBox {
        visible: pair.autoProperty.length > 0
        text: pair.window.t("sysmon.menuBarTextColor.auto")
        checked: pair.automatic
        onToggled: appSettings[pair.autoProperty] = checked
        Accessible.name: pair.title + ": " + text
    }
    Repeater {
        // Each swatch sits on its appearance's background, so translucent colours show as
        // they will on the sidebar.
        model: [["Light", "settings.appearanceMode.light", "#f6f6f6"], ["Dark", "settings.appearanceMode.dark", "#26262a"]]
        RowLayout {
            required property var modelData
            readonly property string property: pair.setting + modelData[0]
            enabled: !pair.automatic
            Label { text: pair.window.t(modelData[1]) }
            Button {
                id: swatch
                implicitWidth: 56
                implicitHeight: 26
                Accessible.name: pair.title + " (" + pair.window.t(modelData[1]) + ")"
                Accessible.description: String(appSettings[parent.property])
                contentItem: Rectangle {
                    color: swatch.parent.modelData[2]
                    border.color: pair.window.palette.mid
                    radius: 3
                    Rectangle {
                        anchors.fill: parent
                        anchors.margins: 1
                        radius: 2
                        color: appSettings[swatch.parent.property]
                    }
                }
                onClicked: {
                    dialog.selectedColor = appSettings[parent.property]
                    dialog.open()
                }
            }
            ColorDialog {
                id: dialog
                title: pair.title
                options: ColorDialog.ShowAlphaChannel
                onAccepted: appSettings[parent.property] = selectedColor
            }
        }
    }
    Item { Layout.fillWidth: true }
}
