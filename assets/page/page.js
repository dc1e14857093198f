// SPDX-License-Identifier: Apache-2.0

// Keeps the page current: an event says that something is different, and the page is read again as anybody
// would read it. What it shows of a person goes when the person does, and when nobody can say any more
// whether she is still there.
'use strict';
(() => {
    // Milliseconds. How long packages stay without a stream of events, and how long that may be silent: the
    // server says something every five seconds.
    const blankAfter = 5000;
    const silentAfter = 12000;
    const retryAfter = 2000;
    const answerLimit = 120000;
    const usualTextSize = 16;

    const lostWords = 'The widget behind this page does not answer, so what it last showed is hidden. It comes ' +
        'back by itself once the widget does; if vela-widget serve was started anew, open the address that it printed.';

    const root = document.documentElement;
    const contents = document.getElementById('contents');
    const remark = document.getElementById('remark');
    const choices = document.getElementById('choices');
    const reloading = document.getElementById('reload');
    const moreContrast = matchMedia('(prefers-contrast: more)');
    const forcedColors = matchMedia('(forced-colors: active)');

    let stream = null;
    let request = null;
    // The state that the server has, as far as it is known.
    let latest = Number(contents.dataset.revision);
    // What stands on the page, and how it was asked for; nothing where it is blank.
    let shown = {revision: latest, query: drawnBy(new URLSearchParams(location.search))};
    let blanking = 0;
    let silence = 0;
    let retry = 0;

    // Of a query, what the drawings depend on.
    function drawnBy(query) {
        query.delete('scheme');
        return query.toString();
    }

    // What the person chose and does not leave to the system.
    function chosen() {
        const query = new URLSearchParams();
        for (const name of ['scheme', 'textSize']) {
            const value = choices.elements[name].value;
            if (value !== 'system') query.set(name, value);
        }
        return query;
    }

    // The step whose factor comes nearest to the browser's own text size.
    function systemTextSize() {
        const factor = parseFloat(getComputedStyle(root).fontSize) / usualTextSize;
        const away = option => Math.abs(Math.log(factor / option.dataset.factor));
        const sizes = [...choices.elements.textSize.options].filter(option => option.dataset.factor);
        return sizes.reduce((nearest, each) => (away(each) < away(nearest) ? each : nearest)).value;
    }

    function wanted() {
        const query = chosen();
        const textSize = systemTextSize();
        if (!query.has('textSize') && textSize !== 'large') query.set('textSize', textSize);
        if (moreContrast.matches || forcedColors.matches) query.set('contrast', 'increased');
        return drawnBy(query);
    }

    function withQuery(path, query) {
        return query ? `${path}?${query}` : path;
    }

    function say(words) {
        if (remark.textContent !== words) remark.textContent = words;
    }

    function showClock() {
        const clock = document.querySelector('.clock');
        const parts = new Intl.DateTimeFormat([], {hour: 'numeric', minute: '2-digit'}).formatToParts();
        const time = parts.filter(part => part.type !== 'dayPeriod').map(part => part.value).join('').trim();
        if (clock && clock.textContent !== time) clock.textContent = time;
    }

    function blank(words) {
        if (request) request.abort();
        shown = null;
        const note = document.createElement('p');
        note.className = 'gone';
        note.textContent = words;
        contents.replaceChildren(...(words ? [note] : []));
        say('');
    }

    // A link is the same one where it stands in the same part and leads to the same place.
    function placeOf(link) {
        const part = link && contents.contains(link) && link.closest('[data-part]');
        return part && {part: part.dataset.part, href: link.getAttribute('href')};
    }
    function focusOn(place) {
        if (!place) return;
        const part = [...contents.querySelectorAll('[data-part]')].find(each => each.dataset.part === place.part);
        const links = part ? [...part.querySelectorAll('a')] : [];
        const link = links.find(each => each.getAttribute('href') === place.href) || links[0] || contents;
        link.focus({preventScroll: true});
    }

    function show(page, query) {
        const next = page.getElementById('contents');
        const revision = Number(next.dataset.revision);
        // An event that came meanwhile may have said that this is nobody's any more.
        if (revision < latest) return refresh();
        const place = placeOf(document.activeElement);
        contents.replaceChildren(...[...next.childNodes].map(node => document.adoptNode(node)));
        shown = {revision, query};
        latest = revision;
        say(page.getElementById('remark').textContent);
        showClock();
        focusOn(place);
    }

    function ask(method, path, query) {
        if (request) request.abort();
        const asking = new XMLHttpRequest();
        request = asking;
        asking.open(method, withQuery(path, query));
        asking.responseType = 'document';
        asking.timeout = answerLimit;
        asking.onloadend = () => {
            if (request === asking) request = null;
            reloading.removeAttribute('aria-busy');
            if (asking.status === 200 && asking.response) return show(asking.response, query);
            // What was said while it was asked has to go in any case.
            if (method === 'POST') shown = null;
            setTimeout(refresh, retryAfter);
        };
        asking.send();
    }

    // Reads the page again where what it shows is not what it should show.
    function refresh() {
        const query = wanted();
        if (!stream || request) return;
        if (!shown || shown.query !== query || shown.revision !== latest) ask('GET', './', query);
    }

    function alive() {
        clearTimeout(blanking);
        clearTimeout(silence);
        blanking = 0;
        silence = setTimeout(lost, silentAfter);
    }
    function lost() {
        clearTimeout(silence);
        if (!blanking) blanking = setTimeout(() => blank(lostWords), blankAfter);
    }

    function take(state) {
        alive();
        if (request && latest !== state.revision) request.abort();
        latest = state.revision;
        if (!state.holdsPackages && contents.querySelector('.all')) blank('');
        refresh();
    }
    function leave() {
        clearTimeout(retry);
        if (stream) stream.close();
        stream = null;
        lost();
    }
    function follow() {
        clearTimeout(retry);
        if (stream) stream.close();
        const current = new EventSource('events');
        stream = current;
        current.addEventListener('state', event => take(JSON.parse(event.data)));
        current.addEventListener('beat', () => { alive(); refresh(); });
        current.addEventListener('error', () => {
            lost();
            if (current.readyState === EventSource.CLOSED) retry = setTimeout(follow, retryAfter);
        });
    }

    root.classList.add('scripted');
    choices.addEventListener('change', () => {
        root.dataset.scheme = choices.elements.scheme.value;
        history.replaceState(null, '', withQuery('./', chosen().toString()));
        if (request) request.abort();
        refresh();
    });
    choices.addEventListener('submit', event => event.preventDefault());
    reloading.addEventListener('submit', event => {
        event.preventDefault();
        if (reloading.hasAttribute('aria-busy')) return;
        ask('POST', 'reload', wanted());
        reloading.setAttribute('aria-busy', 'true');
        say('Asking for news of your packages …');
    });
    for (const query of [moreContrast, forcedColors]) query.addEventListener('change', refresh);
    addEventListener('resize', refresh);

    // Nobody sees a hidden window, and browsers have few connections to one server: it lets go of its own,
    // and what it shows goes as it does where the connection is lost.
    document.addEventListener('visibilitychange', () => (document.hidden ? leave() : follow()));
    // Kept for the way back, it would show what was true when it was left.
    addEventListener('pagehide', () => { leave(); blank(''); });
    addEventListener('pageshow', event => { if (event.persisted) location.reload(); });

    showClock();
    setInterval(showClock, 1000);
    if (document.hidden) leave();
    else follow();
    refresh();
})();
