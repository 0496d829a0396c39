// One row of the combined tests: the test's icon, title and description in a card. The row under
// test is outlined in its border colour, finished rows carry their outcome's mark, and rows still
// waiting are dimmed, all as the row says. Assistive technology reads the row as one item.
import QtQuick
import QtQuick.Layouts

Rectangle {
    id: cell
    // The row as the table holds it: key, title, description, icon, status, borderColor, alpha ...
    required property var row
    readonly property bool hasStatus: !!row.status && typeof row.status.image === "string"
                                      && row.status.image.length > 0

    objectName: row.key || ""
    implicitHeight: Math.max(76, texts.implicitHeight + 32)
    radius: 14
    color: "#F5F6F8"
    opacity: row.alpha !== undefined ? row.alpha : 1
    border.width: row.borderColor.a > 0 ? 2 : 0
    border.color: row.borderColor

    Accessible.role: Accessible.ListItem
    Accessible.name: row.title || ""
    Accessible.description: row.description || ""
    // The row under test is the selected one.
    Accessible.selected: row.state === 0

    RowLayout {
        anchors { fill: parent; leftMargin: 16; rightMargin: 16 }
        spacing: 14

        Rectangle {
            Layout.preferredWidth: 44
            Layout.preferredHeight: 44
            radius: 12
            color: "white"
            Image {
                objectName: (cell.row.key || "") + "Icon"
                anchors.centerIn: parent
                width: 28; height: 28
                source: typeof cell.row.icon === "string" ? cell.row.icon : ""
                sourceSize: Qt.size(56, 56)
                fillMode: Image.PreserveAspectFit
                Accessible.ignored: true
            }
        }
        ColumnLayout {
            id: texts
            Layout.fillWidth: true
            spacing: 2
            Text {
                objectName: (cell.row.key || "") + "Title"
                Layout.fillWidth: true
                text: cell.row.title || ""
                color: cell.row.titleColor
                font.pixelSize: Math.round(17 * Qt.application.font.pixelSize / 12)
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
            Text {
                objectName: (cell.row.key || "") + "Description"
                Layout.fillWidth: true
                text: cell.row.description || ""
                color: cell.row.descriptionColor
                font.pixelSize: Math.round(14 * Qt.application.font.pixelSize / 12)
                wrapMode: Text.Wrap
            }
        }
        // The outcome's mark, read as the core's words for it.
        Image {
            objectName: (cell.row.key || "") + "Status"
            visible: cell.hasStatus
            Layout.preferredWidth: 26
            Layout.preferredHeight: 26
            source: cell.hasStatus ? cell.row.status.image : ""
            sourceSize: Qt.size(52, 52)
            fillMode: Image.PreserveAspectFit
            Accessible.role: Accessible.Graphic
            Accessible.name: cell.hasStatus ? cell.row.status.accessibilityLabel || "" : ""
        }
    }
}
