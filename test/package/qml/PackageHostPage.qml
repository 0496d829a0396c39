// The host's own page, under the SDK's screens.
import QtQuick
import Quorvel

Outlet {
    name: "view"
    Rectangle { anchors.fill: parent; color: "#F4F1DE" }
}
