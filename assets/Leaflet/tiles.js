/* The layers of the tile service on loopback, and the words that say when it does not answer. */
(function (window) {
    'use strict';

    /* The port of the tile service, fixed on both sides: wmts.exe listens on the same one. */
    var TILE_PORT = 9800;
    var TILE_SERVICE = 'http://127.0.0.1:' + TILE_PORT;
    var DEFAULT_LAYER = 'demo';
    var ASK_AGAIN = 3000; /* milliseconds before the tile service is asked once more */

    var o = window.mapPage, map = o.map;

    var switcher = L.control.layers({}, { '经纬网': o.graticule }, {
        /* Open it takes a third of a phone's map. */
        collapsed: o.narrow()
    }).addTo(map);
    switcher.getContainer().getElementsByTagName('a')[0].title = '图层';
    var serviceNote = o.element('div', 'note service hidden', map.getContainer());
    serviceNote.setAttribute('role', 'status');
    serviceNote.innerHTML = '瓦片服务未应答，仅显示经纬网';
    var tileLayers = [];

    /* Whatever listens at the port may answer, so nothing of an answer is taken for granted. */
    function isNumber(value) { return typeof value === 'number' && isFinite(value); }

    function tileLayer(info) {
        var options = { name: info.name, maxZoom: 20, minZoom: 0 };
        if (isNumber(info.minzoom))
            options.minNativeZoom = options.minZoom = info.minzoom;
        if (isNumber(info.maxzoom))
            options.maxNativeZoom = info.maxzoom;
        var b = info.bounds;
        if (Array.isArray(b) && b.length === 4 && b.every(isNumber))
            options.bounds = L.latLngBounds([b[1], b[0]], [b[3], b[2]]);
        /* Zoomed out below its first level a layer of small extent stays empty, and the grid shows. */
        return L.tileLayer(TILE_SERVICE + '/' + encodeURIComponent(info.name) + '/{z}/{x}/{y}', options);
    }

    function removeTileLayers() {
        tileLayers.forEach(function (layer) {
            map.removeLayer(layer);
            switcher.removeLayer(layer);
        });
        tileLayers = [];
    }

    /* What the service offers, in place of what it offered before; the layer that was chosen stays so. */
    function showLayers(list) {
        var wanted = DEFAULT_LAYER, chosen = 0;
        tileLayers.forEach(function (layer) {
            if (map.hasLayer(layer))
                wanted = layer.options.name;
        });
        removeTileLayers();
        for (var i = 0; i < list.length; ++i) {
            if (!list[i] || typeof list[i].name !== 'string')
                continue;
            var layer = tileLayer(list[i]);
            layer.on('tileerror', askAgain);
            tileLayers.push(layer);
            switcher.addBaseLayer(layer, '瓦片：' + o.escaped(list[i].name));
            if (list[i].name === wanted)
                chosen = tileLayers.length - 1;
        }
        if (tileLayers.length === 0)
            return false;
        tileLayers[chosen].addTo(map);
        return true;
    }

    function note(text) {
        serviceNote.innerHTML = text;
        serviceNote.className = 'note service' + (text ? '' : ' hidden');
    }

    /*
     * The service may be started at any time, by the button beside the map, so the page asks until it answers; and it may
     * end at any time, so the page asks once more when a tile does not come. Most such tiles are just not in the map.
     */
    var asking = false;
    var offered = ''; /* the answer whose layers are on the map */
    var missed = false; /* the service did not answer since: tiles that it owed are not asked for by themselves */

    function askAgain() {
        if (asking)
            return;
        asking = true;
        window.setTimeout(askForLayers, ASK_AGAIN);
    }

    function askForLayers() {
        var request = new XMLHttpRequest();
        var done = false;
        asking = true;
        function answered(text) {
            if (done)
                return;
            done = true;
            asking = false;
            note(text);
            if (text) {
                missed = true;
                askAgain();
            }
        }
        request.onload = function () {
            var list = null;
            try {
                list = JSON.parse(request.responseText);
            } catch (e) {
                list = null;
            }
            if (request.status !== 200 || !list || typeof list.length !== 'number')
                return answered('瓦片服务应答有误，仅显示经纬网');
            if (missed || request.responseText !== offered) {
                offered = request.responseText;
                missed = false;
                if (!showLayers(list))
                    return answered('瓦片服务没有图层，仅显示经纬网');
            }
            answered('');
        };
        request.onerror = request.ontimeout = function () { answered('瓦片服务未应答，仅显示经纬网'); };
        try {
            request.open('GET', TILE_SERVICE + '/layers.json', true);
            request.timeout = 5000;
            request.send();
        } catch (e) {
            answered('瓦片服务未应答，仅显示经纬网');
        }
    }

    o.tileLayerCount = function () { return tileLayers.length; };
    askForLayers();
}(window));
