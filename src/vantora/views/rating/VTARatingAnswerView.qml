import Vantora.Views
import Vantora.Toolkit

// One step of the scale: a square button for the remote, its number or the rating's icon in it.
VTARatingAnswerViewBase {
    width: 112
    height: 112

    FocusTvButton {
        objectName: "button"
        anchors.fill: parent
        focus: true
        titleSize: 44
        cornerRadius: 28
        focusedScaleFactor: 1.1
        normalBackgroundColor: "#2EFFFFFF"
        focusedBackgroundColor: "#FFB300"
        selectedBackgroundColor: "#FFB300"
        normalTitleColor: "white"
        focusedTitleColor: "#1A1A1A"
    }
}
