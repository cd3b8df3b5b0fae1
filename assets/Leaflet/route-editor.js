/* Editor of one route: with the pointer on the map, or with input fields, which also work with the keyboard. */
(function (window) {
    'use strict';

    var o = window.mapPage, map = o.map, form = o.form;
    var KEYS = [['latitude', '纬度（°）'], ['longitude', '经度（°）'], ['height', '高度（米）'], ['radius', '半径（米）'],
        ['speed', '速度（米/秒）']];
    var line = null;
    var index = 0;
    var box = null;
    var fields = {};
    var layer = L.layerGroup(); /* the handles */
    var closed = null;

    /* ---- On the map ---- */

    function showChoice() {
        line.markers.forEach(function (marker, i) {
            L.DomUtil[i === index ? 'addClass' : 'removeClass'](marker.getElement(), 'chosen');
        });
    }

    /* A handle in the middle of each leg: a click inserts a way point there, a drag where it is dropped. */
    function showMiddles() {
        line.points.forEach(function (point, i) {
            if (i === 0)
                return;
            var a = map.project(line.points[i - 1].at, 20), b = map.project(point.at, 20);
            var handle = o.dot(map.unproject(a.add(b).divideBy(2), 20), 'vertex middle', 12, {
                draggable: true, autoPan: false, title: '在此处添加航点'
            }).addTo(layer);
            function add() { insert(i, handle.getLatLng()); }
            handle.on('click', add);
            handle.on('dragend', add);
        });
    }

    /* A long route has no markers; only the selected point gets one. */
    function showLone() {
        var marker = o.dot(line.points[index].at, 'vertex chosen', 14, { draggable: true, autoPan: false }).addTo(layer);
        marker.on('dragend', function () {
            line.place(index, marker.getLatLng());
            refresh();
        });
    }

    function showMover() {
        var at = line.line.getBounds().getCenter();
        var mover = o.dot(at, 'mover', 26, { draggable: true, autoPan: false, text: '✥', title: '拖动以移动整条航线' }).addTo(layer);
        mover.on('dragend', function () { moveBy(mover.getLatLng().lat - at.lat, mover.getLatLng().lng - at.lng); });
    }

    /*
     * Moves the whole route by degrees. Scales longitude differences for the new latitude, so that the route keeps its
     * east-west extent in metres.
     */
    function moveBy(dLat, dLng) {
        var centre = line.line.getBounds().getCenter(), RADIAN = Math.PI / 180;
        var moved = line.points.map(function (point) {
            var lat = point.at.lat + dLat, scale = Math.cos(point.at.lat * RADIAN) / Math.cos(lat * RADIAN);
            return L.latLng(lat, centre.lng + dLng + (point.at.lng - centre.lng) * scale);
        });
        var fits = moved.every(function (at) { return Math.abs(at.lat) < 90 && Math.abs(at.lng) <= 180; });
        if (!fits)
            return form.say(fields.status, '移动后超出经纬度范围，未移动。', true), refresh();
        line.touch();
        line.setPoints(line.points.map(function (point, i) {
            return { at: moved[i], way: point.way, moved: true };
        }));
        refresh();
    }

    function moveByMetres() {
        var north = Number(fields.north.value), east = Number(fields.east.value);
        if (!isFinite(north) || !isFinite(east))
            return form.say(fields.status, '请输入米数。', true);
        var lat = line.line.getBounds().getCenter().lat * Math.PI / 180, e2 = geodesic.F * (2 - geodesic.F);
        var w = 1 - e2 * Math.pow(Math.sin(lat), 2), m = geodesic.A * (1 - e2) / Math.pow(w, 1.5);
        var n = geodesic.A / Math.sqrt(w), degree = 180 / Math.PI;
        moveBy(north / m * degree, east / (n * Math.cos(lat)) * degree);
    }

    function insert(at, latlng) {
        line.insert(at, latlng);
        index = at;
        refresh();
    }

    /* Inserts a point after the selected one: half way to the next one, or after the last at the map's centre. */
    function insertAfter() {
        var next = line.points[index + 1], here = line.points[index].at;
        var at = next ? L.latLng((here.lat + next.at.lat) / 2, (here.lng + next.at.lng) / 2) : map.getCenter().wrap();
        insert(index + 1, at);
        form.say(fields.status, '已添加第 ' + (index + 1) + ' 个航点。');
    }

    function removePoint() {
        if (line.points.length < 2)
            return form.say(fields.status, '航线至少要有一个航点；要删除整条航线，请用列表中的“删除”。', true);
        form.say(fields.status, '已删除第 ' + (index + 1) + ' 个航点。');
        line.removeAt(index);
        index = Math.min(index, line.points.length - 1);
        refresh();
    }

    /* ---- The fields ---- */

    function takeField(key) {
        var text = fields[key].value.trim(), value = Number(text), point = line.points[index];
        var limit = key === 'latitude' ? 90 : key === 'longitude' ? 180 : Infinity;
        if (text === '' || !isFinite(value) || Math.abs(value) > limit) {
            form.say(fields.status, '“' + text + '”不是有效的' + labelOf(key) + '，未更改。', true);
            return showFields();
        }
        form.say(fields.status, '');
        if (key === 'latitude')
            line.place(index, L.latLng(value, point.at.lng));
        else if (key === 'longitude')
            line.place(index, L.latLng(point.at.lat, value));
        else
            o.routeFile.setValue(line, index, key, value);
        refresh();
    }

    function labelOf(key) {
        return KEYS.filter(function (pair) { return pair[0] === key; })[0][1].replace(/（.*/, '');
    }

    /* The text from the file if it is unchanged; the converter treats other types than text as 0. */
    function coordinateText(text, degrees) {
        return typeof text === 'string' && text.trim() !== '' && Number(text) === degrees
            ? text : o.routeFile.degreesText(degrees);
    }

    function showFields() {
        var point = line.points[index], way = point.way;
        fields.number.max = line.points.length;
        fields.number.value = index + 1;
        fields.count.nodeValue = '共 ' + line.points.length + ' 个航点';
        fields.latitude.value = coordinateText(way && way.latitude, point.at.lat);
        fields.longitude.value = coordinateText(way && way.longitude, point.at.lng);
        o.routeFile.keys.forEach(function (key) { fields[key].value = o.routeFile.value(point, key); });
    }

    function refresh() {
        if (!line)
            return;
        index = Math.max(0, Math.min(index, line.points.length - 1));
        layer.clearLayers();
        if (line.markers.length) {
            showChoice();
            showMiddles();
        } else {
            showLone();
        }
        showMover();
        showFields();
    }

    function choose(to) {
        index = to;
        refresh();
    }

    function nameBox() { box.setAttribute('aria-label', '编辑航线 ' + line.name); }

    function build(parent) {
        box = o.element('div', 'editor', parent);
        box.setAttribute('role', 'group');
        nameBox();
        fields.number = form.input('航点', 'number', box);
        fields.number.min = 1;
        fields.number.addEventListener('change', function () { choose(Math.round(Number(fields.number.value)) - 1 || 0); });
        fields.count = window.document.createTextNode('');
        fields.number.parentNode.appendChild(fields.count);
        KEYS.forEach(function (pair) {
            fields[pair[0]] = form.input(pair[1], 'text', box);
            fields[pair[0]].inputMode = 'decimal';
            fields[pair[0]].addEventListener('change', function () { takeField(pair[0]); });
        });
        var row = o.element('div', 'row', box);
        form.button('在后面添加', row, insertAfter);
        form.button('删除航点', row, removePoint);
        fields.north = form.input('整条向北（米）', 'text', box);
        fields.east = form.input('整条向东（米）', 'text', box);
        fields.north.value = fields.east.value = '0';
        row = o.element('div', 'row', box);
        form.button('移动整条', row, moveByMetres);
        form.button('完成', row, stop);
        fields.status = form.status(box);
    }

    /* ---- Start and end ---- */

    function start(route, parent, done) {
        stop();
        o.toggle('draw', 0);
        o.toggle('measure', 0);
        /* Ending the drawing mode removes an unfinished route of one point. */
        if (o.routes().indexOf(route) < 0)
            return done();
        line = route;
        index = 0;
        closed = done;
        line.setDraggable(true);
        layer.addTo(map);
        L.DomUtil.addClass(map.getContainer(), 'editing');
        build(parent);
        refresh();
    }

    function stop() {
        if (!line)
            return;
        var route = line, done = closed;
        line = null;
        route.markers.forEach(function (marker) {
            /* A marker has no element while its route is not on the map. */
            if (marker.getElement())
                L.DomUtil.removeClass(marker.getElement(), 'chosen');
        });
        if (map.hasLayer(route.group))
            route.setDraggable(o.mode() === 'draw');
        layer.clearLayers();
        map.removeLayer(layer);
        L.DomUtil.removeClass(map.getContainer(), 'editing');
        box.parentNode.removeChild(box);
        done();
    }

    o.events.on('vertex', function (e) {
        if (e.line === line)
            choose(e.index);
    });
    o.events.on('grab', function (e) {
        if (e.line === line) {
            index = e.index;
            layer.clearLayers();
        }
    });
    o.events.on('lines', function () {
        if (line)
            nameBox();
    });
    o.events.on('dropped', function (e) {
        if (e.line === line)
            refresh();
    });
    o.events.on('mode clear', function (e) {
        if (e.type === 'clear' || e.name)
            stop();
    });
    window.document.addEventListener('keydown', function (e) {
        var tag = e.target && e.target.tagName;
        if (line && (e.key === 'Delete' || e.keyCode === 46) && tag !== 'INPUT' && tag !== 'TEXTAREA' && tag !== 'SELECT')
            removePoint();
    });

    o.editor = { start: start, stop: stop, line: function () { return line; }, choose: choose };
}(window));
