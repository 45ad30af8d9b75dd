import QtQuick
import Vantora.Views
import Vantora.Toolkit

// The frame every card shares, with the items its code reaches by name: the info bar on top, and
// under it one scrolling column — the channel's logo when it has one, the question, the answers —
// with room on the card's left for a sponsor's promotion. A card's layout is its class as the root
// and a CardFrame filling it. Items that follow the answers (a result) go in the column with
// `parent: frame.content`; items placed freely go on `frame.body`. Both lie under a flipping
// promotion like the rest of the card.
//
// The question keeps its whole text: it wraps (breaking a word only when a word alone is wider
// than the card), steps down from 44 to 38 px past three lines and to 32 px past four, and past
// that the column scrolls as the remote moves.
Item {
    id: card

    readonly property Item body: main
    readonly property Item content: column

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
            id: info
            objectName: "infoContainer"
            width: parent.width
            height: 112
        }

        Rectangle {
            id: divider
            anchors.top: info.bottom
            width: parent.width
            height: 1
            color: "#26FFFFFF"
        }

        Flickable {
            id: scroll
            objectName: "scrollView"
            anchors.top: divider.bottom
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 16
            width: parent.width
            contentHeight: column.height
            clip: true
            interactive: false

            Column {
                id: column
                x: 48
                width: parent.width - 96
                topPadding: 28
                bottomPadding: 24
                spacing: 28

                // The logo's place, kept only while there is a logo or the spinner turns in it.
                Item {
                    width: parent.width
                    height: 112
                    // (The spinner's own visibility follows this item's: read what it was told.)
                    visible: icon.implicitWidth > 0 || indicator.running

                    ImageView {
                        id: icon
                        objectName: "mainIcon"
                        anchors.fill: parent
                    }

                    Spinner {
                        id: indicator
                        objectName: "indicator"
                        anchors.centerIn: parent
                        visible: false
                    }
                }

                Text {
                    id: title
                    objectName: "titleLabel"
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                    color: "white"
                    font.family: "Roboto"
                    font.pixelSize: fullSize.lineCount <= 3 ? 44 : smaller.lineCount <= 4 ? 38 : 32
                    font.weight: Font.Bold
                }

                // Full-width answers stack up; narrow ones (a rating's steps) line up side by side.
                Flow {
                    id: answers
                    objectName: "answerStack"
                    width: parent.width
                    spacing: 24
                }
            }
        }

        // The question as it would wrap at the larger sizes, measured but never drawn.
        component Measure: Text {
            required property Text measured
            visible: false
            width: measured.width
            text: measured.text
            wrapMode: measured.wrapMode
            font.family: measured.font.family
            font.weight: measured.font.weight
        }
        Measure {
            id: fullSize
            measured: title
            font.pixelSize: 44
        }
        Measure {
            id: smaller
            measured: title
            font.pixelSize: 38
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
