"""What to do about a call that fails: errors.py PORT"""
import sys

import cqapi

if len(sys.argv) != 2:
    sys.exit(__doc__)
try:
    instrument = cqapi.Instrument.open(sys.argv[1])
except cqapi.CQConnectionError as error:
    sys.exit(f"{error}\nIs the instrument plugged in and switched on? The library's debug log says more.")

with instrument:
    try:
        instrument.measure_standard()
    except cqapi.CQRefusedError:  # most likely not calibrated
        instrument.calibrate_white()
        instrument.calibrate_black()
        instrument.measure_standard()
        print("measured, after calibrating")
    except cqapi.CQTimeoutError:
        print("the instrument does not answer")
    except cqapi.CQError as error:
        print(f"failed with code {error.code}: {error.text}")
