// A small outlined button with a text label.
import QtQuick

Rectangle {
    id: button
    required property var root
    property string label
    property bool selected: false
    signal clicked()
    implicitWidth: text.implicitWidth + 16
    implicitHeight: text.implicitHeight + 8
    radius: 4
    border.width: 1
    border.color: Qt.rgba(root.ink.r, root.ink.g, root.ink.b, 0.3)
    color: selected ? root.sys.highlight : (mouse.containsMouse ? Qt.rgba(0.5, 0.5, 0.5, 0.15) : "transparent")

    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.onPressAction: button.clicked()

    Text {
        id: text
        anchors.centerIn: parent
        horizontalAlignment: Text.AlignHCenter
        text: button.label
        color: button.selected ? button.root.sys.highlightedText : button.root.ink
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
