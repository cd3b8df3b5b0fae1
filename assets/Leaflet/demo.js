/*
 * The map. The program calls addRoutes, clearAllLine, enableDrawLines, enableMeasureDis and addOnePoint; nothing is told
 * back. ECMAScript 5: the web engine on Windows knows no later one.
 */
(function (window) {
    'use strict';

    /* The port of the tile service, fixed on both sides: wmts.exe listens on the same one. */
    var TILE_PORT = 9800;
    var TILE_SERVICE = 'http://127.0.0.1:' + TILE_PORT;
    var DEFAULT_LAYER = 'demo';
    var ASK_AGAIN = 3000; /* milliseconds before the tile service is asked once more */
    var HOVER_PIXELS = 14;
    var HOME = [33.947071, 113.91378]; /* the origin that the program has before a log is read */

    var document = window.document;

    function element(className, parent) {
        var e = document.createElement('div');
        e.className = className;
        parent.appendChild(e);
        return e;
    }

    /* ---- The map and what stands still on it ---- */

    var map = L.map('map', {
        center: HOME, zoom: 11, minZoom: 2, maxZoom: 20, zoomControl: false, attributionControl: false,
        worldCopyJump: false, wheelPxPerZoomLevel: 90
    });
    map.createPane('grid').style.zIndex = 150;
    map.createPane('track').style.zIndex = 410;
    map.getPane('track').style.pointerEvents = 'none';

    var canvas = L.canvas({ pane: 'track', padding: 0.3 });
    var svg = L.svg({ padding: 0.5 });

    L.control.zoom({ zoomInTitle: '放大', zoomOutTitle: '缩小' }).addTo(map);

    var Scale = L.Control.Scale.extend({
        _updateMetric: function (maxMeters) {
            var meters = this._getRoundNum(maxMeters);
            this._updateScale(this._mScale, meters < 1000 ? meters + ' 米' : meters / 1000 + ' 公里', meters / maxMeters);
        }
    });
    new Scale({ imperial: false, maxWidth: 140 }).addTo(map);

    function hemisphere(value, positive, negative, digits) {
        return (value < 0 ? negative : positive) + Math.abs(value).toFixed(digits) + '°';
    }

    function positionText(latlng, digits) {
        var at = latlng.wrap();
        return hemisphere(at.lat, '北纬 ', '南纬 ', digits) + '　' + hemisphere(at.lng, '东经 ', '西经 ', digits);
    }

    var Coordinates = L.Control.extend({
        options: { position: 'bottomright' },
        onAdd: function () {
            this._box = L.DomUtil.create('div', 'coordinates');
            this._box.innerHTML = '指针位置：—';
            return this._box;
        },
        show: function (latlng) { this._box.innerHTML = '指针位置：' + positionText(latlng, 6); }
    });
    var coordinates = new Coordinates().addTo(map);
    map.on('mousemove', function (e) { coordinates.show(e.latlng); });

    /* ---- A quiet grid of latitude and longitude below the tiles ---- */

    var STEPS = [30, 20, 10, 5, 2, 1, 0.5, 0.2, 0.1, 0.05, 0.02, 0.01, 0.005, 0.002, 0.001, 0.0005, 0.0002];

    var Graticule = L.GridLayer.extend({
        createTile: function (at) {
            var size = this.getTileSize(), tile = document.createElement('canvas'), ctx = tile.getContext('2d');
            tile.width = size.x;
            tile.height = size.y;
            tile.className = 'graticule';
            var perDegree = 256 * Math.pow(2, at.z) / 360, step = STEPS[0], digits = 0, i;
            for (i = 0; i < STEPS.length && STEPS[i] * perDegree >= 150; ++i)
                step = STEPS[i];
            digits = Math.max(0, Math.ceil(-Math.log(step) / Math.LN10 - 1e-9));
            var origin = at.scaleBy(size), margin = 110, z = at.z;
            function unproject(x, y) { return map.unproject(origin.add([x, y]), z); }
            var nw = unproject(-margin, -20), se = unproject(size.x, size.y + 20);
            var x, y, lat, lng, k, m, lngs = [], lats = [];
            for (k = Math.ceil(nw.lng / step); k * step <= se.lng; ++k)
                lngs.push(k);
            for (k = Math.ceil(se.lat / step); k * step <= nw.lat; ++k)
                lats.push(k);
            ctx.strokeStyle = '#ccd6dc';
            ctx.fillStyle = '#7b8c97';
            ctx.font = '11px "Microsoft YaHei", "Noto Sans CJK SC", sans-serif';
            ctx.beginPath();
            for (k = 0; k < lngs.length; ++k) {
                x = Math.round(map.project([0, lngs[k] * step], z).x - origin.x) + 0.5;
                ctx.moveTo(x, 0);
                ctx.lineTo(x, size.y);
            }
            for (k = 0; k < lats.length; ++k) {
                y = Math.round(map.project([lats[k] * step, 0], z).y - origin.y) + 0.5;
                ctx.moveTo(0, y);
                ctx.lineTo(size.x, y);
            }
            ctx.stroke();
            /* Labels of crossings to the left of the tile reach into it. */
            for (k = 0; k < lngs.length; ++k) {
                for (m = 0; m < lats.length; ++m) {
                    lng = lngs[k] * step;
                    lat = lats[m] * step;
                    if (Math.abs(lng) > 180)
                        continue;
                    x = Math.round(map.project([0, lng], z).x - origin.x);
                    y = Math.round(map.project([lat, 0], z).y - origin.y);
                    ctx.fillText(hemisphere(lat, '北', '南', digits) + ' ' + hemisphere(lng, '东', '西', digits),
                        x + 4, y - 4);
                }
            }
            return tile;
        }
    });
    /* Large tiles: each is a canvas of its own, and a label is drawn in all that it reaches into. */
    var graticule = new Graticule({ pane: 'grid', tileSize: 512, updateWhenZooming: false, keepBuffer: 1 }).addTo(map);

    /* ---- Tiles ---- */

    var switcher = L.control.layers({}, { '经纬网': graticule }, { collapsed: false }).addTo(map);
    switcher.getContainer().getElementsByTagName('a')[0].title = '图层';
    var serviceNote = element('note service hidden', map.getContainer());
    serviceNote.innerHTML = '瓦片服务未应答，仅显示经纬网';
    var tileLayers = [];

    /* Whatever listens at the port may answer, so nothing of an answer is taken for granted. */
    function isNumber(value) { return typeof value === 'number' && isFinite(value); }

    function tileLayer(info) {
        var options = { name: info.name, maxZoom: 20, minZoom: 0 };
        if (isNumber(info.minzoom))
            options.minNativeZoom = options.minZoom = info.minzoom;
        if (isNumber(info.maxzoom))
            options.maxNativeZoom = info.maxzoom;
        var b = info.bounds;
        if (Array.isArray(b) && b.length === 4 && b.every(isNumber))
            options.bounds = L.latLngBounds([b[1], b[0]], [b[3], b[2]]);
        /* Zoomed out below its first level a layer of small extent stays empty, and the grid shows. */
        return L.tileLayer(TILE_SERVICE + '/' + encodeURIComponent(info.name) + '/{z}/{x}/{y}', options);
    }

    /* Names come from files: never as markup. */
    function escaped(text) {
        return String(text).replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;').replace(/"/g, '&quot;');
    }

    function removeTileLayers() {
        tileLayers.forEach(function (layer) {
            map.removeLayer(layer);
            switcher.removeLayer(layer);
        });
        tileLayers = [];
    }

    /* What the service offers, in place of what it offered before; the layer that was chosen stays so. */
    function showLayers(list) {
        var wanted = DEFAULT_LAYER, chosen = 0;
        tileLayers.forEach(function (layer) {
            if (map.hasLayer(layer))
                wanted = layer.options.name;
        });
        removeTileLayers();
        for (var i = 0; i < list.length; ++i) {
            if (!list[i] || typeof list[i].name !== 'string')
                continue;
            var layer = tileLayer(list[i]);
            layer.on('tileerror', askAgain);
            tileLayers.push(layer);
            switcher.addBaseLayer(layer, '瓦片：' + escaped(list[i].name));
            if (list[i].name === wanted)
                chosen = tileLayers.length - 1;
        }
        if (tileLayers.length === 0)
            return false;
        tileLayers[chosen].addTo(map);
        return true;
    }

    function note(text) {
        serviceNote.innerHTML = text;
        serviceNote.className = 'note service' + (text ? '' : ' hidden');
    }

    /*
     * The service may be started at any time, by the button beside the map, so the page asks until it answers; and it may
     * end at any time, so the page asks once more when a tile does not come. Most such tiles are just not in the map.
     */
    var asking = false;
    var offered = ''; /* the answer whose layers are on the map */
    var missed = false; /* the service did not answer since: tiles that it owed are not asked for by themselves */

    function askAgain() {
        if (asking)
            return;
        asking = true;
        window.setTimeout(askForLayers, ASK_AGAIN);
    }

    function askForLayers() {
        var request = new XMLHttpRequest();
        var done = false;
        asking = true;
        function answered(text) {
            if (done)
                return;
            done = true;
            asking = false;
            note(text);
            if (text) {
                missed = true;
                askAgain();
            }
        }
        request.onload = function () {
            var list = null;
            try {
                list = JSON.parse(request.responseText);
            } catch (e) {
                list = null;
            }
            if (request.status !== 200 || !list || typeof list.length !== 'number')
                return answered('瓦片服务应答有误，仅显示经纬网');
            if (missed || request.responseText !== offered) {
                offered = request.responseText;
                missed = false;
                if (!showLayers(list))
                    return answered('瓦片服务没有图层，仅显示经纬网');
            }
            answered('');
        };
        request.onerror = request.ontimeout = function () { answered('瓦片服务未应答，仅显示经纬网'); };
        try {
            request.open('GET', TILE_SERVICE + '/layers.json', true);
            request.timeout = 5000;
            request.send();
        } catch (e) {
            answered('瓦片服务未应答，仅显示经纬网');
        }
    }

    /* ---- Small things that are put on the map ---- */

    function dot(latlng, className, size, options) {
        options = options || {};
        options.icon = L.divIcon({ className: className, iconSize: [size, size], html: options.text || '' });
        options.keyboard = false;
        return L.marker(latlng, options);
    }

    function label(latlng, className, text) {
        return L.marker(latlng, {
            interactive: false, keyboard: false, zIndexOffset: 500,
            icon: L.divIcon({ className: 'bare', iconSize: [0, 0], html: '<span class="label ' + className + '">' + text + '</span>' })
        });
    }

    function metres(distance) {
        return distance < 10000 ? distance.toFixed(1) + ' 米' : (distance / 1000).toFixed(3) + ' 公里';
    }

    function bearing(degrees) {
        var text = degrees.toFixed(1);
        if (text === '360.0')
            text = '0.0';
        return '000'.slice(text.length - 2) + text + '°';
    }

    function between(a, b) { return geodesic.inverse(a.lat, a.lng, b.lat, b.lng); }

    /* ---- The flown track ---- */

    var track = null;
    var trackMarks = L.layerGroup().addTo(map);
    var hover = L.layerGroup().addTo(map);

    function removeTrack() {
        if (track)
            map.removeLayer(track);
        track = null;
        trackMarks.clearLayers();
        hover.clearLayers();
    }

    /* There is one flight in the program, so a track takes the place of the one before. */
    function addRoutes(flat) {
        removeTrack();
        if (!flat || !flat.length)
            return;
        var line = new TrackLine(flat, { renderer: canvas, pane: 'track' });
        if (line.isEmpty())
            return;
        map.fitBounds(line.getBounds(), { padding: [40, 40], maxZoom: 17, animate: false });
        track = line.addTo(map);
        var last = line.count() - 1;
        dot(line.position(0), 'end start', 26, { text: '起', interactive: false }).addTo(trackMarks);
        if (last > 0)
            dot(line.position(last), 'end finish', 26, { text: '终', interactive: false }).addTo(trackMarks);
    }

    map.on('mousemove', function (e) {
        hover.clearLayers();
        if (!track)
            return;
        var i = track.nearest(e.latlng, map.getZoom(), HOVER_PIXELS);
        if (i < 0)
            return;
        var at = track.position(i);
        dot(at, 'vertex hover', 10, { interactive: false }).addTo(hover);
        label(at, 'hover', '样本 ' + track.sample(i) + '<br>' + positionText(at, 7)).addTo(hover);
    });
    map.on('mouseout', function () { hover.clearLayers(); });

    /* ---- Routes and measures: lines that are clicked point by point ---- */

    var modeNote = element('note mode hidden', map.getContainer());
    var MODE_TEXTS = {
        draw: '航线绘制：单击添加航点，拖动航点可移动，双击或按 Esc 结束当前航线',
        measure: '测距：依次单击各点，双击或按 Esc 结束当前测量'
    };
    var mode = '';
    var lines = []; /* all that were drawn, the one that grows last */
    var growing = null;
    var held = false; /* a way point, by the pointer */
    var dropped = false; /* one, a moment ago */
    var points = L.layerGroup().addTo(map);
    var rubber = L.polyline([], { renderer: svg, color: '#555', weight: 1, dashArray: '4 4', interactive: false });

    function ClickedLine(kind) {
        this.kind = kind;
        this.markers = [];
        this.group = L.layerGroup().addTo(map);
        this.labels = L.layerGroup().addTo(this.group);
        this.line = L.polyline([], {
            renderer: svg, color: kind === 'draw' ? '#1763a6' : '#7a3fa0', weight: 3, interactive: false
        }).addTo(this.group);
    }

    ClickedLine.prototype.positions = function () {
        return this.markers.map(function (marker) { return marker.getLatLng(); });
    };

    ClickedLine.prototype.last = function () { return this.markers[this.markers.length - 1].getLatLng(); };

    ClickedLine.prototype.add = function (latlng) {
        var self = this;
        var marker = dot(latlng, this.kind === 'draw' ? 'vertex' : 'vertex measure', this.kind === 'draw' ? 14 : 10, {
            draggable: this.kind === 'draw', autoPan: false
        }).addTo(this.group);
        marker.on('dragstart', function () {
            held = true;
            rubber.setLatLngs([]);
        });
        marker.on('drag', function () { self.update(); });
        marker.on('dragend', function () {
            held = false;
            /* A quick hand lets go beside the point, and the browser then takes it for a click on the map. */
            dropped = true;
            window.setTimeout(function () { dropped = false; }, 0);
        });
        /* The second click of a double click meets the point that the first one made. */
        marker.on('dblclick', function (e) {
            L.DomEvent.stop(e);
            finish();
        });
        marker.on('click', function () {
            if (mode && (growing !== self || mode === 'measure'))
                clicked(marker.getLatLng());
        });
        if (this.kind === 'draw' && mode !== 'draw')
            marker.dragging.disable();
        this.markers.push(marker);
        this.update();
    };

    ClickedLine.prototype.update = function () {
        var at = this.positions(), total = 0;
        this.line.setLatLngs(at);
        this.labels.clearLayers();
        for (var i = 1; i < at.length; ++i) {
            var leg = between(at[i - 1], at[i]);
            total += leg.distance;
            if (this.kind === 'draw') {
                var middle = map.unproject(map.project(at[i - 1], 20).add(map.project(at[i], 20)).divideBy(2), 20);
                label(middle, 'leg', metres(leg.distance) + '　' + bearing(leg.bearing)).addTo(this.labels);
            } else {
                label(at[i], 'measure', (i === at.length - 1 ? '总距离 ' : '') + metres(total)).addTo(this.labels);
            }
        }
    };

    ClickedLine.prototype.setDraggable = function (on) {
        if (this.kind !== 'draw')
            return;
        this.markers.forEach(function (marker) { marker.dragging[on ? 'enable' : 'disable'](); });
    };

    ClickedLine.prototype.remove = function () { map.removeLayer(this.group); };

    function clicked(latlng) {
        if (!growing) {
            growing = new ClickedLine(mode);
            lines.push(growing);
            rubber.addTo(map);
        } else if (map.latLngToContainerPoint(growing.last()).distanceTo(map.latLngToContainerPoint(latlng)) < 4) {
            return; /* the second half of a double click */
        }
        growing.add(latlng);
        rubber.setLatLngs([]);
    }

    /* Ends the line that grows; the mode stays, and the next click begins another line. */
    function finish() {
        if (growing && growing.markers.length < 2) {
            growing.remove();
            lines.pop();
        }
        growing = null;
        rubber.setLatLngs([]);
        map.removeLayer(rubber);
    }

    function setMode(name) {
        if (mode === name)
            return;
        finish();
        mode = name;
        map.doubleClickZoom[mode ? 'disable' : 'enable']();
        L.DomUtil[mode ? 'addClass' : 'removeClass'](map.getContainer(), 'crosshair');
        modeNote.innerHTML = MODE_TEXTS[mode] || '';
        modeNote.className = 'note mode' + (mode ? '' : ' hidden');
        lines.forEach(function (line) { line.setDraggable(mode === 'draw'); });
    }

    function toggle(name, on) {
        if (Number(on))
            setMode(name);
        else if (mode === name)
            setMode('');
    }

    map.on('click', function (e) {
        if (mode && !dropped)
            clicked(e.latlng);
    });
    map.on('dblclick', finish);
    map.on('mousemove', function (e) {
        if (growing && !held)
            rubber.setLatLngs([growing.last(), e.latlng]);
    });
    document.addEventListener('keydown', function (e) {
        if (e.key === 'Escape' || e.keyCode === 27)
            finish();
    }, true);

    /* ---- What the program calls ---- */

    window.addRoutes = addRoutes;

    window.clearAllLine = function () {
        finish();
        removeTrack();
        lines.forEach(function (line) { line.remove(); });
        lines = [];
        points.clearLayers();
    };

    window.enableDrawLines = function (on) { toggle('draw', on); };

    window.enableMeasureDis = function (on) { toggle('measure', on); };

    window.addOnePoint = function (lat, lng) {
        lat = Number(lat);
        lng = Number(lng);
        if (Math.abs(lat) <= 90 && Math.abs(lng) <= 180)
            dot([lat, lng], 'vertex single', 12, { title: positionText(L.latLng(lat, lng), 6) }).addTo(points);
    };

    /* For tests, which look at the map as well as at the screen. */
    window.ostravelMap = {
        map: map,
        state: function () {
            return {
                mode: mode, lines: lines.map(function (line) {
                    return { kind: line.kind, points: line.positions().map(function (p) { return [p.lat, p.lng]; }) };
                }),
                growing: growing !== null, track: track ? track.count() : 0, points: points.getLayers().length,
                tileLayers: tileLayers.length
            };
        },
        track: function () { return track; }
    };

    askForLayers();
}(window));
