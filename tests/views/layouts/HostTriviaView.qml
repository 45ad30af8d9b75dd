import QtQuick
import Vantora.Views
import HostCards

// A host's own trivia card: the library's frame, wider, with a result area of its own.
HostTriviaViewBase {
    width: 1400; height: 880
    CardFrame { id: frame; anchors.fill: parent }
    Column {
        objectName: "resultContainer"; parent: frame.body; visible: false
        Column { objectName: "resultStack" }
        Text { objectName: "resultLabel" }
    }
}
