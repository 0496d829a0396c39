// The first screen of a run: the device, the identifiers the host gave, hints for the tests
// ahead, and start / back.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    Flickable {
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: footer.top }
        contentHeight: content.implicitHeight + 24
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        ColumnLayout {
            id: content
            x: 24
            width: parent.width - 48
            spacing: 12

            Outlet {
                controller: screen.controller
                name: "uiHeaderView"
                Layout.fillWidth: true
                Layout.preferredHeight: 48
                visible: !screen.o.uiHeaderView.hidden
                TextButton {
                    controller: screen.controller
                    name: "uiBtBack"
                    anchors { left: parent.left; verticalCenter: parent.verticalCenter; leftMargin: -12 }
                    textSize: 17
                }
            }
            OutletImage {
                controller: screen.controller
                name: "uiImage"
                // The device's picture: its model's name says what it shows.
                accessibleName: screen.o.uiLbPhoneModel.text
                Layout.alignment: Qt.AlignHCenter
                Layout.preferredWidth: Math.min(content.width, 220)
                Layout.preferredHeight: Layout.preferredWidth * 0.8
            }
            OutletLabel {
                controller: screen.controller
                name: "uiLbTitle"
                Layout.fillWidth: true
                textSize: 26
                font.weight: Font.Bold
            }
            OutletLabel {
                controller: screen.controller
                name: "uiLbDescription"
                Layout.fillWidth: true
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.topMargin: 4
                implicitHeight: identity.implicitHeight + 28
                radius: 12
                color: "#F2F2F7"
                ColumnLayout {
                    id: identity
                    anchors { fill: parent; margins: 14 }
                    spacing: 6
                    OutletLabel {
                        controller: screen.controller
                        name: "uiLbPhoneModel"
                        Layout.fillWidth: true
                        textSize: 18
                        font.weight: Font.DemiBold
                    }
                    Outlet {
                        controller: screen.controller
                        name: "uiStackViewIMEI"
                        objectName: name
                        visible: !screen.o.uiStackViewIMEI.hidden
                        Layout.fillWidth: true
                        implicitHeight: imeiRow.implicitHeight
                        RowLayout {
                            id: imeiRow
                            anchors.fill: parent
                            OutletLabel { controller: screen.controller; name: "uiLbIMEITitle"; font.capitalization: Font.AllUppercase }
                            OutletLabel { controller: screen.controller; name: "uiLbIMEIValue"; Layout.fillWidth: true; horizontalAlignment: Text.AlignRight }
                        }
                    }
                    Outlet {
                        controller: screen.controller
                        name: "uiStackViewSerialNumber"
                        objectName: name
                        visible: !screen.o.uiStackViewSerialNumber.hidden
                        Layout.fillWidth: true
                        implicitHeight: serialRow.implicitHeight
                        RowLayout {
                            id: serialRow
                            anchors.fill: parent
                            OutletLabel { controller: screen.controller; name: "uiLbSNTitle" }
                            OutletLabel { controller: screen.controller; name: "uiLbSNValue"; Layout.fillWidth: true; horizontalAlignment: Text.AlignRight }
                        }
                    }
                }
            }
            Outlet {
                controller: screen.controller
                name: "uiViewSuggestions"
                objectName: name
                visible: !screen.o.uiViewSuggestions.hidden
                Layout.fillWidth: true
                Layout.topMargin: 4
                implicitHeight: hints.implicitHeight
                ColumnLayout {
                    id: hints
                    anchors { left: parent.left; right: parent.right }
                    spacing: 8
                    OutletLabel { controller: screen.controller; name: "uiLbSuggestionsTitle"; Layout.fillWidth: true; textSize: 17; font.weight: Font.DemiBold }
                    OutletLabel { controller: screen.controller; name: "uiLbSuggestionChargingCable"; Layout.fillWidth: true }
                    OutletLabel { controller: screen.controller; name: "uiLbSuggestionMirror"; Layout.fillWidth: true }
                    OutletLabel { controller: screen.controller; name: "uiLbSuggestionNoise"; Layout.fillWidth: true }
                }
            }
        }
    }

    Item {
        id: footer
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: next.height + 40
        MainButton {
            id: next
            controller: screen.controller
            name: "uiBtNext"
            anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: 24 }
            height: implicitHeight
        }
    }
}
