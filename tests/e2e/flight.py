"""Expected values of a recorded flight: an independent decoder in Python."""

import calendar
import math
import struct
from collections import namedtuple

Field = namedtuple("Field", "position format divisor")


def float32(value):
    return struct.unpack("f", struct.pack("f", value))[0]


class Flight:
    """Frame counts, series by label, start time and both tracks."""

    PERIOD_MS = 200

    # function code: (maximum length of a frame that is not decoded, fields)
    FIELDS = {
        0x01: (16, {"原点经度": Field(8, ">i", 1e7), "原点纬度": Field(12, ">i", 1e7)}),
        0x02: (65, {"子飞行模式": Field(29, ">B", 1), "月": Field(44, ">B", 1),
                    "日": Field(45, ">B", 1), "时": Field(46, ">B", 1), "分": Field(47, ">B", 1),
                    "秒": Field(48, ">B", 1)}),
        0x03: (48, {"横滚": Field(6, ">h", 1e2), "GPS星数": Field(15, ">B", 1), "经度": Field(16, ">i", 1e7),
                    "纬度": Field(20, ">i", 1e7), "相对高度": Field(32, ">i", 1e2), "地速": Field(42, ">h", 1e2)}),
        0x04: (77, {"加计X": Field(6, ">h", 1e3)}),
        0x05: (33, {"目标航点级别": Field(6, ">B", 1), "目标横滚": Field(22, ">h", 1e2)}),
        0x41: (34, {"光轴俯仰角": Field(6, ">h", 10)}),
    }

    def __init__(self, lines):
        """Decodes the lines, each a frame as hexadecimal text, in order."""
        self.groups = {code: [] for code in self.FIELDS}
        self.frames = 0
        self.errors = 0
        for line in lines:
            self._decode(bytes.fromhex(line))
        self._pad(0x02, 0x03)
        self._pad(0x04, 0x02)
        self._pad(0x05, 0x04)
        self.track = self._track(self._track_start(), 1000.0)
        start = self._attack_start()
        self.attack_track = [] if start is None else self._track(start, 10000.0)

    def series(self, label):
        for code, (_, fields) in self.FIELDS.items():
            if label in fields:
                column = list(fields).index(label)
                return [sample[column] for sample in self.groups[code]]
        raise KeyError(label)

    def start(self):
        """Time of sample 0 on the aircraft's clock in whole seconds since the epoch, as if the clock were in UTC."""
        clock = list(zip(*map(self.series, "月日时分秒")))
        for i, (month, day, hour, minute, second) in enumerate(clock):
            if month <= 12 and day <= 31 and hour <= 24 and minute <= 60 and second <= 60 and \
                    month == clock[len(clock) // 2][0]:
                # Going back to sample 0 wraps at midnight and keeps the date.
                of_day = (1000 * int(3600 * hour + 60 * minute + second) - i * self.PERIOD_MS) % 86400000 // 1000
                return calendar.timegm((2023, int(month), int(day), 0, 0, 0)) + of_day
        raise AssertionError("the clock of this flight was never set")

    def keys(self, label):
        """Times of a series' samples in seconds, with the same epoch as start()."""
        start = float(self.start())
        return [i * (self.PERIOD_MS / 1000.0) + start for i in range(len(self.series(label)))]

    def _decode(self, frame):
        self.frames += 1
        if frame[:2] != b"\xaa\xec" or len(frame) < 4:
            self.errors += 1
            return
        code = frame[3]
        if code in self.FIELDS:
            gate, fields = self.FIELDS[code]
            if len(frame) > gate:
                self.groups[code].append(
                    [struct.unpack_from(field.format, frame, field.position)[0] / field.divisor
                     for field in fields.values()])
            else:
                self._repeat(code)
        # A group of the chain may have at most one sample more than the next group, and never fewer.
        for leader, follower in ((0x04, 0x05), (0x02, 0x04), (0x03, 0x02)):
            ahead = len(self.groups[leader]) - len(self.groups[follower])
            if ahead < 0:
                self._repeat(leader)
            elif ahead > 1:
                self._repeat(follower)

    def _repeat(self, code):
        group = self.groups[code]
        group.append(group[-1] if group else [0.0] * len(self.FIELDS[code][1]))

    def _pad(self, follower, leader):
        if len(self.groups[leader]) > len(self.groups[follower]):
            self._repeat(follower)

    def _track_start(self):
        return next((i for i, satellites in enumerate(self.series("GPS星数")) if satellites > 10), 0)

    def _attack_start(self):
        modes = self.series("子飞行模式")
        count = min(len(self.groups[0x03]), len(modes))
        for i in range(count, 0, -1):
            if i < len(modes) and modes[i] == 26 and modes[i - 1] != 26:
                return None if i == count else i
        return 0

    def _track(self, start, jump):
        origin_lng, origin_lat = (float32(self.series(label)[-10]) for label in ("原点经度", "原点纬度"))
        scale = float32(max(math.cos(math.radians(int(origin_lat * 1e7) / 1e7)), 0.01))
        metres = 1e7 * 0.011131884530186653
        points = []
        positions = zip(*(self.series(label)[start:] for label in ("经度", "纬度", "相对高度")))
        for lng, lat, height in positions:
            point = [(lng - origin_lng) * metres * scale, (lat - origin_lat) * metres, height]
            if not points:
                point[2] = min(point[2], 1000.0)
            else:
                before = points[-1]
                for axis in (0, 1):
                    if abs(point[axis] - before[axis]) > jump:
                        point[axis] = before[axis]
                if abs(point[2] - before[2]) > 100.0 or abs(point[2]) > 1000.0:
                    point[2] = before[2]
            points.append(point)
        return points
