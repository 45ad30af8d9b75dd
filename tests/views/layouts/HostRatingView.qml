import QtQuick
import Vantora.Views
import Vantora.Toolkit
import HostCards

// A host's own rating card: the library's frame, narrower, its result laid out its own way.
HostRatingViewBase {
    width: 1000; height: 880
    CardFrame { anchors.fill: parent }
    Row {
        objectName: "resultContainer"; y: 600; visible: false
        ImageView { objectName: "starIcon"; width: 40; height: 40 }
        Text { objectName: "averageLabel" }
        Text { objectName: "outOfLabel"; text: " of " }
        Text { objectName: "maxLabel" }
    }
}
