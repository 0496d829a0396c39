// The front end's window: a StackView of screens, the navigation bar, the alert dialog, the photo
// picker and the loading overlay. Every decision comes from frontEnd; this file only carries it out.
import QtQuick
import QtQuick.Window
import QtQuick.Controls.Basic
import QtQuick.Dialogs

Window {
    id: root
    title: "Quorvel"
    color: "white"
    // The item of the screen on top, for the front end.
    readonly property Item currentScreen: stack.currentItem
    readonly property bool transitioning: stack.busy

    Rectangle {
        id: bar
        visible: !frontEnd.navigationBarHidden
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: visible ? 44 : 0
        color: "#F9F9F9"
        Rectangle { anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                    height: 1; color: "#D1D1D6" }
        ToolButton {
            objectName: "navigationBack"
            visible: frontEnd.canGoBack
            anchors { left: parent.left; verticalCenter: parent.verticalCenter; leftMargin: 4 }
            text: "‹"
            font.pixelSize: 28
            onClicked: frontEnd.goBack()
        }
    }

    StackView {
        id: stack
        anchors { left: parent.left; right: parent.right; top: bar.bottom; bottom: parent.bottom }
        onBusyChanged: if (!busy) frontEnd.stackSettled(currentItem)
        function operation(animated) { return animated ? StackView.PushTransition : StackView.Immediate }
    }

    Connections {
        target: frontEnd
        function onPushScreen(screen, animated) {
            stack.push(screen.interfaceUrl, { controller: screen },
                       animated ? StackView.PushTransition : StackView.Immediate)
            if (!stack.busy) frontEnd.stackSettled(stack.currentItem)
        }
        function onPopScreens(depth, animated) {
            stack.pop(stack.get(depth - 1), animated ? StackView.PopTransition : StackView.Immediate)
            if (!stack.busy) frontEnd.stackSettled(stack.currentItem)
        }
        function onResetScreens(screens, animated) {
            var items = []
            for (var i = 0; i < screens.length; ++i)
                items.push({ item: screens[i].interfaceUrl, properties: { controller: screens[i] } })
            stack.clear()
            for (var j = 0; j < items.length; ++j)
                stack.push(items[j].item, items[j].properties,
                           animated && j === items.length - 1 ? StackView.ReplaceTransition
                                                              : StackView.Immediate)
            if (!stack.busy) frontEnd.stackSettled(stack.currentItem)
        }
        function onImagePickRequested() { picker.open() }
    }

    AlertDialog {
        alert: frontEnd.alert
    }

    FileDialog {
        id: picker
        title: "Photo"
        nameFilters: ["Images (*.png *.jpg *.jpeg *.webp *.bmp)"]
        onAccepted: frontEnd.imagePicked(selectedFile)
        onRejected: frontEnd.imagePickCancelled()
    }

    LoadingOverlay {
        anchors.fill: parent
        z: 1000
        shown: frontEnd.overlayShown
        level: frontEnd.overlayOpacity
        fadeMilliseconds: frontEnd.overlayFadeMilliseconds
    }
}
