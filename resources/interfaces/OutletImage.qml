// An image outlet, scaled to fit its place.
import QtQuick
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    property alias fillMode: image.fillMode

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1

    Image {
        id: image
        anchors.fill: parent
        source: outlet.o && typeof outlet.o.image === "string" ? outlet.o.image : ""
        sourceSize.width: Math.max(1, Math.round(width * 2))
        sourceSize.height: Math.max(1, Math.round(height * 2))
        fillMode: Image.PreserveAspectFit
        smooth: true
        asynchronous: false
    }
}
