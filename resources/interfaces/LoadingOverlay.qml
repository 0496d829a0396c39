// The full-window busy overlay: dims the window, spins, and swallows every touch and click while
// shown. Its level fades over the duration the core gives.
import QtQuick
import QtQuick.Controls.Basic

Rectangle {
    id: overlay
    property bool shown: false
    property real level: 0
    property int fadeMilliseconds: 0

    objectName: "loadingOverlay"
    visible: shown
    opacity: level
    color: "#99000000"
    Behavior on opacity { NumberAnimation { duration: overlay.fadeMilliseconds } }

    MouseArea { anchors.fill: parent; hoverEnabled: true; preventStealing: true
                acceptedButtons: Qt.AllButtons }
    MultiPointTouchArea { anchors.fill: parent; mouseEnabled: false }

    Rectangle {
        anchors.centerIn: parent
        width: 96; height: 96; radius: 18
        color: "#E6FFFFFF"
        BusyIndicator { anchors.centerIn: parent; running: overlay.shown }
    }
}
