// The demo host's settings page.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets

    name: "view"
    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

    component Field: Outlet {
        id: field
        readonly property var f: controller.outlets[name]
        objectName: name
        Layout.fillWidth: true
        implicitHeight: input.implicitHeight
        InputField {
            id: input
            anchors.fill: parent
            text: field.f.text
            placeholderText: field.f.placeholder
            textSize: 16
            leftPadding: 12
            background: Rectangle { radius: 10; color: "white"; border.color: parent.activeFocus ? "#0B7BFB" : "#D1D1D6" }
            onTextEdited: field.controller.editText(field.name, text)
        }
    }

    Flickable {
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: footer.top }
        contentHeight: content.implicitHeight + 32
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ColumnLayout {
            id: content
            width: Math.min(parent.width - 40, 560)
            x: (parent.width - width) / 2
            y: 24
            spacing: 10
            OutletLabel { controller: screen.controller; name: "uiLbTitle"; Layout.fillWidth: true; textSize: 28; font.weight: Font.Bold }
            OutletLabel { controller: screen.controller; name: "uiLbSubtitle"; Layout.fillWidth: true; textSize: 15 }
            Field { controller: screen.controller; name: "uiTfAppID"; Layout.topMargin: 8 }
            Field { controller: screen.controller; name: "uiTfApiKey" }
            Field { controller: screen.controller; name: "uiTfTests" }
            Field { controller: screen.controller; name: "uiTfIMEI" }
            Field { controller: screen.controller; name: "uiTfSerial" }
            Field { controller: screen.controller; name: "uiTfThemeColor" }
            OutletLabel { controller: screen.controller; name: "uiLbEnvironment"; Layout.topMargin: 8; textSize: 15; font.weight: Font.DemiBold }
            Flow {
                Layout.fillWidth: true
                spacing: 16
                RadioButtonView { controller: screen.controller; name: "uiRBProduction" }
                RadioButtonView { controller: screen.controller; name: "uiRBQA" }
                RadioButtonView { controller: screen.controller; name: "uiRBIntegrations" }
            }
            OutletLabel { controller: screen.controller; name: "uiLbLanguage"; textSize: 15; font.weight: Font.DemiBold }
            Flow {
                Layout.fillWidth: true
                spacing: 16
                RadioButtonView { controller: screen.controller; name: "uiRBEnglish" }
                RadioButtonView { controller: screen.controller; name: "uiRBPortuguese" }
            }
            CheckBoxView { controller: screen.controller; name: "uiCBHideStartScreen"; Layout.topMargin: 4 }
            OutletLabel { controller: screen.controller; name: "uiLbError"; Layout.fillWidth: true }
        }
    }

    Item {
        id: footer
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: start.height + 40
        MainButton {
            id: start
            controller: screen.controller
            name: "uiBtStart"
            width: Math.min(parent.width - 40, 560)
            anchors { horizontalCenter: parent.horizontalCenter; verticalCenter: parent.verticalCenter }
            height: implicitHeight
        }
    }
}
