// SPDX-License-Identifier: Apache-2.0

/* exported LiveHost */

// A reader's end of the live host: finds it, has it started where none runs, keeps the pictures wanted that are shown,
// and finds it again after it ended. Waits without waking.

const {Gio, GLib} = imports.gi;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const {Decoder, encoded} = Me.imports.frames;
const {closeLater, isCancelled, promised} = Me.imports.promises;
const programs = Me.imports.programs;

const protocol = 1;
const chunk = 64 * 1024;
/// Seconds before it is looked for again, the first time, the second and so on; the last stands for all further ones.
const pauses = [1, 5, 30, 60];
/// Milliseconds.
const patienceWithManager = 5000;
/// Seconds. A host that hangs greets nobody.
const patienceWithGreeting = 5;
/// Seconds in which one that is well lets somebody say that it is to reload.
const patienceWithOrder = 5;
/// Seconds; a reader has ten for a host that answers late.
const patienceWithReader = 30;

var LiveHost = class {
    /// `onFound` is told each time one answers, which is when its files are its own; `onLost` each time there is none,
    /// with whether that is more than a change of hosts.
    constructor(folder, {onFound, onLost}) {
        this._socket = folder.get_child('host.socket').get_path();
        this._onFound = onFound;
        this._onLost = onLost;
        this._cancellable = new Gio.Cancellable();
        this._connection = null;
        this._pictures = [];
        this._failures = 0;
        this._identifier = 0;
        this._pause = 0;
        this._wait = 0;
        this._isGreeted = false;
        this._reloading = null;
        this._keep().catch(logError);
    }

    /// In place of those before: [{family, colorScheme, scale}].
    want(pictures) {
        this._pictures = pictures;
        this._ask({request: 'pictures', pictures});
    }

    /// Has the server asked now, or a host looked for.
    reload() {
        if (!this._connection)
            this._wake();
        else if (this._isGreeted && this._reloading === null)
            this._askForReload();
    }

    /// Whether one answers.
    get isFound() {
        return this._isGreeted;
    }

    /// What comes of it takes a server's time, but that there is somebody who hears of it none.
    _askForReload() {
        this._awaitWord(patienceWithOrder);
        this._ask({request: 'status'});
        this._ask({request: 'reload'});
        this._reloading = this._identifier;
    }

    close() {
        this._cancellable.cancel();
        this._hangUp();
        this._wake();
    }

    async _keep() {
        while (!this._cancellable.is_cancelled()) {
            try {
                await this._converse();
            } catch (failure) {
                if (this._cancellable.is_cancelled())
                    break;
                this._lose(failure);
            }
            await this._rest();
        }
        this._hangUp();
    }

    async _converse() {
        this._connection = await this._connected();
        this._asking = Promise.resolve();
        this._awaitWord(patienceWithGreeting);
        this._send({protocol});
        const input = this._connection.get_input_stream();
        const decoder = new Decoder();
        for (;;) {
            const bytes = await promised(input, 'read_bytes', chunk, GLib.PRIORITY_DEFAULT, this._cancellable);
            if (bytes.get_size() === 0)
                throw new Error('the live host hung up');
            decoder.take(bytes.toArray()).forEach(object => this._take(object));
        }
    }

    /// Hangs up on one that says nothing.
    _awaitWord(patience) {
        const socket = this._connection.get_socket();
        this._wait = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, patience, () => {
            this._wait = 0;
            // Whoever reads hears of it.
            socket.shutdown(true, true);
            return GLib.SOURCE_REMOVE;
        });
    }

    _endWait() {
        if (this._wait)
            GLib.source_remove(this._wait);
        this._wait = 0;
    }

    _take(object) {
        if (object.protocol === protocol || object.id !== undefined)
            this._endWait();
        if (object.id === this._reloading)
            this._reloading = null;
        if (object.protocol === protocol) {
            this._isGreeted = true;
            this._failures = 0;
            this._ask({request: 'pictures', pictures: this._pictures});
            this._onFound();
        } else if (object.protocol !== undefined) {
            throw new Error('the live host speaks another version of the protocol');
        }
    }

    async _connected() {
        try {
            return await this._connect();
        } catch (failure) {
            if (isCancelled(failure))
                throw failure;
            await this._start();
            return this._connect();
        }
    }

    async _connect() {
        const connection = await promised(
            new Gio.SocketClient(), 'connect', Gio.UnixSocketAddress.new(this._socket), this._cancellable);
        const peer = connection.get_socket().get_credentials();
        if (peer.get_unix_user() !== new Gio.Credentials().get_unix_user())
            throw new Error('the live host is another user\'s');
        return connection;
    }

    /// By its unit; where there is none, by a reader of it, which knows how.
    async _start() {
        try {
            await this._startUnit();
        } catch (failure) {
            if (isCancelled(failure))
                throw failure;
            await this._startByReader();
        }
    }

    async _startByReader() {
        const reader = Gio.Subprocess.new([GLib.build_filenamev([programs.folder, 'vela-widget']), 'panel'],
            Gio.SubprocessFlags.STDOUT_SILENCE | Gio.SubprocessFlags.STDERR_SILENCE);
        // One that was stopped is heard of as well, then.
        const patience = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, patienceWithReader, () => {
            reader.force_exit();
            return GLib.SOURCE_CONTINUE;
        });
        try {
            await promised(reader, 'wait_check', this._cancellable);
        } finally {
            GLib.source_remove(patience);
        }
    }

    _startUnit() {
        return new Promise((resolve, reject) => {
            Gio.DBus.session.call('org.freedesktop.systemd1', '/org/freedesktop/systemd1',
                'org.freedesktop.systemd1.Manager', 'StartUnit', new GLib.Variant('(ss)', ['vela-widget.socket', 'fail']),
                null, Gio.DBusCallFlags.NO_AUTO_START, patienceWithManager, this._cancellable, (bus, result) => {
                    try {
                        resolve(bus.call_finish(result));
                    } catch (failure) {
                        reject(failure);
                    }
                });
        });
    }

    _ask(question) {
        if (this._connection)
            this._send({id: ++this._identifier, ...question});
    }

    /// One after the other: a write that is not done yet comes first.
    _send(object) {
        const connection = this._connection;
        this._asking = this._asking.then(() => this._write(connection, encoded(object)))
            // Whoever reads on the connection hears of its end as well.
            .catch(() => {});
    }

    async _write(connection, bytes) {
        const output = connection.get_output_stream();
        for (let at = 0; at < bytes.get_size();) {
            const rest = bytes.new_from_bytes(at, bytes.get_size() - at);
            at += await promised(output, 'write_bytes', rest, GLib.PRIORITY_DEFAULT, this._cancellable);
        }
    }

    _lose(failure) {
        this._hangUp();
        ++this._failures;
        if (this._failures === 2)
            console.warn(`Vela: ${failure.message}`);
        this._onLost(this._failures > 1);
    }

    _hangUp() {
        this._endWait();
        this._isGreeted = false;
        this._reloading = null;
        if (this._connection)
            closeLater(this._connection);
        this._connection = null;
    }

    /// Until it is time to look again, or somebody wants it at once.
    _rest() {
        if (this._cancellable.is_cancelled())
            return Promise.resolve();
        const seconds = pauses[Math.min(Math.max(this._failures, 1), pauses.length) - 1];
        return new Promise(resolve => {
            this._resume = resolve;
            this._pause = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, seconds, () => {
                this._pause = 0;
                resolve();
                return GLib.SOURCE_REMOVE;
            });
        });
    }

    _wake() {
        if (this._pause === 0)
            return;
        GLib.source_remove(this._pause);
        this._pause = 0;
        this._resume();
    }
};
