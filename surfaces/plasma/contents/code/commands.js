// SPDX-License-Identifier: Apache-2.0

.pragma library
.import "programs.js" as Programs

// What a shell is given to run. Pure functions.

/// One word of a POSIX shell's, whatever it holds.
function quoted(text) {
    return "'" + text.replace(/'/g, "'\\''") + "'";
}

function call(program, words) {
    return ["exec", quoted(Programs.folder + "/" + program)].concat(words.map(quoted)).join(" ");
}

/// Ends with the next thing to show, once it is another than that of `version`, or may be another person's than what is
/// shown by that keychain, or null. Another `turn` is another process.
function panel(version, keychain, picture, turn) {
    return call("vela-widget", ["panel", "--family", "systemMedium", "--scheme", picture.scheme,
        "--scale", String(picture.scale), "--text-scaling", String(picture.textScaling), "--contrast", picture.contrast,
        "--keychain", keychain || "", "--after", version]) + " # " + turn;
}

/// Ends with what is to be shown once that may be somebody's no longer which is shown by that keychain; asks no host.
function signInWatch(keychain) {
    return call("vela-widget", ["panel", "--keychain", keychain, "--without-host"]);
}

function reload() {
    return call("vela-widget", ["reload"]);
}

/// Ends at once: what it opens may stay open, and the same link may be wanted again meanwhile.
function open(link) {
    return call("vela-companion", ["open", link]) + " > /dev/null 2>&1 &";
}
