import QtQuick
import QtTest
import Tevanto

ViewTestCase {
    id: test

    name: "MacFirstRunGuide"

    Component {
        id: guides

        MacFirstRunGuide {
            width: 360
            height: implicitHeight
            appStoreURL: "https://store.test/app"
        }
    }
    SignalSpy {
        id: copying

        signalName: "copyLink"
    }
    SignalSpy {
        id: going

        signalName: "continueRequested"
    }
    function guide(): Item {
        const made = createTemporaryObject(guides, test);
        verify(made);
        copying.target = going.target = made;
        copying.clear();
        going.clear();
        return made;
    }

    function test_saysEverythingInItsOrder() {
        const view = guide();
        compare(texts(view), ["STEP 1 OF 2", "Your Mac, within reach.", "Install Tevanto on your iPhone, then pair in a minute.", "Scan with your iPhone", "Copy link", "I have Tevanto on my iPhone"]);
        const top = name => findChild(view, name).mapToItem(view, 0, 0).y;
        verify(top("hero") < top("qrCode"));
        verify(top("qrCode") < top("copyLink"));
        verify(top("copyLink") < top("continue"));
        compare(findChild(view, "hero").status, Image.Ready);
    }
    function test_showsTheCodeOfTheStorePage() {
        const code = findChild(guide(), "qrCode");
        compare(code.text, "https://store.test/app");
        compare(code.label, "QR code for the Tevanto App Store page");
        compare(code.width, code.height);
    }
    function test_saysThatTheLinkWasCopied() {
        const view = guide();
        verify(!view.copiedLink);
        press(view, "Copy link");
        compare(copying.count, 1);
        verify(view.copiedLink);
        compare(control(view, "Copy link"), null);
        press(view, "Link copied");
        compare(copying.count, 2, "it can be copied again");
        compare(going.count, 0);
    }
    function test_goesOnWithItsPrimaryButton() {
        const view = guide();
        verify(control(view, "I have Tevanto on my iPhone").isPrimary);
        verify(!control(view, "Copy link").isPrimary);
        press(view, "I have Tevanto on my iPhone");
        compare(going.count, 1);
        compare(copying.count, 0);
    }
}
