// The heard-word tests (loudspeaker and earpiece): play the word, type what was heard, Next. The
// core decides what shows; this file lays it out and passes the person's input on.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets
    readonly property var field: o.uiTfWord
    readonly property bool firstResponder: field.isFirstResponder

    function resignField() { if (input.activeFocus) screen.forceActiveFocus() }

    name: "view"
    onFirstResponderChanged: firstResponder ? input.forceActiveFocus() : resignField()

    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }
    // A tap on the empty background ends the editing, as on a phone.
    TapHandler { onTapped: if (input.activeFocus) screen.controller.send("view_Tapped") }

    Item {
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        TestHeader {
            id: header
            controller: screen.controller
            name: "uiViewProgressBarBackground"
            anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 8 }
            height: implicitHeight
        }

        Flickable {
            id: flick
            anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: footer.top
                      topMargin: 16; bottomMargin: 8 }
            contentHeight: Math.max(height, content.implicitHeight)
            clip: true
            boundsBehavior: Flickable.StopAtBounds

            ColumnLayout {
                id: content
                width: parent.width
                y: Math.max(0, (flick.height - implicitHeight) / 2)
                spacing: 12

                RowLayout {
                    Layout.fillWidth: true
                    OutletLabel {
                        controller: screen.controller
                        name: "uiLbTitle"
                        Layout.fillWidth: true
                        textSize: 26
                        font.weight: Font.Bold
                    }
                    IconButton { controller: screen.controller; name: "uiBtInfo"; implicitWidth: 32; implicitHeight: 32 }
                }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbDescription"
                    Layout.fillWidth: true
                }
                IconButton {
                    controller: screen.controller
                    name: "uiBtPlay"
                    Layout.alignment: Qt.AlignHCenter
                    Layout.topMargin: 12
                    implicitWidth: 96
                    implicitHeight: 96
                }
                BusyIndicator {
                    objectName: "uiActivityIndicator"
                    Layout.alignment: Qt.AlignHCenter
                    visible: !screen.o.uiActivityIndicator.hidden
                    running: visible
                }
                TextButton {
                    controller: screen.controller
                    name: "uiBtChangeWord"
                    Layout.alignment: Qt.AlignHCenter
                }
                Outlet {
                    controller: screen.controller
                    name: "uiTfWord"
                    objectName: name
                    visible: !screen.field.hidden
                    Layout.fillWidth: true
                    Layout.preferredHeight: input.implicitHeight

                    InputField {
                        id: input
                        objectName: "uiTfWordInput"
                        anchors.fill: parent
                        text: screen.field.text
                        placeholderText: screen.field.placeholder
                        Accessible.name: screen.field.accessibilityLabel || placeholderText
                        accent: screen.field.tintColor
                        enabled: screen.field.enabled && screen.field.userInteractionEnabled
                        inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
                        color: screen.field.textColor
                        onTextEdited: screen.controller.editText("uiTfWord", text)
                        onAccepted: screen.resignField()
                        // However the editing ends (the return key, a tap elsewhere), the core hears it.
                        onActiveFocusChanged: if (!activeFocus) screen.controller.send("uiTfWord_EditingDidEnd")
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
