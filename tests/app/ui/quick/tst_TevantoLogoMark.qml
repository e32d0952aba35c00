import QtQuick
import QtTest
import Tevanto

ViewTestCase {
    id: test

    name: "TevantoLogoMark"

    Component {
        id: marks

        TevantoLogoMark {}
    }

    function test_isDrawnForItsSize_data() {
        return [{tag: "as in the header", properties: {}, extent: 36}, {tag: "large", properties: {extent: 256}, extent: 256}];
    }
    function test_isDrawnForItsSize(data) {
        const mark = createTemporaryObject(marks, test, data.properties);
        compare(mark.status, Image.Ready);
        compare(mark.width, data.extent);
        compare(mark.height, data.extent);
        compare(mark.sourceSize, Qt.size(data.extent, data.extent), "and not scaled up");
        const picture = grabImage(mark);
        const center = data.extent / 2;
        verify(!Qt.colorEqual(picture.pixel(center, center), picture.pixel(center, 2)) || !Qt.colorEqual(picture.pixel(center, center), "#ffffff"));
    }
}
