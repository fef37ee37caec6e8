// Version, the libraries and their licences, and where to learn more.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

ColumnLayout {
    id: panel
    required property var window
    spacing: 8

    Label {
        text: l10n.language, l10n.formatted("settings.about.version", [bridge.version])
        font.pointSize: 13
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    Label {
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        text: l10n.language, l10n.formatted("settings.about.licensesText", [bridge.qtVersion])
    }
    RowLayout {
        Button {
            text: panel.window.t("settings.visitWebsite")
            Accessible.name: text
            onClicked: bridge.openWebsite()
        }
    }
}
