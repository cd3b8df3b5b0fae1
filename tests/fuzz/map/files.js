/*
 * Well-formed route files, GPX, KML and GeoJSON in many styles. Each comes with what the page must take from it:
 * { text, routes: [{ name, points, values }], tracks: [{ name, points, dropped }] }. A point is [latitude, longitude].
 */
(function (window) {
    'use strict';

    const EXTREMES = [0, -0, 90, -90, 180, -180, 1e-9, -1e-7, 89.9999999, 179.99999999, 45.00000005];
    const NAMES = ['航线', 'a<b>&"c\'', ']]>', '日\u{1F681}', 'x'.repeat(300), ' two  words ', '0', '__proto__', 'null'];
    const HEIGHTS = [0, -3, 120.5, 1e-7, 1.25e21, -1e300, 0.30000000000000004, 5e-324];

    function coordinate(r, limit) {
        const extreme = r.pick(EXTREMES);
        if (r.chance(0.15) && Math.abs(extreme) <= limit)
            return extreme;
        return r.chance(0.5) ? Number(r.between(-limit, limit).toFixed(7)) : r.between(-limit, limit);
    }

    function count(r) { return r.chance(0.02) ? 501 + r.below(200) : r.chance(0.2) ? 1 : 2 + r.below(10); }

    /* A line of valid points, near each other or anywhere. None is (0, 0), which a track leaves out. */
    function validPoints(r) {
        const near = r.chance(0.6), lat = r.between(-85, 85), lng = r.between(-175, 175);
        return r.list(count(r), () => {
            const point = near ? [lat + r.between(-1, 1) * 0.05, lng + r.between(-1, 1) * 0.05]
                : [coordinate(r, 90), coordinate(r, 180)];
            return point[0] === 0 && point[1] === 0 ? [1, 1] : point;
        });
    }

    function valuesOf(r) {
        const value = () => r.chance(0.3) ? r.pick(HEIGHTS) : Number(r.between(-100, 9000).toFixed(2));
        return { height: value(), radius: value(), speed: value() };
    }

    /* A number's text in one of the forms that every reader takes for the same double. */
    function numberText(r, value) {
        if (Object.is(value, -0))
            return r.pick(['0', '-0', '-0.0']);
        switch (r.below(6)) {
        case 0: return value.toExponential().replace('e+', r.pick(['e', 'E', 'e+']));
        case 1: return (value >= 0 ? '+' : '') + value;
        case 2: return String(value) + (/[.e]/.test(String(value)) ? '' : '.0');
        default: return String(value);
        }
    }

    function name(r) { return r.chance(0.5) ? r.pick(NAMES) : '线 ' + r.below(1000); }

    /* ---- XML ---- */

    function escaped(r, text) {
        return text.replace(/[<>&"']/g, (c) => r.pick(['&#' + c.charCodeAt(0) + ';', '&#x' + c.charCodeAt(0).toString(16) + ';',
            { '<': '&lt;', '>': '&gt;', '&': '&amp;', '"': '&quot;', '\'': '&apos;' }[c]]));
    }

    function content(r, text) {
        if (text.indexOf(']]>') < 0 && r.chance(0.2))
            return '<![CDATA[' + text + ']]>';
        return r.chance(0.1) ? '<!-- <name>not this</name> -->' + escaped(r, text) : escaped(r, text);
    }

    /* One style for a whole document. */
    function Style(r) {
        this.r = r;
        this.prefix = r.chance(0.2) ? r.pick(['g:', 'kml:', 'x-1:']) : '';
        this.quote = r.pick(['"', '"', '\'']);
        this.space = r.pick(['', '', '\n', '\r\n  ', '\t']);
        this.noise = r.chance(0.3);
    }

    Style.prototype.attributes = function (pairs) {
        const r = this.r, list = Object.keys(pairs).map((key) => key + r.pick(['=', '=', ' = ', '\n=\t'])
            + this.quote + pairs[key] + this.quote);
        if (this.noise && r.chance(0.3))
            list.splice(r.below(list.length + 1), 0, r.pick(['flat="7"', 'note=" lat=\'5\' lon=\'6\' "', 'note=\' lat="5" lon="6" > \'',
                'alat="1"', 'xlon=\'2\'', 'id2="ostravel-route"', 'o:lat="3"', 'note="a > b"']));
        return list.map((one) => r.pick([' ', ' ', '\n', '  ']) + one).join('');
    };

    Style.prototype.element = function (tag, pairs, inner) {
        const r = this.r, at = this.attributes(pairs), end = r.chance(0.1) ? ' ' : '';
        const before = this.space + (this.noise && r.chance(0.1) ? r.pick(['<!-- <trk> > -->', '<?x <y> ?>', '<!---->']) : '');
        return before + (inner === '' && r.chance(0.5) ? '<' + this.prefix + tag + at + end + '/>'
            : '<' + this.prefix + tag + at + end + '>' + inner + '</' + this.prefix + tag + end + '>');
    };

    Style.prototype.document = function (root, inner) {
        const r = this.r, colon = this.prefix ? ':' + this.prefix.slice(0, -1) : '';
        return r.pick(['', '\uFEFF', '\n ', '<?xml version="1.0" encoding="UTF-8"?>\n', '\uFEFF<?xml version=\'1.0\'?>'])
            + r.pick(['', '', '<!DOCTYPE ' + root + '>', '<!-- c -->\n'])
            + '<' + this.prefix + root + ' xmlns' + colon + '="urn:x">' + inner + this.space + '</' + this.prefix + root + '>'
            + r.pick(['', '\n', '<!-- end -->']);
    };

    /* Points that are no place, with the attributes or the tuple that say so. */
    function invalidPoint(r) { return r.pick([[91, 0], [0, 181], [NaN, 1], [1e999, 1], [-90.0000001, 5]]); }

    /* Mixes invalid points in. Returns { all: what is written, good, dropped }. */
    function mixed(r, points) {
        const all = [], good = points;
        points.forEach((point) => {
            while (r.chance(0.05))
                all.push(invalidPoint(r));
            all.push(point);
        });
        return { all: all, good: good, dropped: all.length - good.length };
    }

    function gpxPoint(r, style, tag, point, inner) {
        return style.element(tag, { lat: numberText(r, point[0]), lon: numberText(r, point[1]) }, inner);
    }

    function gpxNoise(r, style) {
        return style.noise ? r.pick(['<metadata><name>m</name></metadata>', '<wpt lat="1" lon="2"><name>w</name></wpt>',
            '<extensions><trkpt lat="1" lon="1"/></extensions>', '']) : '';
    }

    function gpx(r) {
        const style = new Style(r), out = { routes: [], tracks: [], kind: 'gpx' };
        const lines = r.list(1 + r.below(3), () => {
            const isRoute = r.chance(0.5), called = name(r), points = mixed(r, validPoints(r));
            const title = style.element('name', {}, content(r, called));
            let inner = '';
            if (isRoute) {
                const values = points.all.map(() => valuesOf(r));
                inner = points.all.map((point, i) => gpxPoint(r, style, 'rtept', point,
                    '<ele>' + numberText(r, values[i].height) + '</ele><name>p</name><extensions><o:radius>'
                    + numberText(r, values[i].radius) + '</o:radius><speed> ' + numberText(r, values[i].speed)
                    + '\n</speed></extensions>')).join('');
                out.routes.push({
                    name: called.trim(), points: points.good, dropped: points.dropped,
                    values: values.filter((v, i) => points.good.indexOf(points.all[i]) >= 0)
                });
            } else {
                const cut = r.below(points.all.length + 1), rows = points.all.map((point) =>
                    gpxPoint(r, style, 'trkpt', point, r.pick(['', '<ele>5</ele>', '<time>x</time>'])));
                inner = '<trkseg>' + rows.slice(0, cut).join('') + '</trkseg><trkseg>' + rows.slice(cut).join('') + '</trkseg>';
                out.tracks.push({ name: called.trim(), points: points.good, dropped: points.dropped });
            }
            return style.element(isRoute ? 'rte' : 'trk', {}, r.chance(0.7) ? title + inner : inner + title);
        });
        out.text = style.document('gpx', gpxNoise(r, style) + lines.join(gpxNoise(r, style)));
        return out;
    }

    function kml(r) {
        const style = new Style(r), out = { routes: [], tracks: [], kind: 'kml' };
        const marks = r.list(1 + r.below(3), () => {
            const isRoute = r.chance(0.4), called = name(r), points = mixed(r, validPoints(r));
            const title = style.element('name', {}, content(r, called)), heights = points.all.map(() => valuesOf(r).height);
            const isTrack = !isRoute && r.chance(0.4);
            const rows = points.all.map((p, i) => [p[1], p[0], heights[i]].map((v) => numberText(r, v)));
            const inner = isTrack
                ? '<gx:Track>' + rows.map((row) => '<when>x</when><gx:coord>' + row.join(' ') + '</gx:coord>').join('') + '</gx:Track>'
                : '<LineString><tessellate>1</tessellate>' + style.element('coordinates', {},
                    r.pick(['', '\n']) + rows.map((row) => row.join(',')).join(r.pick([' ', '\n', ' \t\r\n ']))) + '</LineString>';
            const isGood = (v, i) => points.good.indexOf(points.all[i]) >= 0;
            if (isRoute)
                out.routes.push({
                    name: called.trim(), points: points.good, dropped: points.dropped,
                    values: heights.filter(isGood).map((height) => ({ height: height, radius: 0, speed: 0 }))
                });
            else
                out.tracks.push({ name: called.trim(), points: points.good, dropped: points.dropped });
            const wrapped = r.chance(0.2) ? '<MultiGeometry>' + inner + '</MultiGeometry>' : inner;
            return style.element('Placemark', isRoute ? { id: 'ostravel-route' } : {},
                r.chance(0.7) ? title + wrapped : wrapped + title);
        });
        const body = '<name>document</name>' + marks.join('<Placemark><Point><coordinates>1,2</coordinates></Point></Placemark>');
        out.text = style.document('kml', r.chance(0.7) ? '<Document>' + body + '</Document>' : body);
        return out;
    }

    /* ---- JSON ---- */

    function geojson(r) {
        const out = { routes: [], tracks: [], kind: 'geojson' };
        const features = r.list(1 + r.below(3), () => {
            const called = name(r), points = mixed(r, validPoints(r));
            const rows = points.all.map((p) => r.chance(0.3) ? [p[1], p[0], 7] : [p[1], p[0]]);
            out.tracks.push({ name: called, points: points.good, dropped: points.dropped });
            const line = r.chance(0.3) ? { type: 'MultiLineString', coordinates: [rows] } : { type: 'LineString', coordinates: rows };
            const geometry = r.chance(0.2) ? { type: 'GeometryCollection', geometries: [{ type: 'Point', coordinates: [1, 2] }, line] } : line;
            return { type: 'Feature', properties: { name: called }, geometry: geometry };
        });
        if (r.chance(0.3))
            features.push(r.pick([null, 5, { type: 'Feature', geometry: null, properties: null }, { type: 'Nothing' }]));
        const doc = features.length === 1 && r.chance(0.3) ? features[0] : { type: 'FeatureCollection', features: features };
        out.text = JSON.stringify(doc, null, r.pick([0, 0, 1, '\t']));
        return out;
    }

    function route(r) {
        const points = validPoints(r), values = points.map(() => valuesOf(r)), called = name(r);
        const doc = { cartographic: points.map((p, i) => Object.assign({
            latitude: r.pick(['', ' ']) + numberText(r, p[0]), longitude: numberText(r, p[1]) + r.pick(['', '\n'])
        }, values[i], r.chance(0.2) ? { type: 'takeoff', more: { list: [1, null, 'x'] } } : {})) };
        if (r.chance(0.8))
            doc.name = called;
        if (r.chance(0.3))
            Object.assign(doc, r.pick([{ task: { id: 7 } }, { type: 'FeatureCollection' }, { name2: 1 }]));
        let text = JSON.stringify(doc, null, r.pick([0, 0, 2]));
        if (r.chance(0.1))
            text = text.replace('{', '{"__proto__": {"kept": 1}, ');
        return { text: text, routes: [{ name: doc.name || 'file', points: points, values: values, dropped: 0 }], tracks: [], kind: 'json' };
    }

    /* Well-formed files that are expensive for a careless reader: repeated and nested markup. What they hold is unknown. */
    function stress(r) {
        const times = 1 + r.below(r.chance(0.3) ? 40000 : 300), nest = (a, b, inner) => a.repeat(times) + inner + b.repeat(times);
        const point = '<rtept lat="1" lon="2"><ele>5</ele></rtept>', tuple = '1,2,3 ';
        const text = r.pick([
            () => '<gpx><rte>' + point + '<rtept lat="3" lon="4">' + nest('<ele>', '</ele>', '7') + '</rtept></rte></gpx>',
            () => '<gpx>' + nest('<rte><name>', '</name></rte>', point) + '</gpx>',
            () => '<gpx>' + nest('<rte><rtept lat="1" lon="2">', '</rtept></rte>', '') + '</gpx>',
            () => '<gpx><trk><name><![CDATA[' + nest(r.pick(['<!--', '<', '<?', '&', '&lt;']), '', '') + ']]></name>'
                + '<trkpt lat="1" lon="2"/></trk></gpx>',
            () => '<gpx><trk' + ' a="b"'.repeat(times) + '><trkpt' + ' lat="1" lon="2"'.repeat(times) + '/></trk></gpx>',
            () => '<gpx><trk ' + ' '.repeat(times) + '><trkpt' + '\n'.repeat(times) + 'lat="1" lon="2"/></trk>' + '<a/>'.repeat(times) + '</gpx>',
            () => '<gpx>' + ('<trk><trkpt lat="1" lon="2"/></trk>').repeat(times) + '</gpx>',
            () => '<kml>' + nest('<LineString><coordinates>', '</coordinates></LineString>', tuple) + '</kml>',
            () => '<kml>' + nest('<Placemark id="ostravel-route"><name>', '</name></Placemark>', 'x') + '</kml>',
            () => '<kml><LineString><coordinates>' + nest(r.pick([tuple, ',', ' ', '1,', '<!---->', '&#32;']), '', tuple) + '</coordinates></LineString></kml>',
            () => '{"cartographic": [{"latitude": "1", "longitude": "2", "more": ' + nest('[', ']', '') + '}]}',
            () => '{"cartographic": [{"latitude": "1", "longitude": "2"}], "more": ' + nest('{"a":', '}', '1') + '}',
            () => '{"cartographic": [' + nest('5,', '', '6') + ']}',
            () => nest('{"type": "Feature", "geometry":', '}', '{"type": "LineString", "coordinates": [[1, 2]]}'),
            () => '{"type": "LineString", "coordinates": ' + nest('[', ']', '1') + '}',
            () => '{"type": "MultiLineString", "coordinates": [' + nest('[[1,2]],', '', '[[3,4]]') + ']}'
        ])();
        return { text: text, kind: 'gpx' };
    }

    window.mapFuzzFiles = { gpx: gpx, kml: kml, geojson: geojson, route: route, stress: stress };
}(window));
