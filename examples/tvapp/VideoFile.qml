import QtQuick
import QtMultimedia
import VantoraTv

// The video file, letterboxed on black; the player's C++ side decodes into it.
Rectangle {
    id: surface

    required property TvPlayer player

    color: "black"

    VideoOutput {
        id: output
        anchors.fill: parent
        fillMode: VideoOutput.PreserveAspectFit
        Component.onCompleted: surface.player.setVideoOutput(output)
    }

    Text {
        anchors.centerIn: parent
        visible: surface.player.errorString !== ""
        width: parent.width * 0.7
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        text: "The video does not play: " + surface.player.errorString
        color: "white"
        font.family: "Roboto"
        font.pixelSize: 40
    }
}
