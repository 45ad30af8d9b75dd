import QtQuick
import Vantora.Toolkit

// An answer or info-bar button at television size; the C++ side sets every colour and the scale.
// What it holds stays inside its rounded shape: the picture at its own size, shrunk to fit and
// never stretched; the title wrapped to `titleLines` lines, then elided.
FocusTvButtonBase {
    id: button

    // The title's size in pixels; small buttons take a smaller one.
    property int titleSize: 34
    property int titleLines: 1
    // Room kept free on the right for what a row lays over the button (a poll's statistics).
    property real trailingInset: 0

    implicitWidth: 520
    implicitHeight: 96

    GradientView {
        objectName: "gradientView"
        anchors.fill: parent
    }

    Item {
        id: content
        anchors.fill: parent
        anchors.leftMargin: Math.min(24, button.width / 8)
        anchors.rightMargin: Math.min(24, button.width / 8) + button.trailingInset
        clip: true

        Row {
            anchors.centerIn: parent
            spacing: 20

            ImageView {
                id: picture
                objectName: "imageView"
                anchors.verticalCenter: parent.verticalCenter
                // A picture beside a title takes at most two fifths of the width.
                readonly property real widest: label.text === "" ? content.width
                                                                 : content.width * 0.4
                readonly property real fit: implicitWidth > 0 && implicitHeight > 0
                    ? Math.min(1, widest / implicitWidth, button.height * 0.6 / implicitHeight)
                    : 0
                width: implicitWidth * fit
                height: implicitHeight * fit
            }

            Text {
                id: label
                objectName: "titleLabel"
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth,
                                content.width - (picture.visible ? picture.width + 20 : 0))
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                maximumLineCount: button.titleLines
                elide: Text.ElideRight
                font.family: "Roboto"
                font.pixelSize: button.titleSize
                font.weight: Font.Medium
            }
        }
    }
}
