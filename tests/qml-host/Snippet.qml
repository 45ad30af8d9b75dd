// The README's QML snippet over a stand-in player, for qmllint: the installed module's type
// descriptions must tell tools every type, property, enumeration and signal used here.
import QtQuick
import Vantora

Item {
    id: player

    function pause() { }
    function play() { }

    VTAOverlayView {
        id: overlay
        anchors.fill: parent
        animationType: VTAOverlayView.FromRight
        onPauseRequested: player.pause()
        onPlayRequested: player.play()
        onFocusRequested: overlay.forceActiveFocus()
        onFocusReleased: player.forceActiveFocus()
        onSessionFailed: (failure, reason) => console.warn("Vantora:", failure, reason)
        Component.onCompleted: load("1001", "acme", "production")
    }
}
