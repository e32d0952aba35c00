import QtQuick

/// The product's mark.
Image {
    property int extent: 36

    width: extent
    height: extent
    sourceSize: Qt.size(extent, extent)
    source: "images/TevantoLogoMark.svg"
    Accessible.ignored: true
}
