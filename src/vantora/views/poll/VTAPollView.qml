import Vantora.Views

// A poll or a prediction: the shared frame, with one row per answer in its answer stack.
VTAPollViewBase {
    width: 1240
    height: 880

    CardFrame {
        anchors.fill: parent
    }
}
