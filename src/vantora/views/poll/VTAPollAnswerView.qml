import QtQuick
import Vantora.Views
import Vantora.Toolkit

// One poll answer: a wide button and, once the viewer has voted or the poll has closed, the
// answer's share as a bar filling the button from the left and as text on its right, beside the
// answer's text rather than over it.
VTAPollAnswerViewBase {
    id: row

    width: 664
    height: 104

    Rectangle {
        objectName: "statsBar"
        x: button.x
        y: button.y
        height: button.height
        radius: 24
        color: "#731E88E5"
        visible: stats.visible && width > 0
    }

    FocusTvButton {
        id: button
        objectName: "button"
        // Room for the focused button to grow inside the scrolling answers.
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        anchors.topMargin: 4
        anchors.bottomMargin: 4
        focus: true
        cornerRadius: 24
        focusedScaleFactor: 1.05
        normalBackgroundColor: "#1FFFFFFF"
        focusedBackgroundColor: "#1E88E5"
        selectedBackgroundColor: "#33FFFFFF"
        titleSize: 32
        titleLines: 2
        // The answer takes the room left of its statistics.
        trailingInset: stats.visible ? stats.width + 16 : 0
    }

    Item {
        anchors.fill: button
        scale: button.scale

        Text {
            id: stats
            objectName: "statsLabel"
            anchors.right: parent.right
            anchors.rightMargin: 28
            anchors.verticalCenter: parent.verticalCenter
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 32
            font.weight: Font.Bold
        }
    }
}
