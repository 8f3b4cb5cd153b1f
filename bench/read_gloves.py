#!/usr/bin/env python3
"""Reads simulated gloves record by record at the highest rate that their radio carries: read_gloves.py [SECONDS]"""

import resource
import sys
import time

import tessel

seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 600
with tessel.open(simulated=True, simulation=["rate 1000"]) as gloves:
    end = time.monotonic() + seconds
    highest = 0
    for record in gloves:
        highest = max(highest, record["left"].max(), record["right"].max())
        if time.monotonic() > end:
            break
    statistics = gloves.statistics()
usage = resource.getrusage(resource.RUSAGE_SELF)
print(
    f"{record.number + 1} records in {seconds:g} s, {statistics.records_per_second:.1f} a second; "
    f"{statistics.overflowed} not read in time; highest value {highest}; "
    f"CPU time {usage.ru_utime + usage.ru_stime:.1f} s with the simulation, peak memory {usage.ru_maxrss} KiB"
)
sys.exit(statistics.overflowed > 0)
