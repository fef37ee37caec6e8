// One column, split view or auto split: three options under the list. Their labels are
// English in every language but Slovenian, by design.
import QtQuick

Row {
    id: toggle
    required property var root
    readonly property bool sl: root.strings.language === "sl"
    spacing: 4

    Repeater {
        model: [
            { value: "singleColumn", label: toggle.sl ? "En\nstolpec" : "One\nColumn" },
            { value: "splitView", label: "Split\nView" },
            { value: "autoSplit", label: "Auto\nSplit" }
        ]
        TextButton {
            required property var modelData
            root: toggle.root
            width: (toggle.width - 8) / 3
            label: modelData.label
            selected: toggle.root.settings.sidebarListLayoutMode === modelData.value
            onClicked: toggle.root.settings.sidebarListLayoutMode = modelData.value
        }
    }
}
