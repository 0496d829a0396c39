// A QML host's own window: its header bar above the SDK's item.
import QtQuick
import QtQuick.Window
import Quorvel

Window {
    width: 390
    height: 844
    visible: true
    color: "#1B2A3A"

    Rectangle {
        id: header
        objectName: "hostHeader"
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 72
        color: "#E4572E"
    }

    SdkView {
        objectName: "hostSdkView"
        anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: parent.bottom
                  margins: 12 }
    }
}
