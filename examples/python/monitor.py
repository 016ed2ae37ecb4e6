"""Shows measurements as they are made with the instrument's own button: monitor.py PORT COUNT"""
import queue
import sys

import cqapi

SPECTRUM_OFFSET = 64  # in the virtual instrument's records

if len(sys.argv) != 3:
    sys.exit(__doc__)
measurements = queue.Queue()
with cqapi.Instrument.open(sys.argv[1]) as instrument:
    # Runs on a thread of the library, and leaves the work to this one.
    instrument.set_measurement_handler(lambda is_standard, record: measurements.put((is_standard, record)))
    for _ in range(int(sys.argv[2])):
        is_standard, record = measurements.get()
        lab = cqapi.color_from_spectrum(record.spectrum(SPECTRUM_OFFSET))
        print("standard" if is_standard else "trial   ", "L* %6.2f  a* %6.2f  b* %6.2f" % tuple(lab), flush=True)
