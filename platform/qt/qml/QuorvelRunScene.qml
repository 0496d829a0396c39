// Beneath a QuorvelRun's screens when the host has no navigation of its own: nothing, so the
// host's scene shows once the run is over.
import QtQuick

Item {
    property var controller
}
