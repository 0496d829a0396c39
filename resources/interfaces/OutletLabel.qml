// A label outlet: its text, colour and visibility. A link part of the text sends the outlet's link
// action when tapped. A mirrored label is drawn flipped left to right, to be read in a mirror.
// Its size follows the application font; the text wraps, so the label grows instead of cutting.
import QtQuick
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: outlet
    property alias font: label.font
    property alias horizontalAlignment: label.horizontalAlignment
    // The text's pixel size at Qt's stock 12 px application font.
    property real textSize: 16
    readonly property var o: controller ? controller.outlets[name] : undefined

    objectName: name
    visible: o ? !o.hidden : false
    opacity: o ? o.alpha : 1
    implicitWidth: label.implicitWidth
    implicitHeight: label.implicitHeight

    // Read as plain text, without the link's markup; an empty label is not read at all.
    Accessible.role: Accessible.StaticText
    Accessible.name: o ? o.accessibilityLabel || o.text : ""
    Accessible.ignored: !o || (o.accessibilityLabel || o.text).length === 0

    Label {
        id: label
        anchors.fill: parent
        Accessible.ignored: true
        wrapMode: Text.Wrap
        textFormat: outlet.o && outlet.o.link ? Text.StyledText : Text.PlainText
        text: !outlet.o ? "" : outlet.o.link && outlet.o.text.indexOf(outlet.o.link) >= 0
              ? outlet.o.text.replace(outlet.o.link, "<a href=\"link\">" + outlet.o.link + "</a>")
              : outlet.o.text
        color: outlet.o ? outlet.o.textColor : "transparent"
        linkColor: outlet.o ? outlet.o.tintColor : "transparent"
        font.pixelSize: Math.round(outlet.textSize * Qt.application.font.pixelSize / 12)
        transform: Scale {
            origin.x: label.width / 2
            xScale: outlet.o && outlet.o.mirrored ? -1 : 1
        }
        onLinkActivated: outlet.controller.send(outlet.o.linkAction)
    }
    // The link as an element of its own, which assistive technology can press.
    Item {
        anchors.fill: parent
        visible: !!outlet.o && outlet.o.link.length > 0
        Accessible.role: Accessible.Link
        Accessible.name: outlet.o ? outlet.o.link : ""
        Accessible.onPressAction: outlet.controller.send(outlet.o.linkAction)
    }
}
