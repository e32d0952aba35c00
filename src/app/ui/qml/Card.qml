import QtQuick
import Tevanto

/// A group of what belongs together, as high as what it holds.
Rectangle {
    id: card

    default property alias content: column.data
    property alias spacing: column.spacing
    property int padding: Theme.cardPadding

    implicitHeight: column.height + 2 * padding
    radius: Theme.cardRadius
    color: Theme.card
    border.width: 1
    border.color: Theme.line

    Column {
        id: column

        x: card.padding
        y: card.padding
        width: card.width - 2 * card.padding
    }
}
