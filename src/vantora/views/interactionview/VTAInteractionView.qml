import Vantora.Views

// A card at television size: the shared frame, nothing else.
VTAInteractionViewBase {
    width: 1240
    height: 880

    CardFrame {
        anchors.fill: parent
    }
}
