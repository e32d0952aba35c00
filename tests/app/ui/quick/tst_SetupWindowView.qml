import QtQuick
import QtTest
import Tevanto

ViewTestCase {
    id: test

    name: "SetupWindowView"

    Component {
        id: windows

        SetupWindowView {
            companion: world.companion
            width: 360
            height: 520
        }
    }
    function setup(): Item {
        const made = createTemporaryObject(windows, test);
        verify(made);
        return made;
    }
    function isGuide(view: Item): bool {
        return control(view, "I have Tevanto on my iPhone") !== null && control(view, "Quit") === null;
    }
    function isPanel(view: Item): bool {
        return control(view, "Quit") !== null && control(view, "I have Tevanto on my iPhone") === null;
    }

    function test_beginsWithTheGuideAndStoresThatItWasCompleted() {
        const view = setup();
        verify(isGuide(view));
        verify(!world.hasStoredGuide());
        press(view, "I have Tevanto on my iPhone");
        verify(world.hasStoredGuide());
        tryVerify(() => isPanel(view), 60000);
    }
    function test_beginsWithThePanelWhereTheGuideWasCompletedEarlier() {
        world.storeGuide();
        const view = setup();
        verify(isPanel(view));
        compare(control(view, "Open setup window"), null, "this is the setup window");
    }
    function test_copiesTheLinkOfTheStorePage() {
        press(setup(), "Copy link");
        compare(world.calls, ["copy https://tevanto.example/iphone"]);
    }
    function test_cutsWhereMotionIsReduced() {
        world.reduceMotion(true);
        const view = setup();
        press(view, "I have Tevanto on my iPhone");
        compare(view.progress, 1);
        verify(isPanel(view));
    }
    function test_onlyWhatStaysCanBePressedOnTheWay() {
        const view = setup();
        press(view, "I have Tevanto on my iPhone");
        verify(view.progress < 1);
        const left = control(view, "I have Tevanto on my iPhone");
        verify(!left || !left.enabled);
        tryCompare(view, "progress", 1, 60000);
    }
}
