// A text button outlet (cancel, could not complete, back): its title in its colour, with its
// image before the title when it has one.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    property int pixelSize: 15

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitHeight: 44
    implicitWidth: button.implicitWidth

    Button {
        id: button
        anchors.fill: parent
        flat: true
        enabled: outlet.o ? outlet.o.enabled && outlet.o.userInteractionEnabled : false
        text: outlet.o ? outlet.o.title : ""
        contentItem: Row {
            spacing: 4
            Image {
                visible: outlet.o && typeof outlet.o.image === "string" && outlet.o.image.length > 0
                source: visible ? outlet.o.image : ""
                sourceSize.height: 36
                height: 18
                fillMode: Image.PreserveAspectFit
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: button.text
                font.pixelSize: outlet.pixelSize
                font.weight: Font.Medium
                color: outlet.o ? outlet.o.titleColor : "transparent"
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        background: Rectangle { color: button.down ? "#14000000" : "transparent"; radius: 8 }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
