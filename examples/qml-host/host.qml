// A host written in QML alone. Start the reference assets server, then run this file with Qt's
// qml tool and the SDK's QML import path:
//   quorvel-assets-server --port 8731 --storage /tmp/quorvel-assets --api-key my-key &
//   qml -I /usr/local/lib/x86_64-linux-gnu/qt6/qml host.qml
// Add "-- --autopilot" to watch the run drive itself through the virtual devices.
import QtQuick
import Quorvel

Window {
    width: 390
    height: 844
    visible: true
    title: "My trade-in app"

    // The run's screens cover this view while it runs; the host's scene shows again afterwards.
    SdkView { anchors.fill: parent }

    QuorvelRun {
        id: run
        appId: "my-app"
        apiKey: "my-key"
        assetsHost: "http://127.0.0.1:8731"
        cameraUsage: "The screen test films this phone in a mirror."
        microphoneUsage: "The audio tests record what the speaker plays."
        autopilot: Array.from(Qt.application.arguments).includes("--autopilot")
        onFinished: (response) => {
            console.log("finished:", JSON.stringify(response))
            Qt.exit(response && response.status_code === 200 ? 0 : 1)
        }
    }

    Component.onCompleted: run.start()
}
