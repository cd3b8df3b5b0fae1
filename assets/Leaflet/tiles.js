/* The layers of the tile service on loopback, and a message when it does not answer. */
(function (window) {
    'use strict';

    /* Port of the tile service; wmts.exe has the same constant. */
    var TILE_PORT = 9800;
    var TILE_SERVICE = 'http://127.0.0.1:' + TILE_PORT;
    var DEFAULT_LAYER = 'demo';
    var ASK_AGAIN = 3000; /* milliseconds between requests to the tile service */

    var o = window.mapPage, map = o.map;

    var switcher = L.control.layers({}, { '经纬网': o.graticule }, {
        /* Expanded, it covers a third of the map on a phone. */
        collapsed: o.narrow()
    }).addTo(map);
    switcher.getContainer().getElementsByTagName('a')[0].title = '图层';
    var serviceNote = o.element('div', 'note service hidden', map.getContainer());
    serviceNote.setAttribute('role', 'status');
    serviceNote.innerHTML = '瓦片服务未应答，仅显示经纬网';
    var tileLayers = [];

    /* Any program may listen on the port, so all answers are validated. */
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
        /* Below its minimum zoom level a layer is empty and the grid is visible. */
        return L.tileLayer(TILE_SERVICE + '/' + encodeURIComponent(info.name) + '/{z}/{x}/{y}', options);
    }

    function removeTileLayers() {
        tileLayers.forEach(function (layer) {
            map.removeLayer(layer);
            switcher.removeLayer(layer);
        });
        tileLayers = [];
    }

    /* Replaces the list of layers by those of the service; the selected layer stays selected. */
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
     * The user may start the service at any time, so the page polls until it answers. The service may also end at any
     * time, so the page polls again when a tile is missing. Most missing tiles just do not exist in the map.
     */
    var asking = false;
    var offered = ''; /* the last answer; its layers are on the map */
    var missed = false; /* a request has failed since then; Leaflet does not retry missing tiles by itself */

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
