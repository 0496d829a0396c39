// The read-word test: the word to say, the record button (which stops too), the time, and once
// recorded: play, record again and Next.
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
            OutletLabel {
                controller: screen.controller
                name: "uiLbWord"
                Layout.fillWidth: true
                Layout.topMargin: 16
                horizontalAlignment: Text.AlignHCenter
                textSize: 34
                font.weight: Font.Bold
            }
            OutletLabel {
                controller: screen.controller
                name: "uiLbTimer"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                textSize: 20
                font.family: "monospace"
            }
            RowLayout {
                Layout.alignment: Qt.AlignHCenter
                spacing: 24
                IconButton { controller: screen.controller; name: "uiBtRecord"; implicitWidth: 88; implicitHeight: 88 }
                IconButton { controller: screen.controller; name: "uiBtPlay"; implicitWidth: 88; implicitHeight: 88 }
            }
            TextButton {
                controller: screen.controller
                name: "uiBtRecordAgain"
                Layout.alignment: Qt.AlignHCenter
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
                name: "uiBtNext"
                Layout.fillWidth: true
            }
        }
    }
}
