/*
 * Reads a file whose type is detected by its content: a route file, or tracks and routes of GPX, KML or GeoJSON.
 *
 * The result is { routes: [{ name, points, ... }], tracks: [{ name, flat, dropped }], note }, or { error } with a
 * message.
 */
(function (window) {
    'use strict';

    var MAX_BYTES = 100 * 1024 * 1024;
    var MAX_LINES = 200; /* lines per file; each is a row of the panel */
    var MAX_DEPTH = 20; /* nesting of geometry collections */

    var o = window.mapPage;

    function fail(words) { return { error: words }; }

    function baseName(name) { return name.replace(/\.(json|geojson|gpx|kml|xml)$/i, ''); }

    /* NaN for empty text; Number('') and Number(null) would be 0. */
    function coordinate(text) { return text === null || /^\s*$/.test(text) ? NaN : Number(text); }

    /* ---- Collects lines as [lat, lng, lat, lng, ...]; routes also have a height per point ---- */

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
                return { at: new L.LatLng(p.lat, p.lng), moved: true, way: p.way };
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

    /* A way point object as in a route file; missing or invalid numbers are 0. */
    function wayOf(lat, lng, values) {
        var way = { longitude: o.routeFile.degreesText(lng), latitude: o.routeFile.degreesText(lat) };
        o.routeFile.keys.forEach(function (key) {
            var value = coordinate(values[key] === undefined ? null : values[key]);
            way[key] = isFinite(value) ? value : 0;
        });
        return way;
    }

    var GPX_VALUES = { ele: 'height', radius: 'radius', speed: 'speed' };

    /* Joins the segments of a track into one line, like a flight with a gap. */
    function gpxReader(gathering) {
        var line = null, point = null;
        function place(attributes) {
            return { lat: coordinate(o.xml.attribute(attributes, 'lat')), lng: coordinate(o.xml.attribute(attributes, 'lon')) };
        }
        return {
            open: function (name, attributes) {
                var at;
                if (name === 'trk' || name === 'rte') {
                    line = { name: '', flat: [], places: [] };
                    point = null;
                } else if (name === 'trkpt' && line) {
                    at = place(attributes);
                    line.flat.push(at.lat, at.lng);
                } else if (name === 'rtept' && line) {
                    point = place(attributes);
                    point.values = {};
                }
            },
            close: function (name, content, path) {
                var parent = path[path.length - 1];
                if (name === 'name' && line && (parent === 'trk' || parent === 'rte')) {
                    line.name = content();
                } else if (point && GPX_VALUES.hasOwnProperty(name)) {
                    point.values[GPX_VALUES[name]] = content();
                } else if (name === 'rtept' && point) {
                    point.way = wayOf(point.lat, point.lng, point.values);
                    line.places.push(point);
                    point = null;
                } else if (name === 'trk' && line) {
                    gathering.addTrack(line.name, line.flat);
                    line = point = null;
                } else if (name === 'rte' && line) {
                    gathering.addRoute(line.name, line.places);
                    line = point = null;
                }
            }
        };
    }

    /* A placemark may contain several lines, and its name may follow them. */
    function kmlReader(gathering) {
        var mark = { name: '', isRoute: false, lines: [] }, coords = [];
        function finish() {
            mark.lines.forEach(function (line) {
                if (mark.isRoute && line.places)
                    gathering.addRoute(mark.name, line.places());
                else
                    gathering.addTrack(mark.name, line.flat());
            });
            mark = { name: '', isRoute: false, lines: [] };
        }
        return {
            open: function (name, attributes) {
                if (name === 'Placemark') {
                    finish();
                    mark.isRoute = o.xml.attribute(attributes, 'id') === 'ostravel-route';
                } else if (name === 'Track') {
                    coords = [];
                }
            },
            close: function (name, content, path) {
                var parent = path[path.length - 1], tuples, flat;
                if (name === 'name' && parent === 'Placemark') {
                    mark.name = content();
                } else if (name === 'coordinates' && parent === 'LineString') {
                    tuples = content();
                    mark.lines.push({
                        flat: function () { return kmlLine(tuples); }, places: function () { return kmlRoute(tuples); }
                    });
                } else if (name === 'coord' && parent === 'Track') {
                    tuples = content().split(/\s+/);
                    coords.push(tuples.length > 1 ? coordinate(tuples[1]) : NaN, coordinate(tuples[0]));
                } else if (name === 'Track') {
                    flat = coords;
                    mark.lines.push({ flat: function () { return flat; } });
                } else if (name === 'Placemark' || name === 'kml') {
                    finish();
                }
            }
        };
    }

    function kmlTuples(text) { return text ? text.split(/\s+/) : []; }

    function kmlLine(text) {
        var tuples = kmlTuples(text), flat = [];
        for (var i = 0; i < tuples.length; ++i) {
            var numbers = tuples[i].split(',');
            flat.push(numbers.length > 1 ? coordinate(numbers[1]) : NaN, coordinate(numbers[0]));
        }
        return flat;
    }

    function kmlRoute(text) {
        return kmlTuples(text).map(function (tuple) {
            var numbers = tuple.split(','), lng = coordinate(numbers[0]);
            var lat = numbers.length > 1 ? coordinate(numbers[1]) : NaN;
            return { lat: lat, lng: lng, way: wayOf(lat, lng, { height: numbers[2] }) };
        });
    }

    function readXml(text, name) {
        var gathering = new Gathering(baseName(name)), reader = null;
        try {
            o.xml.scan(text, function (element, attributes, path) {
                if (path.length === 0)
                    reader = element === 'gpx' ? gpxReader(gathering) : element === 'kml' ? kmlReader(gathering) : null;
                if (reader)
                    reader.open(element, attributes, path);
            }, function (element, content, path) {
                if (reader)
                    reader.close(element, content, path);
            });
        } catch (e) {
            if (!(e instanceof o.xml.Broken))
                throw e;
            return fail(e.words ? '文件' + e.words + '。'
                : '文件不完整或不是正确的 XML（第 ' + o.xml.line(text, e.at) + ' 行）。');
        }
        return reader ? gathering.result() : fail('这是 XML，但不是 GPX 或 KML。');
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
        /* A file may start with a byte order mark. */
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

    /* Reads a File object; always calls done(result). */
    function readFile(file, done) {
        if (file.size > MAX_BYTES)
            return done(fail('文件太大（' + Math.ceil(file.size / 1048576) + ' MB），最多 100 MB。'));
        var reader = new window.FileReader();
        reader.onload = function () {
            var result;
            try {
                result = readText(reader.result, file.name);
            } catch (e) {
                /* Too deeply nested or too large for this engine. */
                result = fail('文件超出了本页面的处理能力。');
            }
            done(result);
        };
        reader.onerror = function () { done(fail('无法读取文件。')); };
        reader.readAsText(file);
    }

    o.trackFile = { readFile: readFile, readText: readText };
}(window));
