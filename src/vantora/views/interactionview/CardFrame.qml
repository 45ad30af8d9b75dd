import QtQuick
import Vantora.Views
import Vantora.Toolkit

// The frame every card shares, with the items its code reaches by name: the info bar on top, an
// icon, the question and the answers, with room on its left for a sponsor's promotion. A card's
// layout is its class as the root and a CardFrame filling it; the card's own items go on the
// body with `parent: frame.body`, under a flipping promotion like the rest of the card.
Item {
    id: card

    readonly property Item body: main

    width: 1240
    height: 880

    Item {
        objectName: "promotionContainer"
        x: 0
        width: 440
        height: parent.height
        visible: false
        clip: true
    }

    Rectangle {
        id: main
        objectName: "mainContainer"
        x: parent.width - width
        width: 760
        height: parent.height
        radius: 36
        color: "#F0141A26"
        clip: true

        ImageView {
            objectName: "backgroundView"
            anchors.fill: parent
        }

        Item {
            objectName: "infoContainer"
            width: parent.width
            height: 112
        }

        Rectangle {
            y: 112
            width: parent.width
            height: 1
            color: "#26FFFFFF"
        }

        ImageView {
            id: icon
            objectName: "mainIcon"
            anchors.horizontalCenter: parent.horizontalCenter
            y: 144
            width: 112
            height: 112
        }

        Spinner {
            objectName: "indicator"
            anchors.centerIn: icon
            visible: false
        }

        Text {
            id: title
            objectName: "titleLabel"
            anchors.horizontalCenter: parent.horizontalCenter
            y: 280
            width: parent.width - 96
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            maximumLineCount: 3
            elide: Text.ElideRight
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 44
            font.weight: Font.Bold
        }

        Flickable {
            objectName: "scrollView"
            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: title.bottom
            anchors.topMargin: 40
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 40
            width: parent.width - 96
            contentHeight: answers.height
            clip: true
            interactive: false

            // Full-width answers stack up; narrow ones (a rating's steps) line up side by side.
            Flow {
                id: answers
                objectName: "answerStack"
                width: parent.width
                spacing: 24
            }
        }
    }

    Rectangle {
        objectName: "promotionFlipContainer"
        x: main.x
        width: main.width
        height: main.height
        radius: main.radius
        color: "transparent"
        visible: false

        Item {
            objectName: "promotionFlipHolder"
            anchors.centerIn: parent
            width: parent.width - 96
            height: parent.height - 240
        }
    }
}
