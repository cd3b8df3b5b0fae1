/* Distances and bearings on the WGS 84 ellipsoid. */
var geodesic = (function () {
    'use strict';

    var A = 6378137.0;
    var F = 1 / 298.257223563;
    var B = A * (1 - F);
    var RADIAN = Math.PI / 180;

    /* On a sphere, for nearly antipodal points, for which Vincenty's iteration does not converge. */
    function spherical(lat1, lng1, lat2, lng2) {
        var p1 = lat1 * RADIAN, p2 = lat2 * RADIAN, dl = (lng2 - lng1) * RADIAN;
        var h = Math.pow(Math.sin((p2 - p1) / 2), 2) + Math.cos(p1) * Math.cos(p2) * Math.pow(Math.sin(dl / 2), 2);
        return {
            distance: 2 * 6371008.8 * Math.asin(Math.min(1, Math.sqrt(h))),
            bearing: degrees(Math.atan2(Math.sin(dl) * Math.cos(p2),
                Math.cos(p1) * Math.sin(p2) - Math.sin(p1) * Math.cos(p2) * Math.cos(dl)))
        };
    }

    function degrees(radians) {
        var d = radians / RADIAN % 360;
        return d < 0 ? d + 360 : d;
    }

    /* Arguments in degrees. Returns the distance in metres and the initial bearing in degrees, 0 <= bearing < 360. */
    function inverse(lat1, lng1, lat2, lng2) {
        if (lat1 === lat2 && lng1 === lng2)
            return { distance: 0, bearing: 0 };
        var L = (lng2 - lng1) * RADIAN;
        var u1 = Math.atan((1 - F) * Math.tan(lat1 * RADIAN)), u2 = Math.atan((1 - F) * Math.tan(lat2 * RADIAN));
        var su1 = Math.sin(u1), cu1 = Math.cos(u1), su2 = Math.sin(u2), cu2 = Math.cos(u2);
        var lambda = L, before, sl, cl, ss, cs, sigma, sa, ca2, c2m, c, i;
        for (i = 0; i < 100; ++i) {
            sl = Math.sin(lambda);
            cl = Math.cos(lambda);
            ss = Math.sqrt(Math.pow(cu2 * sl, 2) + Math.pow(cu1 * su2 - su1 * cu2 * cl, 2));
            if (ss === 0)
                return { distance: 0, bearing: 0 };
            cs = su1 * su2 + cu1 * cu2 * cl;
            sigma = Math.atan2(ss, cs);
            sa = cu1 * cu2 * sl / ss;
            ca2 = 1 - sa * sa;
            c2m = ca2 > 1e-15 ? cs - 2 * su1 * su2 / ca2 : 0;
            c = F / 16 * ca2 * (4 + F * (4 - 3 * ca2));
            before = lambda;
            lambda = L + (1 - c) * F * sa * (sigma + c * ss * (c2m + c * cs * (2 * c2m * c2m - 1)));
            if (Math.abs(lambda - before) < 1e-12)
                break;
        }
        if (i === 100 || isNaN(lambda))
            return spherical(lat1, lng1, lat2, lng2);
        var us = ca2 * (A * A - B * B) / (B * B);
        var ka = 1 + us / 16384 * (4096 + us * (-768 + us * (320 - 175 * us)));
        var kb = us / 1024 * (256 + us * (-128 + us * (74 - 47 * us)));
        var ds = kb * ss * (c2m + kb / 4 * (cs * (2 * c2m * c2m - 1)
            - kb / 6 * c2m * (4 * ss * ss - 3) * (4 * c2m * c2m - 3)));
        return {
            distance: B * ka * (sigma - ds),
            bearing: degrees(Math.atan2(cu2 * sl, cu1 * su2 - su1 * cu2 * cl))
        };
    }

    /*
     * The length of a line of points { at: { lat, lng } }. Steps below 0.05 degrees use the mid-latitude formula with
     * the radii of curvature M and N, with a relative error below 1e-6; the iteration would take half a second for
     * 200,000 steps.
     */
    function lengthOf(points) {
        var total = 0, e2 = F * (2 - F);
        for (var i = 1; i < points.length; ++i) {
            var a = points[i - 1].at, b = points[i].at, dLat = b.lat - a.lat, dLng = b.lng - a.lng;
            if (Math.abs(dLat) > 0.05 || Math.abs(dLng) > 0.05) {
                total += inverse(a.lat, a.lng, b.lat, b.lng).distance;
                continue;
            }
            var middle = (a.lat + b.lat) / 2 * RADIAN, s = Math.sin(middle), w = 1 - e2 * s * s;
            var north = A * (1 - e2) / (w * Math.sqrt(w)) * dLat, east = A / Math.sqrt(w) * Math.cos(middle) * dLng;
            total += Math.sqrt(north * north + east * east) * RADIAN;
        }
        return total;
    }

    return { inverse: inverse, lengthOf: lengthOf, A: A, F: F };
}());
