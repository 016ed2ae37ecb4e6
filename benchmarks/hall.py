"""What the hall carries, and that it loses nothing: hall.py FOLDER [--instruments N] [--minutes N] ...

FOLDER has the programs. A station with many virtual instruments measures all the time; the broker is away
for a part of it, and the station is killed (SIGKILL) several times. Then every measurement in the job's
file is looked for in the database. Afterwards a long job is published at once, to see what the station,
the broker and the table can take.
"""

import argparse
import contextlib
import json
import pathlib
import sys
import tempfile
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/hall"))
import hall  # noqa: E402 (it lies there)

BACKLOG = 10000
SHARING = 3


def rows(database, job="lot 1"):
    time.sleep(0.2)  # counting costs the database more than a row
    return database.ask("SELECT count(*) FROM event WHERE job = %s", job)[0][0]


class Presser(threading.Thread):
    """Presses the buttons of a fleet in turn, so many times a second altogether."""

    def __init__(self, fleet, rate):
        super().__init__()
        self.fleet = fleet
        self.rate = rate
        self.is_done = threading.Event()

    def run(self):
        begin = time.monotonic()
        pressed = 0
        while not self.is_done.wait(max(0.0, begin + pressed / self.rate - time.monotonic())):
            self.fleet.say(pressed % self.fleet.count + 1, "press trial")
            pressed += 1


def seconds_of(process):
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / 100


def lose_nothing(options, folder, broker, database, stack):
    fleet = hall.Fleet(options.folder, folder, options.instruments)
    stack.callback(fleet.end)
    station = hall.Station(options.folder, folder, broker, fleet.places, settle=30)
    stack.callback(station.kill)
    time.sleep(5)  # until it has found its instruments
    fleet.say(1, "press standard")
    time.sleep(1)
    presser = Presser(fleet, options.rate)
    presser.start()
    began = time.monotonic()
    whole, away = options.minutes * 60, options.away * 60
    at = lambda share: time.sleep(max(0.0, began + share * whole - time.monotonic()))

    at(0.2)
    station.kill()
    station.start()
    at(0.4)
    broker.kill()
    print(f"after {time.monotonic() - began:.0f} s: station killed once, broker killed")
    time.sleep(away)
    behind = len(station.lines()) - rows(database)
    broker.start()
    back = time.monotonic()
    with contextlib.suppress(AssertionError):  # a table that is slower than the instruments
        hall.wait_for(lambda: rows(database) >= len(station.lines()) - options.rate, "the backlog",
                      0.3 * whole - away)
    print(f"the broker was away for {away:.0f} s; {behind} events waited in the job's file, and "
          f"{max(0, len(station.lines()) - rows(database))} were left {time.monotonic() - back:.1f} s after its return")
    at(0.8)
    station.kill()
    station.start()
    used = seconds_of(station.process), time.monotonic()
    at(1)
    share = (seconds_of(station.process) - used[0]) / (time.monotonic() - used[1])
    presser.is_done.set()
    presser.join()
    time.sleep(2)
    measured = station.measurements()
    with contextlib.suppress(AssertionError):
        hall.wait_for(lambda: rows(database) >= len(station.lines()), "all", 120)
    found = [number for (number,) in database.ask(
        "SELECT number FROM event WHERE station = 'hall-1' AND event = 'measurement'")]
    lost = len(set(measured) - set(found))
    doubled = len(found) - len(set(found)) + len(set(found) - set(measured))
    print(f"{options.instruments} instruments, {options.minutes:g} minutes, station killed twice: "
          f"{len(measured)} measurements in the job's file, {lost} lost, {doubled} doubled in the table; "
          f"the station took {100 * share:.0f} % of a core; rows missing by gaps.sql: "
          f"{database.run_file('gaps.sql') or 'none'}")
    station.kill()
    fleet.end()
    return lost == doubled == 0 and len(measured) > 0


def write_backlog(station):
    """A job as long as months: its last measurement over and over."""
    lines = station.job.read_text().splitlines()
    last = json.loads(lines[-1])
    with station.job.open("a") as file:
        for number in range(len(lines) + 1, BACKLOG + 1):
            file.write(json.dumps({**last, "number": number}, separators=(",", ":")) + "\n")


def capacity(options, folder, broker, database, stack):
    fleet = hall.Fleet(options.folder, folder, 2)
    stack.callback(fleet.end)
    station = hall.Station(options.folder, folder, broker, fleet.places, job="long", settle=0)
    stack.callback(station.kill)
    time.sleep(2)
    for number, kind in enumerate(("standard", "trial"), 1):
        fleet.say(1, f"press {kind}")
        hall.wait_for(lambda n=number: len(station.measurements()) == n, kind)
    station.kill()
    station.job.with_name(station.job.name + ".sent").unlink(missing_ok=True)
    # The broker keeps the messages for a subscriber, and for a group of them, that are away.
    groups = [["--id", "one"]], [["--id", f"of-{number}", "--share", "all"] for number in range(SHARING)]
    for group in groups:
        for member in group:
            hall.end(hall.start_subscriber(broker, database, *member))
    write_backlog(station)
    began = time.monotonic()
    station.start()
    hall.wait_for(lambda: station.mark() == BACKLOG, "the broker", 600)
    seconds = time.monotonic() - began
    size = station.job.stat().st_size
    print(f"one station: {BACKLOG} events of {size // BACKLOG} bytes acknowledged by the broker in {seconds:.1f} s, "
          f"{BACKLOG / seconds:.0f} a second, the station's start included")
    for group in groups:
        database.ask("DELETE FROM event")
        began = time.monotonic()
        members = [hall.start_subscriber(broker, database, *member) for member in group]
        hall.wait_for(lambda: rows(database, "long") == BACKLOG, "the table", 300)
        seconds = time.monotonic() - began
        print(f"one table, {len(group)} subscribers: {BACKLOG / seconds:.0f} rows a second")
        for member in members:
            hall.end(member)
    station.kill()
    fleet.end()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path, help="has the programs")
    parser.add_argument("--instruments", type=int, default=200)
    parser.add_argument("--minutes", type=float, default=10)
    parser.add_argument("--away", type=float, default=2, help="minutes that the broker is away")
    parser.add_argument("--rate", type=float, default=50, help="measurements a second")
    options = parser.parse_args()
    options.folder = options.folder.resolve()
    with tempfile.TemporaryDirectory(prefix="cq-hall-") as name, contextlib.ExitStack() as stack:
        folder = pathlib.Path(name)
        broker = hall.Broker(folder, ["hall-1", "database"], autosave=10)
        stack.callback(broker.kill)
        database = hall.Database(is_durable=True)
        stack.callback(database.end)
        subscriber = hall.start_subscriber(broker, database)
        stack.callback(hall.end, subscriber)
        is_whole = lose_nothing(options, folder, broker, database, stack)
        database.ask("DELETE FROM event")
        hall.end(subscriber)
        capacity(options, folder, broker, database, stack)
    sys.exit(0 if is_whole else 1)


if __name__ == "__main__":
    main()
