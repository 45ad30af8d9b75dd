import Vantora.Toolkit
import HostCards

// A host's own rating step: a button alone.
HostRatingAnswerViewBase {
    width: 90; height: 90
    FocusTvButton { objectName: "button"; anchors.fill: parent; focus: true }
}
