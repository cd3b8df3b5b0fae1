/*
 * A flown track of any length on Leaflet's canvas.
 *
 * Leaflet's own polyline projects, clips and simplifies all points at each zoom and each move. A track of ten hours has
 * 180,000 points. This class projects them once, simplifies them once per zoom level, and draws only the sections near
 * the view.
 */
var TrackLine = (function () {
    'use strict';

    var CHUNK = 256; /* points per bounding box */
    var FINEST = 1.5; /* minimum distance in pixels between two drawn points */
    var CELL = 1; /* cell size in pixels; steps between the same two cells look the same */

    /* Old engines have no typed arrays. */
    function numbers(length) {
        if (typeof Float64Array !== 'undefined')
            return new Float64Array(length);
        var list = [];
        for (var i = 0; i < length; ++i)
            list.push(0);
        return list;
    }

    /* [lat0, lng0, lat1, ...] without invalid positions: null, out of range, and (0, 0) from before the GPS fix. */
    function positions(flat) {
        var n = Math.floor(flat.length / 2), lat = numbers(n), lng = numbers(n), index = numbers(n), count = 0;
        for (var i = 0; i < n; ++i) {
            var a = flat[2 * i], b = flat[2 * i + 1];
            if (typeof a !== 'number' || typeof b !== 'number' || !(Math.abs(a) <= 90 && Math.abs(b) <= 180))
                continue;
            if (a === 0 && b === 0)
                continue;
            lat[count] = a;
            lng[count] = b;
            index[count] = i;
            ++count;
        }
        return { lat: lat, lng: lng, index: index, count: count };
    }

    function isNear(at, box, reach) {
        return box && at.x >= box.x0 - reach && at.x <= box.x1 + reach && at.y >= box.y0 - reach && at.y <= box.y1 + reach;
    }

    /* Inserts a non-zero key into a hash table. Returns false when it exists. The table must not be full. */
    function enter(table, slots, key) {
        for (var at = key % slots; table[at]; at = at + 1 < slots ? at + 1 : 0) {
            if (table[at] === key)
                return false;
        }
        table[at] = key;
        return true;
    }

    var TrackLine = L.Polyline.extend({
        options: { interactive: false, smoothFactor: 0, color: '#d81b60', weight: 3, opacity: 1 },

        /* flat: [lat0, lng0, ...]. Sample numbers are indices of the pairs, from 0, like those of the curves' points. */
        initialize: function (flat, options) {
            L.Polyline.prototype.initialize.call(this, [], options);
            if (flat instanceof TrackLine)
                return this._share(flat);
            var p = this._points = positions(flat), max = 85.0511287798 * Math.PI / 180;
            this._x = numbers(p.count);
            this._y = numbers(p.count);
            var minLat = Infinity, maxLat = -Infinity, minLng = Infinity, maxLng = -Infinity;
            for (var i = 0; i < p.count; ++i) {
                var s = Math.sin(Math.max(-max, Math.min(max, p.lat[i] * Math.PI / 180)));
                /* In units of the world's width; multiply by 256 * 2^zoom for pixels. */
                this._x[i] = p.lng[i] / 360 + 0.5;
                this._y[i] = 0.5 - Math.log((1 + s) / (1 - s)) / (4 * Math.PI);
                minLat = Math.min(minLat, p.lat[i]);
                maxLat = Math.max(maxLat, p.lat[i]);
                minLng = Math.min(minLng, p.lng[i]);
                maxLng = Math.max(maxLng, p.lng[i]);
            }
            this._levels = {};
            this._boxes = this._boxesOf(p.count, CHUNK, this._growByPoint);
            this._whole = this._boxesOf(p.count, p.count, this._growByPoint)[0] || null;
            if (p.count > 0)
                this._bounds = L.latLngBounds([minLat, minLng], [maxLat, maxLng]);
        },

        /* Shares the points of another line, without copying or projecting them again. */
        _share: function (other) {
            this._points = other._points;
            this._x = other._x;
            this._y = other._y;
            this._levels = other._levels;
            this._boxes = other._boxes;
            this._whole = other._whole;
            this._bounds = other._bounds;
        },

        count: function () { return this._points.count; },
        /* Latitudes and longitudes of all points; do not modify. */
        coordinates: function () { return this._points; },
        position: function (i) { return L.latLng(this._points.lat[i], this._points.lng[i]); },
        sample: function (i) { return this._points.index[i]; },
        isEmpty: function () { return this._points.count === 0; },

        /* Index of the nearest point within a number of pixels; -1 when there is none. */
        nearest: function (latlng, zoom, pixels) {
            var at = this._world(latlng), reach = pixels / this._scale(zoom), best = reach * reach, found = -1;
            if (!isNear(at, this._whole, reach))
                return found;
            for (var k = 0; k < this._boxes.length; ++k) {
                var box = this._boxes[k];
                if (!isNear(at, box, reach))
                    continue;
                for (var i = box.from; i < box.to; ++i) {
                    var dx = this._x[i] - at.x, dy = this._y[i] - at.y, d = dx * dx + dy * dy;
                    if (d < best) {
                        best = d;
                        found = i;
                    }
                }
            }
            return found;
        },

        /* Bounding boxes of size items each; grow(box, i) extends a box by an item. */
        _boxesOf: function (count, size, grow) {
            var boxes = [];
            for (var first = 0; first < count; first += size) {
                var box = { from: first, to: Math.min(first + size, count), x0: 9, y0: 9, x1: -9, y1: -9 };
                for (var i = box.from; i < box.to; ++i)
                    grow.call(this, box, i);
                boxes.push(box);
            }
            return boxes;
        },

        _growByPoint: function (box, i) {
            box.x0 = Math.min(box.x0, this._x[i]);
            box.y0 = Math.min(box.y0, this._y[i]);
            box.x1 = Math.max(box.x1, this._x[i]);
            box.y1 = Math.max(box.y1, this._y[i]);
        },

        /* For tests: the numbers of steps at the current zoom level and of those drawn. */
        steps: function () {
            var n = 0;
            for (var i = 0; i < this._parts.length; ++i)
                n += this._parts[i].length - 1;
            return { kept: this._level(this._map.getZoom()).length, drawn: n };
        },

        _world: function (latlng) {
            var p = L.CRS.EPSG3857.latLngToPoint(latlng, 0);
            return { x: p.x / 256, y: p.y / 256 };
        },

        _scale: function (zoom) { return 256 * Math.pow(2, zoom); },

        /*
         * The steps to draw at a zoom level, as pairs of indices, and the bounding box of each chunk of steps.
         *
         * Many orbits at the same place cover the same pixels, so equal short steps are kept only once.
         */
        _level: function (zoom) {
            var level = this._levels[zoom];
            if (level)
                return level;
            var n = this._points.count, scale = this._scale(zoom), limit = FINEST * FINEST;
            var left = this._x[0], top = this._y[0], right = left, i;
            for (i = 1; i < n; ++i) {
                left = Math.min(left, this._x[i]);
                right = Math.max(right, this._x[i]);
                top = Math.min(top, this._y[i]);
            }
            var columns = Math.ceil((right - left) * scale / CELL) + 1;
            var slots = 2 * n + 1, seen = numbers(slots), from = numbers(n), to = numbers(n), length = 0, last = 0;
            var lastX = Math.floor((this._x[0] - left) * scale / CELL);
            var lastY = Math.floor((this._y[0] - top) * scale / CELL);
            for (i = 1; i < n; ++i) {
                var dx = (this._x[i] - this._x[last]) * scale, dy = (this._y[i] - this._y[last]) * scale;
                if (dx * dx + dy * dy < limit && i !== n - 1)
                    continue;
                var cellX = Math.floor((this._x[i] - left) * scale / CELL);
                var cellY = Math.floor((this._y[i] - top) * scale / CELL);
                var byX = cellX - lastX, byY = cellY - lastY;
                if (Math.abs(byX) > 4 || Math.abs(byY) > 4
                        || enter(seen, slots, 1 + ((lastY * columns + lastX) * 9 + byX + 4) * 9 + byY + 4)) {
                    from[length] = last;
                    to[length++] = i;
                }
                last = i;
                lastX = cellX;
                lastY = cellY;
            }
            var boxes = this._boxesOf(length, CHUNK, function (box, step) {
                this._growByPoint(box, from[step]);
                this._growByPoint(box, to[step]);
            });
            level = this._levels[zoom] = { from: from, to: to, length: length, boxes: boxes };
            return level;
        },

        /* The style index of the step that ends at a point; overridden by lines with several colours. */
        _kindOf: function () { return 0; },

        /* Overrides of Leaflet's methods. */

        _project: function () {
            this._parts = [];
            if (this._points.count === 0)
                return;
            this._pxBounds = L.bounds(this._map.latLngToLayerPoint(this._bounds.getNorthWest()),
                this._map.latLngToLayerPoint(this._bounds.getSouthEast()));
            this._pxBounds.min._subtract(L.point(6, 6));
            this._pxBounds.max._add(L.point(6, 6));
        },

        _update: function () {
            if (!this._map)
                return;
            this._parts = [];
            var view = this._renderer && this._renderer._bounds;
            if (this._points.count > 1 && view && this._pxBounds && this._pxBounds.intersects(view))
                this._fill(view);
            this._updatePath();
        },

        _fill: function (view) {
            var zoom = this._map.getZoom(), level = this._level(zoom), scale = this._scale(zoom);
            var origin = this._map.getPixelOrigin(), part = [], end = -1;
            var x0 = (view.min.x + origin.x - 8) / scale, x1 = (view.max.x + origin.x + 8) / scale;
            var y0 = (view.min.y + origin.y - 8) / scale, y1 = (view.max.y + origin.y + 8) / scale;
            for (var b = 0; b < level.boxes.length; ++b) {
                var box = level.boxes[b];
                if (box.x1 < x0 || box.x0 > x1 || box.y1 < y0 || box.y0 > y1)
                    continue;
                for (var k = box.from; k < box.to; ++k) {
                    var i = level.from[k], j = level.to[k];
                    if ((this._x[i] < x0 && this._x[j] < x0) || (this._x[i] > x1 && this._x[j] > x1)
                            || (this._y[i] < y0 && this._y[j] < y0) || (this._y[i] > y1 && this._y[j] > y1))
                        continue;
                    var kind = this._kindOf(j);
                    if (i !== end || kind !== part.kind) {
                        if (part.length)
                            this._parts.push(part);
                        part = [L.point(this._x[i] * scale - origin.x, this._y[i] * scale - origin.y)];
                        part.kind = kind;
                    }
                    part.push(L.point(this._x[j] * scale - origin.x, this._y[j] * scale - origin.y));
                    end = j;
                }
            }
            if (part.length)
                this._parts.push(part);
        },

        _updatePath: function () {
            var renderer = this._renderer;
            if (!renderer._drawing || this._parts.length === 0)
                return;
            this._stroke(this._parts);
        },

        /* A canvas strokes many short paths much faster than one path of tens of thousands of steps. */
        _stroke: function (parts) {
            var renderer = this._renderer, ctx = renderer._ctx, steps = 0;
            function begin() {
                ctx.beginPath();
                steps = 0;
            }
            begin();
            for (var i = 0; i < parts.length; ++i) {
                var part = parts[i];
                ctx.moveTo(part[0].x, part[0].y);
                for (var k = 1; k < part.length; ++k) {
                    ctx.lineTo(part[k].x, part[k].y);
                    if (++steps >= 500) {
                        renderer._fillStroke(ctx, this);
                        begin();
                        ctx.moveTo(part[k].x, part[k].y);
                    }
                }
            }
            renderer._fillStroke(ctx, this);
        }
    });

    TrackLine.numbers = numbers;
    return TrackLine;
}());
