/* Panel section that moves an aircraft along a track, sample by sample. */
(function (window) {
    'use strict';

    var o = window.mapPage, map = o.map, form = o.form;
    var RATES = [1, 5, 25, 100, 500, 2500]; /* samples per second; the page does not get the times of samples */
    var STEADY = 2; /* minimum distance in metres for a heading; smaller differences are GPS noise */
    var SEARCH = 500; /* maximum number of samples to search for that distance */
    var parts = {};
    var track = null;
    var at = 0;
    var marker = null;
    var symbol = null;
    var timer = 0;
    var last = 0; /* time of the last step */

    /*
     * Direction of flight at a sample, in degrees from north: to the first later position that is clearly different; at
     * the end of the track, from the last earlier one. null when the track does not move.
     */
    function heading(line, i) {
        var here = line.position(i), n = line.count(), k, way;
        for (k = i + 1; k < n && k <= i + SEARCH; ++k) {
            way = o.between(here, line.position(k));
            if (way.distance >= STEADY)
                return way.bearing;
        }
        for (k = i - 1; k >= 0 && k >= i - SEARCH; --k) {
            way = o.between(line.position(k), here);
            if (way.distance >= STEADY)
                return way.bearing;
        }
        return null;
    }

    function show() {
        var line = track.line, here = line.position(at), direction = heading(line, at);
        if (!marker) {
            symbol = o.drawing('aircraft', 16, [['body', 'M0-14C1.6-14 2-10 2-7L2-3L13 4L13 7L2 3.5L1.5 9L5 12L5 14L0 12.5'
                + 'L-5 14L-5 12L-1.5 9L-2 3.5L-13 7L-13 4L-2-3L-2-7C-2-10-1.6-14 0-14Z']]);
            marker = L.marker(here, {
                interactive: false, keyboard: false, zIndexOffset: 1000,
                icon: L.divIcon({ className: 'aircraft-box', iconSize: [38, 38], html: symbol })
            }).addTo(map);
        }
        marker.setLatLng(here);
        symbol.firstChild.setAttribute('transform', 'rotate(' + (direction || 0) + ')');
        parts.slider.value = at;
        var words = '样本 ' + line.sample(at) + '，' + o.positionText(here, 6).replace('　', '，')
            + (direction === null ? '' : '，航向 ' + o.bearing(direction));
        parts.words.nodeValue = words;
        parts.slider.setAttribute('aria-valuetext', words);
        if (parts.follow.checked && !map.getBounds().pad(-0.1).contains(here))
            map.panTo(here, { animate: false });
    }

    function stop() {
        window.clearInterval(timer);
        timer = 0;
        parts.play.firstChild.nodeValue = '播放';
    }

    function tick() {
        var now = Date.now(), rate = RATES[parts.rate.selectedIndex], steps = Math.floor((now - last) * rate / 1000);
        if (steps < 1)
            return;
        last += steps * 1000 / rate;
        at = Math.min(track.line.count() - 1, at + steps);
        show();
        if (at === track.line.count() - 1)
            stop();
    }

    function play() {
        if (timer)
            return stop();
        if (!track)
            return;
        if (at >= track.line.count() - 1)
            at = 0;
        last = Date.now();
        timer = window.setInterval(tick, 40);
        parts.play.firstChild.nodeValue = '暂停';
        show();
    }

    function close() {
        stop();
        if (marker)
            map.removeLayer(marker);
        marker = null;
        parts.words.nodeValue = track ? '拖动滑块或播放，显示飞机。' : '地图上没有航迹。';
    }

    function take() {
        var next = form.chosen(parts.track), isSame = track && next && track.line === next.line;
        track = next;
        if (isSame)
            return;
        at = 0;
        close();
        parts.slider.max = track ? track.line.count() - 1 : 0;
        parts.slider.value = 0;
        parts.slider.disabled = parts.play.disabled = !track;
        parts.off.disabled = !track;
    }

    var refresh = form.soon(function () {
        form.choose(parts.track, o.allTracks(), function (item) { return item.name; });
        take();
    });

    o.buildReplay = function (panel) {
        var box = form.section('回放', panel);
        parts.track = form.field('航迹', o.element('select'), box);
        parts.track.addEventListener('change', take);
        parts.slider = form.input('样本', 'range', box);
        parts.slider.min = 0;
        parts.slider.addEventListener('input', function () {
            stop();
            at = Number(parts.slider.value);
            show();
        });
        parts.rate = form.field('每秒样本数', o.element('select'), box);
        RATES.forEach(function (rate) { o.element('option', '', parts.rate, String(rate)); });
        parts.rate.selectedIndex = 2;
        parts.rate.addEventListener('change', function () { last = Date.now(); });
        parts.follow = form.input('地图跟随飞机', 'checkbox', box);
        parts.follow.checked = true;
        var row = o.element('div', 'row', box);
        parts.play = form.button('播放', row, play);
        parts.off = form.button('收起飞机', row, close);
        parts.words = window.document.createTextNode('');
        o.element('p', 'status', box).appendChild(parts.words);
        o.events.on('track', refresh);
        refresh();
    };

    o.stopReplay = stop;
    /* For tests. */
    o.replay = function () {
        return { at: at, playing: timer !== 0, heading: track ? heading(track.line, at) : null, shown: marker !== null };
    };
}(window));
