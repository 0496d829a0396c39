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

    Accessible.role: Accessible.Button
    // The picture says nothing to a screen reader: the core names the button in its language.
    Accessible.name: o ? o.accessibilityLabel || o.title : ""
    Accessible.onPressAction: if (button.enabled) button.clicked()

    // A round plate in the button's background colour (clear unless the core sets one).
    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: outlet.o ? outlet.o.backgroundColor : "transparent"
    }
    AbstractButton {
        id: button
        anchors.fill: parent
        Accessible.ignored: true
        enabled: outlet.o ? outlet.o.enabled && outlet.o.userInteractionEnabled : false
        Image {
            anchors.fill: parent
            source: outlet.o && typeof outlet.o.image === "string" ? outlet.o.image : ""
            // Rendered for the screen's pixels, not more: larger costs memory, smaller blurs.
            readonly property real density: Math.max(1, Screen.devicePixelRatio)
            sourceSize.width: Math.max(1, Math.round(width * density))
            sourceSize.height: Math.max(1, Math.round(height * density))
            fillMode: Image.PreserveAspectFit
            opacity: button.down ? 0.7 : 1
        }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
