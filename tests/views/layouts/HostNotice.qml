import QtQuick
import Vantora.Toolkit
import HostCards

// A host's own notice layout, plain and narrow.
HostNoticeBase {
    width: 500; height: 200
    Rectangle { objectName: "mainContainer"; anchors.fill: parent }
    ImageView { objectName: "iconRight" }
    ImageView { objectName: "iconWrong"; visible: false }
    Column {
        objectName: "textContainer"
        Text { objectName: "titleLabel" }
        Text { objectName: "pointsLabel" }
        Text { objectName: "infoLabel" }
    }
    Column {
        objectName: "pointsContainer"; visible: false
        Text { objectName: "scoreTitleLabel" }
        Text { objectName: "totalPointsLabel" }
    }
    FocusTvButton { objectName: "closeButton"; focus: true }
}
