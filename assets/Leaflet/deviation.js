/*
 * Distance of each point of a track from a route.
 *
 * Positions become points of the WGS 84 ellipsoid in space, at height 0. A leg from A to B is the normal section: the
 * plane through A, B and the mean of their vertical directions. With n the unit normal of that plane, a point P is
 * n . (P - A) beside the leg, and its position along it is t = (P - A) . (B - A) / |B - A|^2. For 0 <= t <= 1 the
 * distance is |n . (P - A)|, otherwise the chord to the nearer end. Both are straight lines in space; the ground arcs
 * are R asin(d / R) and 2 R asin(c / 2 R), R the Gaussian radius of curvature at the leg. (Cross-track distance by
 * vectors, e.g. Gade, "A non-singular horizontal position representation", J. Navigation 63, 2010, on the normal section
 * instead of the great circle.)
 *
 * Against geodesics the error is below 1 cm for legs up to 100 km and distances up to 20 km.
 */
(function (window) {
    'use strict';

    var o = window.mapPage;
    var RADIAN = Math.PI / 180;
    var A = geodesic.A, E2 = geodesic.F * (2 - geodesic.F);
    var SLICE = 40; /* milliseconds per time slice */
    /* Blue to red, suitable for colour-blind users. */
    var COLOURS = ['#313695', '#4a90c4', '#9fd0e6', '#fdd17a', '#f26b3f', '#a50026'];

    function vertical(lat, lng) {
        var c = Math.cos(lat * RADIAN);
        return [c * Math.cos(lng * RADIAN), c * Math.sin(lng * RADIAN), Math.sin(lat * RADIAN)];
    }

    function place(lat, lng) {
        var v = vertical(lat, lng), n = A / Math.sqrt(1 - E2 * v[2] * v[2]);
        return [n * v[0], n * v[1], n * (1 - E2) * v[2]];
    }

    function minus(a, b) { return [a[0] - b[0], a[1] - b[1], a[2] - b[2]]; }
    function dot(a, b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
    function cross(a, b) {
        return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
    }

    /* Eleven numbers per leg: A; (B - A) / |B - A|^2; the normal n; |B - A|^2; R. */
    var STRIDE = 11;

    function legsOf(route) {
        var count = Math.max(1, route.length - 1), legs = TrackLine.numbers(count * STRIDE);
        for (var i = 0; i < count; ++i) {
            var p = route[i], q = route[Math.min(i + 1, route.length - 1)];
            var a = place(p.lat, p.lng), along = minus(place(q.lat, q.lng), a), length2 = dot(along, along);
            var v = vertical(p.lat, p.lng), w = vertical(q.lat, q.lng), s = v[2];
            var n = cross(along, [v[0] + w[0], v[1] + w[1], v[2] + w[2]]), size = Math.sqrt(dot(n, n));
            /* Two way points at the same position are a point: t is always 0. */
            var isPoint = length2 < 1e-6 || size === 0;
            for (var k = 0; k < 3; ++k) {
                legs[i * STRIDE + k] = a[k];
                legs[i * STRIDE + 3 + k] = isPoint ? 0 : along[k] / length2;
                legs[i * STRIDE + 6 + k] = isPoint ? 0 : n[k] / size;
            }
            legs[i * STRIDE + 9] = isPoint ? 0 : length2;
            legs[i * STRIDE + 10] = A * Math.sqrt(1 - E2) / (1 - E2 * s * s);
        }
        return { count: count, values: legs };
    }

    /* Distance over the ground by the first two terms of the arc series: accurate enough to compare legs. */
    function distanceTo(v, j, x, y, z) {
        var r2 = v[j + 10] * v[j + 10], dx = x - v[j], dy = y - v[j + 1], dz = z - v[j + 2];
        var t = dx * v[j + 3] + dy * v[j + 4] + dz * v[j + 5], length2 = v[j + 9], d;
        if (t >= 0 && t <= 1 && length2 > 0) {
            d = Math.abs(dx * v[j + 6] + dy * v[j + 7] + dz * v[j + 8]);
            return d * (1 + d * d / (6 * r2));
        }
        if (t > 1) {
            dx -= v[j + 3] * length2;
            dy -= v[j + 4] * length2;
            dz -= v[j + 5] * length2;
        }
        d = Math.sqrt(dx * dx + dy * dy + dz * dz);
        return d * (1 + d * d / (24 * r2));
    }

    /* The exact distance over the ground. */
    function exactly(v, j, x, y, z) {
        var r = v[j + 10], dx = x - v[j], dy = y - v[j + 1], dz = z - v[j + 2], length2 = v[j + 9];
        var t = dx * v[j + 3] + dy * v[j + 4] + dz * v[j + 5];
        if (t >= 0 && t <= 1 && length2 > 0)
            return r * Math.asin(Math.min(1, Math.abs(dx * v[j + 6] + dy * v[j + 7] + dz * v[j + 8]) / r));
        if (t > 1) {
            dx -= v[j + 3] * length2;
            dy -= v[j + 4] * length2;
            dz -= v[j + 5] * length2;
        }
        return 2 * r * Math.asin(Math.min(1, Math.sqrt(dx * dx + dy * dy + dz * dz) / (2 * r)));
    }

    /*
     * Processes a track point by point. A distance changes by at most the step between two points. So the candidates
     * for the nearest leg are searched once for the neighbourhood of a point, and the other legs are skipped there.
     */
    function Walk(points, route) {
        this.points = points;
        this.legs = legsOf(route);
        this.distance = TrackLine.numbers(points.count);
        this.at = 0;
        this.sum = 0;
        this.max = -1;
        this.maxAt = 0;
        this.near = [];
        this.nearX = this.nearY = this.nearZ = 0;
        this.reach = -1;
    }

    Walk.prototype.look = function (x, y, z) {
        var v = this.legs.values, all = this.legs.count, found = TrackLine.numbers(all), best = Infinity, j;
        for (j = 0; j < all; ++j) {
            found[j] = distanceTo(v, j * STRIDE, x, y, z);
            best = Math.min(best, found[j]);
        }
        this.reach = Math.max(50, best / 5);
        this.near = [];
        for (j = 0; j < all; ++j) {
            /* Twice the reach, plus a margin for the curvature, which the rule above ignores. */
            if (found[j] <= best * 1.001 + 2.01 * this.reach + 1)
                this.near.push(j * STRIDE);
        }
        this.nearX = x;
        this.nearY = y;
        this.nearZ = z;
    };

    /* Works until a time. Returns true when finished. */
    Walk.prototype.run = function (until) {
        var p = this.points, v = this.legs.values;
        for (; this.at < p.count; ++this.at) {
            if (this.at % 500 === 499 && Date.now() > until) {
                /* Processes one point, so that the next run does not stop here again. */
                this.step(p, v);
                ++this.at;
                return this.at >= p.count;
            }
            this.step(p, v);
        }
        return true;
    };

    Walk.prototype.step = function (p, v) {
        var at = place(p.lat[this.at], p.lng[this.at]), x = at[0], y = at[1], z = at[2];
        var dx = x - this.nearX, dy = y - this.nearY, dz = z - this.nearZ;
        if (this.reach < 0 || dx * dx + dy * dy + dz * dz > this.reach * this.reach)
            this.look(x, y, z);
        var best = Infinity, leg = 0;
        for (var k = 0; k < this.near.length; ++k) {
            var d = distanceTo(v, this.near[k], x, y, z);
            if (d < best) {
                best = d;
                leg = this.near[k];
            }
        }
        best = exactly(v, leg, x, y, z);
        this.distance[this.at] = best;
        this.sum += best;
        if (best > this.max) {
            this.max = best;
            this.maxAt = this.at;
        }
    };

    Walk.prototype.result = function () {
        return {
            distance: this.distance, max: this.max, maxAt: this.maxAt,
            mean: this.points.count ? this.sum / this.points.count : 0
        };
    };

    /* Computes everything at once. points: of a TrackLine; route: positions, at least one. */
    function compute(points, route) {
        var walk = new Walk(points, route);
        walk.run(Infinity);
        return walk.result();
    }

    /* Computes in time slices and calls done(result) at the end. Returns a function that cancels it. */
    function start(points, route, progress, done) {
        var walk = new Walk(points, route), timer = 0;
        function slice() {
            if (walk.run(Date.now() + SLICE))
                return done(walk.result());
            progress(walk.at / points.count);
            timer = window.setTimeout(slice, 0);
        }
        timer = window.setTimeout(slice, 0);
        return function () { window.clearTimeout(timer); };
    }

    /* Step of the colour scale: 1, 2 or 5 times a power of ten, so that the last but one colour starts below max. */
    function stepFor(max) {
        var power = Math.pow(10, Math.floor(Math.log(Math.max(max, 1e-3) / COLOURS.length) / Math.LN10));
        var factors = [1, 2, 5, 10];
        for (var i = 0; i < factors.length; ++i) {
            if (factors[i] * power * COLOURS.length >= max)
                return factors[i] * power;
        }
        return 10 * power;
    }

    /* The track drawn in colours. Where it overlaps itself within a pixel, the first pass is visible. */
    var DeviationLine = TrackLine.extend({
        initialize: function (line, distance, step, options) {
            this._distance = distance;
            this._step = step;
            TrackLine.prototype.initialize.call(this, line, options);
        },
        _kindOf: function (i) {
            return Math.min(COLOURS.length - 1, Math.floor(this._distance[i] / this._step));
        },
        _updatePath: function () {
            if (!this._renderer._drawing || this._parts.length === 0)
                return;
            var kinds = COLOURS.map(function () { return []; });
            this._parts.forEach(function (part) { kinds[part.kind].push(part); });
            /* A dark outline separates light colours from a light background. */
            this.options.color = '#1b1b1b';
            this.options.weight = 8;
            this._stroke(this._parts);
            this.options.weight = 5;
            for (var k = 0; k < kinds.length; ++k) {
                this.options.color = COLOURS[k];
                if (kinds[k].length)
                    this._stroke(kinds[k]);
            }
        }
    });

    o.deviation = { compute: compute, start: start, stepFor: stepFor, Line: DeviationLine, colours: COLOURS };
}(window));
