import QtQuick
import Vantora.Views

// A trivia question: the shared frame with the answers, and the result that replaces them — the
// viewer's answer, the correct one under it, and the verdict.
VTATriviaViewBase {
    width: 1240
    height: 880

    CardFrame {
        id: frame
        anchors.fill: parent
    }

    Column {
        objectName: "resultContainer"
        parent: frame.content
        width: frame.content.width
        spacing: 40
        visible: false

        Column {
            objectName: "resultStack"
            width: parent.width
            spacing: 16
        }

        Text {
            objectName: "resultLabel"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            lineHeight: 1.15
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 40
            font.weight: Font.Bold
        }
    }
}
