import QtQuick

// The busy spinner of a card waiting for the backend: an arc that turns while running.
Item {
    id: spinner

    property bool running: false
    property color color: "white"

    width: 96
    height: 96

    Canvas {
        id: arc
        anchors.fill: parent
        onPaint: {
            const context = getContext("2d")
            context.reset()
            context.lineWidth = 8
            context.lineCap = "round"
            context.strokeStyle = spinner.color
            context.beginPath()
            context.arc(width / 2, height / 2, width / 2 - 6, 0, Math.PI * 1.5)
            context.stroke()
        }

        RotationAnimator on rotation {
            from: 0
            to: 360
            duration: 900
            loops: Animation.Infinite
            running: spinner.running && spinner.visible
        }
    }
}
