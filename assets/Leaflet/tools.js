/* The panel beside the map: opens files and contains the sections of the other files. */
(function (window) {
    'use strict';

    var o = window.mapPage, map = o.map, form = o.form, document = window.document;
    var panel = document.getElementById('tools');
    var file = null;
    var status = null;
    var isOpen = false;

    /* ---- Files ---- */

    function take(name, result) {
        if (result.error)
            return { words: name + '：' + result.error, isFault: true };
        var bounds = L.latLngBounds([]), shown = 0;
        result.routes.forEach(function (route) {
            var line = o.addRoute(route.name, route.points, route.source);
            line.kept = route.doc || null;
            bounds.extend(line.points.length > 1 ? line.line.getBounds() : line.points[0].at);
            ++shown;
        });
        result.tracks.forEach(function (track) {
            bounds.extend(o.addTrack(track.name, track.flat).line.getBounds());
            ++shown;
        });
        o.showAll(bounds);
        var words = [];
        if (result.routes.length)
            words.push('航线 ' + result.routes.length + ' 条');
        if (result.tracks.length)
            words.push('航迹 ' + result.tracks.length + ' 条');
        if (result.note)
            words.push(result.note);
        return { words: name + '：' + words.join('，') + '。', isFault: false };
    }

    /* Opens files one after the other, in the selected order. An invalid file does not stop the others. */
    function openFiles(files) {
        var said = [], isFault = false, i = 0;
        function next() {
            if (i >= files.length)
                return;
            var one = files[i++];
            o.trackFile.readFile(one, function (result) {
                var told = take(one.name, result);
                said.push(told.words);
                isFault = isFault || told.isFault;
                form.say(status, said.join('\n'), isFault);
                next();
            });
        }
        form.say(status, '正在读取…');
        next();
    }

    function buildFiles() {
        var box = form.section('打开文件', panel);
        /* The file input is invisible above its label, so that the page's text is shown instead of the browser's. */
        var row = o.element('div', 'chooser', box), label = o.element('label', '', row, '选择航线或航迹文件…');
        file = o.element('input');
        file.type = 'file';
        file.id = label.htmlFor = 'file';
        file.multiple = true;
        row.insertBefore(file, label);
        /* No type filter: the system may not know the type of a route file. The content decides. */
        file.addEventListener('change', function () {
            var list = [].slice.call(file.files || []);
            /* Lets the user select the same file again. */
            file.value = '';
            if (list.length)
                openFiles(list);
        });
        o.element('p', 'hint', box, '航线文件（JSON）、GPX、KML、GeoJSON。文件只在本页面中读取，不上传。');
        status = form.status(box);
    }

    /* ---- The panel ---- */

    function setOpen(on) {
        isOpen = on;
        document.body.className = on ? 'with-tools' : '';
        o.toolButton.setAttribute('aria-expanded', String(on));
        map.invalidateSize({ animate: false });
        if (on) {
            panel.scrollTop = 0;
            file.focus();
            return;
        }
        o.editor.stop();
        o.stopReplay();
        o.toolButton.focus();
    }

    function build() {
        var head = o.element('div', 'head', panel);
        o.element('h1', '', head, '地图工具');
        form.button('收起', head, function () { setOpen(false); }, '收起地图工具');
        buildFiles();
        o.buildRoutes(panel);
        o.buildCompare(panel);
        o.buildReplay(panel);
    }

    build();
    o.tools = { toggle: function () { setOpen(!isOpen); } };
}(window));
