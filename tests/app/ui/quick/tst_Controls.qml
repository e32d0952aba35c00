import QtQuick
import QtTest
import Tevanto

/// The rules that every control keeps.
ViewTestCase {
    id: test

    name: "Controls"

    Component {
        id: buttons

        PushButton {
            text: "Press"
        }
    }
    Component {
        id: switches

        ToggleSwitch {
            name: "Press"
        }
    }
    Component {
        id: links

        LinkText {
            text: "Press"
        }
    }
    SignalSpy {
        id: presses

        signalName: "triggered"
    }
    function make(component: Component): Item {
        const made = createTemporaryObject(component, test, {x: 40, y: 40});
        verify(made);
        presses.target = made;
        presses.clear();
        mouseMove(test, 300, 300);
        return made;
    }
    function kinds() {
        return [{tag: "button", kind: buttons}, {tag: "switch", kind: switches}, {tag: "link", kind: links}];
    }

    function test_isPressedByPointerAndKeys_data() {
        return kinds();
    }
    function test_isPressedByPointerAndKeys(data) {
        const control = make(data.kind);
        mouseClick(control);
        compare(presses.count, 1);
        verify(!control.activeFocus, "the pointer leaves the keyboard's focus where it is");
        control.forceActiveFocus();
        for (const key of [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter])
            keyClick(key);
        compare(presses.count, 4);
    }
    function test_isNotPressedByAPointerThatLeavesIt_data() {
        return kinds();
    }
    function test_isNotPressedByAPointerThatLeavesIt(data) {
        const control = make(data.kind);
        mousePress(control);
        verify(control.isPressed);
        mouseMove(test, 300, 300);
        mouseRelease(test, 300, 300);
        compare(presses.count, 0);
        verify(!control.isPressed);
    }
    function test_showsThatThePointerIsOverIt_data() {
        return kinds();
    }
    function test_showsThatThePointerIsOverIt(data) {
        const control = make(data.kind);
        const before = grabImage(control);
        mouseMove(control);
        tryCompare(control, "isHovered", true, 60000);
        tryVerify(() => !grabImage(control).equals(before), 60000);
        mouseMove(test, 300, 300);
        tryCompare(control, "isHovered", false, 60000);
    }
    function test_doesNothingAndPalesWhileItIsDisabled_data() {
        return kinds();
    }
    function test_doesNothingAndPalesWhileItIsDisabled(data) {
        const control = make(data.kind);
        control.forceActiveFocus();
        control.enabled = false;
        mouseClick(control);
        keyClick(Qt.Key_Space);
        compare(presses.count, 0);
        verify(control.opacity < 0.6);
        mouseMove(control);
        verify(!control.isHovered);
    }
    function test_aSwitchShowsWhatIsAndNotWhatIsAskedFor() {
        const control = make(switches);
        mouseClick(control);
        verify(!control.isOn);
        const before = grabImage(control);
        control.isOn = true;
        tryVerify(() => !grabImage(control).equals(before), 60000);
    }
}
