// Which readings the monitor shows, in their fixed order, with a live line of what the
// monitor reads now in that choice.
import QtQuick
import QtQuick.Controls.Fusion
import QtQuick.Layouts

ColumnLayout {
    id: editor
    required property var window
    readonly property var all: [["cpu", "sysmon.cpu"], ["mem", "sysmon.memory"], ["disk", "sysmon.disk"],
                                ["net", "sysmon.network"], ["bat", "sysmon.battery"], ["temp", "sysmon.temperature"]]

    function toggled(metric, on) {
        const chosen = all.map(m => m[0]).filter(m => m === metric ? on : appSettings.systemMonitorMetrics.indexOf(m) >= 0)
        appSettings.systemMonitorMetrics = chosen
    }
    function percent(v) { return Math.round(v) + "%" }
    function speed(bytes) { return bytes >= 1048576 ? (bytes / 1048576).toFixed(1) + " MB/s" : Math.round(bytes / 1024) + " KB/s" }
    function reading(metric) {
        switch (metric) {
        case "cpu": return window.t("sysmon.cpu") + " " + percent(systemMonitor.cpuUsage)
        case "mem": return window.t("sysmon.memory") + " " + percent(systemMonitor.memoryUsage)
        case "disk": return window.t("sysmon.disk") + " " + percent(systemMonitor.diskUsage)
        case "net": return "↓" + speed(systemMonitor.networkDownSpeed) + " ↑" + speed(systemMonitor.networkUpSpeed)
        case "bat": return systemMonitor.hasBattery ? window.t("sysmon.battery") + " " + percent(systemMonitor.batteryLevel) : ""
        case "temp": return systemMonitor.cpuTemperature > 0 ? window.t("sysmon.temp") + " " + Math.round(systemMonitor.cpuTemperature) + "°C" : ""
        }
        return ""
    }

    Flow {
        Layout.fillWidth: true
        spacing: 8
        Repeater {
            model: editor.all
            CheckBox {
                required property var modelData
                text: editor.window.t(modelData[1])
                checked: appSettings.systemMonitorMetrics.indexOf(modelData[0]) >= 0
                onToggled: editor.toggled(modelData[0], checked)
                Accessible.name: text
            }
        }
    }
    Frame {
        Layout.fillWidth: true
        Label {
            width: parent.width
            wrapMode: Text.Wrap
            font.family: "monospace"
            text: appSettings.systemMonitorMetrics.map(editor.reading).filter(s => s.length > 0).join("   ")
            Accessible.role: Accessible.StaticText
            Accessible.name: editor.window.t("sysmon.preview") + ": " + text
        }
    }
}
