/* Lists of the panel: the routes with their actions, and the tracks from files. */
(function (window) {
    'use strict';

    var o = window.mapPage, map = o.map, form = o.form;
    var MAX_CONVERTED = 5000; /* maximum number of points of a track that can be converted to a route */
    var rows = []; /* { line, box, name, length } in the panel, in the order of the routes */
    var removed = null;
    var parts = {};

    function lengthText(line) { return o.metres(line.total) + ' · ' + line.points.length + ' 个航点'; }

    function showLine(line) {
        if (line.points.length)
            o.showAll(line.points.length > 1 ? line.line.getBounds() : L.latLngBounds([line.points[0].at]));
    }

    /* ---- Saving ---- */

    function showText(line, type, words) {
        parts.text.hidden = false;
        parts.text.firstChild.firstChild.nodeValue = words;
        parts.area.value = o.save.textOf(line, type);
        parts.area.focus();
        parts.area.select();
    }

    function save(line, type) {
        var name = o.save.fileName(line, type);
        if (!o.save.canDownload())
            return showText(line, type, '此窗口不能保存文件：请复制以下文本，存为“' + name + '”（UTF-8）。');
        o.save.download(name, o.save.types[type].mime, o.save.textOf(line, type));
        form.say(parts.status, '已交付保存：' + name);
    }

    function buildText(panel) {
        parts.area = form.field(' ', o.element('textarea'), panel);
        parts.area.readOnly = true;
        parts.area.rows = 8;
        /* The label contains the instructions. */
        parts.text = parts.area.parentNode;
        parts.text.className = 'text';
        parts.text.hidden = true;
        form.button('关闭文本', parts.text, function () {
            parts.text.hidden = true;
            parts.area.value = '';
        });
    }

    /* ---- A route's row ---- */

    function rowOf(line) {
        return rows.filter(function (row) { return row.line === line; })[0] || null;
    }

    /* A button whose accessible name contains the route's name. */
    function named(row, words, parent, clicked, more) {
        var button = form.button(words, parent, clicked, more + ' ' + row.line.name);
        row.named.push([button, more]);
        return button;
    }

    function showNames(row) {
        row.named.forEach(function (pair) { pair[0].setAttribute('aria-label', pair[1] + ' ' + row.line.name); });
    }

    function remove(line) {
        if (o.editor.line() === line)
            o.editor.stop();
        removed = line;
        o.removeRoute(line);
        form.say(parts.status, '已删除“' + line.name + '”。');
        form.button('撤销删除', parts.status, function () {
            var back = removed;
            removed = null;
            if (back)
                o.restoreRoute(back);
            form.say(parts.status, '已恢复。');
            refreshRoutes();
            /* The focused button no longer exists. */
            if (rowOf(back))
                rowOf(back).edit.focus();
        }).focus();
    }

    function buildRow(line) {
        var box = o.element('li', 'route'), row = { line: line, box: box, named: [] };
        row.name = form.input('名称', 'text', box);
        row.name.value = line.name;
        row.name.maxLength = 200;
        row.name.addEventListener('change', function () {
            line.name = row.name.value.trim() || line.name;
            row.name.value = line.name;
            showNames(row);
            line.touch();
            o.events.fire('lines');
        });
        row.length = o.element('p', 'length', box).appendChild(window.document.createTextNode(''));
        var buttons = o.element('div', 'row', box);
        named(row, '定位', buttons, function () { showLine(line); }, '定位');
        row.edit = named(row, '编辑', buttons, function () {
            if (o.editor.line() === line)
                return o.editor.stop();
            /* Before the call, because it may end the editing immediately. */
            row.edit.setAttribute('aria-expanded', 'true');
            o.editor.start(line, box, function () { row.edit.setAttribute('aria-expanded', 'false'); });
        }, '编辑');
        row.edit.setAttribute('aria-expanded', 'false');
        named(row, '删除', buttons, function () { remove(line); }, '删除');
        buttons = o.element('div', 'row', box);
        var type = form.field('保存为', o.element('select'), buttons);
        Object.keys(o.save.types).forEach(function (key) {
            o.element('option', '', type, o.save.types[key].words).value = key;
        });
        named(row, '保存', buttons, function () { save(line, type.value); }, '保存');
        named(row, '文本', buttons, function () {
            showText(line, type.value, '“' + o.save.fileName(line, type.value) + '”的文本：');
        }, '显示文本');
        return row;
    }

    /* Keeps the rows of existing routes, because a new row would lose the keyboard focus. */
    function refreshRoutes() {
        var routes = o.routes();
        rows = rows.filter(function (row) {
            var stays = routes.indexOf(row.line) >= 0;
            if (!stays) {
                if (o.editor.line() === row.line)
                    o.editor.stop();
                parts.routes.removeChild(row.box);
            }
            return stays;
        });
        routes.forEach(function (line, i) {
            if (rows[i] && rows[i].line === line)
                return;
            var row = buildRow(line);
            parts.routes.insertBefore(row.box, rows[i] ? rows[i].box : null);
            rows.splice(i, 0, row);
        });
        rows.forEach(function (row) {
            var text = lengthText(row.line);
            if (row.length.nodeValue !== text)
                row.length.nodeValue = text;
        });
        parts.none.hidden = routes.length > 0;
    }

    /* ---- Tracks ---- */

    function convert(item) {
        var points = item.line.coordinates(), list = [];
        for (var i = 0; i < points.count; ++i)
            list.push({ at: L.latLng(points.lat[i], points.lng[i]), way: null, moved: true });
        o.addRoute(item.name, list);
    }

    /* Moves the focus to the next track or, without one, to the file input. */
    function removeTrack(item) {
        parts.focusAt = o.tracks.indexOf(item);
        o.removeTrackItem(item);
    }

    function refreshTracks() {
        parts.tracks.innerHTML = '';
        parts.removers = [];
        o.tracks.forEach(function (item) {
            var box = o.element('li', 'track', parts.tracks);
            o.element('p', 'length', box, item.name + ' · ' + item.line.count() + ' 个点');
            var buttons = o.element('div', 'row', box);
            form.button('定位', buttons, function () { o.showAll(item.line.getBounds()); }, '定位 ' + item.name);
            if (item.line.count() <= MAX_CONVERTED)
                form.button('转为航线', buttons, function () { convert(item); }, '转为航线 ' + item.name);
            parts.removers.push(form.button('移除', buttons, function () { removeTrack(item); }, '移除 ' + item.name));
        });
        parts.trackHead.hidden = o.tracks.length === 0;
        if (parts.focusAt >= 0)
            (parts.removers[Math.min(parts.focusAt, o.tracks.length - 1)] || window.document.getElementById('file')).focus();
        parts.focusAt = -1;
    }

    o.buildRoutes = function (panel) {
        var box = form.section('航线', panel);
        parts.none = o.element('p', 'hint', box, '还没有航线。用程序的“航线使能”在地图上绘制，或打开航线文件，或：');
        parts.routes = o.element('ul', 'list', box);
        var buttons = o.element('div', 'row', box);
        parts.draw = form.button('在地图上绘制', buttons, function () { o.toggle('draw', o.mode() === 'draw' ? 0 : 1); });
        parts.draw.setAttribute('aria-pressed', 'false');
        form.button('在地图中心新建', buttons, function () {
            var line = o.addRoute('', [{ at: map.getCenter().wrap(), way: null, moved: true }]);
            refreshRoutes();
            rowOf(line).edit.click();
        });
        parts.status = form.status(box);
        buildText(box);
        parts.trackHead = form.section('文件中的航迹', panel);
        parts.tracks = o.element('ul', 'list', parts.trackHead);
        var soon = form.soon(refreshRoutes);
        o.events.on('lines', function () {
            var routes = o.routes(), isSame = routes.length === rows.length
                && rows.every(function (row, i) { return row.line === routes[i]; });
            /* Rows are removed immediately with their routes; lengths may be updated later during a drag. */
            if (isSame)
                soon();
            else
                refreshRoutes();
        });
        o.events.on('track', form.soon(refreshTracks));
        o.events.on('mode', function (e) { parts.draw.setAttribute('aria-pressed', String(e.name === 'draw')); });
        o.events.on('clear', function () {
            removed = null;
            form.say(parts.status, '');
        });
        parts.draw.setAttribute('aria-pressed', String(o.mode() === 'draw'));
        refreshRoutes();
        refreshTracks();
    };
}(window));
