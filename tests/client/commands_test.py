"""What a command says became of it: rows of words, exit status and text, against the simulated device; and every
command against a broker that has stopped."""
import os
import pathlib
import re
import signal
import subprocess
import tarfile
import time
import unittest

from world import PATIENCE, ROOT, World, drelm, eventually, run, set_device

PHONE, LAPTOP, NOBODY = "02:5e:70:00:00:01", "02:5e:70:00:00:02", "02:aa:00:00:00:09"
KEY = "between-the-nodes"


class Commands(World):
    first_scan = 3600
    description = {"radios": [  # two stations, which stay; those that the device has of itself come and go
        {"vaps": [{"name": "ath0", "stations": [{"mac": PHONE, "rssi": -58, "time": 412, "11k": True, "11v": True}]}]},
        {"vaps": [{"name": "ath10", "stations": [{"mac": LAPTOP, "rssi": -49, "tx": 866, "rx": 780, "time": 97, "11v": True}]}],
         "nol": [60], "excluded": [60]}]}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        eventually(lambda: run("stations").stdout.count("02:5e:70") == 2)

    def test_a_command_tells_what_became_of_it(self):
        self.check_rows("commands.rows", lambda name: set_device({**self.description, "functions": {name: {"rc": -1}}}))
        driver = pathlib.Path("/tmp/vesk-sim.log").read_text()
        told = re.findall(r"(?:BeaconReq.* list|AclMac.* operation)=(\w+)", driver)
        self.assertEqual(told, ["0106", "0", "1"])  # the channels, block, unblock

    def test_a_key_is_read_where_nobody_sees_it(self):
        path = pathlib.Path("/tmp/key")
        for source, stdin in ((["--key-file", str(path)], None), (["--key-file", "-"], KEY), ([], KEY + "\n")):
            path.write_text(KEY + "\nnot this line\n")
            done = subprocess.run(["veskctl", "backhaul", "credential", "5", "apclii0", "net", *source, "--no-wait"],
                                  input=stdin, capture_output=True, text=True, timeout=PATIENCE)
            self.assertEqual((done.returncode, done.stderr), (0, ""), source)
        eventually(lambda: "key=***" in pathlib.Path("/tmp/vesk-sim.log").read_text())

    def test_a_watch_ends_with_the_signal_it_waits_for(self):
        watch = subprocess.Popen(["veskctl", "watch", "--until", "veskClientJoin", "--station", NOBODY, "--interface", "ath0",
                                  "--timeout", str(PATIENCE)], stdout=subprocess.PIPE, text=True)

        def has_ended():
            for who in (PHONE, NOBODY):  # until the watch has come to listen
                drelm(f"join ath10 {who}\njoin ath0 {who}")
            return watch.poll() is not None
        eventually(has_ended)
        shown = watch.communicate()[0]
        self.assertEqual((watch.returncode, shown.count("\n")), (0, 1), shown)
        self.assertIn(f"veskClientJoin ifName=ath0.v0 mac_addr={NOBODY}", shown)

    def test_an_archive_holds_all_but_the_keys(self):
        pathlib.Path("/tmp/kor-product-cfg.json").write_text('{"passphrase": "between-the-lines"}')
        done = run("support", "/tmp/support.tar.gz")
        self.assertEqual(done.returncode, 0, done.stderr)
        with tarfile.open("/tmp/support.tar.gz") as archive:
            files = {member.name[2:]: archive.extractfile(member).read() for member in archive if member.isfile()}
        for name in ("status.txt", "vaps.json", "signals.jsonl", "tmp-vesk.log", "usr-etc-kor-product-cfg.json"):
            self.assertIn(name, files)
        self.assertIn(b"vesk_load_cfg", files["tmp-vesk.log"])
        for name, text in files.items():
            self.assertNotRegex(text, b"-alten-markt|-the-(lines|nodes)", name)

    def test_names_of_the_device_are_completed_and_not_expanded(self):
        offered = subprocess.run(["veskctl", "--complete", "kick", "ath1"], capture_output=True, text=True).stdout
        self.assertEqual(offered.split(), ["ath1.v0", "ath10.v0", "ath11.v0"])
        fake = pathlib.Path("/tmp/bin")
        fake.mkdir()
        (fake / "veskctl").write_text("#!/bin/sh\nprintf '%s\\n' 'ath$(touch /tmp/expanded)'\n")
        (fake / "veskctl").chmod(0o755)
        script = f". {ROOT}/tools/veskctl/veskctl.bash; COMP_WORDS=(veskctl vap ''); " \
            "COMP_CWORD=2; _veskctl; eval \"set -- ${COMPREPLY[0]}\"; printf '%s' \"$1\""
        done = subprocess.run(["bash", "-c", script], capture_output=True, text=True,
                              env={**os.environ, "PATH": f"{fake}:{os.environ['PATH']}"})
        self.assertEqual(done.stdout, "ath$(touch /tmp/expanded)", done.stderr)
        self.assertFalse(os.path.exists("/tmp/expanded"))


class Stopped(World):
    """The broker greets, or has greeted, and then stops."""
    first_scan = 3600
    LIMIT = 5 + 2  # what a command has on the bus, and the machine's own time

    def test_no_command_outlasts_its_limit(self):
        self.broker.send_signal(signal.SIGSTOP)
        silent = ["version", "radios", "vaps", "stations", "scan", "status", "report", "metrics", f"kick ath0 {PHONE}",
                  "channel 5 set 36", "scanning on", "log level 6", "object", "call getChannel band=3", "watch", "stats ath0"]
        goes_on = ["explain scan", "--complete vap ath"]  # without the bus
        begin = time.monotonic()
        running = [subprocess.Popen(["veskctl", *line.split()], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                   for line in silent + goes_on]
        said = [process.communicate(timeout=PATIENCE)[1] for process in running]
        self.assertLess(time.monotonic() - begin, self.LIMIT * 3)  # beside each other, on a busy machine
        self.broker.send_signal(signal.SIGCONT)
        for line, process, text in zip(silent, running, said):
            self.assertEqual(process.returncode, 1, line)
            self.assertIn("doesn't answer", text, line)
        eventually(lambda: run("version").returncode == 0)
        self.daemon.send_signal(signal.SIGSTOP)
        self.assertEqual(run("version").stderr, "veskctl: vesk didn't answer in time\n")
        self.daemon.send_signal(signal.SIGCONT)

    def test_what_runs_on_ends_at_a_signal(self):
        for line, signum in (("status --watch", signal.SIGTERM), ("watch", signal.SIGINT),
                             ("report --watch 1 -o /tmp/page.html", signal.SIGTERM), ("stats ath0 --watch", signal.SIGINT)):
            with self.subTest(line):
                shows = pathlib.Path("/tmp/page.html" if "report" in line else "/tmp/shown")
                with open("/tmp/shown", "w") as shown:
                    process = subprocess.Popen(["veskctl", *line.split()], stdout=shown, stderr=shown)
                if line != "watch":
                    eventually(lambda: shows.exists() and shows.stat().st_size > 0)
                self.broker.send_signal(signal.SIGSTOP)
                time.sleep(1)  # into a look that waits for the bus
                begin = time.monotonic()
                process.send_signal(signum)
                self.assertIn(process.wait(PATIENCE), (0, 1, -signum))
                self.assertLess(time.monotonic() - begin, 3)
                self.broker.send_signal(signal.SIGCONT)
                self.assertNotIn("interrupted", shows.read_text())
        eventually(lambda: run("version").returncode == 0)


if __name__ == "__main__":
    unittest.main()
