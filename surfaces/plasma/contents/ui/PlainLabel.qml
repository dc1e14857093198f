// SPDX-License-Identifier: Apache-2.0

// A text that nothing in it can turn into more, in the desktop's font, also when that becomes another.

import QtQuick 2.15
import org.kde.plasma.components 3.0 as PlasmaComponents3
import org.kde.plasma.core 2.0 as PlasmaCore

PlasmaComponents3.Label {
    textFormat: Text.PlainText
    font: PlasmaCore.Theme.defaultFont
    // Said, it is where lines begin; else it is where the text's own language has them begin.
    horizontalAlignment: Text.AlignLeft
}
