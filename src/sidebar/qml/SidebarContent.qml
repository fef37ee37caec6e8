// The sidebar: header bar, banner, the list of shelves and application sections (or the
// empty state), the layout toggle, and the resize handle on the inner edge.
import QtQuick
import Orvella

Rectangle {
    id: sidebar
    required property var rows
    required property var windowManager
    required property var settings
    required property var strings
    required property int columns
    required property real fontSize
    required property real headerFontSize
    required property real rowSpacing
    property var app: null
    property var notifications: null

    readonly property alias sys: systemPalette
    readonly property color ink: systemPalette.windowText
    readonly property bool onRight: settings.position === "right"
    // Reading the language makes every text binding follow a language switch.
    function t(key) { return strings.language, strings.string(key) }

    SystemPalette { id: systemPalette; colorGroup: SystemPalette.Active }
    // The rows model's size, kept current for the empty state and the layout toggle.
    QtObject {
        id: rowCount
        property int value: sidebar.rows.rowCount()
    }
    Connections {
        target: sidebar.rows
        function onModelReset() { rowCount.value = sidebar.rows.rowCount() }
        function onRowsInserted() { rowCount.value = sidebar.rows.rowCount() }
        function onRowsRemoved() { rowCount.value = sidebar.rows.rowCount() }
    }
    color: systemPalette.window
    Accessible.role: Accessible.Pane
    Accessible.name: "Orvella"

    Column {
        id: top
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 4 }
        spacing: 4
        HeaderBar { root: sidebar; width: parent.width }
        Banner { root: sidebar; width: parent.width }
        Rectangle { width: parent.width; height: 1; color: Qt.rgba(sidebar.ink.r, sidebar.ink.g, sidebar.ink.b, 0.15) }
    }

    Column {
        id: empty
        visible: rowCount.value === 0
        anchors.centerIn: parent
        spacing: 6
        Image {
            anchors.horizontalCenter: parent.horizontalCenter
            sourceSize: Qt.size(32, 32)
            source: "image://orvella/symbol/focus-windows-symbolic/" + encodeURIComponent(sidebar.ink)
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: sidebar.t("empty.title"); font.bold: true; color: sidebar.ink
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            horizontalAlignment: Text.AlignHCenter
            text: sidebar.t("empty.subtitle"); color: sidebar.ink; opacity: 0.7
        }
    }

    // One list per split column (a single one otherwise), side by side, scrolling sideways when
    // the columns are wider than the panel.
    Flickable {
        id: lists
        anchors { left: parent.left; right: parent.right; top: top.bottom; bottom: toggle.top; margins: 4 }
        readonly property real columnWidth: sidebar.columns > 1 ? Math.max(sidebar.settings.sidebarWidth - 16, 220) : width
        contentWidth: sidebar.columns * columnWidth + (sidebar.columns - 1) * 8
        contentHeight: height
        flickableDirection: Flickable.HorizontalFlick
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        Row {
            spacing: 8
            height: lists.height
            Repeater {
                model: sidebar.columns
                ListView {
                    id: list
                    required property int index
                    width: lists.columnWidth
                    height: lists.height
                    clip: true
                    boundsBehavior: Flickable.StopAtBounds
                    model: ColumnFilter { sourceModel: sidebar.rows; column: list.index }
                    Accessible.role: Accessible.List
                    Accessible.name: "Orvella"
                    delegate: RowDelegate { root: sidebar }
                }
            }
        }
    }

    LayoutToggle {
        id: toggle
        root: sidebar
        visible: rowCount.value > 0
        height: visible ? implicitHeight : 0
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 4 }
    }

    // The inner edge widens or narrows the sidebar while it is unlocked.
    MouseArea {
        id: handle
        visible: !sidebar.settings.sidebarLocked
        width: 6
        anchors { top: parent.top; bottom: parent.bottom }
        x: sidebar.onRight ? 0 : parent.width - width
        cursorShape: Qt.SizeHorCursor
        property real startX: 0
        property real startWidth: 0
        onPressed: (mouse) => { startX = mapToGlobal(mouse.x, 0).x; startWidth = sidebar.settings.sidebarWidth }
        onPositionChanged: (mouse) => {
            if (!pressed)
                return
            let dx = mapToGlobal(mouse.x, 0).x - startX
            if (sidebar.onRight)
                dx = -dx
            sidebar.settings.sidebarWidth = Math.max(180, Math.min(500, startWidth + dx))
        }
    }
}
