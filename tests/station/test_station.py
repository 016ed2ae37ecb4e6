"""The station as other programs use it: its interface, and what it does when things go wrong."""

import base64
import contextlib
import http.client
import json
import os
import pathlib
import signal
import socket
import struct
import subprocess
import time
import unittest
from urllib.parse import quote

from support import CQ, PATIENCE, CqTest

STATION = pathlib.Path(CQ).with_name("cq-station")
HOST = "127.0.0.1"


class Listener:
    """A client of the live channel."""

    def __init__(self, port, token, query):
        self.socket = socket.create_connection((HOST, port), PATIENCE)
        self.socket.sendall((
            f"GET /api/live?token={token}&{query} HTTP/1.1\r\nHost: {HOST}:{port}\r\n"
            "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
            f"Sec-WebSocket-Key: {base64.b64encode(os.urandom(16)).decode()}\r\n\r\n").encode())
        self.file = self.socket.makefile("rb")
        self.status = self.file.readline().decode()
        while self.file.readline().strip():
            pass

    def message(self):
        """The next one; None when the station has gone."""
        head = self.file.read(2)
        if len(head) < 2 or head[0] & 0x0F != 1:
            return None
        length = head[1]
        if length == 126:
            (length,) = struct.unpack(">H", self.file.read(2))
        elif length == 127:
            (length,) = struct.unpack(">Q", self.file.read(8))
        text = self.file.read(length)
        return json.loads(text) if len(text) == length else None

    def close(self):
        self.file.close()
        self.socket.close()

    def event(self):
        """The next event's number."""
        while (message := self.message())["type"] != "event":
            pass
        return message["event"]["number"]


class StationTest(CqTest):
    def start_station(self, *options):
        self.job = self.folder / "lot 1.cqjob"
        if not self.job.exists():
            self.cq("job", "new", self.job, "--tolerance", "dE00<=1.0")
        self.station = subprocess.Popen(
            [CQ, "serve", "--job", self.job, *map(str, options)],
            stdout=subprocess.PIPE, encoding="utf-8")
        self.addCleanup(self._end, self.station)
        address = self.station.stdout.readline().strip()
        self.assertTrue(address.startswith("page: http://127.0.0.1:"), address)
        self.port = int(address.split(":")[3].split("/")[0])
        self.token = address.split("token=")[1]

    def request(self, method, path, body=None, headers=None, token=True):
        connection = http.client.HTTPConnection(HOST, self.port, timeout=PATIENCE)
        given = {"Content-Type": "application/json", **(headers or {})}
        if token:
            given["Authorization"] = f"Bearer {self.token}"
        content = body if isinstance(body, (bytes, type(None))) else json.dumps(body)
        with contextlib.closing(connection):
            connection.request(method, quote(path, safe="/?=&"), content, given)
            response = connection.getresponse()
            text = response.read()
            self.headers = response.headers
            is_json = response.headers["Content-Type"] == "application/json" and text
            return response.status, json.loads(text) if is_json else text

    def get(self, path):
        status, answer = self.request("GET", path)
        self.assertEqual(status, 200, answer)
        return answer

    def post(self, path, body, status=200):
        found, answer = self.request("POST", path, body)
        self.assertEqual(found, status, answer)
        return answer

    def state(self, name="1"):
        return next(i for i in self.get("/api/instruments")["instruments"] if i["name"] == name)

    def wait_ready(self, name="1"):
        self.wait_for(lambda: self.state(name)["state"] == "ready", f"instrument {name}")


class Interface(StationTest):
    def test_from_calibration_to_verdict(self):
        self.start_station("--instrument", "virtual")
        self.wait_ready()
        for target in "white", "black":
            self.post("/api/instruments/1/calibrate", {"on": target})
        self.assertEqual(set(self.state()["calibrated"]), {"white", "black"})
        standard = self.post("/api/instruments/1/measure", {"kind": "standard", "name": "Master"})
        self.post("/api/instruments/1/name", {"name": "<b>12-1</b>"})
        trial = self.post("/api/instruments/1/measure", {"kind": "trial"})
        path = f"/api/jobs/lot 1/measurements/{trial['number']}"
        result = self.get(path)
        self.assertEqual(result["name"], "<b>12-1</b>")
        self.assertEqual(result["standard"]["number"], standard["number"])
        self.assertEqual(result["verdict"]["grade"],
                         "pass" if result["difference"]["deltaE"] <= 1.0 else "fail")
        self.assertEqual(self.request("GET", f"{path}/trend.svg")[0], 204)
        for drawing in "spectrum", "plane":
            svg = self.get(f"{path}/{drawing}.svg").decode()
            self.assertTrue(svg.startswith("<svg"), drawing)
            self.assertNotIn("<b>", svg)

        self.post("/api/jobs/lot 1/remark", {"text": "dusty", "number": trial["number"]})
        self.post("/api/jobs/lot 1/undo", {})
        self.post("/api/jobs/lot 1/undo", {"number": trial["number"]}, status=409)
        job = self.get("/api/jobs/lot 1")
        self.assertEqual([(m["struckOut"], m["remarks"]) for m in job["measurements"]],
                         [(False, []), (True, ["dusty"])])
        events = self.get("/api/events?job=lot 1&after=3")
        self.assertEqual([e["event"]["number"] for e in events["events"]],
                         list(range(4, job["lastNumber"] + 1)))

        (pathlib.Path(os.fsdecode(bytes(self.folder) + b"/\xff.cqjob"))).touch()
        (self.folder / "broken.cqjob").write_text("no job\n")
        self.assertEqual(self.get("/api/jobs")["jobs"], ["broken", "lot 1"])
        self.assertEqual(self.request("GET", "/api/jobs/broken")[0], 409)
        self.post("/api/jobs", {"name": "lot 2", "tolerances": ["dE00<=0.5"]}, status=201)
        self.post("/api/jobs", {"name": "../lot 3"}, status=409)
        self.post("/api/instruments/1/job", {"job": "lot 2"})
        self.assertEqual(self.state()["job"], "lot 2")
        self.cq("job", "check", self.folder / "lot 2.cqjob")

    def test_only_who_may_and_only_what_it_takes(self):
        self.start_station("--virtual")
        own = f"{HOST}:{self.port}"
        for path, headers, token, status in (
            ("/", {}, False, 401),
            ("/api/instruments", {}, False, 401),
            ("/api/instruments?token=" + "0" * 64, {}, False, 401),
            ("/api/live", {}, False, 401),
            ("/api/instruments", {"Host": "evil.example"}, True, 403),
            ("/api/instruments", {"Host": f"evil.example:{self.port}"}, True, 403),
            ("/api/instruments", {"Origin": "http://evil.example"}, True, 403),
            ("/api/instruments", {"Origin": "null"}, True, 403),
            ("/api/instruments", {"Origin": f"http://{own}"}, True, 200),
            ("/api/instruments", {"Host": f"localhost:{self.port}"}, True, 200),
            ("/api/live", {}, True, 426),
            ("/api/jobs/lot 1?last=x", {}, True, 400),
            ("/api/events?job=lot 1&after=-1", {}, True, 400),
            ("/api/jobs/..%2Fsecret", {}, True, 409),
            ("/%zz", {}, True, 404),
        ):
            found, _ = self.request("GET", path, headers=headers, token=token)
            self.assertEqual(found, status, (path, headers))
        listener = Listener(self.port, self.token, "job=lot%201&after=-1")
        self.addCleanup(listener.close)
        self.assertIn(" 400 ", listener.status)
        for body, status in ((b"x" * 70000, 413), (b"{", 400), (b"[]", 400),
                             ({"kind": "tile"}, 400), ({"kind": 3}, 400)):
            found, _ = self.request("POST", "/api/instruments/1/measure", body)
            self.assertEqual(found, status)
        self.assertEqual(self.request("POST", "/api/instruments/1/measure", b"{}",
                                      {"Content-Type": "text/plain"})[0], 400)

        self.assertEqual(self.request("GET", f"/?token={self.token}", token=False)[0], 200)
        self.assertIn("script-src 'self'", self.headers["Content-Security-Policy"])
        cookie = self.headers["Set-Cookie"]
        self.assertIn("SameSite=Strict", cookie)
        self.assertIn("HttpOnly", cookie)
        self.assertEqual(self.request("GET", "/api/jobs", token=False,
                                      headers={"Cookie": "a=b; " + cookie.split(";")[0]})[0], 200)

    def test_a_thousand_silent_connections(self):
        self.start_station("--virtual", "--virtual-options", "--calibrated --measure-time 1")
        self.wait_ready()
        with contextlib.ExitStack() as open_ones:
            for _ in range(900):
                silent = socket.create_connection((HOST, self.port), PATIENCE)
                open_ones.enter_context(contextlib.closing(silent))
            start = time.monotonic()
            for _ in range(10):
                self.post("/api/instruments/1/measure", {"kind": "standard"})
            self.assertLess(time.monotonic() - start, 10)


class Trouble(StationTest):
    def start_fleet(self, count):
        """Instruments VI-01 and on at port-1 and on; their standard input."""
        process = subprocess.Popen(
            [STATION.with_name("cq-virtual-instrument"), "--fleet", str(count), "--until-eof",
             "--calibrated", "--measure-time", "1", "--serial", "VI-01", "--link", "port"],
            cwd=self.folder, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        self.addCleanup(process.communicate)
        self.wait_for((self.folder / f"port-{count}").is_symlink, "the fleet")
        return process.stdin

    def say(self, stdin, text):
        stdin.write(text.encode())
        stdin.flush()

    def test_told_is_written_whatever_ends_it(self):
        fleet = self.start_fleet(2)
        seen = 1
        for _ in range(5):
            self.start_station("--instrument", self.folder / "port-1")
            self.wait_ready()
            listener = Listener(self.port, self.token, f"job=lot%201&after={seen}")
            self.say(fleet, ":1 press standard\n")
            for _ in range(3):
                self.assertEqual(listener.event(), seen + 1)
                seen += 1
                self.say(fleet, ":1 press trial\n")
            os.kill(self.station.pid, signal.SIGKILL)
            self.station.wait()
            while (message := listener.message()) is not None:
                seen = max(seen, message.get("event", {}).get("number", 0))
            listener.close()
            lines = self.job.read_text().splitlines()
            self.assertGreaterEqual(len(lines), seen)
            self.cq("job", "check", self.job)
            seen = len(lines)

    def test_takes_what_arrives_until_the_goodbye_is_answered(self):
        link, log = self.pressing_instrument()
        self.start_station("--instrument", link)
        self.wait_for(lambda: self.job.read_text().count("measurement") > 2, "measurements")
        self.station.send_signal(signal.SIGINT)
        self.assertEqual(self.station.wait(PATIENCE), 0)
        events = [json.loads(line) for line in self.job.read_text().splitlines()]
        taken = [self.running_number(bytes.fromhex(event["record"]))
                 for event in events if event["event"] == "measurement"]
        self.assertEqual(taken, list(range(taken[0], self.last_sent(log) + 1)))

    def test_found_again_by_its_serial_number_while_others_go_on(self):
        fleet = self.start_fleet(2)
        ports = [self.folder / "port-1", self.folder / "port-2"]
        self.start_station("--port", ports[0], "--port", ports[1],
                           "--instrument", "a=serial:VI-01", "--instrument", "b=serial:VI-02")
        self.wait_ready("a")
        self.wait_ready("b")
        self.say(fleet, ":1 unplug\n")
        self.wait_for(lambda: self.state("a")["state"] == "searching", "the loss")
        self.post("/api/instruments/a/measure", {"kind": "trial"}, status=409)
        self.post("/api/instruments/b/measure", {"kind": "standard"})
        start = time.monotonic()
        self.say(fleet, ":1 plug\n")
        self.wait_ready("a")
        self.assertLess(time.monotonic() - start, 5)  # 2 on a machine that is not busy
        self.post("/api/instruments/a/measure", {"kind": "trial"})

        # One that does not answer any more holds up itself alone.
        self.say(fleet, ":1 faults silence:0\n")
        hanging = http.client.HTTPConnection(HOST, self.port, timeout=PATIENCE)
        hanging.request("POST", "/api/instruments/a/measure", json.dumps({"kind": "trial"}),
                        {"Authorization": f"Bearer {self.token}",
                         "Content-Type": "application/json"})
        self.addCleanup(hanging.close)
        self.wait_for(lambda: self.state("a")["state"] == "measuring", "the hanging one")
        self.post("/api/instruments/b/measure", {"kind": "trial"})
        self.assertEqual(self.state("a")["state"], "measuring")

    def test_what_other_programs_write_is_told(self):
        self.start_station("--virtual")
        listener = Listener(self.port, self.token, "job=lot%201&after=0")
        self.addCleanup(listener.close)
        self.assertEqual(listener.event(), 1)
        self.cq("job", "remark", self.job, "from the night shift")
        self.assertEqual(listener.event(), 2)

    def test_what_cannot_begin_says_why(self):
        wrong = self.folder / "wrong.json"
        wrong.write_text('{"instruments": [{"name": "left", "port": 3}]}')
        for options, says in (
            (["--listen", "0.0.0.0"], "--token-file"),
            (["--instrument", "a=virtual", "--instrument", "a=virtual"], "two instruments"),
            (["--job", self.folder / "none.cqjob"], "none.cqjob"),
            (["--config", self.folder / "none.json"], "none.json"),
            (["--config", wrong], 'wrong.json: instruments[0]: "port" must be a text, not 3'),
        ):
            done = subprocess.run([CQ, "serve", *map(str, options)], capture_output=True,
                                  encoding="utf-8", timeout=PATIENCE, cwd=self.folder)
            self.assertNotEqual(done.returncode, 0)
            self.assertIn(says, done.stderr)


if __name__ == "__main__":
    unittest.main()
