import QtQuick
import Vantora.Toolkit
import HostCards

// A host's own poll row: a button and its statistics, no bar.
HostPollAnswerViewBase {
    width: 600; height: 80
    FocusTvButton { objectName: "button"; anchors.fill: parent; focus: true }
    Text { objectName: "statsLabel" }
}
