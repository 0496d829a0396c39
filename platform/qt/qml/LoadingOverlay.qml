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
        // Drawn with plain items, so that it spins under every scene-graph backend.
        Item {
            id: spinner
            objectName: "loadingSpinner"
            Accessible.ignored: true
            anchors.centerIn: parent
            width: 44; height: 44
            Repeater {
                model: 8
                Rectangle {
                    required property int index
                    x: spinner.width / 2 - width / 2 + Math.sin(index * Math.PI / 4) * 16
                    y: spinner.height / 2 - height / 2 - Math.cos(index * Math.PI / 4) * 16
                    width: 7; height: 7; radius: 3.5
                    color: "#3A3A3C"
                    opacity: 0.25 + 0.75 * index / 7
                }
            }
            RotationAnimator on rotation {
                running: overlay.shown
                from: 0; to: 360
                duration: 900
                loops: Animation.Infinite
            }
        }
    }
}
