import QtQuick
import QtTest

/// A test of a view: it is looked at, clicked and typed at over the real services, which `world` arranges.
TestCase {
    id: test

    width: 400
    height: 760
    visible: true
    when: windowShown

    function init() {
        world.reset();
    }

    /// Every item below it that the condition holds for and that can be seen, row by row from the top.
    function shown(item: Item, condition: var): var {
        const found = [];
        const visit = each => {
            if (!each.visible || each.opacity === 0)
                return;
            if (condition(each))
                found.push(each);
            for (let i = 0; i < each.children.length; ++i)
                visit(each.children[i]);
        };
        visit(item);
        const place = each => each.mapToItem(item, 0, 0);
        return found.sort((a, b) => place(a).y - place(b).y || place(a).x - place(b).x);
    }
    function texts(item: Item): var {
        return shown(item, each => each instanceof Text && each.text !== "").map(each => each.text);
    }
    function symbols(item: Item): var {
        return shown(item, each => each instanceof Image && each.source.toString().startsWith("image://symbols/")).map(each => each.name);
    }
    /// What can be pressed and reads so to assistive technology; null when there is none.
    function control(item: Item, name: string): Item {
        return shown(item, each => each.isHovered !== undefined && each.name === name)[0] ?? null;
    }
    function press(item: Item, name: string) {
        const found = control(item, name);
        verify(found, "there is a control that reads " + name);
        mouseClick(found);
        world.run();
    }
    function row(item: Item, name: string): Item {
        return findChild(item, name);
    }
}
