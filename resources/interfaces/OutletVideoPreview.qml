// A camera preview outlet: the running capture session's picture, filling the outlet and cropped
// to it, over the outlet's background colour; only the colour while no session runs. The screen's
// texts say what it shows, so assistive technology skips it.
import QtQuick
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    // Whether a camera picture is on show.
    readonly property alias showing: picture.showing

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    clip: true
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        color: outlet.o ? outlet.o.backgroundColor : "transparent"
        radius: outlet.o ? outlet.o.cornerRadius : 0
    }
    CameraPicture {
        id: picture
        anchors.fill: parent
    }
}
