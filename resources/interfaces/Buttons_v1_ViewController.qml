// The buttons test: the device picture for the current phase (volume up, volume down, screenshot)
// and what to press. The core moves on by itself, so there is no Next.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    // Phone width, centred in wider windows.
    Item {
        id: column
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        TestHeader {
            id: header
            controller: screen.controller
            name: "uiViewProgressBarBackground"
            anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 8 }
            height: implicitHeight
        }

        Flickable {
            id: flick
            anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: footer.top
                      topMargin: 16; bottomMargin: 8 }
            contentHeight: Math.max(height, content.implicitHeight)
            clip: true
            boundsBehavior: Flickable.StopAtBounds

            // Centred in the space between header and buttons.
            ColumnLayout {
                id: content
                width: parent.width
                y: Math.max(0, (flick.height - implicitHeight) / 2)
                spacing: 12

                // The artwork on a soft stage; cropped pictures come out of its edge.
                Rectangle {
                    Layout.fillWidth: true
                    Layout.preferredHeight: Math.min(content.width * 0.8, 280,
                                                     Math.max(160, flick.height * 0.5))
                    Layout.bottomMargin: 16
                    radius: 24
                    color: "#F3F5F9"
                    clip: true
                    OutletImage {
                        controller: screen.controller
                        name: "uiImage"
                        anchors { fill: parent; margins: 12; topMargin: 0 }
                    }
                }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbTitle"
                    Layout.fillWidth: true
                    textSize: 26
                    font.weight: Font.Bold
                }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbDescription"
                    Layout.fillWidth: true
                }
            }
        }

        ColumnLayout {
            id: footer
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; bottomMargin: 20 }
            spacing: 8
            TextButton {
                controller: screen.controller
                name: "uiBtCouldntCompleteTest"
                Layout.alignment: Qt.AlignHCenter
            }
        }
    }
}
