// A screen's main button: filled with the host's button colours, corners from its border type.
// Its title follows the application font and wraps, the button growing, rather than be cut off.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    // The action a press sends; a screen may name its own.
    property string action: name + "_TouchUpInside"
    // The title's pixel size at Qt's stock 12 px application font.
    property real textSize: 17

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitHeight: Math.max(52, title.implicitHeight + button.topPadding + button.bottomPadding)
    implicitWidth: button.implicitWidth

    // The outlet speaks for the button, so that assistive technology meets one element.
    Accessible.role: Accessible.Button
    Accessible.name: o ? o.accessibilityLabel || o.title : ""
    Accessible.onPressAction: if (button.enabled) button.clicked()

    Button {
        id: button
        anchors.fill: parent
        Accessible.ignored: true
        enabled: outlet.o ? outlet.o.enabled && outlet.o.userInteractionEnabled : false
        text: outlet.o ? outlet.o.title : ""
        font.pixelSize: Math.round(outlet.textSize * Qt.application.font.pixelSize / 12)
        font.weight: Font.DemiBold
        contentItem: Text {
            id: title
            text: button.text
            font: button.font
            color: outlet.o ? outlet.o.titleColor : "transparent"
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            wrapMode: Text.Wrap
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
