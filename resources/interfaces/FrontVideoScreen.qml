// Both screen video tests: the first step (or the codes) with its texts and picture, the camera's
// picture before filming (v2), the full-screen colours under the mirrored label, and the review.
// The core decides which part shows; this file only lays them out.
import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic
import Quorvel

Outlet {
    id: screen
    readonly property var o: controller.outlets
    readonly property bool hasPreview: o.uiViewVideoPreview !== undefined

    name: "view"

    Rectangle { anchors.fill: parent; color: screen.o.view.backgroundColor }

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

        // The texts and the picture or code; the camera's picture takes the picture's place.
        Outlet {
            controller: screen.controller
            name: "uiInitialView"
            objectName: name
            visible: !screen.o.uiInitialView.hidden
            anchors { left: parent.left; right: parent.right; top: header.bottom
                      bottom: parent.bottom; topMargin: 16 }

            RowLayout {
                id: titleRow
                anchors { left: parent.left; right: parent.right; top: parent.top }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbTitle"
                    Layout.fillWidth: true
                    textSize: 24
                    font.weight: Font.Bold
                }
                IconButton {
                    controller: screen.controller
                    name: "uiBtInfo"
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 32
                    Layout.preferredHeight: 32
                }
            }
            OutletLabel {
                id: description
                controller: screen.controller
                name: "uiLbDescription"
                anchors { left: parent.left; right: parent.right; top: titleRow.bottom; topMargin: 8 }
                height: implicitHeight
            }
            Item {
                id: stage
                anchors { left: parent.left; right: parent.right; top: description.bottom
                          bottom: footer.top; topMargin: 12; bottomMargin: 12 }
                OutletImage {
                    controller: screen.controller
                    name: "uiImage"
                    anchors.fill: parent
                }
                Loader {
                    anchors.fill: parent
                    active: screen.hasPreview
                    sourceComponent: Item {
                        OutletVideoPreview {
                            controller: screen.controller
                            name: "uiViewVideoPreview"
                            anchors.fill: parent
                        }
                        // A frame to put the mirrored screen in.
                        Outlet {
                            controller: screen.controller
                            name: "uiVideoOverlay"
                            objectName: name
                            anchors.fill: parent
                            anchors.margins: 24
                            visible: !screen.o.uiVideoOverlay.hidden
                            Rectangle {
                                anchors.fill: parent
                                color: "transparent"
                                radius: 18
                                border.width: 3
                                border.color: "#E6FFFFFF"
                            }
                        }
                        IconButton {
                            controller: screen.controller
                            name: "uiBtStartRecording"
                            width: 72; height: 72
                            anchors { horizontalCenter: parent.horizontalCenter
                                      bottom: parent.bottom; bottomMargin: 16 }
                        }
                    }
                }
            }
            ColumnLayout {
                id: footer
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom
                          bottomMargin: 20 }
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

        // The review: the film's first picture to play, the confirmation and the ways on.
        Outlet {
            controller: screen.controller
            name: "uiVideoView"
            objectName: name
            visible: !screen.o.uiVideoView.hidden
            anchors { left: parent.left; right: parent.right; top: header.bottom
                      bottom: parent.bottom; topMargin: 16 }

            ColumnLayout {
                id: reviewTexts
                anchors { left: parent.left; right: parent.right; top: parent.top }
                spacing: 8
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbVideoReviewTitle"
                    Layout.fillWidth: true
                    textSize: 24
                    font.weight: Font.Bold
                }
                OutletLabel {
                    controller: screen.controller
                    name: "uiLbVideoReviewDescription"
                    Layout.fillWidth: true
                }
            }
            Rectangle {
                anchors { left: parent.left; right: parent.right; top: reviewTexts.bottom
                          bottom: reviewFooter.top; topMargin: 12; bottomMargin: 12 }
                color: "#1C1C1E"
                radius: 12
                clip: true
                OutletImage {
                    controller: screen.controller
                    name: "uiVideoReviewImage"
                    anchors.fill: parent
                }
                IconButton {
                    controller: screen.controller
                    name: "uiBtPlayVideo"
                    width: 72; height: 72
                    anchors.centerIn: parent
                }
            }
            ColumnLayout {
                id: reviewFooter
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom
                          bottomMargin: 20 }
                spacing: 6
                Loader {
                    Layout.fillWidth: true
                    active: screen.hasPreview
                    visible: active
                    sourceComponent: CheckBoxView {
                        controller: screen.controller
                        name: "uiCheckBoxTerms"
                    }
                }
                TextButton {
                    controller: screen.controller
                    name: "uiBtTryAgain"
                    Layout.alignment: Qt.AlignHCenter
                }
                MainButton {
                    controller: screen.controller
                    name: "uiBtVideoReviewNext"
                    // The screen's action keeps its historical spelling.
                    action: "uiBtVideoReviewNext_TouchUpInsde"
                    Layout.fillWidth: true
                }
                TextButton {
                    controller: screen.controller
                    name: "uiBtVideoReviewCouldntComplete"
                    Layout.alignment: Qt.AlignHCenter
                }
            }
        }
    }

    // The colours fill the whole screen, so the mirror shows every pixel of the display in each.
    Outlet {
        controller: screen.controller
        name: "uiColorsView"
        objectName: name
        anchors.fill: parent
        visible: !screen.o.uiColorsView.hidden
        Rectangle { anchors.fill: parent; color: screen.o.uiColorsView.backgroundColor }
        OutletLabel {
            controller: screen.controller
            name: "uiLbMD5"
            anchors.centerIn: parent
            width: parent.width - 32
            horizontalAlignment: Text.AlignHCenter
            textSize: 22
            font.weight: Font.Bold
        }
    }
}
