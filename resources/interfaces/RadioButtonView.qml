// A radio button outlet: a ring, filled in its tint colour while checked, and its title (wrapping
// when the line is too short). The core decides which one is checked, so a tap, or assistive
// technology's toggle, only sends the outlet's action.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    readonly property bool checked: o ? o.isChecked : false
    readonly property color tint: o ? o.tintColor : "transparent"
    // The title's pixel size at Qt's stock 12 px application font.
    property real textSize: 16

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitWidth: button.implicitWidth
    implicitHeight: Math.max(44, title.implicitHeight + 12)
    // In a layout, never wider than the layout: the title wraps instead.
    Layout.maximumWidth: parent ? parent.width : Infinity

    // On the outlet, not the inner button: once accessibility is on, a control calls itself a
    // plain button whatever role it is given.
    Accessible.role: Accessible.RadioButton
    Accessible.name: o ? o.accessibilityLabel || o.title : ""
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onToggleAction: if (button.enabled) button.clicked()
    Accessible.onPressAction: if (button.enabled) button.clicked()

    AbstractButton {
        id: button
        anchors.fill: parent
        Accessible.ignored: true
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
            width: button.width - ring.width - 10
            text: button.text
            wrapMode: Text.Wrap
            font.pixelSize: Math.round(outlet.textSize * Qt.application.font.pixelSize / 12)
            font.weight: outlet.checked ? Font.DemiBold : Font.Normal
            color: outlet.o ? outlet.o.textColor : "transparent"
        }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
