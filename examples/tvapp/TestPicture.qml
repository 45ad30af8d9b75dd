import QtQuick
import VantoraTv

// The generated stand-in for a broadcast: a football pitch seen from above, two teams chasing
// the ball, a score bug with the match clock. Everything moves with the player's position, so
// the picture freezes when the video pauses and a screenshot at a given second is repeatable.
Rectangle {
    id: picture

    required property TvPlayer player
    readonly property real t: player.position

    function clock(seconds) {
        const whole = Math.floor(seconds);
        const minutes = Math.floor(whole / 60);
        const rest = whole % 60;
        return minutes + ":" + (rest < 10 ? "0" : "") + rest;
    }

    // The ball's path: slow sweeps from goal to goal with a little wandering.
    readonly property real ballX: 960 + 700 * Math.sin(picture.t * 0.21)
                                  + 120 * Math.sin(picture.t * 0.83)
    readonly property real ballY: 560 + 240 * Math.sin(picture.t * 0.33 + 1.2)
                                  + 60 * Math.cos(picture.t * 0.97)

    color: "#2E7D32"

    // Mown stripes.
    Canvas {
        anchors.fill: parent
        onPaint: {
            const context = getContext("2d");
            const stripe = width / 12;
            context.fillStyle = "#338A37";
            for (let i = 0; i < 12; i += 2)
                context.fillRect(i * stripe, 0, stripe, height);
        }
    }

    // The markings.
    Item {
        id: pitch
        x: 120
        y: 150
        width: parent.width - 240
        height: parent.height - 300
        opacity: 0.75

        component Line: Rectangle {
            color: "transparent"
            border.color: "white"
            border.width: 5
        }

        Line {
            anchors.fill: parent
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 5
            height: parent.height
            color: "white"
        }
        Line {
            anchors.centerIn: parent
            width: 300
            height: 300
            radius: 150
        }
        Rectangle {
            anchors.centerIn: parent
            width: 16
            height: 16
            radius: 8
            color: "white"
        }
        Line {
            anchors.verticalCenter: parent.verticalCenter
            x: 0
            width: 260
            height: 520
        }
        Line {
            anchors.verticalCenter: parent.verticalCenter
            x: parent.width - width
            width: 260
            height: 520
        }
        Line {
            anchors.verticalCenter: parent.verticalCenter
            x: 0
            width: 100
            height: 240
        }
        Line {
            anchors.verticalCenter: parent.verticalCenter
            x: parent.width - width
            width: 100
            height: 240
        }
    }

    // Two teams of seven who drift towards the ball from their places.
    component Footballer: Rectangle {
        id: footballer

        required property bool red
        required property int place
        // Where the ball is, and the time, for the wobble.
        property real ballX
        property real ballY
        property real t

        readonly property real homeX: (red ? 360 : 1560)
                                      + (red ? 1 : -1) * place * 90 * (place % 2 ? 1 : 0.5)
        readonly property real homeY: 230 + place * 105
        readonly property real pull: 0.35 + 0.05 * place
        readonly property real phase: place + (red ? 0 : 7)

        x: homeX + pull * (ballX - homeX) + 40 * Math.sin(t * 0.9 + phase) - 24
        y: homeY + pull * (ballY - homeY) + 30 * Math.cos(t * 0.7 + phase) - 24
        width: 48
        height: 48
        radius: 24
        color: red ? "#E53935" : "#1E88E5"
        border.color: "white"
        border.width: 4

        Text {
            anchors.centerIn: parent
            text: footballer.place + 2
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 22
            font.weight: Font.Bold
        }
    }


    Footballer { red: true; place: 0; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: true; place: 1; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: true; place: 2; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: true; place: 3; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: true; place: 4; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: true; place: 5; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: true; place: 6; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 0; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 1; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 2; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 3; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 4; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 5; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }
    Footballer { red: false; place: 6; ballX: picture.ballX; ballY: picture.ballY; t: picture.t }

    Rectangle {
        x: picture.ballX - 14
        y: picture.ballY - 14
        width: 28
        height: 28
        radius: 14
        color: "white"
        border.color: "#212121"
        border.width: 3
    }

    // The score bug, with the video's clock as the match clock.
    Rectangle {
        objectName: "scoreBug"
        x: 64
        y: 56
        width: bug.implicitWidth + 48
        height: 84
        radius: 16
        color: "#E6101318"

        Row {
            id: bug
            anchors.centerIn: parent
            spacing: 20

            component Team: Row {
                property alias name: teamName.text
                property alias color: chip.color
                spacing: 12
                Rectangle {
                    id: chip
                    anchors.verticalCenter: parent.verticalCenter
                    width: 14
                    height: 40
                    radius: 4
                }
                Text {
                    id: teamName
                    color: "white"
                    font.family: "Roboto"
                    font.pixelSize: 40
                    font.weight: Font.Bold
                }
            }

            Team {
                name: "RED"
                color: "#E53935"
            }
            Text {
                text: "1 \u2013 0"
                color: "white"
                font.family: "Roboto"
                font.pixelSize: 40
                font.weight: Font.Bold
            }
            Team {
                name: "BLU"
                color: "#1E88E5"
            }
            Rectangle {
                width: 2
                height: 44
                anchors.verticalCenter: parent.verticalCenter
                color: "#55FFFFFF"
            }
            Text {
                objectName: "matchClock"
                text: picture.clock(picture.t)
                color: "#FFD54F"
                font.family: "Roboto"
                font.pixelSize: 40
                font.weight: Font.Bold
            }
        }
    }

    // The channel's mark.
    Column {
        anchors.right: parent.right
        anchors.rightMargin: 64
        y: 56
        opacity: 0.85

        Text {
            anchors.right: parent.right
            text: "VANTORA SPORTS"
            color: "white"
            font.family: "Roboto"
            font.pixelSize: 34
            font.weight: Font.Black
            font.letterSpacing: 3
        }
        Text {
            anchors.right: parent.right
            text: "DEMO BROADCAST \u00B7 TEST PICTURE"
            color: "#CCFFFFFF"
            font.family: "Roboto"
            font.pixelSize: 20
            font.letterSpacing: 2
        }
    }
}
