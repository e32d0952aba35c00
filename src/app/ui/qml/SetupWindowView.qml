import QtQuick
import Tevanto

/// The setup window's content: the first-run guide until it was completed, then the panel.
FocusScope {
    id: view

    required property CompanionModel companion
    readonly property bool showsGuide: !companion.hasCompletedGuide
    /// 0: the guide, 1: the panel.
    readonly property real progress: spring.value

    focus: true
    LayoutMirroring.enabled: DesktopAppearance.isRightToLeft
    LayoutMirroring.childrenInherit: true

    SpringValue {
        id: spring

        jumps: Theme.isMotionReduced
        target: view.showsGuide ? 0 : 1
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.ground
    }
    // A guide that has gone takes no memory any more.
    Loader {
        id: guideLoader

        width: view.width
        height: view.height
        x: -view.width * view.progress
        opacity: 1 - view.progress
        active: view.showsGuide || view.progress < 0.999
        enabled: view.showsGuide
        sourceComponent: ScrollingArea {
            objectName: "guideArea"
            page: guide

            MacFirstRunGuide {
                id: guide

                width: view.width
                appStoreURL: view.companion.appStoreURL
                onCopyLink: view.companion.copyLink()
                onContinueRequested: view.companion.completeGuide()
            }
        }
    }
    Loader {
        width: view.width
        height: view.height
        x: view.width * (1 - view.progress)
        opacity: view.progress
        active: !view.showsGuide || view.progress > 0.001
        enabled: !view.showsGuide
        sourceComponent: ScrollingArea {
            objectName: "panelArea"
            page: panel

            MacMenuView {
                id: panel

                width: view.width
                companion: view.companion
                inWindow: true
            }
        }
    }
}
