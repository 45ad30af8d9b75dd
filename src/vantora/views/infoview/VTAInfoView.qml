import QtQuick
import Vantora.Views
import Vantora.Toolkit

// Time left, points and level on the left; the account and close buttons on the right.
VTAInfoViewBase {
    id: bar

    width: 760
    height: 112

    component Caption: Text {
        color: "#B3FFFFFF"
        font.family: "Roboto"
        font.pixelSize: 24
        font.weight: Font.Medium
        font.letterSpacing: 1.5
    }

    // A figure shrinks, rather than run into the buttons, past `widest` pixels.
    component Value: Text {
        property real widest: 240
        width: Math.min(implicitWidth, widest)
        color: "white"
        font.family: "Roboto"
        font.pixelSize: 38
        font.weight: Font.Bold
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 24
    }

    Row {
        anchors.left: parent.left
        anchors.leftMargin: 32
        anchors.verticalCenter: parent.verticalCenter
        spacing: 28

        Column {
            id: timer
            objectName: "timerView"
            anchors.verticalCenter: parent.verticalCenter
            width: 112

            Value {
                objectName: "timerLabel1"
                anchors.horizontalCenter: parent.horizontalCenter
                font.pixelSize: 46
                text: "0"
            }
            Caption {
                objectName: "timerLabel2"
                anchors.horizontalCenter: parent.horizontalCenter
                text: "SEC"
            }
        }

        // Divides the countdown from the score, when a card shows both.
        Rectangle {
            objectName: "separator"
            visible: timer.visible && score.visible
            anchors.verticalCenter: parent.verticalCenter
            width: 2
            height: 64
            radius: 1
            color: "#B3FFFFFF"
        }

        Row {
            id: score
            objectName: "pointsView"
            anchors.verticalCenter: parent.verticalCenter
            spacing: 40

            Column {
                Caption {
                    objectName: "pointsHeaderLabel"
                    text: "POINTS"
                }
                Value {
                    objectName: "pointsLabel"
                    text: "0"
                }
            }
            Column {
                Caption {
                    objectName: "levelHeaderLabel"
                    text: "LEVEL"
                }
                Value {
                    objectName: "levelLabel"
                    widest: 120
                    text: "0"
                }
            }
        }
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: 28
        anchors.verticalCenter: parent.verticalCenter
        spacing: 20

        FocusTvButton {
            id: accountButton
            objectName: "accountButton"
            KeyNavigation.right: closeButton
            width: 168
            height: 64
            titleSize: 26
            title: "Account"
            cornerRadius: 32
            normalBackgroundColor: "#33FFFFFF"
            focusedBackgroundColor: "#E53935"
        }
        FocusTvButton {
            id: closeButton
            objectName: "closeButton"
            width: 64
            height: 64
            titleSize: 28
            title: "\u2715"
            cornerRadius: 32
            normalBackgroundColor: "#33FFFFFF"
            focusedBackgroundColor: "#E53935"
        }
    }
}
