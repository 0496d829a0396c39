// The host's own page under the SDK's screens in the front-end tests.
import QtQuick
import Quorvel

Outlet {
    name: "view"
    Rectangle { anchors.fill: parent; color: "#EEEEEE" }
}
