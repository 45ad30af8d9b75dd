import Vantora.Views
import HostCards

// A host's own poll card around the library's frame, wider.
HostPollViewBase {
    width: 1400; height: 880
    CardFrame { anchors.fill: parent }
}
