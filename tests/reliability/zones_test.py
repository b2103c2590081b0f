"""Around every transition of every zone the program of Zones.cpp must show the local times that Python's own zones show.

    zones_test.py PROGRAM..."""
import datetime
import struct
import subprocess
import sys
import zoneinfo

FIRST = 86400  # a day on, so that no zone shows a year before 1970
LAST = int(datetime.datetime(2037, 12, 31, tzinfo=datetime.timezone.utc).timestamp())


def listed(zone):
    """The transitions in the zone's file: in its second part, since the times of the first have 32 bits."""
    with open(f"{zoneinfo.TZPATH[0]}/{zone}", "rb") as file:
        data = file.read()
    isut, isstd, leaps, times, types, chars = struct.unpack(">6l", data[20:44])
    start = 44 + times * 5 + types * 6 + chars + leaps * 8 + isstd + isut
    count = struct.unpack(">6l", data[start + 20:start + 44])[3]
    return [t for t in struct.unpack(f">{count}q", data[start + 44:start + 44 + count * 8]) if FIRST <= t <= LAST]


def ruled(info, start):
    """Those after the last in the file, which follow from its rule: found by looking every fortnight."""
    def offset(t):
        return datetime.datetime.fromtimestamp(t, info).utcoffset()
    for low in range(start, LAST - 1209600, 1209600):
        high = low + 1209600
        if offset(low) != offset(high):
            while high - low > 1:
                middle = (low + high) // 2
                low, high = (middle, high) if offset(middle) == offset(low) else (low, middle)
            yield high


expected, asked = [], []
zones = sorted(zone for zone in zoneinfo.available_timezones() if zone != "localtime")
for zone in zones:
    info = zoneinfo.ZoneInfo(zone)
    times = listed(zone)
    times += ruled(info, times[-1] if times else FIRST)
    for t in (t + beside for t in times for beside in (-1, 0, 1)):
        local = datetime.datetime.fromtimestamp(t, info)
        asked.append(f"{zone} {t}")
        expected.append(f"{local.year}-{local.month}-{local.day} {local.hour}:{local.minute}:{local.second} "
                        f"{local.isoweekday() % 7} yes")
output = subprocess.run(sys.argv[1:], input="\n".join(asked), capture_output=True, text=True, check=True).stdout.splitlines()
wrong = [f"{a}: {o} instead of {e}" for a, o, e in zip(asked, output, expected) if o != e]
print(f"{len(zones)} zones, {len(asked)} instants, {len(wrong)} wrong", *wrong[:20], sep="\n")
sys.exit(1 if wrong or len(output) != len(expected) or len(asked) < 10000 else 0)
