// A button outlet drawn as its image alone (info, play, record), in the image's tint, on its
// background colour.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitWidth: 44
    implicitHeight: 44

    // A round plate in the button's background colour (clear unless the core sets one).
    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: outlet.o ? outlet.o.backgroundColor : "transparent"
    }
    AbstractButton {
        id: button
        anchors.fill: parent
        enabled: outlet.o ? outlet.o.enabled && outlet.o.userInteractionEnabled : false
        Image {
            anchors.fill: parent
            source: outlet.o && typeof outlet.o.image === "string" ? outlet.o.image : ""
            sourceSize.width: Math.max(1, Math.round(width * 2))
            sourceSize.height: Math.max(1, Math.round(height * 2))
            fillMode: Image.PreserveAspectFit
            opacity: button.down ? 0.7 : 1
        }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
