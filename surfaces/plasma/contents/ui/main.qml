// SPDX-License-Identifier: Apache-2.0

// The widget in Plasma: an item in a panel with a popup below it, or the popup's content on the desktop.

import QtQuick 2.15
import QtQuick.Window 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.plasmoid 2.0
import "../code/colors.js" as Colors

Item {
    id: root

    /// Pixels to a point of the widget's.
    readonly property real pixelScale: almostWhole(PlasmaCore.Units.devicePixelRatio * Screen.devicePixelRatio)
    readonly property color ground: PlasmaCore.Theme.backgroundColor
    readonly property bool isDark: 0.299 * ground.r + 0.587 * ground.g + 0.114 * ground.b < 0.5

    readonly property bool isInPanel: Plasmoid.formFactor === PlasmaCore.Types.Horizontal
                                      || Plasmoid.formFactor === PlasmaCore.Types.Vertical

    readonly property LiveHost host: LiveHost {
        scheme: root.isDark ? "dark" : "light"
        scale: Math.max(1, Math.min(4, Math.ceil(root.pixelScale)))
        textScaling: root.textScaling
        contrast: root.isContrastIncreased ? "increased" : "standard"
    }

    /// Of the person's texts to those that Plasma has by itself, 10 points high; one that is set in pixels has none.
    readonly property real fontPoints: PlasmaCore.Theme.defaultFont.pointSize
    readonly property real textScaling: fontPoints > 0 ? Math.max(0.5, Math.min(4, fontPoints / 10)) : 1

    /// There is no other word for it than colours: none that comes with Plasma has 17 to 1, and black on white has 21.
    readonly property bool isContrastIncreased: Colors.contrast(PlasmaCore.Theme.textColor, ground) >= 18

    // What is hardly more or less comes of how a font is measured, and would only blur the picture.
    function almostWhole(scale) {
        return Math.abs(scale - Math.round(scale)) < 0.1 ? Math.round(scale) : scale
    }

    function action_reload() {
        host.reload()
    }

    Plasmoid.icon: "vela-widget"
    Plasmoid.status: PlasmaCore.Types.ActiveStatus
    Plasmoid.toolTipMainText: host.panel.text
    Plasmoid.toolTipSubText: host.panel.tooltip
    Plasmoid.toolTipTextFormat: Text.PlainText
    Plasmoid.preferredRepresentation: isInPanel ? Plasmoid.compactRepresentation : Plasmoid.fullRepresentation
    Plasmoid.compactRepresentation: CompactRepresentation { host: root.host }
    Plasmoid.fullRepresentation: FullRepresentation {
        host: root.host
        pointScale: root.pixelScale / Screen.devicePixelRatio
    }

    Component.onCompleted: Plasmoid.setAction("reload", "Reload", "view-refresh")
}
