/* A grid of latitude and longitude below the tiles. */
(function (window) {
    'use strict';

    var o = window.mapPage, map = o.map;
    var STEPS = [30, 20, 10, 5, 2, 1, 0.5, 0.2, 0.1, 0.05, 0.02, 0.01, 0.005, 0.002, 0.001, 0.0005, 0.0002];

    var Graticule = L.GridLayer.extend({
        createTile: function (at) {
            var size = this.getTileSize(), tile = window.document.createElement('canvas'), ctx = tile.getContext('2d');
            tile.width = size.x;
            tile.height = size.y;
            tile.className = 'graticule';
            var perDegree = 256 * Math.pow(2, at.z) / 360, step = STEPS[0], digits = 0, i;
            for (i = 0; i < STEPS.length && STEPS[i] * perDegree >= 150; ++i)
                step = STEPS[i];
            digits = Math.max(0, Math.ceil(-Math.log(step) / Math.LN10 - 1e-9));
            var origin = at.scaleBy(size), margin = 110, z = at.z;
            function unproject(x, y) { return map.unproject(origin.add([x, y]), z); }
            var nw = unproject(-margin, -20), se = unproject(size.x, size.y + 20);
            var x, y, lat, lng, k, m, lngs = [], lats = [];
            for (k = Math.ceil(nw.lng / step); k * step <= se.lng; ++k)
                lngs.push(k);
            for (k = Math.ceil(se.lat / step); k * step <= nw.lat; ++k)
                lats.push(k);
            ctx.strokeStyle = o.night ? '#3a4953' : '#ccd6dc';
            ctx.fillStyle = o.night ? '#93a5b0' : '#667883';
            ctx.font = '11px "Microsoft YaHei", "Noto Sans CJK SC", sans-serif';
            ctx.beginPath();
            for (k = 0; k < lngs.length; ++k) {
                x = Math.round(map.project([0, lngs[k] * step], z).x - origin.x) + 0.5;
                ctx.moveTo(x, 0);
                ctx.lineTo(x, size.y);
            }
            for (k = 0; k < lats.length; ++k) {
                y = Math.round(map.project([lats[k] * step, 0], z).y - origin.y) + 0.5;
                ctx.moveTo(0, y);
                ctx.lineTo(size.x, y);
            }
            ctx.stroke();
            /* Includes crossings on the left of the tile, whose labels extend into it. */
            for (k = 0; k < lngs.length; ++k) {
                for (m = 0; m < lats.length; ++m) {
                    lng = lngs[k] * step;
                    lat = lats[m] * step;
                    if (Math.abs(lng) > 180)
                        continue;
                    x = Math.round(map.project([0, lng], z).x - origin.x);
                    y = Math.round(map.project([lat, 0], z).y - origin.y);
                    ctx.fillText(o.hemisphere(lat, '北', '南', digits) + ' ' + o.hemisphere(lng, '东', '西', digits),
                        x + 4, y - 4);
                }
            }
            return tile;
        }
    });
    /* Large tiles, because each is a canvas and a label is drawn in every tile that it overlaps. */
    o.graticule = new Graticule({ pane: 'grid', tileSize: 512, updateWhenZooming: false, keepBuffer: 1 }).addTo(map);
}(window));
