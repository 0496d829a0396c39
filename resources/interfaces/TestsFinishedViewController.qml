// The last screen of a run: the illustration (or the host's picture), the closing text, finish
// and test again, and the SDK's version.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    Outlet {
        controller: screen.controller
        name: "uiBackgroundView"
        objectName: name
        anchors.fill: parent
        visible: !screen.o.uiBackgroundView.hidden
        opacity: screen.o.uiBackgroundView.alpha
        Rectangle { anchors.fill: parent; color: screen.o.uiBackgroundView.backgroundColor }
    }

    Item {
        id: column
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        Flickable {
            id: flick
            anchors { left: parent.left; right: parent.right; top: parent.top; bottom: footer.top
                      bottomMargin: 12 }
            contentHeight: Math.max(height, content.implicitHeight + 32)
            clip: true
            boundsBehavior: Flickable.StopAtBounds

            // Centred in the space above the buttons.
            ColumnLayout {
                id: content
                width: parent.width
                y: Math.max(16, (flick.height - implicitHeight) / 2)
                spacing: 24

                Item {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.preferredWidth: Math.min(content.width, 260)
                    Layout.preferredHeight: Math.min(Layout.preferredWidth, flick.height * 0.45)
                    OutletImage {
                        controller: screen.controller
                        name: "uiViewImage"
                        anchors.fill: parent
                    }
                    OutletImage {
                        controller: screen.controller
                        name: "uiCustomImage"
                        anchors.fill: parent
                    }
                }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbText"
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    textSize: 26
                    font.weight: Font.Bold
                }
            }
        }

        ColumnLayout {
            id: footer
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; bottomMargin: 16 }
            spacing: 12
            MainButton {
                controller: screen.controller
                name: "uiBtDone"
                Layout.fillWidth: true
            }
            MainButton {
                controller: screen.controller
                name: "uiBtTestAgain"
                Layout.fillWidth: true
            }
            OutletLabel {
                controller: screen.controller
                name: "uiVersionLabel"
                Layout.fillWidth: true
                Layout.topMargin: 4
                horizontalAlignment: Text.AlignHCenter
                textSize: 13
            }
        }
    }
}
