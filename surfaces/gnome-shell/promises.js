// SPDX-License-Identifier: Apache-2.0

/* exported promised, closeLater, isCancelled */

// What is asked of the platform's asynchronous calls, awaited.

const {Gio, GLib} = imports.gi;

/// What `object` gives for `name`_async with these arguments, the cancellable last; rejects with what
/// `name`_finish throws.
function promised(object, name, ...given) {
    return new Promise((resolve, reject) => {
        object[`${name}_async`](...given, (source, result) => {
            try {
                resolve(source[`${name}_finish`](result));
            } catch (failure) {
                reject(failure);
            }
        });
    });
}

/// Of a stream that nobody needs any more.
function closeLater(stream) {
    promised(stream, 'close', GLib.PRIORITY_DEFAULT, null).catch(() => {});
}

function isCancelled(failure) {
    return failure instanceof Gio.IOErrorEnum && failure.matches(Gio.IOErrorEnum, Gio.IOErrorEnum.CANCELLED);
}
