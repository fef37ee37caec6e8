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
        model: [["Light", "settings.appearanceMode.light"], ["Dark", "settings.appearanceMode.dark"]]
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
                // A checkerboard would be nicer; a frame shows translucent colours well enough.
                contentItem: Rectangle {
                    color: appSettings[swatch.parent.property]
                    border.color: pair.window.palette.mid
                    radius: 3
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
