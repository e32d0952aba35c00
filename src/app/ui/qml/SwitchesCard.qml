import QtQuick
import Tevanto

Card {
    id: card

    required property CompanionModel companion

    function keepAwakeSubtitle(): string {
        const state = companion.isKeepAwakeOn ? companion.keepAwakeStatusText : qsTr("Off when the screen locks");
        return companion.batteryPercent < 0 ? state : state + " · " + companion.batteryPercent + "%";
    }

    SwitchRow {
        objectName: "keepAwake"
        width: parent.width
        symbol: "cup.and.saucer.fill"
        title: qsTr("Keep running after screen lock")
        subtitle: card.keepAwakeSubtitle()
        isOn: card.companion.isKeepAwakeOn
        onToggled: card.companion.setKeepAwake(!isOn)
    }
    Separator {}
    SwitchRow {
        objectName: "launchAtLogin"
        width: parent.width
        symbol: "power"
        title: qsTr("Launch at login")
        subtitle: card.companion.launchAtLoginStatusText
        isOn: card.companion.isLaunchAtLoginOn
        onToggled: card.companion.setLaunchAtLogin(!isOn)
    }
}
