// The host's window: its own header, and the SDK's item beneath it.
import QtQuick
import QtQuick.Window
import Quorvel

Window {
    width: 390
    height: 900
    visible: true
    title: "Quorvel package host"

    Rectangle {
        id: header
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 56
        color: "#3D348B"
        Text { anchors.centerIn: parent; text: "Package host"; color: "white"; font.pixelSize: 18 }
    }

    SdkView {
        anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: parent.bottom }
    }
}
