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

    /// Has the server asked now, or a host looked for.
    function reload() {
        if (pause.running)
            reader.read()
        else
            tasks.connectSource(Commands.reload())
    }

    function open(link) {
        tasks.connectSource(Commands.open(link))
    }

    function take(exitCode, output) {
        const next = exitCode === 0 ? Panel.panelFrom(output) : null
        if (!next) {
            // Whatever comes then is news.
            host.version = "none"
            host.panel = Panel.withoutHost(host.panel)
            return false
        }
        host.panel = next
        host.picture = next.picture || ""
        host.version = next.version
        return true
    }

    onSchemeChanged: Qt.callLater(reader.read)
    onScaleChanged: Qt.callLater(reader.read)
    Component.onCompleted: Qt.callLater(reader.read)

    PlasmaCore.DataSource {
        id: reader

        property string command: ""

        engine: "executable"

        function read() {
            pause.stop()
            command = Commands.panel(host.version, host.scheme, host.scale)
            if (connectedSources.length === 1 && connectedSources[0] === command)
                return
            connectedSources = []
            connectSource(command)
        }

        onNewData: {
            disconnectSource(sourceName)
            if (sourceName !== command)
                return
            if (host.take(data["exit code"], data["stdout"])) {
                pause.failures = 0
                Qt.callLater(read)
            } else {
                ++pause.failures
                pause.start()
            }
        }
    }

    // None is to be had.
    Timer {
        id: pause

        property int failures: 0

        interval: failures > 1 ? 30000 : 1000
        onTriggered: reader.read()
    }

    PlasmaCore.DataSource {
        id: tasks

        engine: "executable"
        onNewData: disconnectSource(sourceName)
    }
}
