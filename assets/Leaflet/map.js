/*
 * The map, its static elements, and helpers for the other files. All files add to mapPage.
 * Only ECMAScript 5, because the web engine on Windows supports no later version.
 */
(function (window) {
    'use strict';

    var HOME = [33.947071, 113.91378]; /* the program's origin before a log is read */
    var NARROW = 640; /* window width in pixels, as in demo.css */
    /* Key codes of the arrows, and of plus and minus in all engines and on the number pad. */
    var MOVING_KEYS = [37, 38, 39, 40, 107, 109, 171, 173, 187, 189, 61, 54];
    var SVG = 'http://www.w3.org/2000/svg';

    var document = window.document;
    var o = window.mapPage = {};

    /*
     * Light or dark theme. The program's engine announces the program's theme, which may differ from the system's; a
     * browser reports the user's preference. The default is light.
     */
    var host = window.ostravelHost || {};
    var query = window.matchMedia && window.matchMedia('(prefers-color-scheme: dark)');
    o.night = typeof host.night === 'boolean' ? host.night : Boolean(query && query.matches);
    if (o.night)
        document.documentElement.className += ' night';

    o.narrow = function () { return window.innerWidth < NARROW; };

    o.element = function (tag, className, parent, text) {
        var e = document.createElement(tag);
        if (className)
            e.className = className;
        if (text !== undefined)
            e.appendChild(document.createTextNode(text));
        if (parent)
            parent.appendChild(e);
        return e;
    };

    /* An SVG drawing of paths [[class, d], ...] in a square from -size to size. */
    o.drawing = function (className, size, paths) {
        var svg = document.createElementNS(SVG, 'svg');
        svg.setAttribute('class', className);
        svg.setAttribute('viewBox', [-size, -size, 2 * size, 2 * size].join(' '));
        svg.setAttribute('aria-hidden', 'true');
        svg.setAttribute('focusable', 'false');
        paths.forEach(function (path) {
            var p = document.createElementNS(SVG, 'path');
            p.setAttribute('class', path[0]);
            p.setAttribute('d', path[1]);
            svg.appendChild(p);
        });
        return svg;
    };

    var map = o.map = L.map('map', {
        center: HOME, zoom: 11, minZoom: 2, maxZoom: 20, zoomControl: false, attributionControl: false,
        worldCopyJump: false, wheelPxPerZoomLevel: 90
    });
    map.getContainer().setAttribute('role', 'application');
    map.getContainer().setAttribute('aria-label', '地图：方向键移动，加号和减号缩放');
    map.createPane('grid').style.zIndex = 150;
    map.createPane('track').style.zIndex = 410;
    map.getPane('track').style.pointerEvents = 'none';

    o.canvas = L.canvas({ pane: 'track', padding: 0.3 });
    o.svg = L.svg({ padding: 0.5 });
    /* Events between the files: lines, track, clear, mode. */
    o.events = new L.Evented();

    L.control.zoom({ zoomInTitle: '放大', zoomOutTitle: '缩小' }).addTo(map);

    var Scale = L.Control.Scale.extend({
        _updateMetric: function (maxMeters) {
            var meters = this._getRoundNum(maxMeters);
            this._updateScale(this._mScale, meters < 1000 ? meters + ' 米' : meters / 1000 + ' 公里', meters / maxMeters);
        }
    });
    new Scale({ imperial: false, maxWidth: 140 }).addTo(map);

    var North = L.Control.extend({
        options: { position: 'bottomleft' },
        onAdd: function () {
            var box = L.DomUtil.create('div', 'north');
            box.setAttribute('role', 'img');
            box.setAttribute('aria-label', '地图上方为正北');
            box.title = '地图上方为正北';
            box.appendChild(o.drawing('arrow', 12, [['dark', 'M0-11L7 9L0 5Z'], ['light', 'M0-11L-7 9L0 5Z']]));
            o.element('span', '', box, '北');
            return box;
        }
    });
    new North().addTo(map);

    /* ---- Texts of positions and lengths ---- */

    o.hemisphere = function (value, positive, negative, digits) {
        return (value < 0 ? negative : positive) + Math.abs(value).toFixed(digits) + '°';
    };

    o.positionText = function (latlng, digits) {
        var at = latlng.wrap();
        return o.hemisphere(at.lat, '北纬 ', '南纬 ', digits) + '　' + o.hemisphere(at.lng, '东经 ', '西经 ', digits);
    };

    o.metres = function (distance) {
        return distance < 10000 ? distance.toFixed(1) + ' 米' : (distance / 1000).toFixed(3) + ' 公里';
    };

    o.bearing = function (degrees) {
        var text = degrees.toFixed(1);
        if (text === '360.0')
            text = '0.0';
        return '000'.slice(text.length - 2) + text + '°';
    };

    o.between = function (a, b) { return geodesic.inverse(a.lat, a.lng, b.lat, b.lng); };

    /* Escapes text from files, which must not be interpreted as markup. */
    o.escaped = function (text) {
        return String(text).replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;').replace(/"/g, '&quot;');
    };

    var Coordinates = L.Control.extend({
        options: { position: 'bottomright' },
        onAdd: function () {
            this._box = L.DomUtil.create('div', 'coordinates');
            this._box.innerHTML = '指针位置：—';
            return this._box;
        },
        show: function (words, latlng) { this._box.innerHTML = words + '：' + o.positionText(latlng, 6); }
    });
    var coordinates = new Coordinates().addTo(map);
    map.on('mousemove', function (e) { coordinates.show('指针位置', e.latlng); });
    /* When the user moves the map with keys, there may be no pointer on it. */
    var byKey = false;
    map.getContainer().addEventListener('keydown', function (e) {
        byKey = byKey || MOVING_KEYS.indexOf(e.keyCode) >= 0;
    });
    /* Resets a key press that did not move the map. */
    map.on('mousedown', function () { byKey = false; });
    map.on('moveend', function () {
        if (byKey)
            coordinates.show('地图中心', map.getCenter());
        byKey = false;
    });

    /* ---- Markers ---- */

    o.dot = function (latlng, className, size, options) {
        options = options || {};
        options.icon = L.divIcon({ className: className, iconSize: [size, size], html: options.text || '' });
        options.keyboard = false;
        return L.marker(latlng, options);
    };

    o.label = function (latlng, className, text) {
        return L.marker(latlng, {
            interactive: false, keyboard: false, zIndexOffset: 500,
            icon: L.divIcon({ className: 'bare', iconSize: [0, 0], html: '<span class="label ' + className + '">' + text + '</span>' })
        });
    };
}(window));
