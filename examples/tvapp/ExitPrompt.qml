import QtQuick

// "Press Back again to exit": a second back within three seconds leaves the app.
Rectangle {
    id: prompt

    function ask() {
        if (visible) {
            Qt.quit();
            return;
        }
        visible = true;
        hiding.restart();
    }

    visible: false
    width: label.implicitWidth + 96
    height: 88
    radius: height / 2
    color: "#E6141A26"
    border.color: "#33FFFFFF"
    border.width: 2

    Text {
        id: label
        anchors.centerIn: parent
        text: "Press Back again to exit"
        color: "white"
        font.family: "Roboto"
        font.pixelSize: 36
        font.weight: Font.Medium
    }

    SequentialAnimation {
        id: hiding
        PauseAnimation {
            duration: 3000
        }
        PropertyAction {
            target: prompt
            property: "visible"
            value: false
        }
    }
}
