// A check box outlet: a rounded box, filled in its tint colour with a tick while checked, and its
// title beside it (wrapping, as consent texts run long). The core owns the checked state; a tap,
// or assistive technology's toggle, only sends the outlet's action.
import QtQuick
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
    implicitWidth: box.width + 12 + title.implicitWidth
    implicitHeight: Math.max(44, title.implicitHeight + 16)

    // On the outlet, not the inner button: once accessibility is on, a control calls itself a
    // plain button whatever role it is given.
    Accessible.role: Accessible.CheckBox
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

        Rectangle {
            id: box
            objectName: outlet.name + "Indicator"
            anchors { left: parent.left; top: parent.top; topMargin: 10 }
            width: 22; height: 22; radius: 6
            color: outlet.checked ? outlet.tint : "transparent"
            border.width: outlet.checked ? 0 : 2
            border.color: "#A3A8B3"
            // The tick: two bars meeting at the bottom.
            Item {
                anchors.fill: parent
                visible: outlet.checked
                Rectangle {
                    x: 4.5; y: 11; width: 7; height: 2.6; radius: 1.3
                    color: "white"; rotation: 45; transformOrigin: Item.Right
                }
                Rectangle {
                    x: 9.5; y: 9.5; width: 10; height: 2.6; radius: 1.3
                    color: "white"; rotation: -52; transformOrigin: Item.Left
                }
            }
        }
        Text {
            id: title
            anchors { left: box.right; leftMargin: 12; right: parent.right
                      top: parent.top; topMargin: 8 }
            text: button.text
            wrapMode: Text.Wrap
            font.pixelSize: Math.round(outlet.textSize * Qt.application.font.pixelSize / 12)
            lineHeight: 1.1
            color: outlet.o ? outlet.o.textColor : "transparent"
        }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
