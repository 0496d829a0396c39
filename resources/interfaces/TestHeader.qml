// The header of every test screen: cancel on the left, the counter ("Test 2/3") on the right,
// and the segmented progress bar beneath. Shown only while the core leaves it visible.
import QtQuick
import QtQuick.Layouts
import Quorvel

Outlet {
    id: header
    readonly property var o: controller ? controller.outlets[name] : undefined

    objectName: name
    visible: o ? !o.hidden : false
    implicitHeight: visible ? column.implicitHeight : 0

    ColumnLayout {
        id: column
        anchors { left: parent.left; right: parent.right; top: parent.top }
        spacing: 6
        RowLayout {
            Layout.fillWidth: true
            TextButton { controller: header.controller; name: "uiBtCancel"; Layout.preferredHeight: 40 }
            Item { Layout.fillWidth: true }
            OutletLabel {
                controller: header.controller
                name: "uiLbTestCounter"
                textSize: 15
                font.weight: Font.DemiBold
                Layout.rightMargin: 4
            }
        }
        ProgressSegments {
            controller: header.controller
            name: "uiStackViewProgressBar"
            Layout.fillWidth: true
            Layout.preferredHeight: implicitHeight
        }
    }
}
