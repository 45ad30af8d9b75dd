import QtQuick
import Vantora.Views
import Vantora.Toolkit

// The rating card: the shared frame with the steps in its answer stack, and in their place once
// rated, the audience's average beside a star, out of the scale's maximum.
VTARatingViewBase {
    width: 1240
    height: 880

    CardFrame {
        id: frame
        anchors.fill: parent
    }

    // Below the question in the card's column, so that a flipping promotion covers and dims it
    // with the rest.
    Item {
        objectName: "resultContainer"
        parent: frame.content
        width: frame.content.width
        height: result.height + 48
        visible: false

        Column {
            id: result
            anchors.centerIn: parent
            spacing: 20

            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "AUDIENCE RATING"
                color: average.color // the design's text colour, as the figures take it
                opacity: 0.7
                font.family: "Roboto"
                font.pixelSize: 24
                font.weight: Font.Medium
                font.letterSpacing: 2
            }

            Row {
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: 20

                ImageView {
                    objectName: "starIcon"
                    anchors.verticalCenter: average.verticalCenter
                    width: 104
                    height: 104
                }
                Text {
                    id: average
                    objectName: "averageLabel"
                    text: "0.0"
                    color: "white"
                    font.family: "Roboto"
                    font.pixelSize: 128
                    font.weight: Font.Bold
                }
                Text {
                    objectName: "outOfLabel"
                    anchors.baseline: average.baseline
                    text: "/"
                    color: "white"
                    opacity: 0.6
                    font.family: "Roboto"
                    font.pixelSize: 64
                }
                Text {
                    objectName: "maxLabel"
                    anchors.baseline: average.baseline
                    color: "white"
                    opacity: 0.6
                    font.family: "Roboto"
                    font.pixelSize: 64
                    font.weight: Font.Bold
                }
            }
        }
    }
}
