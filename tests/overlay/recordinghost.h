#pragma once

#include <vantora/overlay/vtaoverlayview.h>

// A host's player and remote: writes down what the overlay asked of it.
struct RecordingHost : VTAOverlayDelegate
{
    QStringList calls;
    void overlayRequestedPause() override { calls.append(QStringLiteral("pause")); }
    void overlayRequestedPlay() override { calls.append(QStringLiteral("play")); }
    void overlayRequestedFocus() override { calls.append(QStringLiteral("focus")); }
    void overlayReleasedFocus() override { calls.append(QStringLiteral("release")); }
};
