import QtQuick
import Vantora.Toolkit

// An answer or info-bar button at television size; the C++ side sets every colour and the scale.
FocusTvButtonBase {
    id: button

    // The title's size in pixels; small buttons take a smaller one.
    property int titleSize: 34

    implicitWidth: 520
    implicitHeight: 96

    GradientView {
        objectName: "gradientView"
        anchors.fill: parent
    }

    Row {
        anchors.verticalCenter: parent.verticalCenter
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 20

        ImageView {
            objectName: "imageView"
            width: 48
            height: 48
            anchors.verticalCenter: parent.verticalCenter
        }

        Text {
            objectName: "titleLabel"
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, button.width - 24)
            elide: Text.ElideRight
            font.family: "Roboto"
            font.pixelSize: button.titleSize
            font.weight: Font.Medium
        }
    }
}
