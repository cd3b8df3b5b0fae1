/* Panel section that compares a planned route with a flown track. */
(function (window) {
    'use strict';

    var o = window.mapPage, map = o.map, form = o.form;
    var shown = null; /* { route, line, layer, result } on the map */
    var running = null; /* { route, revision, track, line } of the running comparison */
    var stopWork = null;
    var parts = {};

    function hide() {
        if (stopWork)
            stopWork();
        stopWork = running = null;
        if (shown)
            map.removeLayer(shown.layer);
        shown = null;
        parts.result.innerHTML = '';
        parts.off.disabled = true;
    }

    function row(words, value) {
        o.element('dt', '', parts.list, words);
        return o.element('dd', '', parts.list, value);
    }

    function legend(step) {
        var list = o.element('ul', 'legend', parts.result), colours = o.deviation.colours;
        list.setAttribute('aria-label', '颜色与偏差');
        colours.forEach(function (colour, i) {
            var item = o.element('li', '', list), swatch = o.element('span', 'swatch', item), last = i === colours.length - 1;
            swatch.style.backgroundColor = colour;
            o.element('span', '', item, last ? '≥ ' + text(step * i) : text(step * i) + ' – ' + text(step * (i + 1)));
        });
    }

    function text(metres) {
        return Number(metres.toPrecision(6)) + ' 米';
    }

    function show(work, result) {
        var step = o.deviation.stepFor(result.max), line = work.line;
        var layer = new o.deviation.Line(line, result.distance, step, { renderer: o.canvas, pane: 'track' });
        shown = {
            route: work.route, revision: work.revision, track: work.track, line: line, layer: layer.addTo(map), result: result
        };
        parts.off.disabled = false;
        parts.list = o.element('dl', '', parts.result);
        row('最大偏差', o.metres(result.max));
        row('平均偏差', o.metres(result.mean));
        row('最大处', '样本 ' + line.sample(result.maxAt));
        form.button('移到最大处', parts.result, function () { map.panTo(line.position(result.maxAt)); });
        legend(step);
        form.say(parts.status, '比较完成：最大偏差 ' + o.metres(result.max) + '，平均偏差 ' + o.metres(result.mean) + '。');
    }

    function compare() {
        fill();
        run(form.chosen(parts.route), form.chosen(parts.track));
    }

    function run(route, track) {
        hide();
        if (!route || !track)
            return form.say(parts.status, !route ? '地图上没有航线。' : '地图上没有航迹。', true);
        form.say(parts.status, '正在计算…');
        running = { route: route, revision: route.revision, track: track, line: track.line };
        parts.off.disabled = false;
        stopWork = o.deviation.start(track.line.coordinates(), route.positions(), function (share) {
            form.say(parts.status, '正在计算… ' + Math.floor(share * 100) + '%');
        }, function (result) {
            var work = running;
            stopWork = running = null;
            show(work, result);
        });
    }

    /* Removes the result when its route or its track is no longer on the map. */
    function fill() {
        var routes = o.routes().filter(function (line) { return line.points.length > 0; }), tracks = o.allTracks();
        form.choose(parts.route, routes, function (line) { return line.name; });
        form.choose(parts.track, tracks, function (track) { return track.name; });
        var work = shown || running;
        var there = work && routes.indexOf(work.route) >= 0
            && tracks.some(function (track) { return track.line === work.line; });
        if (work && !there) {
            hide();
            form.say(parts.status, '');
        }
    }
    var refresh = form.soon(fill);

    /* Recalculates a result after its route has changed, when the user pauses. */
    var moved = null;
    function changed() {
        refresh();
        window.clearTimeout(moved);
        var work = shown || running;
        if (work && work.revision !== work.route.revision)
            moved = window.setTimeout(function () {
                var now = shown || running;
                if (now)
                    run(now.route, now.track);
            }, 300);
    }

    o.deviationText = function (line, i) {
        return shown && shown.line === line ? '<br>偏差 ' + o.metres(shown.result.distance[i]) : '';
    };

    o.buildCompare = function (panel) {
        var box = form.section('计划与实飞', panel);
        parts.route = form.field('航线', o.element('select'), box);
        parts.track = form.field('航迹', o.element('select'), box);
        var buttons = o.element('div', 'row', box);
        form.button('比较', buttons, compare);
        parts.off = form.button('取消着色', buttons, function () {
            hide();
            form.say(parts.status, '');
        });
        parts.status = form.status(box);
        parts.result = o.element('div', 'result', box);
        parts.off.disabled = true;
        o.events.on('lines', changed);
        o.events.on('track', refresh);
        o.events.on('clear', function () {
            hide();
            form.say(parts.status, '');
        });
        refresh();
    };

    /* For tests. */
    o.comparison = function () { return shown; };
    o.isComparing = function () { return running !== null; };
}(window));
