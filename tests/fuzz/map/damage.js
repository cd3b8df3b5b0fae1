/* Damage to files: changes of the text, then of the bytes. What a damaged file holds is unknown. */
(function (window) {
    'use strict';

    const TOKENS = ['<trk>', '</trk>', '<rte>', '<rte/>', '</rte>', '<rtept lat="1" lon="2">', '</rtept>', '<trkpt lat="1" lon="2"/>',
        '<ele>', '</ele>', '<name>', '</name>', '<Placemark>', '</Placemark>', '<Placemark id="ostravel-route">', '<LineString>',
        '<coordinates>', '</coordinates>', '<gx:Track>', '</gx:Track>', '<gx:coord>1 2 3</gx:coord>', '<gpx>', '</gpx>', '</kml>',
        '<![CDATA[', ']]>', '<!--', '-->', '<?', '?>', '<!DOCTYPE a [<!ENTITY b "c">]>', '&b;', '&#0;', '&#xD800;', '&#x110000;',
        '&amp', '<', '>', '/>', '"', '\'', '=', '\0', '\uFEFF', '\u2028', '{', '}', '[', ']', ',', ':', 'null', 'true', '[]', '{}',
        '"cartographic":', '"type":"LineString"', '"coordinates":', '"geometries":', '"features":', '"latitude":null', '"name":5'];
    const NUMBERS = ['', 'NaN', 'nan', 'inf', '-Infinity', '1e999', '-1e999', '1e-999', '0x10', '1_0', '91', '-181', '90.0000000000001',
        '--1', '1.2.3', '１', 'null', '1e', '.5', '5.', '99999999999999999999'];

    function slice(r, text) {
        const from = r.below(text.length + 1), length = r.chance(0.5) ? r.below(12) : r.below(text.length - from + 1);
        return [from, Math.min(text.length, from + length)];
    }

    const CHANGES = [
        (r, text) => text.slice(0, r.below(text.length + 1)),
        (r, text) => text.slice(r.below(text.length + 1)),
        (r, text) => { const [a, b] = slice(r, text); return text.slice(0, a) + text.slice(b); },
        (r, text) => { const [a, b] = slice(r, text); return text.slice(0, b) + text.slice(a); },
        (r, text) => {
            const [a, b] = slice(r, text), [c] = slice(r, text);
            return text.slice(0, c) + text.slice(a, b) + text.slice(c);
        },
        (r, text) => { const at = r.below(text.length + 1); return text.slice(0, at) + r.pick(TOKENS) + text.slice(at); },
        (r, text) => { const at = r.below(text.length + 1); return text.slice(0, at) + r.pick(TOKENS) + text.slice(at); },
        (r, text) => {
            const found = [...text.matchAll(/-?\d+(\.\d+)?(e[+-]?\d+)?/g)];
            if (found.length === 0)
                return text;
            const one = r.pick(found);
            return text.slice(0, one.index) + r.pick(NUMBERS) + text.slice(one.index + one[0].length);
        },
        (r, text) => {
            const tags = [...text.matchAll(/<[^>]*>/g)];
            if (tags.length === 0)
                return text;
            const one = r.pick(tags), [at] = slice(r, text);
            return r.chance(0.5) ? text.slice(0, one.index) + text.slice(one.index + one[0].length)
                : text.slice(0, at) + one[0] + text.slice(at);
        },
        (r, text) => {
            const token = r.pick(TOKENS), at = r.below(text.length + 1);
            const times = r.chance(0.1) ? 20000 + r.below(40000) : 1 + r.below(200);
            return text.slice(0, at) + token.repeat(times) + text.slice(at);
        },
        (r, text) => {
            const times = 1 + r.below(r.chance(0.1) ? 20000 : 60), [a, b] = slice(r, text);
            const [open, close] = r.pick([['<a>', '</a>'], ['<ele>', '</ele>'], ['<name>', '</name>'], ['[', ']'], ['{"a":', '}'],
                ['{"type":"Feature","geometry":', '}'], ['<coordinates>', '</coordinates>']]);
            return text.slice(0, a) + open.repeat(times) + text.slice(a, b) + close.repeat(times) + text.slice(b);
        },
        (r, text) => text.replace(new RegExp(r.pick(['trk', 'rte', 'lat', 'lon', 'Placemark', 'name', 'type', 'cartographic']), 'g'),
            r.pick(['', 'rte', 'trk', 'x', 'TRK', 'lat'])),
        (r, text) => text.replace(/"(-?[\d.]+)"/g, (all, number) => r.chance(0.3) ? number : all)
    ];

    function ofText(r, text) {
        for (let times = 1 + r.below(4); times > 0; --times)
            text = r.pick(CHANGES)(r, text);
        return text.slice(0, 1000000);
    }

    function ofBytes(r, bytes) {
        if (bytes.length === 0 || !r.chance(0.2))
            return bytes;
        const changed = bytes.slice();
        for (let times = 1 + r.below(6); times > 0; --times)
            changed[r.below(changed.length)] = r.chance(0.5) ? r.below(256) : changed[r.below(changed.length)] ^ 1 << r.below(8);
        return changed;
    }

    window.mapFuzzDamage = { ofText: ofText, ofBytes: ofBytes };
}(window));
