// The sidebar: header bar, banner, the list of shelves and application sections (or the
// empty state), the layout toggle, and the resize handle on the inner edge.
import QtQuick

Rectangle {
    id: root
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
    color: systemPalette.window
    Accessible.role: Accessible.Pane
    Accessible.name: "Orvella"

    Column {
        id: top
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 4 }
        spacing: 4
        HeaderBar { root: root; width: parent.width }
        Banner { root: root; width: parent.width }
        Rectangle { width: parent.width; height: 1; color: Qt.rgba(root.ink.r, root.ink.g, root.ink.b, 0.15) }
    }

    Column {
        id: empty
        visible: list.count === 0
        anchors.centerIn: parent
        spacing: 6
        Image {
            anchors.horizontalCenter: parent.horizontalCenter
            sourceSize: Qt.size(32, 32)
            source: "image://orvella/symbol/focus-windows-symbolic/" + encodeURIComponent(root.ink)
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.t("empty.title"); font.bold: true; color: root.ink
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            horizontalAlignment: Text.AlignHCenter
            text: root.t("empty.subtitle"); color: root.ink; opacity: 0.7
        }
    }

    GridView {
        id: list
        anchors { left: parent.left; right: parent.right; top: top.bottom; bottom: toggle.top; margins: 4 }
        // Columns flow top to bottom, so a split panel reads like a newspaper.
        flow: GridView.FlowTopToBottom
        cellWidth: width / Math.max(1, root.columns)
        cellHeight: root.fontSize + 2 * root.rowSpacing + 14
        model: root.rows
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        Accessible.role: Accessible.List
        Accessible.name: "Orvella"

        delegate: Rectangle {
            id: row
            required property string kind
            required property string itemId
            required property string title
            required property string iconId
            required property bool isActive
            required property bool isMinimized
            required property bool isCollapsed
            required property int windowCount
            readonly property bool section: kind === "section"
            readonly property bool window: kind === "window"
            readonly property bool hidden: kind === "hint" && root.app && root.app.dragHintDismissed

            width: list.cellWidth
            height: hidden ? 0 : list.cellHeight
            visible: !hidden
            radius: 4
            color: isActive ? root.sys.highlight
                 : kind === "hint" ? Qt.rgba(root.sys.highlight.r, root.sys.highlight.g, root.sys.highlight.b, 0.12)
                 : hover.hovered && (window || section) ? Qt.rgba(0.5, 0.5, 0.5, 0.15) : "transparent"

            Accessible.role: window ? Accessible.Button : Accessible.StaticText
            Accessible.name: section ? title + " (" + windowCount + ")" : label.text
            Accessible.onPressAction: if (window) root.windowManager.focusWindow(itemId)

            Image {
                id: icon
                visible: row.iconId !== "" && root.settings.showIcons
                anchors.verticalCenter: parent.verticalCenter
                x: row.window ? 14 : 6
                sourceSize: Qt.size(16, 16)
                source: visible ? "image://orvella/app/" + encodeURIComponent(row.iconId) : ""
            }
            Text {
                id: label
                anchors.fill: parent
                anchors.leftMargin: (row.window ? 14 : 6) + (icon.visible ? 22 : 0)
                anchors.rightMargin: row.kind === "hint" ? 30 : 6
                verticalAlignment: Text.AlignVCenter
                elide: Text.ElideRight
                text: row.section ? (row.isCollapsed ? "▸ " : "▾ ") + row.title
                    : row.kind === "label" ? root.t(row.title)
                    : row.kind === "placeholder" ? root.t("window.dragHere") + "  " + root.t("window.dragHere.hint")
                    : row.kind === "hint" ? root.t("hint.dragToShelf")
                    : row.title
                font.pointSize: row.section ? root.headerFontSize : row.kind === "label" ? root.fontSize - 1 : root.fontSize
                font.bold: row.section || row.kind === "label"
                font.italic: row.kind === "placeholder"
                color: row.isActive ? root.sys.highlightedText : root.ink
                opacity: row.isMinimized || row.kind === "label" || row.kind === "placeholder" ? 0.6 : 1
            }
            IconButton {
                visible: row.kind === "hint"
                anchors { right: parent.right; verticalCenter: parent.verticalCenter }
                symbol: "window-close-symbolic"; ink: root.ink
                tip: root.t("general.close")
                onClicked: root.app.dragHintDismissed = true
            }

            HoverHandler { id: hover }
            TapHandler {
                onTapped: if (row.section) root.windowManager.toggleCategoryCollapsed(row.itemId)
                          else if (row.window) root.windowManager.focusWindow(row.itemId)
                onDoubleTapped: if (row.window) root.windowManager.minimizeWindow(row.itemId)
            }
        }
    }

    LayoutToggle {
        id: toggle
        root: root
        visible: list.count > 0
        height: visible ? implicitHeight : 0
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 4 }
    }

    // The inner edge widens or narrows the sidebar while it is unlocked.
    MouseArea {
        id: handle
        visible: !root.settings.sidebarLocked
        width: 6
        anchors { top: parent.top; bottom: parent.bottom }
        x: root.onRight ? 0 : parent.width - width
        cursorShape: Qt.SizeHorCursor
        property real startX: 0
        property real startWidth: 0
        onPressed: (mouse) => { startX = mapToGlobal(mouse.x, 0).x; startWidth = root.settings.sidebarWidth }
        onPositionChanged: (mouse) => {
            if (!pressed)
                return
            let dx = mapToGlobal(mouse.x, 0).x - startX
            if (root.onRight)
                dx = -dx
            root.settings.sidebarWidth = Math.max(180, Math.min(500, startWidth + dx))
        }
    }
}
