// A QML host that hands its own StackView to the SDK, with a page of its own already on it.
import QtQuick
import QtQuick.Window
import QtQuick.Controls.Basic
import Quorvel

Window {
    width: 390
    height: 844
    visible: true

    StackView {
        id: hostStack
        objectName: "hostStack"
        anchors.fill: parent
        initialItem: Rectangle { objectName: "hostOwnPage"; color: "#2E86AB" }
    }

    SdkView { stackView: hostStack }
}
