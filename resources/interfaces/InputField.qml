// The input of a text field outlet with the SDK's look: a rounded well, outlined in its accent
// colour while it has the keyboard. Its text follows the application font, and its placeholder,
// which also names it for assistive technology, wraps and grows the field rather than be cut off.
import QtQuick
import QtQuick.Templates as T

T.TextField {
    id: input
    // The outline's colour while editing, and the selection's.
    property color accent: "transparent"
    // The text's pixel size at Qt's stock 12 px application font.
    property real textSize: 17

    implicitWidth: Math.max(120, implicitBackgroundWidth)
    implicitHeight: Math.max(52, placeholder.implicitHeight + topPadding + bottomPadding,
                             contentHeight + topPadding + bottomPadding)
    leftPadding: 16
    rightPadding: 16
    topPadding: 8
    bottomPadding: 8
    verticalAlignment: TextInput.AlignVCenter
    font.pixelSize: Math.round(textSize * Qt.application.font.pixelSize / 12)
    placeholderTextColor: "#9AA0AA"
    selectionColor: accent
    Accessible.name: placeholderText

    Text {
        id: placeholder
        x: input.leftPadding
        y: input.topPadding
        width: input.width - input.leftPadding - input.rightPadding
        height: input.height - input.topPadding - input.bottomPadding
        text: input.placeholderText
        font: input.font
        color: input.placeholderTextColor
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        visible: input.length === 0 && input.preeditText.length === 0
    }
    background: Rectangle {
        radius: 12
        color: "#F5F6F8"
        border.width: input.activeFocus ? 2 : 1
        border.color: input.activeFocus ? input.accent : "#D9DCE1"
    }
}
