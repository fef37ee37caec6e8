// The banner under the header bar: the X11 requirement as numbered steps with a Relaunch
// button, or a compact line with the type's symbol, an optional action and a close button.
import QtQuick

Rectangle {
    id: banner
    required property var root
    readonly property var service: root.notifications
    readonly property bool warning: service && service.bannerType === "warning"
    visible: service !== null && service !== undefined && service.hasBanner
    implicitHeight: visible ? content.implicitHeight + 12 : 0
    radius: 6
    color: Qt.rgba(root.sys.highlight.r, root.sys.highlight.g, root.sys.highlight.b, 0.12)

    Accessible.role: Accessible.AlertMessage
    Accessible.name: warning ? root.t("banner.x11Required.title") : (service ? service.bannerMessage : "")

    Column {
        id: content
        x: 8; y: 6
        width: parent.width - 40
        spacing: 4
        Row {
            spacing: 6
            Image {
                sourceSize: Qt.size(16, 16)
                source: "image://orvella/symbol/" + (banner.warning ? "dialog-warning-symbolic"
                        : banner.service && banner.service.bannerType === "update" ? "software-update-available-symbolic"
                        : banner.service && banner.service.bannerType === "milestone" ? "starred-symbolic"
                        : "dialog-information-symbolic") + "/" + encodeURIComponent(banner.root.ink)
            }
            Text {
                width: content.width - 22
                wrapMode: Text.Wrap
                font.bold: true
                color: banner.root.ink
                text: banner.warning ? banner.root.t("banner.x11Required.title")
                                     : (banner.service ? banner.service.bannerMessage : "")
            }
        }
        Repeater {
            model: banner.warning ? ["banner.x11Required.step1", "banner.x11Required.step2", "banner.x11Required.step3"] : []
            Text {
                required property string modelData
                required property int index
                width: content.width
                wrapMode: Text.Wrap
                color: banner.root.ink
                text: (index + 1) + ". " + banner.root.t(modelData)
            }
        }
        Text {
            visible: !banner.warning && text !== ""
            width: content.width
            wrapMode: Text.Wrap
            color: banner.root.ink
            opacity: 0.75
            text: banner.service ? banner.service.bannerSubtitle : ""
        }
        TextButton {
            visible: banner.warning || (banner.service && banner.service.bannerActionLabel !== "")
            root: banner.root
            label: banner.warning ? banner.root.t("permission.relaunch")
                                  : (banner.service ? banner.service.bannerActionLabel : "")
            onClicked: banner.warning ? banner.root.app.relaunchApp(false) : banner.service.runBannerAction()
        }
    }
    IconButton {
        anchors.top: parent.top; anchors.right: parent.right; anchors.margins: 4
        symbol: "window-close-symbolic"; ink: banner.root.ink
        tip: banner.root.t("general.close")
        onClicked: banner.service.dismissBanner()
    }
}
