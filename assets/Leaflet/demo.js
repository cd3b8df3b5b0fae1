/*
 * The flown track, and the functions that the program calls: addRoutes, clearAllLine, enableDrawLines,
 * enableMeasureDis and addOnePoint. They return nothing.
 */
(function (window) {
    'use strict';

    var HOVER_PIXELS = 14;
    /* The tools. Loaded at their first use, so that they do not delay the map. */
    var TOOLS = 'tools.js';

    var o = window.mapPage, map = o.map, document = window.document;
    var track = null; /* the track of the program's flight */
    var trackMarks = L.layerGroup().addTo(map);
    var hover = L.layerGroup().addTo(map);
    var points = L.layerGroup().addTo(map);

    o.tracks = []; /* { name, line } of tracks from files */

    /* ---- The flown track ---- */

    function marksOf(line, group) {
        var last = line.count() - 1;
        o.dot(line.position(0), 'end start', 26, { text: '起', interactive: false, zIndexOffset: 200 }).addTo(group);
        if (last > 0)
            o.dot(line.position(last), 'end finish', 26, { text: '终', interactive: false, zIndexOffset: 200 }).addTo(group);
    }

    function removeTrack() {
        if (track)
            map.removeLayer(track);
        track = null;
        trackMarks.clearLayers();
        hover.clearLayers();
        o.events.fire('track');
    }

    o.showAll = function (bounds) {
        map.fitBounds(bounds, { padding: [40, 40], maxZoom: 17, animate: false });
    };

    /* The program has one flight, so a new track replaces the previous one. */
    function addRoutes(flat) {
        removeTrack();
        if (!flat || !flat.length)
            return;
        var line = new TrackLine(flat, { renderer: o.canvas, pane: 'track' });
        if (line.isEmpty())
            return;
        o.showAll(line.getBounds());
        track = line.addTo(map);
        marksOf(line, trackMarks);
        o.events.fire('track');
    }

    /* Adds a track from a file, in addition to the program's track. */
    o.addTrack = function (name, flat) {
        var item = { name: name, line: new TrackLine(flat, { renderer: o.canvas, pane: 'track', color: '#8e24aa' }) };
        if (item.line.isEmpty())
            return null;
        item.group = L.layerGroup([item.line]).addTo(map);
        marksOf(item.line, item.group);
        o.tracks.push(item);
        o.events.fire('track');
        return item;
    };

    o.removeTrackItem = function (item) {
        var at = o.tracks.indexOf(item);
        if (at < 0)
            return;
        o.tracks.splice(at, 1);
        map.removeLayer(item.group);
        hover.clearLayers();
        o.events.fire('track');
    };

    /* All tracks on the map, the program's first. */
    o.allTracks = function () {
        return (track ? [{ name: '程序中的航迹', line: track }] : []).concat(o.tracks);
    };

    map.on('mousemove', function (e) {
        hover.clearLayers();
        var all = o.allTracks();
        for (var k = 0; k < all.length; ++k) {
            var line = all[k].line, i = line.nearest(e.latlng, map.getZoom(), HOVER_PIXELS);
            if (i < 0)
                continue;
            var at = line.position(i);
            o.dot(at, 'vertex hover', 10, { interactive: false }).addTo(hover);
            o.label(at, 'hover', '样本 ' + line.sample(i) + '<br>' + o.positionText(at, 7)
                + (o.deviationText ? o.deviationText(line, i) : '')).addTo(hover);
            return;
        }
    });
    map.on('mouseout', function () { hover.clearLayers(); });

    /* ---- The tools ---- */

    var button = null;

    var loading = false;

    function openTools() {
        if (o.tools)
            return o.tools.toggle();
        if (loading)
            return;
        loading = true;
        var style = document.createElement('link');
        style.rel = 'stylesheet';
        style.href = 'tools.css';
        document.head.appendChild(style);
        var script = document.createElement('script');
        script.src = TOOLS;
        script.onload = function () { o.tools.toggle(); };
        script.onerror = function () {
            button.disabled = true;
            button.title = '缺少页面文件：' + TOOLS;
        };
        document.body.appendChild(script);
    }

    var ToolButton = L.Control.extend({
        options: { position: 'topleft' },
        onAdd: function () {
            var box = L.DomUtil.create('div', 'leaflet-bar');
            button = o.element('button', 'tool-button', box, '工具');
            button.type = 'button';
            button.title = '打开文件，编辑和保存航线，比较，回放';
            button.setAttribute('aria-expanded', 'false');
            button.setAttribute('aria-controls', 'tools');
            L.DomEvent.disableClickPropagation(box);
            button.addEventListener('click', openTools);
            return box;
        }
    });
    new ToolButton().addTo(map);
    o.toolButton = button;

    /* ---- Functions that the program calls ---- */

    window.addRoutes = addRoutes;

    window.clearAllLine = function () {
        o.finish();
        o.events.fire('clear');
        removeTrack();
        o.tracks.slice().forEach(o.removeTrackItem);
        o.lines.forEach(function (line) { line.remove(); });
        o.lines = [];
        points.clearLayers();
        o.events.fire('lines');
    };

    window.enableDrawLines = function (on) { o.toggle('draw', on); };

    window.enableMeasureDis = function (on) { o.toggle('measure', on); };

    window.addOnePoint = function (lat, lng) {
        lat = Number(lat);
        lng = Number(lng);
        if (Math.abs(lat) <= 90 && Math.abs(lng) <= 180)
            o.dot([lat, lng], 'vertex single', 12, { title: o.positionText(L.latLng(lat, lng), 6) }).addTo(points);
    };

    /* For tests. */
    o.state = function () {
        return {
            mode: o.mode(), lines: o.lines.map(function (line) {
                return { kind: line.kind, points: line.positions().map(function (p) { return [p.lat, p.lng]; }) };
            }),
            growing: o.isGrowing(), track: track ? track.count() : 0, points: points.getLayers().length,
            tileLayers: o.tileLayerCount()
        };
    };
    o.track = function () { return track; };
    /* Set after the page and its images are loaded: the program and tests wait for it. */
    window.addEventListener('load', function () { window.ostravelMap = o; });
}(window));
