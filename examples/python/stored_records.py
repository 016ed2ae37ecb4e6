"""Copies the standards of one instrument to a file and to another instrument:
stored_records.py FROM-PORT TO-PORT FILE"""
import pathlib
import sys

import cqapi

if len(sys.argv) != 4:
    sys.exit(__doc__)
with cqapi.Instrument.open(sys.argv[1]) as source, cqapi.Instrument.open(sys.argv[2]) as target:
    standards = source.upload_standards()
    file = pathlib.Path(sys.argv[3])
    file.write_bytes(b"".join(bytes(record) for record in standards))
    target.download_standards(file.read_bytes())
    print("copied", len(standards), "of", source.total_standards(), "standards")
