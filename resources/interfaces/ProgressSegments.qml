// The header's segmented progress bar: one segment per screen of the run, filled ones in their
// colour, later ones clear over the bar's background colour. Decorative: the header's counter
// says the same in words.
import QtQuick
import Quorvel

Outlet {
    id: outlet
    readonly property var o: controller ? controller.outlets[name] : undefined
    readonly property var segments: o ? o.segments : []

    objectName: name
    visible: o ? !o.hidden : false
    implicitHeight: o ? o.segmentHeight : 3
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        color: outlet.o ? outlet.o.backgroundColor : "transparent"
        radius: height / 2
    }
    Row {
        anchors.fill: parent
        Repeater {
            model: outlet.segments.length
            Rectangle {
                required property int index
                objectName: outlet.name + "Segment" + index
                width: outlet.width / Math.max(1, outlet.segments.length)
                height: outlet.height
                color: outlet.segments[index]
                radius: height / 2
            }
        }
    }
}
