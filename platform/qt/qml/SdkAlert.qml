// A core AlertController as a modal dialog over the item it fills: a dimmed backdrop that takes
// every touch and click, and the dialog box. Each button sends its action ("action0" ...). Texts
// follow the application font and wrap.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic

Item {
    id: dialog
    // The alert's bridge, or null while none is presented.
    property var screen: null
    readonly property var content: screen ? screen.alert : ({})

    objectName: "alert"
    visible: screen !== null

    Rectangle {
        anchors.fill: parent
        color: "#66000000"
        MouseArea { anchors.fill: parent; hoverEnabled: true; preventStealing: true
                    acceptedButtons: Qt.AllButtons }
        MultiPointTouchArea { anchors.fill: parent; mouseEnabled: false }
    }

    // Made each time an alert shows, so that its texts take the application font of that moment.
    Loader {
        anchors.centerIn: parent
        active: dialog.screen !== null
        sourceComponent: box
    }

    Component {
        id: box
        Rectangle {
            width: Math.min(dialog.width - 64, 300)
            height: column.implicitHeight
            radius: 14
            color: "#F2F2F7"
            Accessible.role: Accessible.AlertMessage
            Accessible.name: dialog.content.title || dialog.content.message || ""
            Accessible.description: dialog.content.title ? dialog.content.message || "" : ""

            ColumnLayout {
                id: column
                anchors { left: parent.left; right: parent.right; top: parent.top }
                spacing: 0
                Label {
                    objectName: "alertTitle"
                    Layout.fillWidth: true
                    Layout.topMargin: 20
                    Layout.leftMargin: 16
                    Layout.rightMargin: 16
                    text: dialog.content.title || ""
                    visible: text.length > 0
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                    font.pixelSize: Math.round(17 * Qt.application.font.pixelSize / 12)
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
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                    font.pixelSize: Math.round(13 * Qt.application.font.pixelSize / 12)
                    color: "#3A3A3C"
                    wrapMode: Text.Wrap
                    horizontalAlignment: Text.AlignHCenter
                }
                Repeater {
                    model: dialog.content.actions || []
                    delegate: ColumnLayout {
                        required property var modelData
                        required property int index
                        Layout.fillWidth: true
                        spacing: 0
                        Rectangle { Layout.fillWidth: true; height: 1; color: "#D1D1D6" }
                        Button {
                            objectName: "action" + index
                            Layout.fillWidth: true
                            Layout.preferredHeight: Math.max(44, implicitHeight)
                            flat: true
                            text: modelData.title
                            Accessible.name: modelData.title
                            Accessible.onPressAction: clicked()
                            contentItem: Text {
                                text: modelData.title
                                wrapMode: Text.Wrap
                                font.pixelSize: Math.round(17 * Qt.application.font.pixelSize / 12)
                                font.weight: modelData.style === 1 ? Font.DemiBold : Font.Normal
                                color: modelData.style === 2 ? "#FF3B30" : "#007AFF"
                                horizontalAlignment: Text.AlignHCenter
                                verticalAlignment: Text.AlignVCenter
                            }
                            background: Rectangle { color: parent.down ? "#E5E5EA" : "transparent"
                                                    radius: 14 }
                            onClicked: dialog.screen.send("action" + index)
                        }
                    }
                }
            }
        }
    }
}
