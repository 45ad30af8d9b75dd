// A television app written only in QML, as the README shows it, run by Qt's own `qml` runtime
// against the dev server: each card kind, pushed live, must appear whole inside the window.
// Arguments after "--": <width>x<height> <screenshot folder> <dev server origin>.
import QtQuick
import Vantora

Window {
    id: window

    readonly property var args: Qt.application.arguments.slice(
                                    Qt.application.arguments.indexOf("--") + 1)
    readonly property var items: [["poll", "p101"], ["trivia", "t402"], ["rating", "r300"],
                                  ["poll", "pr200"]]
    property int next: 0

    width: Number(args[0].split("x")[0])
    height: Number(args[0].split("x")[1])
    visible: true
    color: "#2d5a27" // the player's picture

    function fail(reason) {
        console.error("qml host:", reason)
        Qt.exit(1)
    }

    function shownCard() {
        for (let i = 0; i < overlay.children.length; ++i) {
            const layer = overlay.children[i]
            for (let j = 0; j < layer.children.length; ++j) {
                if (layer.children[j].visible && layer.children[j].width > 0)
                    return layer.children[j]
            }
        }
        return null
    }

    function inject() {
        const request = new XMLHttpRequest()
        request.open("POST", args[2] + "/admin/inject")
        request.send(JSON.stringify({ channel: "1001", kind: items[next][0], id: items[next][1] }))
    }

    // The README's snippet.
    VTAOverlayView {
        id: overlay
        anchors.fill: parent
        onFocusRequested: overlay.forceActiveFocus()
        onSessionFailed: (failure, reason) => window.fail(reason)
        onDisplayingInteractionChanged: if (displayingInteraction) settled.restart()
        Component.onCompleted: load("1001", "vantora-demo", "production")
    }

    // The viewer is signed in and the channel's content held well before this; with the video
    // paused nothing comes by the clock.
    Timer {
        running: true
        interval: 2500
        onTriggered: {
            overlay.videoPaused()
            window.inject()
        }
    }

    // Once the card has slid in: whole inside the window, then on to the next kind.
    Timer {
        id: settled
        interval: 800
        onTriggered: {
            const card = window.shownCard()
            if (!card)
                return window.fail("no card for " + items[next])
            const r = card.mapToItem(null, 0, 0, card.width, card.height)
            if (r.x < -0.5 || r.y < -0.5 || r.x + r.width > window.width + 0.5
                    || r.y + r.height > window.height + 0.5)
                return window.fail(items[next] + " reaches out of the window: " + r)
            const name = args[1] + "/" + args[0] + "-" + items[next][1] + ".png"
            overlay.parent.grabToImage(result => {
                result.saveToFile(name)
                overlay.closeInteractionIfNeeded()
                window.next += 1
                if (window.next === items.length)
                    Qt.exit(0)
                else
                    later.restart()
            })
        }
    }

    Timer {
        id: later
        interval: 800
        onTriggered: window.inject()
    }

    Timer {
        running: true
        interval: 30000
        onTriggered: window.fail("gave up waiting for " + items[next])
    }
}
