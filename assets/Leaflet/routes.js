/* Routes and measured distances: lines that the user clicks point by point; routes may also come from a file. */
(function (window) {
    'use strict';

    /* Maximum number of points with markers, which are page elements. Longer routes show only the line. */
    var MARKED = 500;
    var LABELLED = 100; /* maximum number of points of a route with labels on its legs */
    var ON_SVG = 500; /* maximum number of points of an SVG line; longer lines are drawn on the canvas */

    var o = window.mapPage, map = o.map;
    var MODE_TEXTS = {
        draw: '航线绘制：单击添加航点，拖动航点可移动，双击或按 Esc 结束当前航线',
        measure: '测距：依次单击各点，双击或按 Esc 结束当前测量'
    };
    var modeNote = o.element('div', 'note mode hidden', map.getContainer());
    modeNote.setAttribute('role', 'status');
    var mode = '';
    var growing = null;
    var held = false; /* a way point is being dragged */
    var dropped = false; /* a way point has just been dropped */
    var numbered = 0;
    var rubber = L.polyline([], { renderer: o.svg, color: '#555', weight: 1, dashArray: '4 4', interactive: false });

    o.lines = []; /* all lines; an unfinished line is the last */

    function Line(kind) {
        this.kind = kind;
        this.points = []; /* { at: position, way: the way point's object in its file, or null } */
        this.markers = []; /* one per point, or none */
        this.legs = []; /* length and bearing of the leg from each point but the last */
        this.signs = []; /* labels of the legs */
        this.total = 0;
        this.source = null; /* the file of an unchanged route, otherwise null */
        this.kept = null; /* the document of its file, to preserve other keys */
        this.revision = 0;
        this.editable = kind === 'draw' && mode === 'draw';
        this.name = kind === 'draw' ? '航线 ' + (++numbered) : '';
        this.group = L.layerGroup().addTo(map);
        this.labels = L.layerGroup().addTo(this.group);
        this.line = null;
        this.style(o.svg);
    }

    Line.prototype.style = function (renderer) {
        if (this.line && this.line.options.renderer === renderer)
            return;
        if (this.line)
            this.group.removeLayer(this.line);
        this.line = L.polyline([], {
            renderer: renderer, color: this.kind === 'draw' ? '#1763a6' : '#7a3fa0', weight: 3, interactive: false
        }).addTo(this.group);
    };

    Line.prototype.positions = function () {
        return this.points.map(function (point) { return point.at; });
    };

    Line.prototype.last = function () { return this.points[this.points.length - 1].at; };

    Line.prototype.mark = function (latlng) {
        var self = this, draws = this.kind === 'draw', index = -1;
        var marker = o.dot(latlng, draws ? 'vertex' : 'vertex measure', draws ? 14 : 10, {
            draggable: draws, autoPan: false, zIndexOffset: this.editable ? 400 : 0
        }).addTo(this.group);
        marker.on('dragstart', function () {
            held = true;
            index = self.markers.indexOf(marker);
            rubber.setLatLngs([]);
            o.events.fire('grab', { line: self, index: index });
        });
        marker.on('drag', function () {
            self.points[index].at = marker.getLatLng();
            self.points[index].moved = true;
            self.touch();
            self.refresh(index - 1, index + 1);
        });
        marker.on('dragend', function () {
            held = false;
            /* A fast drag may be released beside the point; the browser then also sends a click to the map. */
            dropped = true;
            window.setTimeout(function () { dropped = false; }, 0);
            o.events.fire('dropped', { line: self });
        });
        /* The second click of a double click hits the point that the first one created. */
        marker.on('dblclick', function (e) {
            L.DomEvent.stop(e);
            finish();
        });
        marker.on('click', function () {
            if (mode && (growing !== self || mode === 'measure'))
                clicked(marker.getLatLng());
            else if (!mode)
                o.events.fire('vertex', { line: self, index: self.markers.indexOf(marker) });
        });
        if (draws && !this.editable)
            marker.dragging.disable();
        return marker;
    };

    /* Marks the route as changed since it was read from a file. */
    Line.prototype.touch = function () {
        this.source = null;
        ++this.revision;
    };

    Line.prototype.add = function (latlng) {
        this.insert(this.points.length, latlng);
    };

    Line.prototype.insert = function (index, latlng) {
        var near = this.points[Math.max(0, index - 1)], way = null;
        /* A new point copies all values of its neighbour except the position. */
        if (near && near.way)
            way = JSON.parse(JSON.stringify(near.way));
        this.points.splice(index, 0, { at: latlng, way: way, moved: true });
        this.touch();
        if (this.points.length > MARKED)
            return this.rebuild();
        this.markers.splice(index, 0, this.mark(latlng));
        this.legs.splice(index, 0, null);
        this.signs.splice(index, 0, null);
        this.update();
    };

    Line.prototype.removeAt = function (index) {
        this.points.splice(index, 1);
        this.touch();
        this.rebuild();
    };

    Line.prototype.place = function (index, latlng) {
        this.points[index].at = latlng;
        this.points[index].moved = true;
        this.touch();
        if (this.markers[index])
            this.markers[index].setLatLng(latlng);
        this.refresh(index - 1, index + 1);
    };

    /* Sets all points at once: from a file, or after a move of the whole route. */
    Line.prototype.setPoints = function (points) {
        this.points = points;
        this.rebuild();
    };

    Line.prototype.rebuild = function () {
        var group = this.group;
        this.markers.forEach(function (marker) { group.removeLayer(marker); });
        this.labels.clearLayers();
        this.signs = [];
        this.markers = this.points.length > MARKED ? [] : this.points.map(function (point) {
            return this.mark(point.at);
        }, this);
        this.style(this.points.length > ON_SVG ? o.canvas : o.svg);
        this.update();
    };

    Line.prototype.update = function () {
        if (this.points.length > MARKED) {
            this.line.setLatLngs(this.positions());
            this.total = geodesic.lengthOf(this.points);
            this.labels.clearLayers();
            o.events.fire('lines');
            return;
        }
        this.labels.clearLayers();
        this.signs = [];
        this.refresh(0, this.points.length);
    };

    /* Updates the legs that start at the points from..to. */
    Line.prototype.refresh = function (from, to) {
        var points = this.points, draws = this.kind === 'draw', i;
        if (points.length > MARKED)
            return this.update();
        this.line.setLatLngs(this.positions());
        this.legs.length = Math.max(0, points.length - 1);
        for (i = Math.max(0, from); i <= to && i < this.legs.length; ++i) {
            this.legs[i] = o.between(points[i].at, points[i + 1].at);
            if (draws)
                this.sign(i);
        }
        this.total = 0;
        if (!draws)
            this.labels.clearLayers();
        for (i = 0; i < this.legs.length; ++i) {
            this.total += this.legs[i].distance;
            if (!draws)
                o.label(points[i + 1].at, 'measure', (i === this.legs.length - 1 ? '总距离 ' : '') + o.metres(this.total))
                    .addTo(this.labels);
        }
        o.events.fire('lines');
    };

    Line.prototype.sign = function (i) {
        if (this.signs[i])
            this.labels.removeLayer(this.signs[i]);
        this.signs[i] = null;
        if (this.points.length > LABELLED)
            return;
        var a = this.points[i].at, b = this.points[i + 1].at, leg = this.legs[i];
        var middle = map.unproject(map.project(a, 20).add(map.project(b, 20)).divideBy(2), 20);
        this.signs[i] = o.label(middle, 'leg', o.metres(leg.distance) + '　' + o.bearing(leg.bearing)).addTo(this.labels);
    };

    Line.prototype.setDraggable = function (on) {
        if (this.kind !== 'draw')
            return;
        this.editable = on;
        this.markers.forEach(function (marker) {
            marker.dragging[on ? 'enable' : 'disable']();
            /* Above the start and end markers of a track at the same position. */
            marker.setZIndexOffset(on ? 400 : 0);
        });
    };

    Line.prototype.remove = function () { map.removeLayer(this.group); };

    function clicked(latlng) {
        if (!growing) {
            growing = new Line(mode);
            o.lines.push(growing);
            rubber.addTo(map);
        } else if (map.latLngToContainerPoint(growing.last()).distanceTo(map.latLngToContainerPoint(latlng)) < 4) {
            return; /* second click of a double click */
        }
        growing.add(latlng);
        rubber.setLatLngs([]);
    }

    /* Finishes the current line. The mode stays active; the next click starts another line. */
    function finish() {
        if (growing && growing.points.length < 2) {
            growing.remove();
            o.lines.splice(o.lines.indexOf(growing), 1);
        }
        growing = null;
        rubber.setLatLngs([]);
        map.removeLayer(rubber);
        o.events.fire('lines');
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
        o.events.fire('mode', { name: mode });
        o.lines.forEach(function (line) { line.setDraggable(mode === 'draw'); });
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
    window.document.addEventListener('keydown', function (e) {
        if (e.key === 'Escape' || e.keyCode === 27)
            finish();
    }, true);

    /* ---- For the other files ---- */

    o.finish = finish;
    o.mode = function () { return mode; };
    o.isGrowing = function (line) { return line ? growing === line : growing !== null; };

    /* The two modes are exclusive: switching one on ends the other. */
    o.toggle = function (name, on) {
        if (Number(on))
            setMode(name);
        else if (mode === name)
            setMode('');
    };

    o.routes = function () {
        return o.lines.filter(function (line) { return line.kind === 'draw'; });
    };

    /* Adds a route with a name and points [{ at, way, moved }], before an unfinished line, which must be the last. */
    o.addRoute = function (name, points, source) {
        var line = new Line('draw');
        if (name)
            line.name = name;
        o.lines.splice(growing ? o.lines.length - 1 : o.lines.length, 0, line);
        line.setPoints(points);
        line.source = source || null;
        return line;
    };

    o.restoreRoute = function (line) {
        line.group.addTo(map);
        o.lines.splice(growing ? o.lines.length - 1 : o.lines.length, 0, line);
        line.setDraggable(mode === 'draw');
        o.events.fire('lines');
    };

    o.removeRoute = function (line) {
        if (growing === line)
            finish();
        var at = o.lines.indexOf(line);
        if (at >= 0)
            o.lines.splice(at, 1);
        line.remove();
        o.events.fire('lines');
    };
}(window));
