import QtQuick
import Vantora
import HostCards

// The host's own poll card around the library's frame.
HostPollViewBase {
    width: 1400
    height: 880

    CardFrame {
        anchors.fill: parent
    }
}
