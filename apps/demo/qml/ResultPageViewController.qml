// The demo host's page after a run: the completion response.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    ColumnLayout {
        anchors { fill: parent; margins: 20; bottomMargin: back.height + 40 }
        spacing: 10
        OutletLabel { controller: screen.controller; name: "uiLbTitle"; Layout.fillWidth: true; textSize: 28; font.weight: Font.Bold }
        OutletLabel { controller: screen.controller; name: "uiLbStatus"; Layout.fillWidth: true; textSize: 20; font.weight: Font.DemiBold }
        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            radius: 12
            color: "white"
            Flickable {
                anchors { fill: parent; margins: 12 }
                contentHeight: response.implicitHeight
                clip: true
                OutletLabel {
                    id: response
                    controller: screen.controller
                    name: "uiLbResponse"
                    width: parent.width
                    font.family: "monospace"
                    textSize: 12
                }
            }
        }
    }
    MainButton {
        id: back
        controller: screen.controller
        name: "uiBtBack"
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 20 }
        height: implicitHeight
    }
}
