// SPDX-License-Identifier: Apache-2.0

// A picture that stays until the one in its place can be seen: each takes a moment to be read.

import QtQuick 2.15

Item {
    id: steady

    /// A data URL, or empty, which takes away what there was at once.
    property string source: ""

    property Image seen: one
    readonly property Image next: seen === one ? other : one

    onSourceChanged: {
        if (source === "")
            one.source = other.source = ""
        else
            next.source = source
    }

    function show(image) {
        if (image !== next || steady.source === "")
            return
        const before = seen
        seen = image
        before.source = ""
    }

    component Picture: Image {
        anchors.fill: parent
        visible: this === steady.seen
        // Nothing of a person stays in a cache that outlives her sign-out.
        cache: false
        fillMode: Image.PreserveAspectFit
        smooth: true
        mipmap: true
        // What cannot be read is none, and nothing stands in its place.
        onStatusChanged: if (status === Image.Ready || status === Image.Error) steady.show(this)
        Accessible.ignored: true
    }

    Picture { id: one }
    Picture { id: other }
}
