// A radio button outlet: a ring, filled in its tint colour while checked, and its title. The core
// decides which one is checked, so a tap only sends the outlet's action.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    readonly property bool checked: o ? o.isChecked : false
    readonly property color tint: o ? o.tintColor : "transparent"

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitWidth: button.implicitWidth
    implicitHeight: 44

    AbstractButton {
        id: button
        anchors.fill: parent
        enabled: outlet.o ? outlet.o.userInteractionEnabled : false
        checkable: false
        text: outlet.o ? outlet.o.title : ""
        implicitWidth: ring.width + 10 + title.implicitWidth + 8

        Rectangle {
            id: ring
            objectName: outlet.name + "Indicator"
            anchors { left: parent.left; verticalCenter: parent.verticalCenter }
            width: 22; height: 22; radius: 11
            color: "transparent"
            border.width: 2
            border.color: outlet.checked ? outlet.tint : "#A3A8B3"
            Rectangle {
                anchors.centerIn: parent
                width: 12; height: 12; radius: 6
                color: outlet.tint
                visible: outlet.checked
            }
        }
        Text {
            id: title
            anchors { left: ring.right; leftMargin: 10; verticalCenter: parent.verticalCenter }
            text: button.text
            font.pixelSize: 16
            font.weight: outlet.checked ? Font.DemiBold : Font.Normal
            color: outlet.o ? outlet.o.textColor : "transparent"
        }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
