import QtQuick
import QtTest
import Tevanto

ViewTestCase {
    id: test

    name: "MacMenuView"

    Component {
        id: panels

        MacMenuView {
            companion: world.companion
            height: implicitHeight
        }
    }
    function panel(properties: var): Item {
        const made = createTemporaryObject(panels, test, properties ?? {});
        verify(made);
        world.run();
        return made;
    }

    function test_isAsWideAsItIsToldAndAsHighAsItsContent() {
        const view = panel({panelWidth: 372});
        compare(view.implicitWidth, 372);
        verify(view.implicitHeight > 400);
        for (const text of shown(view, each => each instanceof Text))
            verify(!text.truncated, text.text);
    }
    function test_opensTheSetupWindowOnlyOutsideOfIt_data() {
        return [{tag: "under the icon", inWindow: false}, {tag: "in the setup window", inWindow: true}];
    }
    function test_opensTheSetupWindowOnlyOutsideOfIt(data) {
        const view = panel({inWindow: data.inWindow});
        compare(control(view, "Open setup window") !== null, !data.inWindow);
        if (data.inWindow)
            return;
        press(view, "Open setup window");
        compare(world.calls, ["openSetupWindow"]);
    }
    function test_copiesTheCode() {
        world.setPairingCode("482913");
        const view = panel();
        compare(findChild(view, "code").text, "482913");
        compare(control(view, "Copy code").description, "Copy pairing code");
        compare(control(view, "Copy code").symbol, "doc.on.doc");
        press(view, "Copy code");
        compare(world.calls, ["copy 482913"]);
    }
    function test_opensEachLinkAndQuits() {
        const view = panel();
        for (const name of ["Website", "Support", "Privacy", "Terms", "Quit"])
            press(view, name);
        compare(world.calls, ["open https://tevanto.example", "open mailto:support@tevanto.example", "open https://tevanto.example/privacy", "open https://tevanto.example/terms", "quit"]);
    }
    function test_warnsExactlyWhereAPermissionIsMissing_data() {
        return [
            {tag: "none", accessibility: false, screenRecording: false},
            {tag: "the screen's", accessibility: false, screenRecording: true},
            {tag: "accessibility", accessibility: true, screenRecording: false},
            {tag: "both", accessibility: true, screenRecording: true}
        ];
    }
    function test_warnsExactlyWhereAPermissionIsMissing(data) {
        world.grant(data.accessibility, data.screenRecording);
        const view = panel();
        for (const name of ["accessibility", "screenRecording"]) {
            const isGranted = data[name];
            compare(symbols(row(view, name)), isGranted ? [] : ["exclamationmark.triangle.fill"], name);
            compare(control(row(view, name), "Open Settings") !== null, !isGranted, name);
        }
    }
    function test_asksForThePermissionOfTheRow_data() {
        return [{tag: "accessibility", requests: [1, 0]}, {tag: "screenRecording", requests: [0, 1]}];
    }
    function test_asksForThePermissionOfTheRow(data) {
        world.grant(false, false);
        const view = panel();
        press(row(view, data.tag), "Open Settings");
        compare(world.requests(), data.requests);
    }
    function test_tellsTheBatteryBehindKeepAwake_data() {
        return [
            {tag: "off, none", on: false, battery: -1, subtitle: "Off when the screen locks"},
            {tag: "on, none", on: true, battery: -1, subtitle: "Keeps running after screen lock"},
            {tag: "off", on: false, battery: 100, subtitle: "Off when the screen locks · 100%"},
            {tag: "on", on: true, battery: 64, subtitle: "Keeps running after screen lock · 64%"}
        ];
    }
    function test_tellsTheBatteryBehindKeepAwake(data) {
        world.setBattery(data.battery);
        const view = panel();
        if (data.on)
            press(view, "Keep running after screen lock");
        compare(control(view, "Keep running after screen lock").isOn, data.on);
        compare(texts(row(view, "keepAwake")), ["Keep running after screen lock", data.subtitle]);
        compare(symbols(row(view, "keepAwake")), ["cup.and.saucer.fill"]);
    }
    function test_showsWhereLaunchAtLoginStands() {
        const view = panel();
        compare(texts(row(view, "launchAtLogin")), ["Launch at login", "Starts after login"]);
        compare(symbols(row(view, "launchAtLogin")), ["power"]);
        press(view, "Launch at login");
        verify(!control(view, "Launch at login").isOn);
        compare(texts(row(view, "launchAtLogin")), ["Launch at login", "Off"]);
    }
    function test_isGreenOnlyWhileAPhoneIsConnected() {
        const view = panel();
        const dot = findChild(view, "dot");
        compare(dot.color, Theme.secondary);
        world.connectPhone();
        compare(dot.color, Theme.connected);
        compare(findChild(view, "connection").text, "Connected");
        compare(findChild(view, "codeCaption").text, "CONNECTED");
        world.losePhone();
        compare(dot.color, Theme.secondary);
        compare(findChild(view, "connection").text, "Ready");
        compare(findChild(view, "codeCaption").text, "PAIRING CODE");
    }
}
