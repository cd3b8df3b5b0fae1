/* Saves routes as the program's route files, GPX or KML. */
(function (window) {
    'use strict';

    var o = window.mapPage, document = window.document;
    var TYPES = {
        json: { words: '航线文件', mime: 'application/json' },
        gpx: { words: 'GPX', mime: 'application/gpx+xml' },
        kml: { words: 'KML', mime: 'application/vnd.google-earth.kml+xml' }
    };

    /* Removes characters that are invalid in XML even when escaped. */
    function xml(text) { return o.escaped(String(text).replace(/[\0-\x08\x0B\x0C\x0E-\x1F\uFFFE\uFFFF]/g, '')); }

    /*
     * A double in full precision without an exponent, which not every XML reader accepts: the digits of the shortest
     * representation, with the decimal point moved.
     */
    function decimal(value) {
        var parts = /^(-?)(\d+)(?:\.(\d+))?e([+-]\d+)$/.exec(String(value));
        if (!parts)
            return String(value);
        var digits = parts[2] + (parts[3] || ''), point = parts[2].length + Number(parts[4]);
        if (point <= 0)
            return parts[1] + '0.' + zeros(-point) + digits;
        return parts[1] + digits + zeros(point - digits.length);
    }

    function zeros(count) { return new Array(Math.max(0, count) + 1).join('0'); }

    function gpx(line) {
        var rows = line.points.map(function (point, i) {
            return '    <rtept lat="' + decimal(point.at.lat) + '" lon="' + decimal(point.at.lng) + '"><ele>'
                + decimal(o.routeFile.value(point, 'height')) + '</ele><name>' + (i + 1) + '</name><extensions><o:radius>'
                + decimal(o.routeFile.value(point, 'radius')) + '</o:radius><o:speed>' + decimal(o.routeFile.value(point, 'speed'))
                + '</o:speed></extensions></rtept>';
        });
        return '<?xml version="1.0" encoding="UTF-8"?>\n<gpx version="1.1" creator="Ostravel"'
            + ' xmlns="http://www.topografix.com/GPX/1/1" xmlns:o="urn:ostravel:route">\n  <rte>\n    <name>'
            + xml(line.name) + '</name>\n' + rows.join('\n') + '\n  </rte>\n</gpx>\n';
    }

    /* No altitude mode, so the line is clamped to the ground: a route file does not define the reference of heights. */
    function kml(line) {
        var tuples = line.points.map(function (point) {
            return '        ' + decimal(point.at.lng) + ',' + decimal(point.at.lat) + ',' + decimal(o.routeFile.value(point, 'height'));
        });
        return '<?xml version="1.0" encoding="UTF-8"?>\n<kml xmlns="http://www.opengis.net/kml/2.2">\n<Document>\n  <name>'
            + xml(line.name) + '</name>\n  <Placemark id="ostravel-route">\n    <name>' + xml(line.name)
            + '</name>\n    <LineString>\n      <tessellate>1</tessellate>\n      <coordinates>\n' + tuples.join('\n')
            + '\n      </coordinates>\n    </LineString>\n  </Placemark>\n</Document>\n</kml>\n';
    }

    function textOf(line, type) {
        return type === 'gpx' ? gpx(line) : type === 'kml' ? kml(line) : o.routeFile.write(line);
    }

    /* A name that is valid on every file system. */
    function fileName(line, type) {
        if (type === 'json' && line.source)
            return line.source.name;
        var name = line.name.replace(/[\\\/:*?"<>|\x00-\x1F\x7F]/g, '_').replace(/^[\s.]+|[\s.]+$/g, '').slice(0, 80);
        return (name || '航线') + '.' + type;
    }

    /*
     * Whether downloads work. The program's own engine announces it; a browser is detected by a feature that all
     * browsers have had since 2018. The engine in node.dll is older, and it is unknown whether it saves downloads.
     * There, and whenever a step fails, the page shows the text for copying.
     */
    function canDownload() {
        var host = window.ostravelHost;
        if (host && typeof host.saves === 'boolean')
            return host.saves;
        return 'noModule' in document.createElement('script') && 'download' in document.createElement('a')
            && typeof window.Blob === 'function' && Boolean(window.URL && window.URL.createObjectURL);
    }

    function download(name, mime, text) {
        var address = window.URL.createObjectURL(new window.Blob([text], { type: mime }));
        var link = o.element('a', 'hidden', document.body);
        link.href = address;
        link.download = name;
        link.click();
        document.body.removeChild(link);
        /* Late, because a save dialog may be open for a long time. The text is small. */
        window.setTimeout(function () { window.URL.revokeObjectURL(address); }, 600000);
    }

    o.save = { types: TYPES, textOf: textOf, fileName: fileName, canDownload: canDownload, download: download };
}(window));
