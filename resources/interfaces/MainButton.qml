// A screen's main button: filled with the host's button colours, corners from its border type.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    // The action a press sends; a screen may name its own.
    property string action: name + "_TouchUpInside"

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitHeight: 52
    implicitWidth: button.implicitWidth

    Button {
        id: button
        anchors.fill: parent
        enabled: outlet.o ? outlet.o.enabled && outlet.o.userInteractionEnabled : false
        text: outlet.o ? outlet.o.title : ""
        font.pixelSize: 17
        font.weight: Font.DemiBold
        contentItem: Text {
            text: button.text
            font: button.font
            color: outlet.o ? outlet.o.titleColor : "transparent"
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
        }
        background: Rectangle {
            radius: outlet.o ? outlet.controller.cornerRadius(outlet.o.borderType, outlet.o.cornerRadius,
                                                             height) : 0
            color: outlet.o ? outlet.o.backgroundColor : "transparent"
            opacity: button.down ? 0.8 : (button.enabled ? 1 : 0.5)
        }
        onClicked: outlet.controller.send(outlet.action)
    }
}
