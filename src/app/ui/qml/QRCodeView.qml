import QtQuick

/// A QR code of a text, as large as the view. `label` names its purpose.
Item {
    id: view

    property string text
    property string label

    implicitWidth: 148
    implicitHeight: 148
    Accessible.role: Accessible.Graphic
    Accessible.name: label

    // Dark on light in every theme: not every phone reads it the other way round.
    Rectangle {
        anchors.fill: parent
        radius: 8
        color: "#ffffff"
    }
    Image {
        anchors.fill: parent
        smooth: false
        cache: false
        sourceSize: Qt.size(width, height)
        source: view.text === "" ? "" : "image://qr/" + encodeURIComponent(view.text)
        Accessible.ignored: true
    }
}
