import QtQuick
import VantoraTv

// The player's bar along the bottom: play state, elapsed time, progress and length, and the line
// that says what the remote's keys do right now.
Item {
    id: bar

    required property TvPlayer player
    // Whether a card holds the remote, which changes what the keys do.
    /// What the remote reaches: "player", "card", "rating" or "notice" (see OverlayHost).
    property string remoteTarget: "player"
    readonly property bool onCard: remoteTarget === "card" || remoteTarget === "rating"

    function clock(seconds) {
        const whole = Math.max(0, Math.floor(seconds));
        const minutes = Math.floor(whole / 60);
        const rest = whole % 60;
        return minutes + ":" + (rest < 10 ? "0" : "") + rest;
    }

    height: 124

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0.0; color: "#00000000" }
            GradientStop { position: 0.45; color: "#B3000000" }
            GradientStop { position: 1.0; color: "#E6000000" }
        }
    }

    Row {
        id: transport
        x: 64
        y: 18
        spacing: 24

        // Two bars while playing, a triangle while paused.
        Item {
            width: 40
            height: 40
            anchors.verticalCenter: parent.verticalCenter
            Row {
                anchors.centerIn: parent
                spacing: 10
                visible: bar.player.playing
                Repeater {
                    model: 2
                    Rectangle {
                        width: 10
                        height: 34
                        radius: 2
                        color: "white"
                    }
                }
            }
            Text {
                anchors.centerIn: parent
                visible: !bar.player.playing
                text: "\u25B6"
                color: "white"
                font.pixelSize: 38
            }
        }
        Text {
            objectName: "elapsed"
            anchors.verticalCenter: parent.verticalCenter
            width: 110
            text: bar.clock(bar.player.position)
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 34
            font.weight: Font.Bold
        }
        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: bar.width - 2 * transport.x - 40 - 110 - 110 - 3 * transport.spacing
            height: 8
            radius: 4
            color: "#4DFFFFFF"
            Rectangle {
                width: bar.player.duration > 0
                       ? parent.width * Math.min(1, bar.player.position / bar.player.duration) : 0
                height: parent.height
                radius: 4
                color: "#E53935"
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: 110
            horizontalAlignment: Text.AlignRight
            text: bar.clock(bar.player.duration)
            color: "#B3FFFFFF"
            font.family: "Roboto"
            font.pixelSize: 34
        }
    }

    Row {
        objectName: "hintLine"
        x: transport.x
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 14
        spacing: 36

        component Hint: Row {
            id: hint
            property string keys
            property string action
            spacing: 10
            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: Math.max(44, keyLabel.implicitWidth + 20)
                height: 36
                radius: 8
                color: "#33FFFFFF"
                border.color: "#80FFFFFF"
                border.width: 1
                Text {
                    id: keyLabel
                    anchors.centerIn: parent
                    text: hint.keys
                    color: "white"
                    font.family: "Roboto"
                    font.pixelSize: 22
                    font.weight: Font.Bold
                }
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: hint.action
                color: "#D9FFFFFF"
                font.family: "Roboto"
                font.pixelSize: 26
            }
        }

        Hint {
            visible: bar.remoteTarget !== "card"
            keys: "\u2190 \u2192"
            action: bar.remoteTarget === "rating" ? "Choose" : "Seek 10 s"
        }
        Hint {
            visible: bar.remoteTarget === "card"
            keys: "\u2191 \u2193"
            action: "Choose"
        }
        Hint {
            keys: "Enter"
            action: bar.onCard ? "Select" : "Play / Pause"
        }
        Hint {
            keys: "Space"
            action: "Play / Pause"
        }
        Hint {
            keys: "Esc"
            action: bar.onCard ? "Close card" : bar.remoteTarget === "notice" ? "Close notice" : "Back"
        }
    }
}
