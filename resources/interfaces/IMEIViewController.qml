// Device identification: IMEI or serial number typed into one field, or a photo of it attached
// instead. The core owns the mode, the text and the photo; this file shows them and reports edits.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets
    readonly property var field: o.uiTfIMEI
    readonly property color accent: field.tintColor
    readonly property bool firstResponder: field.isFirstResponder

    // "AARRGGBB", as the image provider takes a tint.
    function argb(c) {
        function two(v) { return ("0" + Math.round(v * 255).toString(16)).slice(-2) }
        return two(c.a) + two(c.r) + two(c.g) + two(c.b)
    }
    function resignField() { if (input.activeFocus) screen.forceActiveFocus() }

    name: "view"
    onFirstResponderChanged: firstResponder ? input.forceActiveFocus() : resignField()
    Component.onCompleted: if (firstResponder) input.forceActiveFocus()

    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }
    // A tap on the empty background puts the keyboard away, as on a phone.
    TapHandler { onTapped: screen.resignField() }

    Item {
        id: column
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        TextButton {
            id: cancel
            controller: screen.controller
            name: "uiBtCancel"
            anchors { left: parent.left; top: parent.top; topMargin: 8; leftMargin: -12 }
            textSize: 17
        }

        Flickable {
            id: flick
            anchors { left: parent.left; right: parent.right; top: cancel.bottom; bottom: footer.top
                      topMargin: 8 }
            contentHeight: content.implicitHeight + 24
            clip: true
            boundsBehavior: Flickable.StopAtBounds

            ColumnLayout {
                id: content
                width: parent.width
                spacing: 12
                TapHandler { onTapped: screen.resignField() }

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

                // Side by side while they fit, one under the other when large text needs the room.
                Flow {
                    Layout.fillWidth: true
                    Layout.topMargin: 4
                    spacing: 28
                    RadioButtonView { controller: screen.controller; name: "uiRBIMEI" }
                    RadioButtonView { controller: screen.controller; name: "uiRBSerialNumber" }
                }

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 8
                    Outlet {
                        controller: screen.controller
                        name: "uiTfIMEI"
                        objectName: name
                        visible: !screen.field.hidden
                        opacity: screen.field.alpha
                        Layout.fillWidth: true
                        Layout.preferredHeight: input.implicitHeight

                        InputField {
                            id: input
                            objectName: "uiTfIMEIInput"
                            anchors.fill: parent
                            text: screen.field.text
                            placeholderText: screen.field.placeholder
                            Accessible.name: screen.field.accessibilityLabel || placeholderText
                            accent: screen.accent
                            enabled: screen.field.enabled && screen.field.userInteractionEnabled
                            // The core's number pad: digits on a virtual keyboard.
                            inputMethodHints: screen.field.keyboardType === 4
                                              ? Qt.ImhDigitsOnly | Qt.ImhNoPredictiveText
                                              : Qt.ImhNoPredictiveText
                            color: screen.field.textColor
                            onTextEdited: screen.controller.editText("uiTfIMEI", text)
                            onAccepted: screen.resignField()
                        }
                    }
                    // The keyboard's done key, while the field has the keyboard.
                    Outlet {
                        readonly property var b: screen.o.uiBtKeyboardDone
                        controller: screen.controller
                        name: "uiBtKeyboardDone"
                        objectName: name
                        visible: input.activeFocus && !b.hidden
                        Layout.preferredHeight: 52
                        Layout.preferredWidth: doneButton.implicitWidth
                        Accessible.role: Accessible.Button
                        Accessible.name: b.accessibilityLabel || b.title
                        Accessible.onPressAction: doneButton.clicked()
                        Button {
                            id: doneButton
                            anchors.fill: parent
                            Accessible.ignored: true
                            flat: true
                            // Taking focus would close the keyboard before the tap completes.
                            focusPolicy: Qt.NoFocus
                            text: parent.b.title
                            contentItem: Text {
                                text: doneButton.text
                                font.pixelSize: Math.round(17 * Qt.application.font.pixelSize / 12)
                                font.weight: Font.DemiBold
                                color: screen.accent
                                verticalAlignment: Text.AlignVCenter
                            }
                            background: Rectangle { color: doneButton.down ? "#14000000" : "transparent"
                                                    radius: 8 }
                            onClicked: {
                                screen.controller.send("uiBtKeyboardDone_TouchUpInside")
                                screen.resignField()
                            }
                        }
                    }
                }

                // "Or", between two rules.
                RowLayout {
                    Layout.fillWidth: true
                    Layout.topMargin: 4
                    visible: !screen.o.uiLbOr.hidden
                    spacing: 12
                    Rectangle { Layout.fillWidth: true; height: 1; color: "#D9DCE1" }
                    OutletLabel {
                        controller: screen.controller
                        name: "uiLbOr"
                        textSize: 15
                        font.capitalization: Font.AllUppercase
                    }
                    Rectangle { Layout.fillWidth: true; height: 1; color: "#D9DCE1" }
                }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbAttachText"
                    Layout.fillWidth: true
                }

                // No photo yet: the attach button as a drop area.
                Outlet {
                    controller: screen.controller
                    name: "uiViewNoImage"
                    objectName: name
                    visible: !screen.o.uiViewNoImage.hidden
                    opacity: screen.o.uiViewNoImage.alpha
                    Layout.fillWidth: true
                    implicitHeight: attach.visible ? Math.max(112, attachButton.implicitHeight) : 0

                    Outlet {
                        id: attach
                        readonly property var b: screen.o.uiBtAttachImage
                        readonly property color tint: b.tintColor
                        controller: screen.controller
                        name: "uiBtAttachImage"
                        objectName: name
                        anchors.fill: parent
                        visible: !b.hidden
                        opacity: b.alpha
                        Accessible.role: Accessible.Button
                        Accessible.name: b.accessibilityLabel || b.title
                        Accessible.onPressAction: if (attachButton.enabled) attachButton.clicked()
                        Button {
                            id: attachButton
                            anchors.fill: parent
                            Accessible.ignored: true
                            enabled: attach.b.enabled && attach.b.userInteractionEnabled
                            focusPolicy: Qt.NoFocus
                            text: attach.b.title
                            contentItem: Column {
                                spacing: 6
                                Image {
                                    anchors.horizontalCenter: parent.horizontalCenter
                                    width: 36; height: 36
                                    source: "image://quorvel/asset/photo?tint=" + screen.argb(attach.tint)
                                    sourceSize: Qt.size(72, 72)
                                    Accessible.ignored: true
                                }
                                Text {
                                    width: parent.width
                                    horizontalAlignment: Text.AlignHCenter
                                    wrapMode: Text.Wrap
                                    text: attachButton.text
                                    font.pixelSize: Math.round(16 * Qt.application.font.pixelSize / 12)
                                    font.weight: Font.DemiBold
                                    color: attach.b.titleColor
                                }
                            }
                            topPadding: 22
                            bottomPadding: 22
                            background: Rectangle {
                                radius: 14
                                color: Qt.rgba(attach.tint.r, attach.tint.g, attach.tint.b,
                                               attachButton.down ? 0.14 : 0.06)
                                border.width: 1.5
                                border.color: Qt.rgba(attach.tint.r, attach.tint.g, attach.tint.b, 0.45)
                            }
                            onClicked: screen.controller.send("uiBtAttachImage_TouchUpInside")
                        }
                    }
                }

                // The attached photo, with its remove button on the corner.
                Item {
                    Layout.fillWidth: true
                    Layout.preferredHeight: 220
                    Layout.topMargin: 6
                    visible: !screen.o.uiIvImage.hidden
                    Rectangle {
                        anchors.fill: parent
                        radius: 14
                        color: "#F5F6F8"
                    }
                    OutletImage {
                        controller: screen.controller
                        name: "uiIvImage"
                        // The attached photo is the one the attach text asks for.
                        accessibleName: screen.o.uiLbAttachText.text
                        anchors { fill: parent; margins: 8 }
                    }
                    Outlet {
                        id: remove
                        readonly property var b: screen.o.uiBtRemoveImage
                        controller: screen.controller
                        name: "uiBtRemoveImage"
                        objectName: name
                        visible: !b.hidden
                        opacity: b.alpha
                        width: 44; height: 44
                        anchors { right: parent.right; top: parent.top; margins: -6 }
                        Accessible.role: Accessible.Button
                        // The cross says nothing to a screen reader: the core names it.
                        Accessible.name: b.accessibilityLabel || b.title
                        Accessible.onPressAction: removeButton.clicked()
                        AbstractButton {
                            id: removeButton
                            anchors.fill: parent
                            Accessible.ignored: true
                            focusPolicy: Qt.NoFocus
                            Rectangle {
                                anchors.centerIn: parent
                                width: 30; height: 30; radius: 15
                                color: "white"
                            }
                            Image {
                                anchors.centerIn: parent
                                width: 30; height: 30
                                source: typeof remove.b.image === "string" ? remove.b.image : ""
                                sourceSize: Qt.size(60, 60)
                            }
                            onClicked: screen.controller.send("uiBtRemoveImage_TouchUpInside")
                        }
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
                anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
                height: implicitHeight
            }
        }
    }
}
