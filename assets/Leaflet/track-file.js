/*
 * What a file holds, told by its content: a route file, or tracks and routes of GPX, KML or GeoJSON.
 *
 * The answer is { routes: [{ name, points, ... }], tracks: [{ name, flat, dropped }], note } or { error }, in words.
 */
(function (window) {
    'use strict';

    var MAX_BYTES = 100 * 1024 * 1024;
    var MAX_LINES = 200; /* in one file: each is a row of the panel */
    var MAX_DEPTH = 20; /* of geometry collections */

    var o = window.ostravelMap;

    function fail(words) { return { error: words }; }

    function baseName(name) { return name.replace(/\.(json|geojson|gpx|kml|xml)$/i, ''); }

    /* Number('') and Number(null) are 0: what is empty is no coordinate. */
    function coordinate(text) { return text === null || /^\s*$/.test(text) ? NaN : Number(text); }

    /* ---- Lines are gathered as [lat, lng, lat, lng, ...], with a height for each point when it is a route ---- */

    function Gathering(name) {
        this.name = name;
        this.routes = [];
        this.tracks = [];
        this.extra = 0;
    }

    function isPlace(lat, lng) { return Math.abs(lat) <= 90 && Math.abs(lng) <= 180; }

    Gathering.prototype.addTrack = function (name, flat) {
        var dropped = 0, good = 0;
        for (var i = 0; i + 1 < flat.length; i += 2) {
            if (!isPlace(flat[i], flat[i + 1]) || (flat[i] === 0 && flat[i + 1] === 0))
                ++dropped;
            else
                ++good;
        }
        if (good === 0)
            return this.extra += flat.length ? 1 : 0;
        this.tracks.push({ name: name || this.name, flat: flat, dropped: dropped });
    };

    Gathering.prototype.addRoute = function (name, places) {
        var good = places.filter(function (p) { return isPlace(p.lat, p.lng); });
        if (good.length === 0)
            return this.extra += places.length ? 1 : 0;
        this.routes.push({
            name: name || this.name, dropped: places.length - good.length,
            points: good.map(function (p) {
                return { at: L.latLng(p.lat, p.lng), moved: true, way: p.way };
            })
        });
    };

    Gathering.prototype.result = function () {
        var all = this.routes.length + this.tracks.length, notes = [], dropped = 0;
        if (all === 0)
            return fail(this.extra ? '文件里的点都没有有效的经纬度。' : '文件里没有航迹或航线。');
        if (all > MAX_LINES) {
            notes.push('线条共 ' + all + ' 条，只取前 ' + MAX_LINES + ' 条');
            this.routes = this.routes.slice(0, MAX_LINES);
            this.tracks = this.tracks.slice(0, MAX_LINES - this.routes.length);
        }
        this.routes.concat(this.tracks).forEach(function (line) { dropped += line.dropped; });
        if (dropped)
            notes.push('略去 ' + dropped + ' 个无效的点');
        return { routes: this.routes, tracks: this.tracks, note: notes.join('；') };
    };

    /* ---- XML ---- */

    function child(node, name) {
        for (var e = node.firstElementChild; e; e = e.nextElementSibling) {
            if (e.localName === name)
                return e;
        }
        return null;
    }

    function childText(node, name) {
        var e = child(node, name);
        return e ? e.textContent.trim() : '';
    }

    /* A way point's object as a route file has it; numbers that are missing or senseless stay out. */
    function wayOf(lat, lng, values) {
        var way = { longitude: o.routeFile.degreesText(lng), latitude: o.routeFile.degreesText(lat) };
        o.routeFile.keys.forEach(function (key) {
            var value = coordinate(values[key] === undefined ? null : values[key]);
            way[key] = isFinite(value) ? value : 0;
        });
        return way;
    }

    function readGpx(root, gathering) {
        for (var part = root.firstElementChild; part; part = part.nextElementSibling) {
            if (part.localName === 'trk')
                gathering.addTrack(childText(part, 'name'), gpxTrack(part));
            else if (part.localName === 'rte')
                gathering.addRoute(childText(part, 'name'), gpxRoute(part));
        }
    }

    /* The segments of a track are one line, as a flight with a gap is. */
    function gpxTrack(trk) {
        var flat = [];
        for (var segment = trk.firstElementChild; segment; segment = segment.nextElementSibling) {
            if (segment.localName !== 'trkseg')
                continue;
            for (var p = segment.firstElementChild; p; p = p.nextElementSibling) {
                if (p.localName === 'trkpt')
                    flat.push(coordinate(p.getAttribute('lat')), coordinate(p.getAttribute('lon')));
            }
        }
        return flat;
    }

    function gpxRoute(rte) {
        var places = [];
        for (var p = rte.firstElementChild; p; p = p.nextElementSibling) {
            if (p.localName !== 'rtept')
                continue;
            var lat = coordinate(p.getAttribute('lat')), lng = coordinate(p.getAttribute('lon'));
            var more = child(p, 'extensions') || p;
            places.push({ lat: lat, lng: lng, way: wayOf(lat, lng, {
                height: childText(p, 'ele'), radius: childText(more, 'radius'), speed: childText(more, 'speed')
            }) });
        }
        return places;
    }

    function readKml(root, gathering) {
        var all = root.getElementsByTagNameNS('*', 'LineString'), i, p;
        var found = [];
        for (i = 0; i < all.length; ++i)
            found.push(all[i]);
        all = root.getElementsByTagNameNS('*', 'Track');
        for (i = 0; i < all.length; ++i)
            found.push(all[i]);
        for (i = 0; i < found.length; ++i) {
            for (p = found[i]; p && p.localName !== 'Placemark'; p = p.parentNode)
                continue;
            var name = p ? childText(p, 'name') : '';
            if (p && p.getAttribute('id') === 'ostravel-route')
                gathering.addRoute(name, kmlRoute(found[i]));
            else
                gathering.addTrack(name, found[i].localName === 'Track' ? kmlTrack(found[i]) : kmlLine(found[i]));
        }
    }

    function kmlTuples(line) {
        var text = childText(line, 'coordinates');
        return text ? text.split(/\s+/) : [];
    }

    function kmlLine(line) {
        var tuples = kmlTuples(line), flat = [];
        for (var i = 0; i < tuples.length; ++i) {
            var numbers = tuples[i].split(',');
            flat.push(numbers.length > 1 ? coordinate(numbers[1]) : NaN, coordinate(numbers[0]));
        }
        return flat;
    }

    function kmlRoute(line) {
        return kmlTuples(line).map(function (tuple) {
            var numbers = tuple.split(','), lng = coordinate(numbers[0]);
            var lat = numbers.length > 1 ? coordinate(numbers[1]) : NaN;
            return { lat: lat, lng: lng, way: wayOf(lat, lng, { height: numbers[2] }) };
        });
    }

    function kmlTrack(track) {
        var flat = [];
        for (var e = track.firstElementChild; e; e = e.nextElementSibling) {
            if (e.localName !== 'coord')
                continue;
            var numbers = e.textContent.trim().split(/\s+/);
            flat.push(numbers.length > 1 ? coordinate(numbers[1]) : NaN, coordinate(numbers[0]));
        }
        return flat;
    }

    function readXml(text, name) {
        var doc = null;
        try {
            doc = new window.DOMParser().parseFromString(text, 'text/xml');
        } catch (e) {
            doc = null;
        }
        var broken = doc && doc.getElementsByTagName('parsererror')[0];
        if (!doc || !doc.documentElement || broken) {
            var place = broken && /line (\d+)/.exec(broken.textContent);
            return fail('文件不完整或不是正确的 XML' + (place ? '（第 ' + place[1] + ' 行）' : '') + '。');
        }
        var gathering = new Gathering(baseName(name)), root = doc.documentElement;
        if (root.localName === 'gpx')
            readGpx(root, gathering);
        else if (root.localName === 'kml')
            readKml(root, gathering);
        else
            return fail('这是 XML，但不是 GPX 或 KML。');
        return gathering.result();
    }

    /* ---- GeoJSON ---- */

    function flatOf(coordinates) {
        var flat = [];
        if (!(coordinates instanceof Array))
            return flat;
        for (var i = 0; i < coordinates.length; ++i) {
            var c = coordinates[i], good = c instanceof Array && typeof c[0] === 'number' && typeof c[1] === 'number';
            flat.push(good ? c[1] : NaN, good ? c[0] : NaN);
        }
        return flat;
    }

    function readGeometry(geometry, name, gathering, depth) {
        if (typeof geometry !== 'object' || geometry === null || depth > MAX_DEPTH)
            return;
        var parts;
        if (geometry.type === 'LineString') {
            gathering.addTrack(name, flatOf(geometry.coordinates));
        } else if (geometry.type === 'MultiLineString' && geometry.coordinates instanceof Array) {
            geometry.coordinates.forEach(function (line) { gathering.addTrack(name, flatOf(line)); });
        } else if (geometry.type === 'Feature') {
            var named = geometry.properties && geometry.properties.name;
            readGeometry(geometry.geometry, typeof named === 'string' ? named : name, gathering, depth + 1);
        } else {
            parts = geometry.type === 'FeatureCollection' ? geometry.features
                : geometry.type === 'GeometryCollection' ? geometry.geometries : null;
            if (parts instanceof Array)
                parts.forEach(function (part) { readGeometry(part, name, gathering, depth + 1); });
        }
    }

    /* ---- A file of any kind ---- */

    function readJson(text, name) {
        var doc;
        try {
            doc = JSON.parse(text);
        } catch (e) {
            var at = /position (\d+)/.exec(String(e.message));
            return fail('文件不完整或不是正确的 JSON' + (at ? '（第 ' + (Number(at[1]) + 1) + ' 个字符）' : '') + '。');
        }
        if (typeof doc !== 'object' || doc === null || doc instanceof Array)
            return fail('JSON 的最外层不是对象，不是航线文件或 GeoJSON。');
        if (Object.prototype.hasOwnProperty.call(doc, 'cartographic')) {
            var route = o.routeFile.read(doc, baseName(name));
            if (route.error)
                return route;
            route.source = { text: text, name: name };
            route.dropped = 0;
            return { routes: [route], tracks: [], note: route.odd
                ? route.odd + ' 个航点的经纬度不是数字文本，解析航线时按 0 读取' : '' };
        }
        if (typeof doc.type !== 'string')
            return fail('JSON 里没有 cartographic，也不是 GeoJSON。');
        var gathering = new Gathering(baseName(name));
        readGeometry(doc, '', gathering, 0);
        return gathering.result();
    }

    function readText(text, name) {
        /* A file on its own may begin with the mark of its encoding. */
        var begin = /[^\s\uFEFF\0]/.exec(text);
        if (!begin)
            return fail('文件是空的。');
        if (begin[0] === '<')
            return readXml(text.slice(begin.index), name);
        if (begin[0] === '{' || begin[0] === '[')
            return readJson(text, name);
        if (text.slice(0, 2) === 'PK')
            return fail('这是压缩文件（例如 KMZ），请先解压。');
        return fail('不是航线文件、GPX、KML 或 GeoJSON。');
    }

    /* Reads a file of a file field; done(result) follows in any case. */
    function readFile(file, done) {
        if (file.size > MAX_BYTES)
            return done(fail('文件太大（' + Math.ceil(file.size / 1048576) + ' MB），最多 100 MB。'));
        var reader = new window.FileReader();
        reader.onload = function () {
            var result;
            try {
                result = readText(reader.result, file.name);
            } catch (e) {
                /* Nesting or size beyond what this engine bears. */
                result = fail('文件超出了本页面的处理能力。');
            }
            done(result);
        };
        reader.onerror = function () { done(fail('无法读取文件。')); };
        reader.readAsText(file);
    }

    o.trackFile = { readFile: readFile, readText: readText };
}(window));
