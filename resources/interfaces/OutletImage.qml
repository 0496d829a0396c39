// An image outlet, scaled to fit its place. Bitmaps (QR codes) load at their own size and are
// scaled without smoothing, so every pixel stays a sharp block. Decorative unless the screen names
// it: assistive technology skips pictures whose meaning the screen's texts already carry.
import QtQuick
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    property alias fillMode: image.fillMode
    // What the picture shows, from the screen's copy, unless the core names it; empty for a
    // decorative picture.
    property string accessibleName
    readonly property string spokenName: o && o.accessibilityLabel ? o.accessibilityLabel
                                                                   : accessibleName

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1

    Accessible.role: Accessible.Graphic
    Accessible.name: spokenName
    Accessible.ignored: spokenName.length === 0

    Image {
        id: image
        anchors.fill: parent
        source: outlet.o && typeof outlet.o.image === "string" ? outlet.o.image : ""
        readonly property bool bitmap: outlet.o ? outlet.o.bitmap === true : false
        // Rendered for the screen's pixels, not more: larger costs memory, smaller blurs.
        readonly property real density: Math.max(1, Screen.devicePixelRatio)
        sourceSize.width: bitmap ? 0 : Math.max(1, Math.round(width * density))
        sourceSize.height: bitmap ? 0 : Math.max(1, Math.round(height * density))
        fillMode: Image.PreserveAspectFit
        smooth: !bitmap
        mipmap: false
        asynchronous: false
    }
}
