// A text button outlet (cancel, could not complete, back): its title in its colour, with its
// image before the title when it has one. A title too long for the line wraps, the button growing.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    // The title's pixel size at Qt's stock 12 px application font.
    property real textSize: 15

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitHeight: Math.max(44, title.implicitHeight + button.topPadding + button.bottomPadding)
    implicitWidth: button.leftPadding + (icon.visible ? icon.width + row.spacing : 0)
                   + title.implicitWidth + button.rightPadding
    // In a layout, never wider than the layout: the title wraps instead.
    Layout.maximumWidth: parent ? parent.width : Infinity

    Accessible.role: Accessible.Button
    Accessible.name: o ? o.accessibilityLabel || o.title : ""
    Accessible.onPressAction: if (button.enabled) button.clicked()

    Button {
        id: button
        anchors.fill: parent
        Accessible.ignored: true
        flat: true
        enabled: outlet.o ? outlet.o.enabled && outlet.o.userInteractionEnabled : false
        text: outlet.o ? outlet.o.title : ""
        contentItem: Row {
            id: row
            spacing: 4
            Image {
                id: icon
                visible: outlet.o && typeof outlet.o.image === "string" && outlet.o.image.length > 0
                source: visible ? outlet.o.image : ""
                sourceSize.height: 36
                height: 18
                fillMode: Image.PreserveAspectFit
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                id: title
                width: button.availableWidth - (icon.visible ? icon.width + row.spacing : 0)
                text: button.text
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: Math.round(outlet.textSize * Qt.application.font.pixelSize / 12)
                font.weight: Font.Medium
                color: outlet.o ? outlet.o.titleColor : "transparent"
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        background: Rectangle { color: button.down ? "#14000000" : "transparent"; radius: 8 }
        onClicked: outlet.controller.send(outlet.name + "_TouchUpInside")
    }
}
