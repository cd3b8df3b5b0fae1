/*
 * Route files: { "cartographic": [way point, ...] }, with the same rules as the program's converter.
 *
 * longitude and latitude are strings in degrees; height, radius and speed are numbers. A value of another type counts
 * as 0. All other keys are preserved.
 */
(function (window) {
    'use strict';

    var NUMBER = /^\s*[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?\s*$/i;
    var MAX_DEPTH = 100; /* nesting of other keys; engines write only some thousands of levels */
    var HEIGHTS = ['height', 'radius', 'speed'];
    var WORDS = { height: '高度', radius: '半径', speed: '速度' };
    /* Not 0 for the speed, because the converter would compute an infinite flight time. */
    var DEFAULTS = { height: 100, radius: 50, speed: 20 };

    /*
     * Degrees of a text; null when the converter would find no number and use 0. Unlike the converter, the map does not
     * round to 32-bit floats.
     */
    function degrees(value) {
        if (typeof value !== 'string')
            return null;
        if (NUMBER.test(value))
            return Number(value);
        return /^\s*[+-]?(nan|inf)\s*$/i.test(value) ? NaN : null;
    }

    function isObject(value) { return typeof value === 'object' && value !== null && !(value instanceof Array); }

    function number(way, key) { return way && typeof way[key] === 'number' ? way[key] : 0; }

    /*
     * doc: the parsed document. Returns { name, points, odd }, or { error } with a message. odd counts coordinates that
     * are not numbers in strings, which the converter treats as 0.
     */
    function read(doc, name) {
        var list = doc.cartographic, points = [], odd = 0;
        if (!(list instanceof Array) || list.length === 0)
            return { error: '航线文件里没有航点。' };
        if (isDeeper(doc, MAX_DEPTH))
            return { error: '航线文件嵌套过深，不予读取。' };
        for (var i = 0; i < list.length; ++i) {
            var way = isObject(list[i]) ? list[i] : {}, fault = null;
            var lat = degrees(way.latitude), lng = degrees(way.longitude);
            if (lat === null || lng === null)
                ++odd;
            if (!(Math.abs(lat) <= 90 && Math.abs(lng) <= 180))
                fault = '经纬度超出范围：经度 ' + shown(way.longitude) + '，纬度 ' + shown(way.latitude) + '。';
            for (var k = 0; k < HEIGHTS.length && !fault; ++k) {
                if (!isFinite(number(way, HEIGHTS[k])))
                    fault = WORDS[HEIGHTS[k]] + '超出范围。';
            }
            if (fault)
                return { error: '第 ' + (i + 1) + ' 个航点的' + fault };
            points.push({ at: new L.LatLng(lat || 0, lng || 0), way: way, moved: false });
        }
        return { name: typeof doc.name === 'string' && doc.name ? doc.name : name, points: points, odd: odd, doc: doc };
    }

    function shown(value) {
        return value === undefined ? '（无）' : (typeof value === 'string' ? value : JSON.stringify(value)).slice(0, 30);
    }

    /* Whether an object or a list contains others in more than so many levels. */
    function isDeeper(value, levels) {
        var keys = value instanceof Array ? null : Object.keys(value), count = keys ? keys.length : value.length;
        for (var i = 0; i < count; ++i) {
            var inner = value[keys ? keys[i] : i];
            if (typeof inner === 'object' && inner !== null && (levels === 0 || isDeeper(inner, levels - 1)))
                return true;
        }
        return false;
    }

    /* Seven decimals (about 1 cm), like the program's positions. */
    function degreesText(value) {
        return value.toFixed(7).replace(/(\.\d*?)0+$/, '$1').replace(/\.$/, '');
    }

    /* The way point for a file: its original object, with the new position if it was moved. */
    function way(point) {
        var result = point.way ? JSON.parse(JSON.stringify(point.way)) : {};
        if (point.moved || !point.way) {
            result.longitude = degreesText(point.at.lng);
            result.latitude = degreesText(point.at.lat);
        }
        HEIGHTS.forEach(function (key) {
            if (!point.way && result[key] === undefined)
                result[key] = DEFAULTS[key];
        });
        return result;
    }

    /* The text of a route file. An unchanged route is written exactly as it was read. */
    function write(line) {
        if (line.source)
            return line.source.text;
        /* Without a prototype, "__proto__" is a key like any other. */
        var doc = Object.create(null), kept = line.kept || {};
        Object.keys(kept).forEach(function (key) { doc[key] = kept[key]; });
        if (kept.name === undefined || typeof kept.name === 'string')
            doc.name = line.name;
        doc.cartographic = line.points.map(way);
        return JSON.stringify(doc, null, 2) + '\n';
    }

    /* Height, radius or speed that a file of the point would contain. */
    function value(point, key) { return point.way ? number(point.way, key) : DEFAULTS[key]; }

    function setValue(line, index, key, to) {
        var point = line.points[index];
        point.way = way(point);
        point.way[key] = to;
        line.touch();
    }

    window.mapPage.routeFile = {
        read: read, write: write, value: value, setValue: setValue, degreesText: degreesText, keys: HEIGHTS
    };
}(window));
