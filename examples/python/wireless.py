"""Lists the wireless instruments within reach and names the nearest: wireless.py ADAPTER-PORT"""
import sys

import cqapi

if len(sys.argv) != 2:
    sys.exit(__doc__)
adapter = sys.argv[1]
slaves = cqapi.scan(adapter)
for slave in slaves:
    print(slave.address, slave.name, slave.rssi, "dBm")
if slaves:
    nearest = max(slaves, key=lambda slave: slave.rssi)
    with cqapi.Instrument.open_wireless(adapter, nearest.address) as instrument:
        print("nearest:", instrument.device_info().info_text4)
