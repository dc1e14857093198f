// SPDX-License-Identifier: Apache-2.0

/* exported forgotten, lost, nothingShown, panelFrom, taken, watchedKeychain, withoutFiles */

// What the live host has for a panel: `panel.json`, and what `vela-widget panel` prints; and what a shell shows while
// hosts come and go. Pure functions, in what all shells' languages have in common.

const mostPackages = 20;
const link = /^velaapp:\/\/[\x21-\x7E]{1,2000}$/;

/// While nothing is known.
const unknownPanel = Object.freeze({
    asOf: null, barClass: 'placeholder', hasTrouble: false, isStale: false, keptFor: 0, keychain: null, link: null,
    packages: [], picture: null, remark: null, shortText: '', spoken: 'Vela', text: '', tooltip: '', version: null,
});

/// What a shell shows: a panel's content, a picture of whatever kind the shell has, or null, and since when no host can be
/// had, in milliseconds since 1970, or null.
var nothingShown = Object.freeze({panel: unknownPanel, picture: null, lostSince: null});

/// Null for what is no such text.
function panelFrom(text) {
    try {
        const object = JSON.parse(text);
        return {
            asOf: dateOf(object.asOf),
            barClass: textOf(object.class),
            hasTrouble: object.hasTrouble === true,
            isStale: object.isStale === true,
            keptFor: typeof object.keptFor === 'number' ? object.keptFor : 0,
            keychain: keychainOf(object.keychain),
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

/// What is shown once a host has said that.
function taken(shown, panel, picture) {
    const knowsNothingYet = panel.barClass === 'placeholder' && !panel.hasTrouble;
    const isOfAnother = panel.keychain !== null && panel.keychain !== shown.panel.keychain;
    // A host that has just begun in place of another, and for the same sign-in, is no reason to show less,
    if (shown.lostSince !== null && knowsNothingYet && !isOfAnother && shown.panel.barClass !== 'placeholder')
        return shown;
    // nor is one whose picture of the very same is not drawn yet.
    const isTheSame = JSON.stringify(panel.packages) === JSON.stringify(shown.panel.packages) &&
        panel.text === shown.panel.text;
    return {panel, picture: picture || (isTheSame ? shown.picture : null), lostSince: null};
}

/// The same where no host can be had, at `now`: for as long as the last one said.
function lost(shown, now) {
    const lostSince = Math.min(shown.lostSince === null ? now : shown.lostSince, now);
    const asOf = shown.panel.asOf === null ? lostSince : Math.min(shown.panel.asOf, lostSince);
    const isKept = shown.panel.barClass !== 'placeholder' && now < asOf + shown.panel.keptFor * 1000;
    return {
        panel: withTrouble(isKept ? shown.panel : unknownPanel, 'The live host cannot be reached'),
        picture: isKept ? shown.picture : null,
        lostSince,
    };
}

/// The keychain to be watched, as no host speaks for what is shown: with another that may be somebody's no longer. Empty where
/// no host has said which it was, and null where nothing is shown of anybody's.
function watchedKeychain(shown) {
    const isKept = shown.lostSince !== null && shown.panel.barClass !== 'placeholder';
    return isKept ? shown.panel.keychain || '' : null;
}

/// What is shown once that is another, with the panel that says so.
function forgotten(shown, panel) {
    return {panel, picture: null, lostSince: shown.lostSince};
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

function keychainOf(value) {
    return typeof value === 'string' && /^[0-9a-f-]{1,100}$/.test(value) ? value : null;
}

/// Milliseconds since 1970; null for what is no date.
function dateOf(value) {
    const date = typeof value === 'string' ? Date.parse(value) : NaN;
    return isNaN(date) ? null : date;
}

function pictureOf(value) {
    return typeof value === 'string' && value.startsWith('data:image/png;base64,') ? value : null;
}

function linkOf(value) {
    return typeof value === 'string' && link.test(value) ? value : null;
}
