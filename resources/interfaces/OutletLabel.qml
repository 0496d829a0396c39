// A label outlet: its text, colour and visibility. A link part of the text sends the outlet's link
// action when tapped. A mirrored label is drawn flipped left to right, to be read in a mirror.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    property alias font: label.font
    property alias horizontalAlignment: label.horizontalAlignment
    readonly property var o: controller ? controller.outlets[name] : undefined

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitWidth: label.implicitWidth
    implicitHeight: label.implicitHeight

    Label {
        id: label
        anchors.fill: parent
        wrapMode: Text.Wrap
        textFormat: outlet.o && outlet.o.link ? Text.StyledText : Text.PlainText
        text: !outlet.o ? "" : outlet.o.link && outlet.o.text.indexOf(outlet.o.link) >= 0
              ? outlet.o.text.replace(outlet.o.link, "<a href=\"link\">" + outlet.o.link + "</a>")
              : outlet.o.text
        color: outlet.o ? outlet.o.textColor : "transparent"
        linkColor: outlet.o ? outlet.o.tintColor : "transparent"
        font.pixelSize: 16
        transform: Scale {
            origin.x: label.width / 2
            xScale: outlet.o && outlet.o.mirrored ? -1 : 1
        }
        onLinkActivated: outlet.controller.send(outlet.o.linkAction)
    }
}
