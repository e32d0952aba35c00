import QtQuick
import QtTest
import Tevanto

ViewTestCase {
    id: test

    name: "QRCodeView"

    Component {
        id: codes

        QRCodeView {
            text: "https://store.test/app"
            label: "what it is for"
        }
    }
    function code(properties: var): Item {
        const made = createTemporaryObject(codes, test, properties);
        verify(made);
        return made;
    }
    function image(view: Item): Item {
        return shown(view, each => each instanceof Image)[0];
    }

    function test_fillsItsSizeWhateverItIs_data() {
        return [{tag: "square", width: 148, height: 148}, {tag: "wide", width: 301, height: 120}, {tag: "small", width: 40, height: 40}];
    }
    function test_fillsItsSizeWhateverItIs(data) {
        const drawn = image(code({width: data.width, height: data.height}));
        compare(drawn.status, Image.Ready);
        compare(drawn.paintedWidth, data.width);
        compare(drawn.paintedHeight, data.height);
        compare(drawn.sourceSize, Qt.size(data.width, data.height));
    }
    function test_isDarkOnLight() {
        const picture = grabImage(code({width: 145, height: 145}));
        // 25 modules for so many bytes at level M, and four of quiet on each side.
        const module = (column, row) => picture.pixel(Math.floor((column + 4.5) * 145 / 33), Math.floor((row + 4.5) * 145 / 33));
        for (const [column, row, expected] of [[0, 0, "#000000"], [6, 6, "#000000"], [1, 1, "#ffffff"], [3, 3, "#000000"], [24, 0, "#000000"], [0, 24, "#000000"], [-2, -2, "#ffffff"]])
            verify(Qt.colorEqual(module(column, row), expected), column + "," + row);
    }
    function test_showsAnotherTextWhenItIsTold() {
        const view = code({width: 145, height: 145});
        const before = grabImage(view);
        view.text = "https://store.test/other";
        tryVerify(() => !grabImage(view).equals(before), 60000);
        view.text = "";
        compare(image(view).status, Image.Null);
    }
}
