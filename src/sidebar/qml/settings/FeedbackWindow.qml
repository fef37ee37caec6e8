// Feedback goes out through the user's own mail program; the diagnostics that may go with
// it are shown in full first, and window titles only when the user asks for them.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

ApplicationWindow {
    id: feedback
    required property var owner
    width: 640
    height: 560
    minimumWidth: 480
    minimumHeight: 420
    title: owner.t("feedback.windowTitle")
    palette: owner.palette

    readonly property var types: ["bug", "suggestion", "question", "other"]
    function refresh() { diagnostics.text = bridge.diagnostics(titles.checked) }
    onVisibleChanged: if (visible) refresh()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 12
        spacing: 8

        Label { text: feedback.owner.t("feedback.title"); font.pointSize: 14; font.bold: true }
        Label { Layout.fillWidth: true; wrapMode: Text.Wrap; text: feedback.owner.t("feedback.subtitle") }
        RowLayout {
            Label { text: feedback.owner.t("feedback.typeLabel") }
            ComboBox {
                id: type
                implicitWidth: 200
                model: feedback.types.map(t => feedback.owner.t("feedback.type." + t))
                Accessible.name: feedback.owner.t("feedback.typeLabel")
            }
        }
        ScrollView {
            Layout.fillWidth: true
            Layout.preferredHeight: 130
            TextArea {
                id: message
                placeholderText: feedback.owner.t("feedback.writeHere")
                wrapMode: TextEdit.Wrap
                background: Rectangle { color: feedback.palette.base; border.color: feedback.palette.mid }
                Accessible.name: feedback.owner.t("feedback.writeHere")
            }
        }
        CheckBox {
            id: include
            checked: true
            text: feedback.owner.t("feedback.diagnosticInfo")
            Accessible.name: text
        }
        CheckBox {
            id: titles
            enabled: include.checked
            text: feedback.owner.t("feedback.includeTitles")
            Accessible.name: text
            onToggled: feedback.refresh()
        }
        Label { text: feedback.owner.t("feedback.diagnosticTitle"); font.bold: true }
        ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            TextArea {
                id: diagnostics
                readOnly: true
                wrapMode: TextEdit.WrapAnywhere
                font.family: "monospace"
                font.pointSize: 8
                Accessible.name: feedback.owner.t("feedback.diagnosticTitle")
            }
        }
        Label {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            opacity: 0.75
            text: feedback.owner.t("feedback.privacyDesc")
        }
        Label {
            id: error
            Layout.fillWidth: true
            visible: false
            wrapMode: Text.Wrap
            color: "#c0392b"
            text: feedback.owner.t("feedback.mailError")
        }
        RowLayout {
            Item { Layout.fillWidth: true }
            Button {
                text: feedback.owner.t("feedback.copyDiagnostics")
                Accessible.name: text
                onClicked: bridge.copyText(diagnostics.text)
            }
            Button {
                text: feedback.owner.t("feedback.send")
                enabled: message.text.trim().length > 0
                highlighted: true
                Accessible.name: text
                onClicked: {
                    error.visible = !bridge.sendFeedback(feedback.types[type.currentIndex], message.text,
                                                         include.checked, titles.checked)
                    if (!error.visible)
                        feedback.close()
                }
            }
        }
    }
}
