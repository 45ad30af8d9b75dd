import QtQuick
import VantoraTv

// The TV app's one screen: the video, its transport bar and hint line, and the layer the
// overlay goes into. Laid out for 1920×1080 and scaled to whatever the window is.
Item {
    id: root

    required property TvPlayer player
    required property TvRemote remote

    readonly property Item overlayLayer: overlayLayer
    readonly property Item playerSurface: playerSurface
    // What the remote reaches, kept up to date by the app (see OverlayHost::remoteTarget).
    property string remoteTarget: "player"

    Rectangle {
        anchors.fill: parent
        color: "black"
    }

    FocusScope {
        id: stage

        width: 1920
        height: 1080
        anchors.centerIn: parent
        scale: Math.min(root.width / width, root.height / height)
        focus: true

        // Keys that mean the same wherever the focus is: what the cards leave unhandled comes
        // up here.
        Keys.onPressed: event => {
            switch (event.key) {
            case Qt.Key_Escape:
            case Qt.Key_Backspace:
            case Qt.Key_Back:
                event.accepted = true;
                if (!root.remote.back())
                    exitPrompt.ask();
                break;
            case Qt.Key_Space:
            case Qt.Key_MediaTogglePlayPause:
                event.accepted = true;
                root.player.togglePlaying();
                break;
            }
        }

        Item {
            id: playerSurface

            anchors.fill: parent
            focus: true

            Keys.onPressed: event => {
                switch (event.key) {
                case Qt.Key_Left:
                    root.player.seekBy(-10);
                    break;
                case Qt.Key_Right:
                    root.player.seekBy(10);
                    break;
                case Qt.Key_Return:
                case Qt.Key_Enter:
                case Qt.Key_Select:
                    root.player.togglePlaying();
                    break;
                default:
                    return;
                }
                event.accepted = true;
            }

            Loader {
                anchors.fill: parent
                Component.onCompleted: setSource(root.player.hasVideo ? "VideoFile.qml"
                                                                      : "TestPicture.qml",
                                                 { "player": root.player })
            }
        }

        TransportBar {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            player: root.player
            remoteTarget: root.remoteTarget
        }

        // A focus scope, so that it reads as having the focus while a card inside it has it.
        FocusScope {
            id: overlayLayer
            anchors.fill: parent
        }

        ExitPrompt {
            id: exitPrompt
            anchors.horizontalCenter: parent.horizontalCenter
            y: 64
        }
    }
}
