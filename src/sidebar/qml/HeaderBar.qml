// The bar above the list: show desktop, refresh, the title and its lock, add shelf, next
// monitor, settings and hide. The hide button always sits at the screen's edge.
import QtQuick

Rectangle {
    id: bar
    required property var root
    readonly property bool onRight: root.settings.position === "right"
    implicitHeight: 32
    color: "transparent"

    // Outside its buttons the bar is a show-desktop control: a double click minimises every
    // window, a single click brings them back.
    MouseArea {
        anchors.fill: parent
        onClicked: if (bar.root.app) bar.root.app.headerBarClicked(false)
        onDoubleClicked: if (bar.root.app) bar.root.app.headerBarClicked(true)
    }

    Row {
        id: actions
        anchors.verticalCenter: parent.verticalCenter
        x: bar.onRight ? 4 : parent.width - width - 4
        layoutDirection: bar.onRight ? Qt.LeftToRight : Qt.RightToLeft
        spacing: 2
        IconButton {
            symbol: "window-minimize-symbolic"; ink: bar.root.ink
            tip: bar.root.t("sidebar.minimizeRestore")
            onClicked: bar.root.windowManager.toggleShowDesktop()
        }
        IconButton {
            symbol: "view-refresh-symbolic"; ink: bar.root.ink
            tip: bar.root.t("sidebar.refresh")
            onClicked: if (bar.root.app) bar.root.app.refreshFromSidebar()
        }
    }

    Row {
        id: tools
        anchors.verticalCenter: parent.verticalCenter
        x: bar.onRight ? parent.width - width - 4 : 4
        layoutDirection: bar.onRight ? Qt.LeftToRight : Qt.RightToLeft
        spacing: 2
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: "Orvella"
            font.pointSize: 11
            font.bold: true
            color: bar.root.ink
            Accessible.ignored: true
        }
        IconButton {
            symbol: bar.root.settings.sidebarLocked ? "changes-prevent-symbolic" : "changes-allow-symbolic"
            ink: bar.root.ink
            tip: bar.root.t(bar.root.settings.sidebarLocked ? "sidebar.unlockResize" : "sidebar.lockResize")
            onClicked: bar.root.settings.sidebarLocked = !bar.root.settings.sidebarLocked
        }
        IconButton {
            symbol: "list-add-symbolic"; ink: bar.root.ink
            tip: bar.root.t("sidebar.addShelf")
            onClicked: bar.root.windowManager.addShelf()
        }
        IconButton {
            visible: Qt.application.screens.length > 1
            symbol: "video-display-symbolic"; ink: bar.root.ink
            tip: bar.root.t("sidebar.moveToNextMonitor")
            onClicked: if (bar.root.app) bar.root.app.cycleSidebarToNextScreen()
        }
        IconButton {
            symbol: "emblem-system-symbolic"; ink: bar.root.ink
            tip: bar.root.t("sidebar.settings")
            onClicked: if (bar.root.app) bar.root.app.openSettings()
        }
        IconButton {
            symbol: bar.onRight ? "go-next-symbolic" : "go-previous-symbolic"; ink: bar.root.ink
            tip: bar.root.t("sidebar.hide")
            onClicked: if (bar.root.app) bar.root.app.hideSidebar()
        }
    }
}
