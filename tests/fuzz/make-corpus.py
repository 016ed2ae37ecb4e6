#!/usr/bin/env python3
"""Writes the fuzzers' checked-in inputs, corpus/FUZZER/NAME. How each fuzzer reads its inputs stands
at the head of its source.

  make-corpus.py [FOLDER]

FOLDER is where the inputs go; without it the folder `corpus` beside this script. An input that a
fuzzer has found goes there as it is, under a name that says what it showed, and is left alone.
"""

import struct
import sys
from pathlib import Path

MORE, LAST = 0x81, 0x80  # data packets of fuzz-wired-receive
SHAKE_HANDS, GOODBYE, WATCH, GIVE_UP = 0xB0, 0xB1, 0xB2, 0xB3


def word(value):
    return struct.pack("<H", value)


def session(identifier=7, largest=64):
    return bytes([SHAKE_HANDS, 0xA2, identifier, 0]) + word(largest) + bytes(6)


def piece(payload, tag=LAST):
    return bytes([tag, len(payload)]) + payload


def raw(data):
    assert len(data) < 0x80
    return bytes([len(data)]) + data


def tenths(count):
    return bytes([0xC0 + count])


def wired_receive():
    record = bytes(range(256))
    transfer = piece(b"\x24" + record[:51], MORE) + piece(record[51:103], MORE) + piece(record[103:155])
    data = bytes.fromhex("AA55A60700000000030024 1685".replace(" ", ""))
    return {
        "keep-alive-without-session": b"\x00" + bytes([0xA8, 0]),
        "session-and-goodbye-of-instrument": b"\x00" + session() + bytes([0xA8, 7, 0xA4, 7]),
        "session-refused": b"\x00" + session(0) + session(255),
        "session-twice": b"\x00" + session() + session(9) + piece(b"\x23abc"),
        "shake-hands-answer-unasked": b"\x00" + bytes([0xA2]) + bytes(10),
        "goodbye-of-host": b"\x00" + session() + bytes([GOODBYE, 0xA5, 7]),
        "goodbye-unanswered": b"\x00" + session() + bytes([GOODBYE]) + tenths(11) + bytes([WATCH]),
        "session-given-up": b"\x00" + session() + piece(b"\x23ab", MORE) + bytes([GIVE_UP]),
        "transfer-of-three-packets": b"\x00" + session() + transfer,
        "transfer-refused-at-second-piece": b"\x02" + session() + transfer,
        "command-on-last-piece": b"\x08" + session() + transfer + bytes([0xA7, 7, 1, 0, 0, 0]),
        "command-refused-without-error": b"\x08" + session() + piece(b"\x23") + bytes([0xA7, 7, 0, 0, 0, 0xFF]),
        "command-sent-again": b"\x08" + session() + piece(b"\x23") + bytes([0xA7, 7, 0, 0, 0, 0x80]),
        "transfer-aborted": b"\x00" + session() + piece(b"\x24a", MORE) + raw(bytes.fromhex("AA55A607020100FF0000")),
        "abort-without-error": b"\x00" + session() + raw(bytes.fromhex("AA55A607000000FF0000")),
        "crc-wrong-then-right": b"\x00" + session() + piece(b"\x24ab", 0x83) + piece(b"\x24ab", MORE) + piece(b"c"),
        "out-of-turn": b"\x00" + session() + bytes([0x85, 5, 2]) + b"\x24a" + piece(b"\x24a"),
        "empty-packets": b"\x00" + session() + piece(b"", MORE) + piece(b"", MORE) + piece(b""),
        "length-0-and-1": b"\x00" + session() + raw(bytes.fromhex("AA55A60700000000 0000".replace(" ", ""))
                                                   + bytes.fromhex("AA55A60700000000010011")),
        "data-before-session": b"\x00" + raw(data) + session() + raw(data),
        "data-while-closing": b"\x00" + session() + bytes([GOODBYE]) + raw(data),
        "host-direction": b"\x00" + raw(bytes.fromhex("55AAA60700000000030024 1685".replace(" ", ""))),
        "marks-repeated": b"\x00" + session() + raw(bytes.fromhex("AAAA55A807AA55AA55A807")),
        "packet-broken-off-5s": b"\x00" + session() + raw(data[:7]) + tenths(50) + raw(data[7:]),
        "packet-broken-off-over-5s": b"\x00" + session() + raw(data[:7]) + tenths(51) + raw(data[7:] + data),
        "longest-packet-begun": b"\x00" + session() + raw(bytes.fromhex("AA55A60700000000FFFF") + bytes(90)),
        "big-packet": b"\x00" + session(7, 4096) + bytes([0x88]) + word(1000) + b"\x23" + bytes(999),
    }


def wired_client():
    send = b"\x00\x2e" + word(99)
    ok, all_ok = b"\x10", b"\x11\xff"
    small, usual, big = word(13), word(64), word(4096)
    return {
        "two-packets": usual + send + ok + ok,
        "one-byte-packets": small + b"\x00\x25" + word(20) + all_ok,
        "largest-packet-too-small": word(12) + send + all_ok,
        "many-packets": usual + b"\x00\x2e" + word(8000) + all_ok,
        "stream": usual + b"\x01\x2e" + word(10) + b"\xc8" + all_ok,
        "stream-and-full-buffer": usual + b"\x01\x2e" + word(51) + b"\x33" + all_ok,
        "no-data": usual + b"\x00\x21\x00\x00" + ok,
        "sent-again-twice": usual + send + b"\x12\x80\x00\x00\x00" * 2 + all_ok,
        "acknowledgement-doubled": usual + send + ok + b"\x12\x00\x01\x00\x00" + ok + ok,
        "acknowledgement-of-the-future": usual + send + b"\x12\x00\xff\xff\xff",
        "acknowledgement-of-nothing": usual + ok + send + ok + ok + ok,
        "refused": usual + send + b"\x12\xff\x02\x01\x00",
        "refused-without-error": usual + send + b"\x12\xff\x00\x00\x00" + send + all_ok,
        "unknown-flag": usual + send + b"\x12\x41\x01\x00\x00" + all_ok,
        "given-up-by-host": usual + b"\x02\x05\x00" + send + ok + send + all_ok,
        "busy": usual + send + send + all_ok,
        "reply-overtakes": usual + send + b"\x20\x00\x00\x00\x03\x2eab" + ok + ok,
        "reply-ends-then-next-send": usual + send + b"\x20\x00\x00\x00\x03\x2eab" + send + all_ok,
        "receiving-while-sending": usual + send + b"\x20\x40\x00\x00\x03\x2eab" + all_ok + b"\x20\x00\x01\x00\x01c",
        "goodbye-while-sending": big + send + b"\x22" + ok + send,
        "session-anew-while-sending": usual + send + b"\x30\x21\x09" + small + send + all_ok,
        "session-refused": usual + b"\x30\x21\xff" + usual + send,
        "closing": usual + send + b"\x31" + ok + b"\xcb\x32" + send,
        "closing-without-writing": usual + b"\x34" + send + b"\x31",
    }


def at_lines():
    def text(lines, size=0, awaited=1, often=0):
        return bytes([size, awaited, often]) + lines

    return {
        "ok": text(b"OK\r\n"),
        "connected-in-two-pieces": text(b"OK\r\n+CONNECTED>>C4BE84A1B2C3\r\n", 11, 2),
        "line-end-in-two-pieces": text(b"+DISCONNECT\r\n", 12),
        "empty-line-first": text(b"\r\nOK\r\n"),
        "line-not-ended": text(b"BY=02"),
        "lone-ends": text(b"A\rB\nC\r\r\n\n\r\n", 1, 2),
        "scan": text(b"SR=3:My Meter 2,C4BE84A1B2C3,-67\r\n"),
        "scan-name-with-commas": text(b"SR=0:a,b,C4,-1,D5,-22\r\n"),
        "scan-name-empty": text(b"SR=0:,C4,-1\r\n"),
        "scan-strength-positive": text(b"SR=3:My Meter 2,C4BE84A1B2C3,67\r\n"),
        "scan-strength-too-low": text(b"SR=1:a,b,-99999999999\r\nSR=1:a,b,-2147483648\r\n"),
        "scan-name-with-tab-and-high-bytes": text(b"SR=1:a\tb,C4,-1\r\nSR=1:\xe4\xf6\xff,C4,-1\r\n"),
        "more-than-the-limit": text(b"x" * 400 + b"\r\n", 0, 1, 0xFF),
        "limit-without-an-end": text(b"y" * 300, 100, 1, 0xFF),
    }


def ble_receive():
    def packet(payload, piece_size=0, kind=1, command=4):
        return bytes([0x80 + piece_size, kind, command]) + word(len(payload)) + payload

    silence = b"\xf2"
    return {
        "no-payload": packet(b""),
        "record-whole": packet(bytes(range(256))),
        "record-in-pieces-of-20": packet(bytes(range(256)), 20),
        "byte-by-byte": packet(b"FAIL", 1),
        "two-in-one": raw(b"\x01\x04\x00\x00\x01\x05\x00\x00") + packet(b"") + silence + packet(b""),
        "silence-just-too-short": raw(b"\x01\x04\x02") + b"\xf1" + raw(b"\x00ab"),
        "silence-just-long-enough": raw(b"\x01\x04\x02") + b"\xf2" + packet(b"ab"),
        "slow-pieces": raw(b"\x01\x04") + b"\xd3" + raw(b"\x02\x00") + b"\xd3" + raw(b"ab"),
        "longest-size-begun": raw(b"\x01\x04\xff\xff" + bytes(60)),
        "noise": b"\xf8\xf8\xf8" + silence + packet(b"OK"),
        "nothing-arrives": b"\x00\x00" + packet(b"OK"),
    }


def scan():
    configured = [b"BY=00\r\n", b"+DISCONNECT\r\n", b"MT=1\r\n", b"BY=02\r\n", b"OK\r\n", b"EXL=16\r\n"]
    slave = b"SR=%d:My Meter %d,C4BE84A1B2C%d,-6%d\r\n"
    slaves = b"".join(slave % (i, i, i, i) for i in range(3))

    def replies(*more):
        return b"\x1e".join(configured + list(more))

    return {
        "silent": b"",
        "configured-nobody-heard": replies(b"OK\r\n"),
        "three-at-once": replies(b"OK\r\n" + slaves, b"OK\r\n"),
        "three-in-turn": replies(b"OK\r\n" + b"".join(b"\x1f\x10" + slave % (i, i, i, i) for i in range(3)), b"OK\r\n"),
        "line-in-pieces": replies(b"OK\r\n\x1f\x05SR=1:Me\x1f\x05ter,C4BE,\x1f\x05-67\r\n"),
        "results-of-own-scan": replies(b"+INQE\r\n", slaves + b"OK\r\n"),
        "name-of-15-and-16": replies(b"OK\r\nSR=1:123456789012345,C4,-1\r\nSR=2:1234567890123456,C5,-2\r\n"),
        "address-of-15-and-16": replies(b"OK\r\nSR=1:a,C4BE84A1B2C3D4E,-1\r\nSR=2:b,C4BE84A1B2C3D4E5,-2\r\n"),
        "name-with-nul": replies(b"OK\r\nSR=1:a\x00b,C4,-1\r\n"),
        "strength-of-minus-0": replies(b"OK\r\nSR=1:,C4,-0\r\nSR=1:a,C4,-0\r\n"),
        "refuses-a-setting": b"ERR\r\n\x1eERR\r\n",
        "late-replies": b"\x1f\x78BY=00\r\n\x1e\x1f\x78MT=1\r\n\x1e\x1f\xffBY=02\r\n",
    }


def records():
    right, wrong, refused, rejected = b"\x00", b"\x01" + word(135), b"\x02" + word(258), b"\x03" + word(0)

    def content(data, how=4):
        return bytes([how, len(data)]) + data

    wired, wireless = b"\x00" + word(64), b"\x01" + right
    totals = content(struct.pack("<I", 3))
    info = content(bytes(128) + struct.pack("<Q", 10))
    return {
        "wired-every-get": wired + b"".join(bytes([n]) + right for n in range(7)) + b"\x07\x01\x00\x00\x08\x05\x00",
        "wired-sizes-wrong": wired + b"".join(bytes([n]) + wrong for n in range(7)),
        "wired-refused": wired + b"".join(bytes([n]) + refused for n in range(7)),
        "wired-rejected-without-error": wired + b"".join(bytes([n]) + rejected for n in range(7)),
        "wired-upload": wired + b"\x09\x00\x00\x03" + right + b"\x0a\x02\x00\x03\xe0",
        "wired-upload-all": wired + b"\x09\x01\x00\xff" + totals + right + b"\x0a\x00\x00\xff" + totals + right,
        "wired-upload-too-few-and-too-many": wired + b"\x09\x00\x00\x03\x01" + word(512) + b"\x0a\x00\x00\x03\x01" + word(512)
        + b"\x09\x00\x00\x03\x01" + word(1024) + b"\x0a\x00\x00\x03\x01" + word(100),
        "wired-upload-of-nothing": wired + b"\x09\x00\x00\x00\x01" + word(0) + b"\x0a\x00\x00\x00\x01" + word(1),
        "wired-download": wired + b"\x0b\x02" + info + totals + right,
        "wired-download-too-many": wired + b"\x0b\x07" + info + content(struct.pack("<I", 4)),
        "wired-download-count-of-4-billion": wired + b"\x0b\x01" + info + content(b"\xff\xff\xff\xff"),
        "wired-measurement-unasked": wired + b"\x02\x08" + word(256) + b"\x03\x08" + word(255) + b"\x00\x0a" + word(9) + word(256),
        "wired-port-name": wired + b"".join(b"\x0c" + bytes([n]) for n in (0, 3, 4, 5, 15)),
        "wired-every-send": wired + b"".join(bytes([n, 1, 0]) + right for n in range(13, 20)),
        "wired-every-send-rejected": wired + b"".join(bytes([n, 1, 0]) + rejected for n in range(13, 20)),
        "wireless-every-call": wireless + b"\x00\x00\x01\x00\x02\x00\x03\x00\x04\x04\x02\x00\x00\x05\x04\x01\x00\x06\x01\x00\x07\x00\x08\x00",
        "wireless-status": wireless + b"\x09" + right * 9,
        "wireless-device-information": wireless + b"\x0a" + right * 6,
        "wireless-text-of-15": wireless + b"\x0a" + content(b"x" * 15) * 6,
        "wireless-text-of-16": wireless + b"\x0a" + content(b"x" * 16),
        "wireless-text-of-31": wireless + b"\x0a" + right * 3 + content(b"y" * 31) + right * 2,
        "wireless-text-with-nul": wireless + b"\x0a" + content(b"CQ\x00" + b"x" * 30) * 6,
        "wireless-white-board": wireless + b"\x0b" + right * 2 + b"\x0c" + right * 2,
        "wireless-white-board-too-short": wireless + b"\x0b" + right + b"\x01" + word(247),
        "wireless-upload-all": wireless + b"\x04\x04\xff" + totals + right * 3,
        "wireless-upload-count-negative": wireless + b"\x05\x04\xff" + content(b"\xff\xff\xff\xff"),
        "wireless-refusals": wireless + b"".join(bytes([n]) + b"\x02\x00\x00" for n in (0, 1, 2, 3, 7, 8)),
        "wireless-replies-empty": wireless + b"".join(bytes([n]) + b"\x01\x00\x00" for n in (0, 1, 2, 3, 7, 8)),
    }


def color():
    def ask(function, space, illuminant, observer, numbers):
        space = bytes([space]) if space < 0xFF else b"\xff" + struct.pack("<I", space)
        return bytes([function]) + space + bytes([illuminant, observer]) + struct.pack(f"<{len(numbers)}f", *numbers)

    nan, inf = float("nan"), float("inf")
    inputs = {
        "white-spectrum-d65": ask(0, 1, 0, 0, [1.0] * 31),
        "white-spectrum-f11": ask(0, 6, 16, 1, [1.0] * 31),
        "black-spectrum": ask(0, 5, 2, 1, [0.0] * 31),
        "line-spectrum-f2": ask(0, 4, 7, 0, [1.0] + [0.0] * 30),
        "fractions": bytes([0x81, 0, 3, 1]) + word(20000) + word(21000) + word(9000),
        "fractions-lab": bytes([0x82, 9, 3, 1]) + word(20000) + word(40000) + word(9000),
        "space-7": ask(1, 7, 0, 0, [40, 50, 60]),
        "space-10": ask(2, 10, 0, 0, [40, 50, 60]),
        "space-of-32-bits": ask(0, 0x80000000, 0, 0, [0.5] * 31),
        "hunter-without-luminance": ask(1, 5, 0, 0, [5, 0, 5]),
        "hunter-luminance-that-vanishes": ask(1, 5, 15, 0, [0, 4.6e-44, 0]),
        "din99-neutral": ask(2, 9, 0, 0, [50, 0, 0]),
        "hue-just-below-0": ask(2, 3, 0, 0, [50, 100, -1.1e-6]),
        "hue-180-and-neutral": ask(2, 3, 0, 0, [50, -5, 0]),
        "not-a-number": ask(1, 6, 0, 0, [nan, nan, nan]),
        "infinite": ask(2, 1, 0, 0, [inf, -inf, inf]),
        "sum-of-zero": ask(1, 2, 0, 0, [5, 0, -5]),
        "subnormal": ask(1, 4, 0, 0, [1e-45, 1e-45, 1e-45]),
        "greatest": ask(0, 0, 0, 0, [3.4e38] * 31),
    }
    for space in range(10):
        inputs[f"mid-grey-space-{space}"] = ask(1, space, space + 4, space % 2, [19.0, 20.0, 21.0])
    return inputs


def main():
    target = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).parent / "corpus"
    fuzzers = {
        "wired-receive": wired_receive,
        "wired-client": wired_client,
        "at-lines": at_lines,
        "ble-receive": ble_receive,
        "scan": scan,
        "records": records,
        "color": color,
    }
    for name, inputs in fuzzers.items():
        folder = target / name
        folder.mkdir(parents=True, exist_ok=True)
        for title, content in inputs().items():
            (folder / title).write_bytes(content)


if __name__ == "__main__":
    main()
