"""A hall on the loopback: the real broker and the real database, set up as examples/hall has it, a fleet
of virtual instruments, and the station. Used by the tests and by benchmarks/hall.py."""

import contextlib
import glob
import json
import os
import pathlib
import pwd
import re
import shutil
import signal
import socket
import ssl
import subprocess
import tempfile
import time

import paho.mqtt.client as mqtt
import psycopg2

EXAMPLE = pathlib.Path(__file__).resolve().parents[2] / "examples/hall"
HOST = "127.0.0.1"
PATIENCE = 30
SETTLE = 3  # seconds; the broker's disk follows within one


def program(name, *elsewhere):
    """A program's path, also of those that Debian puts elsewhere; None if it is missing."""
    return shutil.which(name, path=os.pathsep.join([os.environ["PATH"], "/usr/sbin", *elsewhere]))


def server_program(name):
    return program(name, *glob.glob("/usr/lib/postgresql/*/bin"))


def missing():
    """What is not installed."""
    return [name for name in ("mosquitto", "mosquitto_passwd", "openssl") if not program(name)] + \
        [name for name in ("initdb", "postgres", "psql") if not server_program(name)]


def wait_for(condition, what, patience=PATIENCE):
    deadline = time.monotonic() + patience
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.02)


def end(process, number=signal.SIGKILL):
    if process.poll() is None:
        process.send_signal(number)
    process.wait(PATIENCE)
    for stream in process.stdin, process.stdout, process.stderr:
        if stream:
            stream.close()


class Broker:
    """Mosquitto with TLS and logins; every user's password is "secret"."""

    def __init__(self, folder, users, autosave=1):
        self.folder = folder
        with contextlib.closing(socket.create_server((HOST, 0))) as free:
            self.port = free.getsockname()[1]
        self.url = f"mqtts://localhost:{self.port}"
        self.ca = folder / "ca.pem"
        self._certify()
        passwords = folder / "passwords"
        passwords.touch(0o600)
        for user in users:
            subprocess.run([program("mosquitto_passwd"), "-b", passwords, user, "secret"], check=True)
            (folder / f"login-{user}").write_text(f"{user}\nsecret\n")
        shutil.copy(EXAMPLE / "mosquitto.acl", folder / "hall.acl")
        (folder / "hall.acl").chmod(0o600)
        text = (EXAMPLE / "mosquitto.conf").read_text()
        for place in "/etc/mosquitto/certs/", "/etc/mosquitto/":
            text = text.replace(place, f"{folder}/")
        text = text.replace("listener 8883", f"listener {self.port} {HOST}")
        text = text.replace("autosave_interval 10", f"autosave_interval {autosave}")
        # What Debian's own file has, and that it needs no user of its own here.
        (folder / "broker.conf").write_text(
            f"persistence true\npersistence_location {folder}/\nuser root\n{text}")
        self.start()

    def _certify(self):
        def openssl(*arguments):
            subprocess.run([program("openssl"), *map(str, arguments)], cwd=self.folder, check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        new = "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"
        for authority in "ca", "other-ca":
            openssl(*new, "-x509", "-days", 2, "-subj", f"/CN={authority}", "-keyout", f"{authority}.key",
                    "-out", f"{authority}.pem")
        openssl(*new, "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost",
                "-keyout", "broker.key", "-out", "broker.csr")
        openssl("x509", "-req", "-in", "broker.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-days", 2,
                "-copy_extensions", "copy", "-out", "broker.pem")

    def start(self):
        with (self.folder / "broker.log").open("a") as log:
            self._began = log.tell()
            self.process = subprocess.Popen(
                [program("mosquitto"), "-c", self.folder / "broker.conf"],
                stdout=subprocess.DEVNULL, stderr=log)
        wait_for(self._answers, "the broker")

    def clients(self):
        """The names of those that have connected since the start."""
        with (self.folder / "broker.log").open() as log:
            log.seek(self._began)
            return set(re.findall(r"New client connected from \S+ as (\S+)", log.read()))

    def _answers(self):
        with contextlib.suppress(OSError), socket.create_connection((HOST, self.port), 1):
            return True
        return False

    def kill(self, number=signal.SIGKILL):
        end(self.process, number)

    def watch(self, *topics):
        """A client of user "database": the messages of these topics, as they come."""
        seen = []
        client = mqtt.Client(*([mqtt.CallbackAPIVersion.VERSION1]
                               if hasattr(mqtt, "CallbackAPIVersion") else []))
        client.username_pw_set("database", "secret")
        client.tls_set_context(ssl.create_default_context(cafile=self.ca))
        client.on_connect = lambda *_: client.subscribe([(topic, 1) for topic in topics])
        client.on_message = lambda _c, _d, message: seen.append(
            (message.topic, json.loads(message.payload), message.retain))
        client.connect("localhost", self.port)
        client.loop_start()
        return seen, lambda: (client.disconnect(), client.loop_stop())


class Database:
    """PostgreSQL with the example's tables, reached through a socket in its folder."""

    def __init__(self, is_durable=False):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="cq-hall-db-"))
        other = {}
        if os.geteuid() == 0:  # PostgreSQL does not run as root
            user = pwd.getpwnam("postgres")
            os.chown(self.folder, user.pw_uid, user.pw_gid)
            other = {"user": user.pw_uid, "group": user.pw_gid, "extra_groups": []}
        data = self.folder / "data"
        subprocess.run([server_program("initdb"), "-D", data, "-U", "hall", "--auth=trust", "--no-sync",
                        "-E", "UTF8", "--locale=C.UTF-8"],
                       cwd=self.folder, stdout=subprocess.DEVNULL, check=True, **other)
        with (self.folder / "log").open("w") as log:
            self.process = subprocess.Popen(
                [server_program("postgres"), "-D", data, "-k", self.folder, "-c", "listen_addresses=",
                 *([] if is_durable else ["-F"])],
                cwd=self.folder, stderr=log, **other)
        self.name = f"host={self.folder} user=hall dbname=postgres"
        wait_for(lambda: self._run("-c", "SELECT 1").returncode == 0, "the database")
        self.run_file("tables.sql")
        self.connection = psycopg2.connect(self.name)
        self.connection.autocommit = True

    def _run(self, *arguments):
        return subprocess.run(
            [server_program("psql"), "-X", "-At", "-v", "ON_ERROR_STOP=1", *arguments, self.name],
            capture_output=True, encoding="utf-8")

    def run_file(self, name, *arguments):
        """Runs a file of the example; the rows that it prints, as lists of texts."""
        done = self._run("-f", EXAMPLE / name, *arguments)
        if done.returncode != 0:
            raise AssertionError(done.stderr)
        return [line.split("|") for line in done.stdout.splitlines() if "|" in line]

    def ask(self, query, *values):
        with self.connection.cursor() as cursor:
            cursor.execute(query, values)
            return cursor.fetchall() if cursor.description else []

    def end(self):
        self.connection.close()
        end(self.process, signal.SIGINT)
        shutil.rmtree(self.folder)


def start_subscriber(broker, database, *options):
    process = subprocess.Popen(
        ["/usr/bin/python3", EXAMPLE / "subscriber.py", broker.url, database.name, "--ca", broker.ca,
         "--login", broker.folder / "login-database", *map(str, options)],
        stdout=subprocess.PIPE, encoding="utf-8")
    if process.stdout.readline() != "subscribed\n":
        raise AssertionError("the subscriber does not start")
    return process


class Fleet:
    """Virtual instruments VI-001 and on, at port-1 and on."""

    def __init__(self, programs, folder, count):
        self.count = count
        self.serials = [f"VI-{number:03}" for number in range(1, count + 1)]
        self.process = subprocess.Popen(
            [programs / "cq-virtual-instrument", "--fleet", str(count), "--until-eof", "--calibrated",
             "--measure-time", "1", "--serial", self.serials[0], "--link", "port"],
            cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        self.places = [{"name": serial, "port": str(folder / f"port-{number}")}
                       for number, serial in enumerate(self.serials, 1)]
        wait_for((folder / f"port-{count}").is_symlink, "the fleet")

    def say(self, number, text):
        self.process.stdin.write(f":{number} {text}\n".encode())
        self.process.stdin.flush()

    def end(self):
        end(self.process)


class Station:
    """cq-station with a configuration."""

    def __init__(self, programs, folder, broker, places, name="hall-1", job="lot 1", **mqtt_members):
        self.command = [programs / "cq-station", "--config", folder / "station.json"]
        self.folder = folder
        self.errors = folder / "station.log"
        self.job = folder / f"{job}.cqjob"
        if not self.job.exists():
            subprocess.run([programs / "cq", "job", "new", self.job, "--tolerance", "dE00<=0.5"],
                           check=True, stdout=subprocess.DEVNULL)
        (folder / "station.json").write_text(json.dumps({
            "station": name, "job": str(self.job), "instruments": places,
            "mqtt": {"url": broker.url, "login": str(broker.folder / f"login-{name}"),
                     "ca": str(broker.ca), "settle": SETTLE, **mqtt_members}}))
        self.start()

    def start(self):
        with self.errors.open("a") as errors:
            self.process = subprocess.Popen(self.command, cwd=self.folder, stdout=subprocess.PIPE,
                                            stderr=errors, encoding="utf-8")
        self.address = self.process.stdout.readline().strip().removeprefix("page: ")
        if not self.address:
            raise AssertionError(self.errors.read_text())

    def kill(self, number=signal.SIGKILL):
        end(self.process, number)

    def mark(self):
        """Up to which number the station has noted that the broker has the job."""
        mark = self.job.with_name(self.job.name + ".sent")
        return json.loads(mark.read_text())["number"] if mark.exists() else 0

    def lines(self):
        """Of the job; a last one without its end is only being written."""
        return self.job.read_bytes().split(b"\n")[:-1]

    def events(self):
        return [json.loads(line) for line in self.lines()]

    def measurements(self):
        return [event["number"] for event in self.events() if event["event"] == "measurement"]
