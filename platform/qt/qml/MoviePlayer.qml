// The movie player over the SDK's screens: a recorded movie fitted to the view on black, like a
// modal player. It closes at the movie's end, when the movie cannot play, or on its close button,
// and takes every touch and click while shown.
import QtQuick
import QtQuick.Controls.Basic
import QtMultimedia
import Quorvel

Rectangle {
    id: player
    // The movie to play; empty while closed.
    property url source
    // Why it closed: empty at the end or on the close button, else what kept the movie from playing.
    signal closed(string problem)

    objectName: "moviePlayer"
    visible: source.toString() !== ""
    color: "black"

    MouseArea { anchors.fill: parent; hoverEnabled: true; preventStealing: true
                acceptedButtons: Qt.AllButtons }
    MultiPointTouchArea { anchors.fill: parent; mouseEnabled: false }

    MediaPlayer {
        id: media
        videoOutput: picture.videoSink
        audioOutput: AudioOutput {}
        onMediaStatusChanged: {
            if (mediaStatus === MediaPlayer.EndOfMedia) player.closed("")
            else if (mediaStatus === MediaPlayer.InvalidMedia) player.closed("the movie is unreadable")
        }
        onErrorOccurred: (error, errorString) => player.closed(errorString)
    }
    MoviePicture {
        id: picture
        objectName: "moviePicture"
        anchors.fill: parent
        // A film has nothing to read out; the close button is what assistive technology offers.
        Accessible.ignored: true
    }

    ToolButton {
        objectName: "moviePlayerClose"
        anchors { top: parent.top; right: parent.right; margins: 8 }
        width: 44; height: 44
        // The cross says nothing to a screen reader: the front end gives the core's word.
        Accessible.name: FrontEnd.chromeCopy.close || ""
        // A control's own press action does nothing here; a screen reader's press is a click.
        Accessible.onPressAction: clicked()
        contentItem: Text {
            text: "✕"
            font.pixelSize: 22
            color: "white"
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle { radius: 22; color: "#66000000" }
        onClicked: player.closed("")
    }

    // Qt 6.4's player reads its own freed memory when it is destroyed with a movie loaded: it goes
    // empty first.
    Component.onDestruction: media.source = ""

    // Set in one place, so that the player never plays a source it has just been told to leave.
    onSourceChanged: {
        media.stop()
        picture.clear()
        media.source = source
        if (source.toString() !== "") media.play()
    }
}
