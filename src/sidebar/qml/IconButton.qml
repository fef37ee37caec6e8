// A flat button showing one themed symbol; its tooltip text is what screen readers announce.
import QtQuick

Rectangle {
    id: button
    property string symbol
    property string tip
    property color ink: "black"
    property color hoverFill: "#20808080"
    signal clicked()

    implicitWidth: 24
    implicitHeight: 24
    radius: 4
    color: mouse.containsMouse ? hoverFill : "transparent"

    Accessible.role: Accessible.Button
    Accessible.name: tip
    Accessible.onPressAction: button.clicked()

    Image {
        anchors.centerIn: parent
        sourceSize: Qt.size(16, 16)
        source: "image://orvella/symbol/" + encodeURIComponent(button.symbol) + "/" + encodeURIComponent(button.ink)
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
