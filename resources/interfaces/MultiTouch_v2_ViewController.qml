// The second multi-touch test: slide two fingers down the picture. uiSliderView takes the
// two-finger pan; the picture fills it exactly, so that the core's depth check (the fingers' y
// against the picture's height) measures the picture the person sees.
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
        name: "uiBackgroundView"
        objectName: name
        anchors.fill: parent
        visible: !screen.o.uiBackgroundView.hidden
        opacity: screen.o.uiBackgroundView.alpha
        Rectangle { anchors.fill: parent; color: screen.o.uiBackgroundView.backgroundColor }
    }

    Item {
        id: column
        width: Math.min(parent.width - 48, 560)
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }

        Outlet {
            id: headerContainer
            controller: screen.controller
            name: "uiHeaderContainerView"
            objectName: name
            visible: !screen.o.uiHeaderContainerView.hidden
            opacity: screen.o.uiHeaderContainerView.alpha
            anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 8 }
            height: visible ? header.implicitHeight : 0
            TestHeader {
                id: header
                controller: screen.controller
                name: "uiHeaderView"
                anchors { left: parent.left; right: parent.right; top: parent.top }
                height: implicitHeight
            }
        }

        Outlet {
            controller: screen.controller
            name: "uiTestView"
            objectName: name
            visible: !screen.o.uiTestView.hidden
            opacity: screen.o.uiTestView.alpha
            anchors { left: parent.left; right: parent.right; top: headerContainer.bottom
                      bottom: footer.top; topMargin: 24; bottomMargin: 12 }

            ColumnLayout {
                id: texts
                anchors { left: parent.left; right: parent.right; top: parent.top }
                spacing: 12
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
            }

            Outlet {
                controller: screen.controller
                name: "uiSliderView"
                objectName: name
                visible: !screen.o.uiSliderView.hidden
                opacity: screen.o.uiSliderView.alpha
                anchors { left: parent.left; right: parent.right; top: texts.bottom
                          bottom: parent.bottom; topMargin: 20 }
                OutletImage {
                    controller: screen.controller
                    name: "uiImageSlide"
                    anchors.fill: parent
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
