// A core AlertController as a modal dialog; each button sends its action ("action0" ...).
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import QtQuick.Templates as T

Popup {
    id: dialog
    property var alert: null
    readonly property var content: alert ? alert.screen : ({})

    objectName: "alert"
    modal: true
    closePolicy: Popup.NoAutoClose
    visible: alert !== null
    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(parent ? parent.width - 64 : 300, 300)
    padding: 0
    background: Rectangle { radius: 14; color: "#F2F2F7" }

    contentItem: ColumnLayout {
        spacing: 0
        Label {
            objectName: "alertTitle"
            Layout.fillWidth: true
            Layout.topMargin: 20
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            text: dialog.content.title || ""
            visible: text.length > 0
            font.pixelSize: 17
            font.bold: true
            color: "#1C1C1E"
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
        }
        Label {
            objectName: "alertMessage"
            Layout.fillWidth: true
            Layout.topMargin: 6
            Layout.bottomMargin: 20
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            text: dialog.content.message || ""
            visible: text.length > 0
            font.pixelSize: 13
            color: "#3A3A3C"
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
        }
        Repeater {
            model: dialog.content.alertActions || []
            delegate: ColumnLayout {
                required property var modelData
                required property int index
                Layout.fillWidth: true
                spacing: 0
                Rectangle { Layout.fillWidth: true; height: 1; color: "#D1D1D6" }
                Button {
                    objectName: "action" + index
                    Layout.fillWidth: true
                    Layout.preferredHeight: 44
                    flat: true
                    text: modelData.title
                    contentItem: Text {
                        text: modelData.title
                        font.pixelSize: 17
                        font.weight: modelData.style === 1 ? Font.DemiBold : Font.Normal
                        color: modelData.style === 2 ? "#FF3B30" : "#0B7BFB"
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                    }
                    background: Rectangle { color: parent.down ? "#E5E5EA" : "transparent"; radius: 14 }
                    onClicked: dialog.alert.send("action" + index)
                }
            }
        }
    }
}
