import QtQuick
import Tevanto

/// The guide after the installation: how to get the phone's half of the program.
Item {
    id: guide

    property string appStoreURL
    /// The link was copied since the guide appeared.
    property bool copiedLink: false

    signal copyLink
    /// The user has the app.
    signal continueRequested

    implicitHeight: content.height + 2 * Theme.margin

    Column {
        id: content

        x: Theme.margin
        y: Theme.margin
        width: guide.width - 2 * Theme.margin

        Image {
            objectName: "hero"
            width: parent.width
            height: 128
            sourceSize: Qt.size(width, height)
            source: "image://symbols/MacFirstRunHero"
            Accessible.ignored: true
        }
        PlainText {
            topPadding: 16
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("STEP 1 OF 2")
            color: Theme.accent
            font.pixelSize: Theme.labelSize
            font.weight: Font.DemiBold
            font.letterSpacing: 0.8
        }
        PlainText {
            topPadding: 4
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Your Mac, within reach.")
            font.pixelSize: 20
            font.weight: Font.DemiBold
            wrapMode: Text.WordWrap
            Accessible.role: Accessible.Heading
        }
        PlainText {
            topPadding: 5
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Install Tevanto on your iPhone, then pair in a minute.")
            color: Theme.secondary
            font.pixelSize: Theme.captionSize
            wrapMode: Text.WordWrap
        }
        Item {
            width: 1
            height: 14
        }
        QRCodeView {
            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "qrCode"
            text: guide.appStoreURL
            label: qsTr("QR code for the Tevanto App Store page")
        }
        PlainText {
            topPadding: 6
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Scan with your iPhone")
            color: Theme.secondary
            font.pixelSize: Theme.captionSize
        }
        Item {
            width: 1
            height: 10
        }
        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "copyLink"
            text: guide.copiedLink ? qsTr("Link copied") : qsTr("Copy link")
            onTriggered: {
                guide.copyLink();
                guide.copiedLink = true;
            }
        }
        Item {
            width: 1
            height: 20
        }
        PushButton {
            width: parent.width
            height: 38
            objectName: "continue"
            isPrimary: true
            textSize: Theme.bodySize
            text: qsTr("I have Tevanto on my iPhone")
            onTriggered: guide.continueRequested()
        }
    }
}
