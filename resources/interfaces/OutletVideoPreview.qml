// The camera's picture while a capture session runs, filling its place and cropped.
import QtQuick
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    clip: true

    Rectangle { anchors.fill: parent; color: "black" }
}
