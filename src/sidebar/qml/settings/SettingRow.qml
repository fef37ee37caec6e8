// One row of the settings list: title and description on the left, the control that
// writes the setting at once on the right (or below, for the wide ones).
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

Pane {
    id: row
    required property var window
    required property string kind
    required property string setting
    required property string title
    required property string description
    required property var values
    required property var labels
    required property real minimum
    required property real maximum
    required property real step
    required property string autoProperty
    required property string noteWhen
    required property string note

    readonly property bool wide: ["color", "metrics", "privacy", "about", "scheme"].indexOf(kind) >= 0
    padding: 10

    ColumnLayout {
        width: parent.width
        spacing: 6

        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Label {
                    Layout.fillWidth: true
                    text: row.title
                    font.bold: true
                    wrapMode: Text.Wrap
                }
                Label {
                    Layout.fillWidth: true
                    visible: text.length > 0 && row.kind !== "privacy" && row.kind !== "about"
                    text: row.description
                    wrapMode: Text.Wrap
                    opacity: 0.75
                }
                Label {
                    Layout.fillWidth: true
                    visible: row.noteWhen.length > 0 && bridge[row.noteWhen] === true
                    text: row.note
                    wrapMode: Text.Wrap
                    color: "#c0392b"
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
            Loader {
                active: !row.wide
                Layout.alignment: Qt.AlignVCenter
                sourceComponent: {
                    switch (row.kind) {
                    case "switch": return switchControl
                    case "choice": return row.values.length <= 3 ? segmentControl : comboControl
                    case "number": return numberControl
                    case "language": return languageControl
                    case "shortcut": return shortcutControl
                    case "action": return actionControl
                    }
                    return null
                }
            }
        }
        Loader {
            active: row.wide
            Layout.fillWidth: true
            sourceComponent: {
                switch (row.kind) {
                case "color": return colorControl
                case "metrics": return metricsControl
                case "privacy": return privacyControl
                case "about": return aboutControl
                case "scheme": return schemeControl
                }
                return null
            }
        }
    }

    Component {
        id: switchControl
        Switch {
            checked: appSettings[row.setting]
            onToggled: appSettings[row.setting] = checked
            Accessible.name: row.title
        }
    }
    Component {
        id: segmentControl
        RowLayout {
            spacing: 0
            Accessible.role: Accessible.Grouping
            Accessible.name: row.title
            Repeater {
                model: row.values.length
                RadioButton {
                    required property int index
                    text: row.labels[index]
                    checked: appSettings[row.setting] === row.values[index]
                    onToggled: if (checked) appSettings[row.setting] = row.values[index]
                    Accessible.name: text
                }
            }
        }
    }
    Component {
        id: comboControl
        ComboBox {
            implicitWidth: 220
            model: row.labels
            currentIndex: row.values.indexOf(appSettings[row.setting])
            onActivated: index => appSettings[row.setting] = row.values[index]
            Accessible.name: row.title
        }
    }
    Component {
        id: numberControl
        SpinBox {
            // Whole steps on the wire; the setting may take halves.
            readonly property real factor: row.step < 1 ? 10 : 1
            from: row.minimum * factor
            to: row.maximum * factor
            stepSize: row.step * factor
            editable: true
            value: appSettings[row.setting] * factor
            textFromValue: (v, locale) => Number(v / factor).toLocaleString(locale, "f", factor > 1 ? 1 : 0)
            valueFromText: (text, locale) => Math.round(Number.fromLocaleString(locale, text) * factor)
            onValueModified: appSettings[row.setting] = value / factor
            Accessible.name: row.title
        }
    }
    Component {
        id: languageControl
        ComboBox {
            implicitWidth: 220
            textRole: "name"
            model: bridge.languages
            currentIndex: {
                for (let i = 0; i < bridge.languages.length; ++i)
                    if (bridge.languages[i].code === appSettings.appLanguage)
                        return i
                return -1
            }
            onActivated: index => appSettings.appLanguage = bridge.languages[index].code
            Accessible.name: row.title
        }
    }
    Component {
        id: shortcutControl
        ShortcutField { window: row.window; title: row.title }
    }
    Component {
        id: actionControl
        Button {
            text: row.title
            Accessible.name: text
            onClicked: {
                if (row.setting === "quit") bridge.quit()
                else if (row.setting === "reset") row.window.askReset()
                else if (row.setting === "feedback") row.window.openFeedback()
            }
        }
    }
    Component {
        id: colorControl
        ColorPair { window: row.window; setting: row.setting; autoProperty: row.autoProperty; title: row.title }
    }
    Component {
        id: metricsControl
        MetricsEditor { window: row.window }
    }
    Component {
        id: privacyControl
        PrivacyPanel { window: row.window; description: row.description }
    }
    Component {
        id: aboutControl
        AboutPanel { window: row.window }
    }
    Component {
        id: schemeControl
        SchemePicker { window: row.window }
    }
}
