/* Routes as files: the route file of the program, GPX and KML. */
(function (window) {
    'use strict';

    var o = window.mapPage, document = window.document;
    var TYPES = {
        json: { words: '航线文件', mime: 'application/json' },
        gpx: { words: 'GPX', mime: 'application/gpx+xml' },
        kml: { words: 'KML', mime: 'application/vnd.google-earth.kml+xml' }
    };

    /* Characters that XML cannot hold, escaped or not, are left out. */
    function xml(text) { return o.escaped(String(text).replace(/[\0-\x08\x0B\x0C\x0E-\x1F\uFFFE\uFFFF]/g, '')); }

    /*
     * The whole double, never with an exponent, which not every reader of XML takes: the digits of the shortest text
     * that means the number, with the point moved to its place.
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

    /* Without an altitude mode the line lies on the ground: what the heights refer to, a route file does not say. */
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

    /* A name that every file system takes. */
    function fileName(line, type) {
        if (type === 'json' && line.source)
            return line.source.name;
        var name = line.name.replace(/[\\\/:*?"<>|\x00-\x1F\x7F]/g, '_').replace(/^[\s.]+|[\s.]+$/g, '').slice(0, 80);
        return (name || '航线') + '.' + type;
    }

    /*
     * Whether a download arrives anywhere. The program's own engine says so of itself; a system's browser is known by a
     * feature that each of them has had since 2018. The engine in node.dll is older, and whether it saves downloads is
     * not known: there, as wherever a step is missing, the text is shown to be copied.
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
        /* A save dialog may be open for long; the text itself is small. */
        window.setTimeout(function () { window.URL.revokeObjectURL(address); }, 600000);
    }

    o.save = { types: TYPES, textOf: textOf, fileName: fileName, canDownload: canDownload, download: download };
}(window));
