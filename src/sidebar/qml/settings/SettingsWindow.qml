// The settings window: pages on the left, a search field above, the page's controls
// (or every control the search matches) on the right.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

ApplicationWindow {
    id: win
    width: 800
    height: 600
    minimumWidth: 640
    minimumHeight: 480
    // Reading the language makes every text binding follow a live language switch.
    function t(key) { return l10n.language, l10n.string(key) }
    title: t("settings.windowTitle")

    // While neither this window nor the feedback window shows, the application lets go of both.
    readonly property bool anyVisible: visible || feedback.visible

    function openFeedback() {
        feedback.show()
        feedback.raise()
        feedback.requestActivate()
    }

    // Follows the light/dark appearance through the application palette.
    palette: appSettings.isDarkAppearance ? darkPalette : lightPalette
    Palette { id: lightPalette; window: "#f3f3f3"; windowText: "#1d1d1d"; base: "#ffffff"; alternateBase: "#f0f0f0"; text: "#1d1d1d"; button: "#ececec"; buttonText: "#1d1d1d"; highlight: "#3a7bd5"; highlightedText: "#ffffff"; mid: "#c8c8c8"; placeholderText: "#808080" }
    Palette { id: darkPalette; window: "#2b2b2d"; windowText: "#e8e8e8"; base: "#1f1f21"; alternateBase: "#303033"; text: "#e8e8e8"; button: "#3a3a3d"; buttonText: "#e8e8e8"; highlight: "#4f8ff0"; highlightedText: "#ffffff"; mid: "#55555a"; placeholderText: "#9a9a9a" }

    header: ToolBar {
        padding: 6
        contentItem: RowLayout {
            TextField {
                id: search
                Layout.fillWidth: true
                placeholderText: win.t("settings.search")
                Accessible.role: Accessible.EditableText
                Accessible.name: win.t("settings.search")
                Accessible.searchEdit: true
                onTextChanged: settingsModel.query = text
            }
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        ListView {
            id: pages
            Layout.preferredWidth: 170
            Layout.fillHeight: true
            model: [["general", "settings.page.general"], ["appearance", "settings.page.appearance"],
                    ["previews", "settings.page.previews"], ["monitor", "sysmon.title"],
                    ["privacy", "settings.page.privacy"], ["about", "settings.page.about"]]
            Accessible.role: Accessible.PageTabList
            delegate: ItemDelegate {
                required property var modelData
                width: ListView.view.width
                text: win.t(modelData[1])
                highlighted: settingsModel.page === modelData[0] && search.text.length === 0
                Accessible.role: Accessible.PageTab
                Accessible.name: text
                onClicked: {
                    search.text = ""
                    settingsModel.page = modelData[0]
                }
            }
        }

        Rectangle { Layout.fillHeight: true; width: 1; color: win.palette.mid }

        ListView {
            id: list
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: settingsModel
            spacing: 2
            ScrollBar.vertical: ScrollBar {}
            delegate: SettingRow { width: list.width; window: win }
            section.property: settingsModel.query.length > 0 ? "pageTitle" : ""
            section.delegate: Label {
                required property string section
                text: section
                font.bold: true
                padding: 8
            }

            Label {
                anchors.centerIn: parent
                visible: settingsModel.noResults
                text: win.t("settings.search.noResults")
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }

    Dialog {
        id: confirmReset
        anchors.centerIn: parent
        modal: true
        title: win.t("settings.resetDefaults")
        Label {
            width: Math.min(420, win.width - 80)
            wrapMode: Text.Wrap
            text: win.t("settings.resetDefaults.confirm")
        }
        footer: DialogButtonBox {
            Button {
                text: win.t("general.cancel")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
                Accessible.name: text
            }
            Button {
                text: win.t("settings.resetDefaults.ok")
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
                Accessible.name: text
            }
        }
        onAccepted: bridge.resetToDefaults()
    }
    function askReset() { confirmReset.open() }

    FeedbackWindow { id: feedback; owner: win }
}
