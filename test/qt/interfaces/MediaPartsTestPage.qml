// The shared media parts at fixed places, for the render tests.
import QtQuick
import Quorvel

Outlet {
    id: page
    name: "view"
    Rectangle { anchors.fill: parent; color: "white" }

    OutletLabel {
        controller: page.controller; name: "uiLbPlain"
        x: 20; y: 20; width: 240; height: 40
        font.pixelSize: 28
    }
    OutletLabel {
        controller: page.controller; name: "uiLbMirrored"
        x: 20; y: 70; width: 240; height: 40
        font.pixelSize: 28
    }
    OutletImage {
        controller: page.controller; name: "uiIvBitmap"
        x: 20; y: 120; width: 200; height: 200
    }
    OutletVideoPreview {
        controller: page.controller; name: "uiCameraPreview"
        x: 20; y: 340; width: 100; height: 100
    }
}
