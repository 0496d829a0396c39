// The speaker recording test: what happens, and Start; the core plays and records, and covers
// the screen while it does.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    Item {
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        TestHeader {
            id: header
            controller: screen.controller
            name: "uiViewProgressBarBackground"
            anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 8 }
            height: implicitHeight
        }

        ColumnLayout {
            anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
            spacing: 12
            RowLayout {
                Layout.fillWidth: true
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbTitle"
                    Layout.fillWidth: true
                    textSize: 26
                    font.weight: Font.Bold
                }
                IconButton { controller: screen.controller; name: "uiBtInfo"; implicitWidth: 32; implicitHeight: 32 }
            }
            OutletLabel {
                controller: screen.controller
                name: "uiLbDescription"
                Layout.fillWidth: true
            }
        }

        ColumnLayout {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; bottomMargin: 20 }
            spacing: 8
            TextButton {
                controller: screen.controller
                name: "uiBtCouldntCompleteTest"
                Layout.alignment: Qt.AlignHCenter
            }
            MainButton {
                controller: screen.controller
                name: "uiBtStartTest"
                Layout.fillWidth: true
            }
        }
    }
}
