import QtQuick
import Tevanto

/// Scrolls what it holds where that is higher than the window: with a large font, or in a language of long words.
Flickable {
    id: area

    property Item page: null

    /// So that the keyboard never acts on what cannot be seen.
    function reveal(item: Item) {
        if (!item || !page || contentHeight <= height)
            return;
        let inside = item;
        while (inside && inside !== page)
            inside = inside.parent;
        if (inside !== page)
            return;
        const top = item.mapToItem(page, 0, 0).y;
        contentY = Math.max(Math.min(contentY, top - 8), top + item.height + 8 - height, 0);
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    contentWidth: width
    contentHeight: Math.max(page ? page.implicitHeight : 0, height)
    interactive: contentHeight > height

    Connections {
        target: area.Window.window
        function onActiveFocusItemChanged() {
            area.reveal(area.Window.window.activeFocusItem);
        }
    }
}
