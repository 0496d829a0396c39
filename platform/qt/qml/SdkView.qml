// The SDK inside a host's scene: the core's key window drawn in this item. Its screens go on the
// item's own StackView (under a navigation bar when the core shows one), or on a StackView the host
// hands over in stackView, above the pages the host had put there. Alerts, the loading overlay and
// the movie player cover that stack's item. Every decision comes from FrontEnd; this file only carries it out.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import Quorvel

Item {
    id: view
    // Set before the item completes to have the screens pushed onto the host's own StackView.
    property StackView stackView: ownStack
    readonly property bool handedOver: stackView !== ownStack
    // What alerts and the overlay cover.
    readonly property Item surface: handedOver ? stackView : view
    // The host's pages beneath the SDK's screens on a handed-over stack.
    property int baseDepth: 0
    // For the front end: the screen on top, whether a transition runs, the alert's item.
    readonly property Item currentScreen: stackView.depth > baseDepth ? stackView.currentItem : null
    readonly property bool transitioning: stackView.busy
    readonly property Item alertItem: alert

    objectName: "sdkView"
    // Screens slide in from the sides; they must not cover the host's scene around the view.
    clip: true

    Rectangle {
        id: bar
        visible: !view.handedOver && !FrontEnd.navigationBarHidden
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: visible ? Math.max(44, Math.round(44 * Qt.application.font.pixelSize / 12)) : 0
        color: "#F9F9F9"
        Rectangle { anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                    height: 1; color: "#D1D1D6" }
        ToolButton {
            objectName: "navigationBack"
            visible: FrontEnd.canGoBack
            anchors { left: parent.left; verticalCenter: parent.verticalCenter; leftMargin: 4 }
            text: "‹"
            // The chevron says nothing to a screen reader: the front end gives the core's word.
            Accessible.name: FrontEnd.chromeCopy.back || ""
            // A control's own press action does nothing here; a screen reader's press is a click.
            Accessible.onPressAction: clicked()
            font.pixelSize: Math.round(28 * Qt.application.font.pixelSize / 12)
            onClicked: FrontEnd.goBack()
        }
    }

    StackView {
        id: ownStack
        visible: !view.handedOver
        anchors { left: parent.left; right: parent.right; top: bar.bottom; bottom: parent.bottom }
    }

    function settleIfIdle() {
        if (!stackView.busy) FrontEnd.stackSettled(stackView.currentItem)
    }
    function transition(animated, kind) { return animated ? kind : StackView.Immediate }
    // Leaves depth of the SDK's screens on the stack.
    function popTo(depth, operation) {
        const keep = baseDepth + depth
        if (keep === 0) stackView.clear(operation)
        else if (stackView.depth > keep) stackView.pop(stackView.get(keep - 1), operation)
    }

    Connections {
        target: view.stackView
        function onBusyChanged() { if (FrontEnd.view === view) view.settleIfIdle() }
    }
    Connections {
        target: FrontEnd
        enabled: FrontEnd.view === view
        function onPushScreen(screen, animated) {
            view.stackView.push(screen.interfaceUrl, { controller: screen },
                                view.transition(animated, StackView.PushTransition))
            view.settleIfIdle()
        }
        function onPopScreens(depth, animated) {
            view.popTo(depth, view.transition(animated, StackView.PopTransition))
            view.settleIfIdle()
        }
        function onResetScreens(screens, animated) {
            view.popTo(0, StackView.Immediate)
            for (let i = 0; i < screens.length; ++i) {
                const last = i === screens.length - 1
                view.stackView.push(screens[i].interfaceUrl, { controller: screens[i] },
                                    view.transition(animated && last, StackView.ReplaceTransition))
            }
            view.settleIfIdle()
        }
        function onImagePickRequested() { picker.open() }
    }

    LoadingOverlay {
        parent: view.surface
        anchors.fill: parent
        z: 1000
        shown: FrontEnd.view === view && FrontEnd.overlayShown
        level: FrontEnd.overlayOpacity
        fadeMilliseconds: FrontEnd.overlayFadeMilliseconds
    }

    SdkAlert {
        id: alert
        parent: view.surface
        anchors.fill: parent
        z: 1001
        screen: FrontEnd.view === view ? FrontEnd.alert : null
    }

    MoviePlayer {
        parent: view.surface
        anchors.fill: parent
        z: 1002
        source: FrontEnd.view === view ? FrontEnd.movie : ""
        onClosed: (problem) => FrontEnd.closeMovie(problem)
    }

    FileDialog {
        id: picker
        title: "Photo"
        nameFilters: ["Images (*.png *.jpg *.jpeg *.webp *.bmp)"]
        onAccepted: FrontEnd.imagePicked(selectedFile)
        onRejected: FrontEnd.imagePickCancelled()
    }

    Component.onCompleted: {
        baseDepth = stackView.depth
        FrontEnd.attach(view)
    }
    Component.onDestruction: FrontEnd.detach(view)
}
