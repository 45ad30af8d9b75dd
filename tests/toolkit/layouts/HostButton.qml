import QtQuick
import Vantora.Toolkit
import Probes

// A host's own button layout, as an app would ship it.
HostButtonBase {
    width: 300; height: 80
    GradientView { objectName: "gradientView"; anchors.fill: parent }
    Text { objectName: "titleLabel"; text: "host" }
    ImageView { objectName: "imageView" }
}
