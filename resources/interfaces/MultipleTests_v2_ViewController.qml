// The combined tests: one card per hardware check, worked through from the top. The core moves
// the focus from row to row; Next replaces the could-not-complete button when all are done.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"

    Outlet {
        controller: screen.controller
        name: "uiMainBackgroundView"
        objectName: name
        anchors.fill: parent
        visible: !screen.o.uiMainBackgroundView.hidden
        opacity: screen.o.uiMainBackgroundView.alpha
        Rectangle { anchors.fill: parent; color: screen.o.uiMainBackgroundView.backgroundColor }
    }

    Item {
        id: column
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        TestHeader {
            id: header
            controller: screen.controller
            name: "uiHeaderView"
            anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 8 }
            height: implicitHeight
        }

        Outlet {
            controller: screen.controller
            name: "uiTestView"
            objectName: name
            visible: !screen.o.uiTestView.hidden
            opacity: screen.o.uiTestView.alpha
            anchors { left: parent.left; right: parent.right; top: header.bottom
                      bottom: footer.top; topMargin: 24; bottomMargin: 12 }

            Flickable {
                anchors.fill: parent
                contentHeight: table.implicitHeight
                clip: true
                boundsBehavior: Flickable.StopAtBounds

                Outlet {
                    id: table
                    readonly property var t: screen.o.uiTableView
                    controller: screen.controller
                    name: "uiTableView"
                    objectName: name
                    visible: !t.hidden
                    opacity: t.alpha
                    width: parent.width
                    implicitHeight: rows.implicitHeight

                    Column {
                        id: rows
                        width: parent.width
                        spacing: 12
                        Repeater {
                            model: table.t.rows
                            // Each row is drawn by the cell it names.
                            Loader {
                                required property var modelData
                                width: rows.width
                                // A reload replaces the rows, and with them these cells.
                                Component.onCompleted: setSource(modelData.cell + ".qml",
                                                                 { row: modelData })
                            }
                        }
                    }
                }
            }
        }

        ColumnLayout {
            id: footer
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; bottomMargin: 20 }
            spacing: 8
            TextButton {
                controller: screen.controller
                name: "uiBtCouldntCompleteTest"
                Layout.alignment: Qt.AlignHCenter
            }
            MainButton {
                controller: screen.controller
                name: "uiBtNext"
                Layout.fillWidth: true
            }
        }
    }
}
