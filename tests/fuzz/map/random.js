/* Seeded random numbers: the same seed gives the same choices in every run. */
(function (window) {
    'use strict';

    function Random(seed) { this.state = seed >>> 0; }

    /* A number from 0 to below 1 (mulberry32). */
    Random.prototype.next = function () {
        this.state = (this.state + 0x6D2B79F5) >>> 0;
        let t = this.state;
        t = Math.imul(t ^ (t >>> 15), t | 1);
        t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
        return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
    };
    Random.prototype.below = function (count) { return Math.floor(this.next() * count); };
    Random.prototype.between = function (from, to) { return from + this.next() * (to - from); };
    Random.prototype.chance = function (probability) { return this.next() < probability; };
    Random.prototype.pick = function (list) { return list[this.below(list.length)]; };
    Random.prototype.list = function (count, make) { return Array.from({ length: count }, make); };

    window.MapFuzzRandom = Random;
}(window));
