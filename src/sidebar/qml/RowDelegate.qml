// One row of the list: a section header, a window, a title, an empty shelf's placeholder or
// the drag hint.
import QtQuick

Rectangle {
    id: row
    required property var root
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

    width: ListView.view ? ListView.view.width : 0
    height: hidden ? 0 : root.fontSize + 2 * root.rowSpacing + 14
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
