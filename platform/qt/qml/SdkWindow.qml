// The ready-made window for hosts without a scene of their own: one SdkView filling it.
import QtQuick
import QtQuick.Window
import Quorvel

Window {
    title: "Quorvel"
    color: "white"

    SdkView { anchors.fill: parent }
}
