/* Controls of the panel, each with a visible and accessible label. */
(function (window) {
    'use strict';

    var o = window.mapPage;
    var numbered = 0;

    /* A row with a label and a control. */
    function field(words, control, parent) {
        var row = o.element('div', 'field', parent), label = o.element('label', '', row, words);
        control.id = 'control-' + (++numbered);
        label.htmlFor = control.id;
        row.appendChild(control);
        return control;
    }

    function input(words, type, parent) {
        var control = o.element('input');
        control.type = type;
        return field(words, control, parent);
    }

    /* words: the button's text; more: a longer accessible name, for example for buttons in the rows of a list. */
    function button(words, parent, clicked, more) {
        var control = o.element('button', '', parent, words);
        control.type = 'button';
        if (more)
            control.setAttribute('aria-label', more);
        control.addEventListener('click', clicked);
        return control;
    }

    function section(words, parent) {
        var box = o.element('section', '', parent), head = o.element('h2', '', box, words);
        head.id = 'control-' + (++numbered);
        box.setAttribute('aria-labelledby', head.id);
        return box;
    }

    /* Replaces the items of a select; a selected item stays selected if it still exists. Items are objects. */
    function choose(select, items, nameOf) {
        var before = select.items ? select.items[select.selectedIndex] : null;
        select.items = items;
        select.innerHTML = '';
        items.forEach(function (item) {
            var option = o.element('option', '', select, nameOf(item));
            option.selected = same(item, before);
        });
        if (items.length === 0)
            o.element('option', '', select, '（没有）');
        select.disabled = items.length === 0;
        return before !== null && before !== undefined && items.some(function (item) { return same(item, before); });
    }

    function same(a, b) { return Boolean(b) && (a === b || (a.line !== undefined && a.line === b.line)); }

    function chosen(select) { return select.items && select.items[select.selectedIndex] || null; }

    /* A status line; screen readers announce changes. */
    function status(parent) {
        var box = o.element('p', 'status', parent);
        box.setAttribute('role', 'status');
        return box;
    }

    function say(box, words, isFault) {
        box.innerHTML = '';
        box.className = 'status' + (isFault ? ' fault' : '');
        box.appendChild(window.document.createTextNode(words));
    }

    /* Returns a function that runs work after a short delay, once for all calls in that time. */
    function soon(work) {
        var timer = 0;
        return function () {
            if (!timer)
                timer = window.setTimeout(function () {
                    timer = 0;
                    work();
                }, 30);
        };
    }

    o.form = {
        field: field, input: input, button: button, section: section, choose: choose, chosen: chosen,
        status: status, say: say, soon: soon
    };
}(window));
