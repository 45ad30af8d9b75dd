import QtQuick
import Vantora.Views
import Vantora.Toolkit

// One trivia answer: a wide button with an optional picture, the answer and, once the result is
// known, its mark on the right. The items over the button grow with it when it takes the focus.
VTATriviaAnswerViewBase {
    id: row

    width: 664
    height: 104

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
    }

    Item {
        anchors.fill: button
        scale: button.scale
        clip: true

        // The picture at its own size (at most 40 px high, see the row's code), shrunk to fit.
        Item {
            id: imageColumn
            objectName: "imageColumn"
            x: 28
            width: picture.width + 20
            height: parent.height
            clip: true

            ImageView {
                id: picture
                objectName: "imageView"
                anchors.verticalCenter: parent.verticalCenter
                readonly property real fit: implicitWidth > 0 && implicitHeight > 0
                    ? Math.min(1, row.width * 0.3 / implicitWidth, 56 / implicitHeight) : 0
                width: implicitWidth * fit
                height: implicitHeight * fit
            }
        }

        Text {
            objectName: "titleLabel"
            anchors.left: imageColumn.right
            anchors.right: mark.left
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            elide: Text.ElideRight
            maximumLineCount: 2
            wrapMode: Text.Wrap
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 34
            font.weight: Font.Medium
        }

        ImageView {
            id: mark
            objectName: "checkMarkView"
            anchors.right: parent.right
            anchors.rightMargin: 28
            anchors.verticalCenter: parent.verticalCenter
            width: 44
            height: 44
            visible: false
        }
    }
}
