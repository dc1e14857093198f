// SPDX-License-Identifier: Apache-2.0

/* exported panelFrom, unknownPanel, withoutFiles, withoutHost */

// What the live host has for a panel: `panel.json`, and what `vela-widget panel` prints. Pure functions, in what all
// shells' languages have in common.

const mostPackages = 20;
const link = /^velaapp:\/\/[\x21-\x7E]{1,2000}$/;

/// While nothing is known.
var unknownPanel = Object.freeze({
    barClass: 'placeholder', hasTrouble: false, isStale: false, link: null, packages: [], picture: null,
    remark: null, shortText: '', spoken: 'Vela', text: '', tooltip: '', version: null,
});

/// Null for what is no such text.
function panelFrom(text) {
    try {
        const object = JSON.parse(text);
        return {
            barClass: textOf(object.class),
            hasTrouble: object.hasTrouble === true,
            isStale: object.isStale === true,
            link: linkOf(object.link),
            packages: object.packages.slice(0, mostPackages).map(packageOf),
            remark: object.remark === null ? null : textOf(object.remark),
            picture: pictureOf(object.picture),
            shortText: textOf(object.shortText),
            spoken: textOf(object.spoken),
            text: textOf(object.text),
            tooltip: textOf(object.tooltip),
            version: typeof object.version === 'string' ? object.version : null,
        };
    } catch (failure) {
        return null;
    }
}

/// The same, while no host can be had.
function withoutHost(panel) {
    return withTrouble(panel, 'The live host cannot be reached');
}

/// While one runs whose files cannot be had, as on a full disk.
function withoutFiles() {
    return withTrouble(unknownPanel, 'The live host\'s files cannot be read');
}

function withTrouble(panel, remark) {
    return Object.assign({}, panel, {hasTrouble: true, remark});
}

function packageOf(object) {
    return {link: linkOf(object.link), spoken: textOf(object.spoken), text: textOf(object.text)};
}

function textOf(value) {
    if (typeof value !== 'string')
        throw new TypeError('a text is missing');
    return value;
}

function pictureOf(value) {
    return typeof value === 'string' && value.startsWith('data:image/png;base64,') ? value : null;
}

function linkOf(value) {
    return typeof value === 'string' && link.test(value) ? value : null;
}
