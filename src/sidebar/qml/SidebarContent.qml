// The sidebar's window list: section headers and their windows, one plain row each.
import QtQuick

Rectangle {
    id: root
    required property var rows
    required property var windowManager
    required property int columns
    required property real fontSize
    required property real headerFontSize
    required property real rowSpacing

    SystemPalette { id: palette; colorGroup: SystemPalette.Active }
    color: palette.window

    Accessible.role: Accessible.List
    Accessible.name: qsTr("Orvella")

    GridView {
        id: list
        anchors.fill: parent
        anchors.margins: 4
        // Columns flow top to bottom, so a split panel reads like a newspaper.
        flow: GridView.FlowTopToBottom
        cellWidth: width / Math.max(1, root.columns)
        cellHeight: root.fontSize + 2 * root.rowSpacing + 14
        model: root.rows
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        delegate: Rectangle {
            id: row
            required property string kind
            required property string itemId
            required property string title
            required property bool isActive
            required property bool isMinimized
            required property bool isCollapsed
            required property int windowCount
            readonly property bool section: kind === "section"

            width: list.cellWidth
            height: list.cellHeight
            radius: 4
            color: isActive ? palette.highlight : (hover.hovered ? Qt.rgba(palette.highlight.r, palette.highlight.g, palette.highlight.b, 0.15) : "transparent")

            Accessible.role: section ? Accessible.ListItem : Accessible.Button
            Accessible.name: section ? title + " (" + windowCount + ")" : title

            Text {
                anchors.fill: parent
                anchors.leftMargin: row.section ? 6 : 14
                anchors.rightMargin: 6
                verticalAlignment: Text.AlignVCenter
                elide: Text.ElideRight
                text: row.section ? (row.isCollapsed ? "▸ " : "▾ ") + row.title : row.title
                font.pointSize: row.section ? root.headerFontSize : root.fontSize
                font.bold: row.section
                color: row.isActive ? palette.highlightedText : palette.windowText
                opacity: row.isMinimized ? 0.55 : 1
            }

            HoverHandler { id: hover }
            TapHandler {
                onTapped: row.section ? root.windowManager.toggleCategoryCollapsed(row.itemId)
                                      : root.windowManager.focusWindow(row.itemId)
                onDoubleTapped: if (!row.section) root.windowManager.minimizeWindow(row.itemId)
            }
        }
    }
}
