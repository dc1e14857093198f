// SPDX-License-Identifier: Apache-2.0

/* exported ShownFiles */

// The files of a live host that are shown, read again when they are replaced and never otherwise. Nothing is taken on
// trust: what is not a file of its kind, or larger than any of the host's, is not there.

const {GdkPixbuf, Gio, GLib} = imports.gi;
const ByteArray = imports.byteArray;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const {closeLater, isCancelled, promised} = Me.imports.promises;
const {panelFrom} = Me.imports.panel;

const chunk = 64 * 1024;
const longestPanel = 256 * 1024;
const longestPicture = 8 * 1024 * 1024;
/// Pixels; a medium widget at four pixels to a point has 1352.
const longestSide = 2048;
/// Seconds. What takes longer waits for nothing that will come, as in a pipe that took the file's place.
const patience = 5;

var ShownFiles = class {
    /// `onRead` is given the panel's content, or null, and the picture as a GdkPixbuf, or null.
    constructor(folder, onRead) {
        this._folder = folder;
        this._onRead = onRead;
        this._pictureName = null;
        this._monitors = [];
        this._cancellable = null;
        this._isDue = false;
        this._isReading = false;
        this._timeout = 0;
    }

    /// In place of the picture before.
    show(pictureName) {
        this._pictureName = pictureName;
        if (this._cancellable)
            this.open();
    }

    open() {
        this.close();
        this._cancellable = new Gio.Cancellable();
        this._monitors = ['panel.json', this._pictureName].map(name => this._monitored(name));
        this._read(this._cancellable).catch(logError);
    }

    close() {
        this._cancellable?.cancel();
        this._cancellable = null;
        this._monitors.forEach(monitor => monitor.cancel());
        this._monitors = [];
        this._endReading();
    }

    _endReading() {
        this._isReading = false;
        if (this._timeout)
            GLib.source_remove(this._timeout);
        this._timeout = 0;
    }

    _beginReading() {
        this._isReading = true;
        this._timeout = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, patience, () => {
            this._timeout = 0;
            this.open();
            return GLib.SOURCE_REMOVE;
        });
    }

    _monitored(name) {
        const monitor = this._folder.get_child(name).monitor_file(Gio.FileMonitorFlags.WATCH_MOVES, null);
        monitor.connect('changed', () => this._read(this._cancellable).catch(logError));
        return monitor;
    }

    async _read(cancellable) {
        this._isDue = true;
        if (!cancellable || this._isReading)
            return;
        this._beginReading();
        try {
            while (this._isDue && !cancellable.is_cancelled()) {
                this._isDue = false;
                const panel = await this._panel(cancellable);
                const picture = await this._picture(cancellable);
                // What has been replaced meanwhile is not to be shown once more.
                if (!this._isDue && !cancellable.is_cancelled())
                    this._onRead(panel, picture);
            }
        } finally {
            if (cancellable === this._cancellable)
                this._endReading();
        }
    }

    async _panel(cancellable) {
        const bytes = await this._bytes('panel.json', longestPanel, cancellable);
        return bytes && panelFrom(textOf(bytes.toArray()));
    }

    async _picture(cancellable) {
        const bytes = await this._bytes(this._pictureName, longestPicture, cancellable);
        if (!bytes || !isPictureOfOurs(bytes.toArray()))
            return null;
        try {
            const stream = Gio.MemoryInputStream.new_from_bytes(bytes);
            return await new Promise((resolve, reject) => {
                GdkPixbuf.Pixbuf.new_from_stream_async(stream, cancellable, (source, result) => {
                    try {
                        resolve(GdkPixbuf.Pixbuf.new_from_stream_finish(result));
                    } catch (failure) {
                        reject(failure);
                    }
                });
            });
        } catch (failure) {
            return null;
        }
    }

    /// Null where there is no such file.
    async _bytes(name, longest, cancellable) {
        const file = this._folder.get_child(name);
        try {
            const found = await promised(file, 'query_info', 'standard::type,standard::size',
                Gio.FileQueryInfoFlags.NOFOLLOW_SYMLINKS, GLib.PRIORITY_DEFAULT, cancellable);
            if (found.get_file_type() !== Gio.FileType.REGULAR || found.get_size() > longest)
                return null;
            return await wholeOf(await promised(file, 'read', GLib.PRIORITY_DEFAULT, cancellable), longest, cancellable);
        } catch (failure) {
            if (!isCancelled(failure) && !failure.matches?.(Gio.IOErrorEnum, Gio.IOErrorEnum.NOT_FOUND))
                console.warn(`Vela: ${failure.message}`);
            return null;
        }
    }
};

/// Empty for bytes that are no text.
function textOf(bytes) {
    try {
        return ByteArray.toString(bytes);
    } catch (failure) {
        return '';
    }
}

async function wholeOf(stream, longest, cancellable) {
    const parts = [];
    let length = 0;
    try {
        for (;;) {
            const bytes = await promised(stream, 'read_bytes', chunk, GLib.PRIORITY_DEFAULT, cancellable);
            if (bytes.get_size() === 0)
                break;
            length += bytes.get_size();
            if (length > longest)
                return null;
            parts.push(bytes.toArray());
        }
    } finally {
        closeLater(stream);
    }
    const whole = new Uint8Array(length);
    let at = 0;
    for (const part of parts) {
        whole.set(part, at);
        at += part.length;
    }
    return new GLib.Bytes(whole);
}

/// By its first chunk (PNG, ISO/IEC 15948, 11.2.2): what claims to be enormous is not decoded.
function isPictureOfOurs(bytes) {
    const signature = [0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A];
    if (bytes.length < 24 || signature.some((byte, at) => bytes[at] !== byte))
        return false;
    const header = new DataView(bytes.buffer, bytes.byteOffset);
    return [header.getUint32(16), header.getUint32(20)].every(side => side > 0 && side <= longestSide);
}
