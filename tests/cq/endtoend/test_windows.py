"""The host program and the station for Windows, with the virtual instrument that they start by themselves."""

import json
import pathlib
import subprocess
import urllib.error
import urllib.request

from support import COMMAND, CQ, CqTest


class Virtual(CqTest):
    @classmethod
    def setUpClass(cls):
        # The first program starts Wine's services, which would keep the pipes of a test open.
        subprocess.run([*COMMAND, "--version"], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

    def test_instrument_measures(self):
        measured = self.json("measure", "standard", "--virtual")
        self.assertTrue(measured["port"].startswith("\\\\.\\pipe\\"), measured["port"])
        self.assertAlmostEqual(measured["lab"]["L"], 37.5, delta=0.5)

    def test_adapter_leads_to_an_instrument(self):
        measured = self.json("measure", "trial", "--wireless", "--virtual")
        self.assertEqual(len(measured["spectrum"]["values"]), 31)

    def test_listens_until_enough_was_measured(self):
        done = self.cq("monitor", "--count", 2, "--virtual-options",
                       "--calibrated --measure-time 1 --press-every 0.1:trial")
        self.assertRegex(done.stdout, r"^(\d\d:\d\d:\d\d  trial  +#[0-9a-f]{6}  L\* .*\n){2}$")

    def test_options_arrive_as_they_were_given(self):
        serial = r'a "b\\" c\\'
        info = self.json("info", "--virtual-options", f"--serial '{serial}'")
        self.assertIn(serial, info.values())

    def test_what_does_not_start_is_explained(self):
        self.refused("info", "--virtual-options", "--frobnicate", status=2, says="refused its options")
        self.refused("status", "--port", r"\\.\pipe\none", status=1, says=r"there is no \\.\pipe\none")

    def test_station_serves_its_page_and_measures(self):
        program = pathlib.Path(CQ).with_name("cq-station.exe")
        station = subprocess.Popen(
            [*COMMAND[:-1], program, "--virtual", "--virtual-options",
             "--calibrated --measure-time 1 --press-every 0.1:standard"],
            cwd=self.folder, stdout=subprocess.PIPE, encoding="utf-8")
        self.addCleanup(station.communicate)
        self.addCleanup(station.kill)
        origin, token = station.stdout.readline().removeprefix("page: ").strip().split("?token=")

        def get(path, **headers):
            request = urllib.request.Request(origin + path, headers=headers)
            with urllib.request.urlopen(request, timeout=30) as response:
                return response.read().decode()

        with self.assertRaises(urllib.error.HTTPError) as refused:
            get("")
        self.assertEqual(refused.exception.code, 401)
        allowed = {"Authorization": f"Bearer {token}"}
        self.assertIn("page.js", get("", **allowed))
        (job,) = json.loads(get("api/jobs", **allowed))["jobs"]
        self.wait_for(lambda: json.loads(get(f"api/jobs/{job}", **allowed))["measurementCount"] > 1,
                      "measurements")
