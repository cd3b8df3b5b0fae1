/*
 * Opens files by the page's file input and checks what must hold for each: no uncaught error, an answer in words within
 * the time limit, positions that are on the map, and the same route after it was saved and opened again.
 */
(function (window) {
    'use strict';

    const MAX_MS = 15000; /* for a busy machine */
    const SECOND_POINT = 0.5000001e-7; /* a moved way point of a route file has seven decimals */

    const o = window.ostravelMap, files = window.mapFuzzFiles;
    const encoder = new TextEncoder();
    let errors = [];
    window.addEventListener('error', (e) => errors.push('uncaught: ' + e.message));
    window.addEventListener('unhandledrejection', (e) => errors.push('unhandled: ' + e.reason));

    class Broken extends Error {}

    function require(condition, words) {
        if (!condition)
            throw new Broken(words);
    }

    /* ---- Files of a seed ---- */

    function encoded(r, text) {
        if (!r.chance(0.03))
            return encoder.encode(text);
        const bytes = new Uint8Array(2 + 2 * text.length), isLittle = r.chance(0.5);
        ('\uFEFF' + text).split('').forEach((c, i) => {
            const code = c.charCodeAt(0);
            bytes[2 * i] = isLittle ? code & 255 : code >> 8;
            bytes[2 * i + 1] = isLittle ? code >> 8 : code & 255;
        });
        return bytes;
    }

    /* Returns { name, bytes, made }; made is null for a damaged file. */
    function make(seed) {
        const r = new window.MapFuzzRandom(seed);
        if (r.chance(0.03))
            return { name: 'file.' + r.pick(['gpx', 'kml', 'json']), bytes: encoded(r, files.stress(r).text), made: null };
        const made = files[r.pick(['gpx', 'gpx', 'kml', 'kml', 'geojson', 'route'])](r);
        const name = 'file.' + r.pick([made.kind, made.kind, 'json', 'gpx', 'xml']);
        if (r.chance(0.35))
            return { name: name, bytes: encoded(r, made.text), made: made };
        const bytes = r.chance(0.02) ? Uint8Array.from(r.list(r.below(300), () => r.below(256)))
            : window.mapFuzzDamage.ofBytes(r, encoded(r, window.mapFuzzDamage.ofText(r, made.text)));
        return { name: name, bytes: bytes, made: null };
    }

    /* ---- Opening ---- */

    /* The result of reading, when the page has shown it. */
    function open(name, bytes) {
        const input = document.getElementById('file'), list = new DataTransfer();
        list.items.add(new File([bytes], name));
        return new Promise((resolve, reject) => {
            const read = o.trackFile.readFile;
            let calls = 0;
            o.trackFile.readFile = (file, done) => {
                o.trackFile.readFile = read;
                read(file, (result) => {
                    try {
                        require(++calls === 1, 'the answer comes twice');
                        done(result);
                        resolve(result);
                    } catch (e) {
                        reject(e);
                    }
                });
            };
            input.files = list.files;
            input.dispatchEvent(new Event('change'));
        });
    }

    function checkWords(name, result, size) {
        const words = document.querySelector('#tools section .status').innerText;
        require(words.startsWith(name + '：') && words.endsWith('。'), 'no sentence: ' + words);
        require(/[\u4e00-\u9fff]{2}/.test(words.slice(name.length)), 'no words: ' + words);
        require(!/undefined|\[object/.test(words), 'words of a program: ' + words);
        require(size > 1000000 || !words.includes('处理能力'), 'the reader gives up: ' + words);
        require(Boolean(result.error) === document.querySelector('#tools .status').classList.contains('fault'), 'not marked as a fault');
    }

    /* ---- What is on the map ---- */

    function isPlace(lat, lng) { return Math.abs(lat) <= 90 && Math.abs(lng) <= 180; }

    function checkMap(result) {
        if (result.error)
            return require(o.routes().length === 0 && o.tracks.length === 0, 'a refused file shows something');
        require(o.routes().length === result.routes.length && o.tracks.length === result.tracks.length, 'not all is shown');
        require(o.routes().length + o.tracks.length > 0, 'nothing is shown');
        o.routes().forEach((line) => {
            require(line.points.length > 0 && line.points.every((p) => isPlace(p.at.lat, p.at.lng)), 'a way point is no place');
            require(isFinite(line.total) && line.total >= 0, 'no length: ' + line.total);
            line.points.forEach((p) => o.routeFile.keys.forEach((key) =>
                require(isFinite(o.routeFile.value(p, key)), 'no number: ' + key)));
        });
        o.tracks.forEach((track, i) => {
            const c = track.line.coordinates();
            require(c.count > 0 && c.count === result.tracks[i].flat.length / 2 - result.tracks[i].dropped, 'points are miscounted');
            for (let k = 0; k < c.count; ++k)
                require(isPlace(c.lat[k], c.lng[k]), 'a point is no place');
        });
        const centre = o.map.getCenter();
        require(isFinite(centre.lat) && isFinite(centre.lng) && isFinite(o.map.getZoom()), 'the map is nowhere');
    }

    function same(a, b) { return a === b || (Number.isNaN(a) && Number.isNaN(b)); }

    function checkMade(made, result) {
        require(!result.error, 'refused: ' + result.error);
        require(o.routes().length === made.routes.length, 'other number of routes: ' + o.routes().length);
        require(o.tracks.length === made.tracks.length, 'other number of tracks: ' + o.tracks.length);
        let dropped = 0;
        made.routes.forEach((wanted, i) => {
            const line = o.routes()[i];
            require(line.name === wanted.name, 'other name: ' + line.name);
            require(line.points.length === wanted.points.length && line.points.every((p, k) =>
                same(p.at.lat, wanted.points[k][0]) && same(p.at.lng, wanted.points[k][1])), 'other way points');
            line.points.forEach((p, k) => o.routeFile.keys.forEach((key) =>
                require(same(o.routeFile.value(p, key), wanted.values[k][key]), 'other ' + key)));
            dropped += wanted.dropped;
        });
        made.tracks.forEach((wanted, i) => {
            const c = o.tracks[i].line.coordinates();
            require(o.tracks[i].name === wanted.name, 'other name: ' + o.tracks[i].name);
            require(c.count === wanted.points.length && wanted.points.every((p, k) =>
                same(c.lat[k], p[0]) && same(c.lng[k], p[1])), 'other points');
            dropped += wanted.dropped;
        });
        require(result.note === (dropped ? '略去 ' + dropped + ' 个无效的点' : ''), 'other note: ' + result.note);
    }

    /* ---- Saved and opened again ---- */

    function again(line, type, tolerance) {
        const text = o.save.textOf(line, type), result = o.trackFile.readText(text, 'again.' + type);
        require(!result.error, type + ' is refused when opened again: ' + result.error);
        require(result.routes.length === 1 && result.tracks.length === 0, type + ' holds other lines');
        const points = result.routes[0].points;
        require(points.length === line.points.length, type + ' has other points');
        const keys = type === 'kml' ? ['height'] : o.routeFile.keys;
        line.points.forEach((p, i) => {
            require(Math.abs(points[i].at.lat - p.at.lat) <= tolerance && Math.abs(points[i].at.lng - p.at.lng) <= tolerance,
                type + ' has another place: ' + p.at + ' ' + points[i].at);
            keys.forEach((key) => require(same(o.routeFile.value(points[i], key), o.routeFile.value(p, key)), type + ' has another ' + key));
        });
        return text;
    }

    /* A changed route keeps all of its file but the name and the way points. */
    function checkKept(source, text) {
        const before = JSON.parse(source), after = JSON.parse(text);
        Object.keys(before).filter((key) => key !== 'name' && key !== 'cartographic').forEach((key) =>
            require(Object.prototype.hasOwnProperty.call(after, key) && JSON.stringify(after[key]) === JSON.stringify(before[key]),
                'a key is lost: ' + key));
    }

    function checkRoute(line) {
        again(line, 'gpx', 0);
        again(line, 'kml', 0);
        const source = line.source && line.source.text, text = again(line, 'json', source ? 0 : SECOND_POINT);
        if (!source)
            return;
        require(text === source, 'an untouched file is changed');
        line.touch();
        checkKept(source, again(line, 'json', 0));
    }

    function pause(ms) { return new Promise((done) => { setTimeout(done, ms); }); }

    /* Now and then: a track becomes a route by its button, and the map is drawn at another zoom level. */
    async function checkMore(seed) {
        if (seed % 16 === 0 && o.tracks.length > 0) {
            await pause(40);
            const button = [...document.querySelectorAll('#tools .track button')].find((b) => b.innerText === '转为航线');
            const before = o.routes().length;
            if (button)
                button.click();
            if (o.routes().length > before)
                checkRoute(o.routes()[before]);
        }
        if (seed % 32 === 1) {
            o.map.setZoom(seed % 23, { animate: false });
            await new Promise((done) => { requestAnimationFrame(() => setTimeout(done, 0)); });
        }
    }

    /* ---- For the runner ---- */

    /* What is wrong with a file in words; an empty text when all is well. */
    async function check(name, bytes, made, seed) {
        const begin = performance.now();
        errors = [];
        window.clearAllLine();
        try {
            const result = await open(name, bytes);
            checkWords(name, result, bytes.length);
            checkMap(result);
            if (made)
                checkMade(made, result);
            o.routes().slice(0, 5).forEach(checkRoute);
            await checkMore(seed);
            const took = performance.now() - begin;
            require(took < MAX_MS, 'took ' + Math.round(took) + ' ms');
            require(errors.length === 0, errors.join('; '));
        } catch (e) {
            return e instanceof Broken ? e.message : 'uncaught: ' + (e && e.stack || e);
        }
        return '';
    }

    /* Runs seeds from first on. Returns { accepted, refused, seed, words }; words are empty without a finding. */
    async function run(first, count) {
        let accepted = 0, refused = 0;
        for (let seed = first; seed < first + count; ++seed) {
            const file = make(seed), words = await check(file.name, file.bytes, file.made, seed);
            if (words)
                return { accepted: accepted, refused: refused, seed: seed, words: words };
            if (o.routes().length + o.tracks.length > 0)
                ++accepted;
            else
                ++refused;
        }
        return { accepted: accepted, refused: refused, seed: -1, words: '' };
    }

    function base64(bytes) { return btoa(Array.from(bytes, (byte) => String.fromCharCode(byte)).join('')); }

    window.mapFuzz = {
        run: run,
        file: (seed) => { const file = make(seed); return { name: file.name, base64: base64(file.bytes) }; },
        checkBase64: (name, text) => check(name, Uint8Array.from(atob(text), (c) => c.charCodeAt(0)), null, 0)
    };
}(window));
