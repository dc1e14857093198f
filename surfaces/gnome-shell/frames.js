// SPDX-License-Identifier: Apache-2.0

/* exported encoded, Decoder, FrameError */

// The frames in which a live host and its readers talk: the lengths of a JSON object and of what is attached to it,
// four bytes each, the highest first, and the two. Pure, but for the decoder's memory.

const {GLib} = imports.gi;
const ByteArray = imports.byteArray;

const headerLength = 8;
/// More than an answer to any of our questions; none of them asks for an attachment.
const longestBody = 1024 * 1024;

var FrameError = class extends Error {};

/// GLib.Bytes of a frame without an attachment.
function encoded(object) {
    const body = ByteArray.fromString(JSON.stringify(object));
    const frame = new Uint8Array(headerLength + body.length);
    new DataView(frame.buffer).setUint32(0, body.length);
    frame.set(body, headerLength);
    return new GLib.Bytes(frame);
}

/// Takes bytes as they come and gives the objects that they complete.
var Decoder = class {
    constructor() {
        this._bytes = new Uint8Array(0);
    }

    /// Throws FrameError for what is no frame of ours.
    take(bytes) {
        const all = new Uint8Array(this._bytes.length + bytes.length);
        all.set(this._bytes);
        all.set(bytes, this._bytes.length);
        this._bytes = all;
        const objects = [];
        for (let object = this._next(); object; object = this._next())
            objects.push(object);
        return objects;
    }

    _next() {
        if (this._bytes.length < headerLength)
            return null;
        const header = new DataView(this._bytes.buffer, this._bytes.byteOffset);
        const length = header.getUint32(0);
        if (length > longestBody || header.getUint32(4) !== 0)
            throw new FrameError('a frame of that length was not asked for');
        const end = headerLength + length;
        if (this._bytes.length < end)
            return null;
        const body = this._bytes.slice(headerLength, end);
        this._bytes = this._bytes.slice(end);
        return parsed(body);
    }
};

function parsed(body) {
    try {
        const object = JSON.parse(ByteArray.toString(body));
        if (object && typeof object === 'object')
            return object;
    } catch (failure) {
        // Said below.
    }
    throw new FrameError('a frame holds no object');
}
