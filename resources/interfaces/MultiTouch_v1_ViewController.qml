// The first multi-touch test: tap anywhere with three fingers. The whole screen is the "view"
// outlet that carries the three-finger tap recogniser; the buttons above it take their own taps.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets
    // The run's theme colour, as the core gives it to the cancel button.
    readonly property color accent: o.uiBtCancel.titleColor

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    Item {
        id: column
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        TestHeader {
            id: header
            controller: screen.controller
            name: "uiHeaderView"
            anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 8 }
            height: implicitHeight
        }

        ColumnLayout {
            id: texts
            anchors { left: parent.left; right: parent.right; top: header.bottom; topMargin: 24 }
            spacing: 12
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

        // A hint of three fingertips in the free space; it takes no input of its own, and says
        // nothing the description does not.
        Item {
            anchors { left: parent.left; right: parent.right; top: texts.bottom; bottom: footer.top }
            Accessible.ignored: true
            Rectangle {
                id: pad
                anchors.centerIn: parent
                width: Math.min(parent.width, parent.height, 240)
                height: width
                radius: width / 2
                color: Qt.rgba(screen.accent.r, screen.accent.g, screen.accent.b, 0.08)
                visible: parent.height > 120
                Row {
                    anchors.centerIn: parent
                    spacing: pad.width * 0.06
                    Repeater {
                        model: 3
                        Rectangle {
                            required property int index
                            width: pad.width * 0.18
                            height: width
                            radius: width / 2
                            y: index === 1 ? -pad.width * 0.08 : 0
                            color: Qt.rgba(screen.accent.r, screen.accent.g, screen.accent.b, 0.35)
                            border.width: 2
                            border.color: screen.accent
                        }
                    }
                }
            }
        }

        ColumnLayout {
            id: footer
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; bottomMargin: 20 }
            TextButton {
                controller: screen.controller
                name: "uiBtCouldntCompleteTest"
                Layout.alignment: Qt.AlignHCenter
            }
        }
    }
}
