// SPDX-License-Identifier: Apache-2.0

// What the live host has, by a reader of it that rests until there is something else to show, and then says so and ends.
// Nothing here wakes meanwhile.

import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import "../code/commands.js" as Commands
import "../code/panel.js" as Panel

Item {
    id: host

    /// How the picture is to be drawn.
    property string scheme: "dark"
    property int scale: 1

    /// As panel.js has it.
    property var panel: Panel.unknownPanel
    /// A data URL, or empty.
    property string picture: ""

    /// Of what is shown; a host has no such version.
    property string version: "none"
    readonly property string command: Commands.panel(version, scheme, scale)

    function reload() {
        tasks.connectSource(Commands.reload())
    }

    function open(link) {
        tasks.connectSource(Commands.open(link))
    }

    function take(output) {
        const next = Panel.panelFrom(output)
        if (!next)
            return false
        host.panel = next
        host.picture = next.picture || ""
        host.version = next.version
        return true
    }

    onCommandChanged: Qt.callLater(reader.read)
    Component.onCompleted: Qt.callLater(reader.read)

    PlasmaCore.DataSource {
        id: reader

        engine: "executable"

        function read() {
            pause.stop()
            if (connectedSources.length === 1 && connectedSources[0] === host.command)
                return
            connectedSources = []
            connectSource(host.command)
        }

        onNewData: {
            disconnectSource(sourceName)
            if (sourceName !== host.command)
                return
            if (data["exit code"] === 0 && host.take(data["stdout"]))
                Qt.callLater(read)
            else
                pause.start()
        }
    }

    // None is to be had.
    Timer {
        id: pause

        interval: 30000
        onTriggered: reader.read()
    }

    PlasmaCore.DataSource {
        id: tasks

        engine: "executable"
        onNewData: disconnectSource(sourceName)
    }
}
