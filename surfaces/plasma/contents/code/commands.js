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

/// Ends with the next thing to show, once it is another than that of `version`.
function panel(version, scheme, scale) {
    return call("vela-widget", ["panel", "--family", "systemMedium", "--scheme", scheme, "--scale", String(scale),
        "--after", version]);
}

function reload() {
    return call("vela-widget", ["reload"]);
}

function open(link) {
    return call("vela-companion", ["open", link]);
}
