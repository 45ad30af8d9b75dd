import QtQuick
import Vantora.Views
import Vantora.Toolkit

// The result notice at the overlay's top right: the verdict symbol on the left, the verdict, the
// points won and the viewer's answer beside it, later the total score in their place; a close
// button in the corner. It grows downwards to hold the whole of a long answer and question.
VTANoticeBase {
    width: 760
    height: Math.max(320, verdict.height + 72)

    Rectangle {
        objectName: "mainContainer"
        anchors.fill: parent
        color: "#F2141A26"
        border.width: 2
        border.color: "#26FFFFFF"

        ImageView {
            objectName: "iconRight"
            x: 40
            anchors.verticalCenter: parent.verticalCenter
            width: 144
            height: 144
        }

        ImageView {
            objectName: "iconWrong"
            x: 40
            anchors.verticalCenter: parent.verticalCenter
            width: 144
            height: 144
            visible: false
        }

        Item {
            objectName: "textContainer"
            x: 216
            y: 36
            width: parent.width - x - 120
            height: parent.height - 2 * y

            Column {
                id: verdict
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width
                spacing: 8

                Text {
                    objectName: "titleLabel"
                    width: parent.width
                    color: "white"
                    font.family: "Roboto"
                    font.pixelSize: 38
                    font.weight: Font.Bold
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 26
                }
                Text {
                    objectName: "pointsLabel"
                    width: parent.width
                    color: "#FFB300"
                    font.family: "Roboto"
                    font.pixelSize: 56
                    font.weight: Font.Black
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 32
                }
                Text {
                    objectName: "infoLabel"
                    width: parent.width
                    color: "#D9FFFFFF"
                    font.family: "Roboto"
                    font.pixelSize: 26
                    lineHeight: 1.1
                    wrapMode: Text.Wrap
                }
            }
        }

        Item {
            objectName: "pointsContainer"
            x: 216
            y: 36
            width: parent.width - x - 120
            height: parent.height - 2 * y
            visible: false

            Column {
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width
                spacing: 4

                Text {
                    objectName: "scoreTitleLabel"
                    color: "#B3FFFFFF"
                    font.family: "Roboto"
                    font.pixelSize: 32
                    font.weight: Font.Medium
                    font.letterSpacing: 1
                }
                Text {
                    objectName: "totalPointsLabel"
                    width: parent.width
                    color: "#FFB300"
                    font.family: "Roboto"
                    font.pixelSize: 96
                    font.weight: Font.Black
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 48
                }
            }
        }

        FocusTvButton {
            objectName: "closeButton"
            x: parent.width - width - 28
            y: 28
            width: 64
            height: 64
            focus: true
            titleSize: 28
            title: "\u2715"
            cornerRadius: 32
            focusedScaleFactor: 1.08
            normalBackgroundColor: "#33FFFFFF"
            focusedBackgroundColor: "#E53935"
        }
    }
}
