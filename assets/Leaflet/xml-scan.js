/*
 * A streaming XML parser that builds no document: the browser's parser takes seconds for a track of 200,000 points.
 * Tags must be closed and attributes quoted. Entity declarations are rejected, to prevent entity expansion attacks.
 */
(function (window) {
    'use strict';

    /* The attributes of a tag: any number of ' name="value"'. */
    var ATTRIBUTES = /^(?:\s+[^\s=<>"'\/]+\s*=\s*(?:"[^"<]*"|'[^'<]*'))*\s*$/;
    /* One of them. */
    var PAIR = /([^\s=<>"'\/]+)\s*=\s*(?:"([^"]*)"|'([^']*)')/g;
    var NAME = /^[^\s<>"'=\/&]+$/;
    /* Maximum nesting of an element that ends. Each level may ask for the content of all levels below it. */
    var MAX_DEPTH = 64;
    var NAMES = { lt: '<', gt: '>', amp: '&', quot: '"', apos: "'" };

    function Broken(at, words) {
        this.at = at;
        this.words = words;
    }

    function local(name) { return name.slice(name.indexOf(':') + 1); }

    function character(code) {
        return code > 0xFFFF ? String.fromCharCode(0xD800 + ((code - 0x10000) >> 10), 0xDC00 + (code & 0x3FF))
            : String.fromCharCode(code);
    }

    function decoded(text) {
        return text.indexOf('&') < 0 ? text : text.replace(/&(?:#x([\da-f]{1,6})|#(\d{1,7})|(\w+));/gi,
            function (all, hex, decimal, name) {
                var code = hex ? parseInt(hex, 16) : Number(decimal);
                if (name)
                    return NAMES.hasOwnProperty(name) ? NAMES[name] : all;
                return code > 0 && code <= 0x10FFFF ? character(code) : all;
            });
    }

    /* Value of an attribute in the text of a valid tag; null when it is missing. */
    function attribute(text, name) {
        PAIR.lastIndex = 0;
        for (var found = PAIR.exec(text); found; found = PAIR.exec(text)) {
            if (found[1] === name)
                return decoded(found[2] === undefined ? found[3] : found[2]);
        }
        return null;
    }

    /* Name and attributes of the tag that starts at "at" and has its > at end; null when it is not a valid tag. */
    function tagOf(text, at, end) {
        var isEmpty = end > at && text.charCodeAt(end - 1) === 47, tag = text.substring(at + 1, isEmpty ? end - 1 : end);
        var space = tag.search(/\s/), name = space < 0 ? tag : tag.slice(0, space), rest = space < 0 ? '' : tag.slice(space);
        return NAME.test(name) && ATTRIBUTES.test(rest) ? { name: name, rest: rest, isEmpty: isEmpty, end: end } : null;
    }

    /* Nearly every tag ends at the next >; only a quoted value may contain another one. */
    function readTag(text, at) {
        var end = text.indexOf('>', at), tag = end < 0 ? null : tagOf(text, at, end), quote = '';
        for (var i = at; !tag && end >= 0 && i < text.length; ++i) {
            var c = text.charAt(i);
            if (quote)
                quote = c === quote ? '' : quote;
            else if (c === '"' || c === "'")
                quote = c;
            else if (c === '<' && i > at)
                break;
            else if (c === '>') {
                tag = tagOf(text, at, i);
                break;
            }
        }
        if (!tag)
            throw new Broken(at);
        return tag;
    }

    /* Skips markup that starts with <! or <?. Returns the position after it. */
    function skip(text, at) {
        var ends = text.substr(at, 4) === '<!--' ? '-->' : text.substr(at, 9) === '<![CDATA[' ? ']]>'
            : text.charAt(at + 1) === '?' ? '?>' : '>';
        var end = text.indexOf(ends, at + 2);
        if (end < 0)
            throw new Broken(at);
        if (ends === '>' && text.substring(at, end).indexOf('[') >= 0)
            throw new Broken(at, '含有实体声明，不予读取');
        return end + ends.length;
    }

    /* The text content of an element whose markup has been scanned, without tags and comments. */
    function content(raw) {
        var text = '', at = 0, open = raw.indexOf('<');
        while (open >= 0) {
            text += decoded(raw.substring(at, open));
            var second = raw.charCodeAt(open + 1);
            if (second === 33 || second === 63) { /* ! ? */
                at = skip(raw, open);
                if (raw.substr(open, 9) === '<![CDATA[')
                    text += raw.substring(open + 9, at - 3);
            } else {
                at = (second === 47 ? raw.indexOf('>', open) : readTag(raw, open).end) + 1;
            }
            open = raw.indexOf('<', at);
        }
        return (text + decoded(raw.slice(at))).trim();
    }

    /*
     * Calls open(name, attributes, path) and close(name, content function, path) for each element. Names have no
     * prefixes; path holds the names of the enclosing elements. Throws errors as { at, words }.
     */
    function scan(text, open, close) {
        var path = [], names = [], begins = [], at = text.indexOf('<'), roots = 0, raw = [0, 0];
        function inside() { return content(text.substring(raw[0], raw[1])); }
        while (at >= 0) {
            var second = text.charCodeAt(at + 1), end;
            if (second === 33 || second === 63) { /* ! ? */
                at = text.indexOf('<', skip(text, at));
                continue;
            }
            if (second === 47) { /* / */
                end = text.indexOf('>', at);
                if (end < 0 || names.length === 0 || text.substring(at + 2, end).trim() !== names.pop())
                    throw new Broken(at);
                if (path.length > MAX_DEPTH)
                    throw new Broken(at, '的元素嵌套过深，不予读取');
                raw = [begins.pop(), at];
                close(path.pop(), inside, path);
            } else {
                var tag = readTag(text, at), name = local(tag.name);
                if (path.length === 0 && roots++ > 0)
                    throw new Broken(at);
                end = tag.end;
                open(name, tag.rest, path);
                if (tag.isEmpty) {
                    raw = [end, end];
                    close(name, inside, path);
                } else {
                    path.push(name);
                    names.push(tag.name);
                    begins.push(end + 1);
                }
            }
            at = text.indexOf('<', end);
        }
        if (path.length || roots === 0)
            throw new Broken(text.length);
    }

    function line(text, at) { return text.slice(0, at).split('\n').length; }

    window.mapPage.xml = { scan: scan, attribute: attribute, Broken: Broken, line: line };
}(window));
