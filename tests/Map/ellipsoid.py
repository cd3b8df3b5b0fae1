"""Geodesics on WGS 84 for the tests, and the distance to a route by a search, which the page does otherwise."""

import math

A, F = 6378137.0, 1 / 298.257223563
B = A * (1 - F)


def inverse(lat1, lng1, lat2, lng2):
    """Length in metres and first bearing in degrees, by Vincenty's formulae."""
    if (lat1, lng1) == (lat2, lng2):
        return 0.0, 0.0
    u1, u2 = (math.atan((1 - F) * math.tan(math.radians(lat))) for lat in (lat1, lat2))
    dl = math.radians((lng2 - lng1 + 180) % 360 - 180)
    s1, c1, s2, c2 = math.sin(u1), math.cos(u1), math.sin(u2), math.cos(u2)
    lam = dl
    for _ in range(200):
        sl, cl = math.sin(lam), math.cos(lam)
        ss = math.hypot(c2 * sl, c1 * s2 - s1 * c2 * cl)
        if ss == 0:
            return 0.0, 0.0
        cs = s1 * s2 + c1 * c2 * cl
        sigma = math.atan2(ss, cs)
        sa = c1 * c2 * sl / ss
        ca2 = 1 - sa * sa
        cm = cs - 2 * s1 * s2 / ca2 if ca2 > 1e-15 else 0.0
        c = F / 16 * ca2 * (4 + F * (4 - 3 * ca2))
        before, lam = lam, dl + (1 - c) * F * sa * (sigma + c * ss * (cm + c * cs * (2 * cm * cm - 1)))
        if abs(lam - before) < 1e-14:
            break
    us = ca2 * (A * A - B * B) / (B * B)
    ka = 1 + us / 16384 * (4096 + us * (-768 + us * (320 - 175 * us)))
    kb = us / 1024 * (256 + us * (-128 + us * (74 - 47 * us)))
    ds = kb * ss * (cm + kb / 4 * (cs * (2 * cm * cm - 1) - kb / 6 * cm * (4 * ss * ss - 3) * (4 * cm * cm - 3)))
    bearing = math.degrees(math.atan2(c2 * sl, c1 * s2 - s1 * c2 * cl)) % 360
    return B * ka * (sigma - ds), bearing


def destination(lat, lng, bearing, distance):
    """Where a geodesic leads, by Vincenty's direct formulae."""
    if distance < 0:
        bearing, distance = bearing + 180, -distance
    a1 = math.radians(bearing)
    u1 = math.atan((1 - F) * math.tan(math.radians(lat)))
    s1, c1 = math.sin(u1), math.cos(u1)
    sigma1 = math.atan2(math.tan(u1), math.cos(a1))
    sa = c1 * math.sin(a1)
    ca2 = 1 - sa * sa
    us = ca2 * (A * A - B * B) / (B * B)
    ka = 1 + us / 16384 * (4096 + us * (-768 + us * (320 - 175 * us)))
    kb = us / 1024 * (256 + us * (-128 + us * (74 - 47 * us)))
    sigma = distance / (B * ka)
    for _ in range(200):
        cm = math.cos(2 * sigma1 + sigma)
        ss, cs = math.sin(sigma), math.cos(sigma)
        ds = kb * ss * (cm + kb / 4 * (cs * (2 * cm * cm - 1) - kb / 6 * cm * (4 * ss * ss - 3) * (4 * cm * cm - 3)))
        before, sigma = sigma, distance / (B * ka) + ds
        if abs(sigma - before) < 1e-15:
            break
    ss, cs, cm = math.sin(sigma), math.cos(sigma), math.cos(2 * sigma1 + sigma)
    x = s1 * ss - c1 * cs * math.cos(a1)
    lat2 = math.atan2(s1 * cs + c1 * ss * math.cos(a1), (1 - F) * math.hypot(sa, x))
    lam = math.atan2(ss * math.sin(a1), c1 * cs - s1 * ss * math.cos(a1))
    c = F / 16 * ca2 * (4 + F * (4 - 3 * ca2))
    dl = lam - (1 - c) * F * sa * (sigma + c * ss * (cm + c * cs * (2 * cm * cm - 1)))
    return math.degrees(lat2), (lng + math.degrees(dl) + 180) % 360 - 180


def distance_to_route(point, route):
    """The least geodesic distance to any place of any leg, by a search along each leg's geodesic."""
    best = min(inverse(*point, *place)[0] for place in route)
    for a, b in zip(route, route[1:]):
        length, bearing = inverse(*a, *b)

        def at(along, a=a, bearing=bearing):
            return inverse(*point, *destination(*a, bearing, along))[0]
        low, high = 0.0, length
        # The distance to a line has one minimum along it.
        for _ in range(90):
            third = (high - low) / 3
            if at(low + third) < at(high - third):
                high -= third
            else:
                low += third
        best = min(best, at((low + high) / 2))
    return best
