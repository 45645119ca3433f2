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

from world import PATIENCE, eventually, run, set_device, start_broker, start_daemon

PHONE, LAPTOP, NOBODY = "02:5e:70:00:00:01", "02:5e:70:00:00:02", "02:aa:00:00:00:09"
KEY = "between-the-nodes"
ADDED = "dd050011220102"
# Rows in order; what they set is put back. FAIL:NAME lets a function of the driver fail from there on, FAIL none.
ROWS = [
    # words, status, text (of either output)
    ("radio wifi1", 0, r"radioIfname +wifi1"), ("radio 5", 0, r"curBw +80 MHz"), ("radio 7", 2, "is neither a band nor a radio; "
     r"there are wifi0 \(2.4 GHz\), wifi1 \(5 GHz\)"), ("radio 4", 1, "no radio runs on 60 GHz; there are wifi0"),
    ("channel 5 set 165", 1, "refused: channel 165 isn't available on wifi1; available are 36, 40"),
    ("channel 5 set 60", 1, "refused: channel 60 is under non-occupancy after radar"),
    ("channel 5 set 52 80", 1, "refused: 80 MHz round channel 52 holds channel 60"),
    ("channel 2.4 set 6 80", 1, "refused: 80 MHz doesn't fit channel 6"),
    ("channel 5 set 36 22", 2, '"22" is no width'), ("channel 5 set", 2, "which channel"),
    ("channel 5 set 0", 2, "nothing to set"), ("channel 5 set 300", 2, "no number from 0 to 255"),
    ("channel wifi1 set 36 40", 0, "^channel 36, 40 MHz$"), ("channel 5 set 36 40", 0, "^channel 36, 40 MHz$"),
    ("channel 5 set 44 80", 0, "^channel 44, 80 MHz$"), ("channel 5 set 40 --no-wait", 0, "two seconds later"),
    ("channel 5 set 0 40", 0, "^channel 44, 40 MHz$"),
    ("FAIL rilk_setRadioCurChannel", 0, ""),
    ("channel 5 set 48", 1, "refused: still on channel 44, 80 MHz"),
    ("FAIL none", 0, ""),
    ("channels 5", 0, r"52 +yes +DFS +0x0001(.|\n)*60 +no +DFS, radar, up to 31 min left"),
    (f"kick nosuch {PHONE}", 1, 'no access point "nosuch"; there are ath0.v0, ath1.v0'),
    (f"kick apcli0 {PHONE}", 1, "apcli0 is a backhaul station"), ("kick ath0 02-11-22-33-44-55", 2, "no MAC address"),
    (f"kick ath0 {LAPTOP}", 1, f"{LAPTOP} isn't on ath0.v0, but on ath10.v0"),
    (f"kick ath0 {NOBODY}", 1, f"{NOBODY} isn't associated"), (f"kick ath0 {PHONE}", 0, f"{PHONE} has left ath0.v0"),
    (f"block nosuch {PHONE}", 1, 'no access point "nosuch"'), (f"block ath10 {LAPTOP}", 0, "kick ath10.v0"),
    (f"unblock ath10.v0 {LAPTOP}", 0, "let 02:5e:70:00:00:02 join ath10.v0 again; it gives no answer"),
    ("stations nosuch", 1, 'no access point "nosuch"'), ("stations ath10", 0, LAPTOP), ("vap nosuch", 1, "no interface"),
    ("vap ath0", 0, r"vapName +ath0\.v0"), ("stats nosuch", 1, "no interface"), ("stats ath10", 0, r"counters2\[10\]"),
    (f"btm-request ath10 {PHONE}", 1, "isn't associated"), (f"btm-request ath10 {LAPTOP}", 0, "signal veskBtmResp"),
    (f"beacon-request ath10 {LAPTOP} --channels 1 6", 0, "signal veskBcnReport .if it answers"),
    (f"beacon-request ath10 {LAPTOP} --channels 1 600", 2, "no number from 1 to 255"),
    ("FAIL rilk_sendBTMReq", 0, ""), (f"btm-request ath10 {LAPTOP}", 1, r"setBTMRequest was refused \(-1\)"),
    ("FAIL none", 0, ""),
    ("vendor-ie add nosuch 1 dd03aabbcc", 1, "no access point"), ("vendor-ie add ath0 1 dd04aabbcc", 2, "no whole"),
    ("vendor-ie add ath0 1 30030050f2", 2, "begins with dd"), ("vendor-ie add ath0 1", 2, "HEX or built from"),
    ("vendor-ie add ath0 1 --oui 00:11:22 --data 0102", 0, f"added the element {ADDED} to ath0.v0"),
    (f"vendor-ie del ath0.v0 1 {ADDED}", 0, "removed the element"), ("vendor-ie add ath0 1 --oui 0011", 2, "three bytes"),
    (f"backhaul credential 5 apclii0 net {KEY}", 0, 'to join "net" and is up(.|\n)*warning: a key on the'),
    (f"backhaul credential 5 apcli0 net {KEY}", 1, '"apcli0" isn\'t the backhaul station of 5 GHz; that is apclii0'),
    ("backhaul credential 5 apclii0 net short", 2, "8 to 63 characters, or 64 hexadecimal digits"),
    ("backhaul credential 5 apclii0 net " + "g" * 64, 2, "64 hexadecimal digits"),
    ("backhaul credential 5 apclii0 " + "s" * 33 + " " + KEY, 2, "1 to 32 bytes"),
    (f"backhaul credential 5 apclii0 net {KEY} --security WPA9", 2, "no security; there are open, WPA-PSK"),
    (f"backhaul credential 5 apclii0 net {KEY} --width 81", 2, "no width"),
    ("backhaul credential 5 apclii0 net --key-file /nowhere", 1, "can't read /nowhere"),
    ("FAIL rilk_applyBackhaulCredentialToBsta", 0, ""),
    (f"backhaul credential 5 apclii0 net {KEY}", 1, "refused: the driver didn't take the credential"),
    ("FAIL none", 0, ""),
    ("scan-trigger 5", 1, "refused: scanning is off .a backhaul credential was given.; `veskctl scanning on`"),
    ("scanning", 0, "scanning: off .*because a backhaul credential was given"), ("scanning on", 0, "scanning: on"),
    ("backhaul auto 2.4 on", 0, "nothing scans while it is"), ("scanning on", 1, "refused: scanning is off, because back"),
    ("explain scan 5", 0, "Scanning is off: backhaul auto-connect is on"), ("scan-trigger 5", 1, "auto-connect is on"),
    ("backhaul auto 2.4 off", 0, "auto-connect on 2.4 GHz: off"), ("scanning off", 0, "scanning: off; backhaul auto"),
    ("scanning on", 0, "scanning: on"), ("scanning", 0, r"scanning: on \(\d\d:\d\d:\d\d, /tmp/vesk.log:\d+\)"),
    ("scan-trigger 5", 0, "asked for: 16 channels of 5 GHz"), ("scan-trigger nosuch", 2, "is neither a band nor a radio"),
    ("vlan 20 5", 0, "VLAN id 20, priority 5"), ("vlan 30", 0, "VLAN id 30, priority 5"), ("vlan 4095", 2, "0 to 4094"),
    ("vlan 1 8", 2, "0 to 7"), ("polling", 0, "(?s)station table: on.*operating channels: on.*statistics: on"),
    ("polling stations off", 0, "station table: off"), ("polling stations", 0, r"station table: off \("),
    ("polling stations on", 0, "station table: on"), ("polling fish", 2, "none of: stations channels stats"),
    ("object", 0, "is on the bus"), ("object off", 0, "is off the bus"), ("object", 0, "isn't on the bus"),
    ("stations", 1, "vesk isn't on the bus"), ("object on", 0, "is on the bus"),
    ("log", 0, r"log: /tmp/vesk.log, \d+ lines since the start at .*, newest \d+ s old; level at least 6"),
    ("log to /nosuch/x", 1, "refused: /nosuch/x can't be opened for appending: No such file"),
    ("log to here.log", 2, "absolute path"), ("log to /tmp/" + "x" * 40, 2, "at most 31 bytes"),
    ("log to /tmp", 1, "can't be opened for appending: Is a directory"), ("log level 8", 2, "none of 0 to 7"),
    ("log to /tmp/mine.log", 0, "the log goes to /tmp/mine.log"), ("log to /tmp/vesk.log", 0, "goes to /tmp/vesk.log"),
    (f"monitor add {NOBODY} 0", 2, "0 stands for any with del only"), (f"monitor add {NOBODY} 6", 0, "is watched"),
    (f"monitor del {NOBODY} 0", 0, "no longer watched"), ("monitor ad x 6", 2, "none of: add del"),
    ("vpas", 2, 'unknown command "vpas"; did you mean "vaps"?'), ("fly", 2, "`veskctl help` lists them all"),
    ("neighbours", 0, "BSSID"), ("help vlan", 0, "Usage: veskctl vlan"), ("backhaul inf", 2, 'did you mean "info"'),
    ("call getVapInfo vapName=nosuch", 1, '"return":\t-1\n}\nveskctl: getVapInfo returned -1'),
    ("call getRadioInf band=3", 2, 'no method "getRadioInf"; did you mean "getRadioInfo"'),
    ("call getRadioInfo radio=3", 2, 'no argument "radio"'), ("call getChannel band=3 --hex", 0, "return 0\n"),
    ("call getVapInfo vapName=ath0", 0, r'"keyPassphrase":\t"\*{8}"'),
    ("--json vap ath0", 0, r'"keyPassphrase":\t"\*{8}"(.|\n)*"authModeName":\t"WPA2-PSK"'),
    ("--json vaps --show-secrets", 0, '"keyPassphrase":\t"am-alten-markt-7"'),
    ("vap ath0 --show-secrets", 0, "am-alten-markt-7"), ("vaps", 0, "ath0.v0 .* WPA2-PSK "),
    ("stations --sort time", 0, f"{PHONE}(.|\n)*{LAPTOP}"), ("stations --sort rssi", 0, f"{LAPTOP}(.|\n)*{PHONE}"),
    ("stations --sort name", 2, "none of: rssi time vap"), (f"station {NOBODY}", 1, f"{NOBODY} isn't associated"),
    (f"station {LAPTOP}", 0, r"radio +wifi1, 5 GHz, channel 44, 80 MHz\nsignal +-\d+ dBm\nrates +TX 866, RX 780 Mbit/s"),
    ("channels 5 --recommend", 0, "none has been measured yet"), ("watch --timeout 1", 2, "belongs to --until"),
    ("watch --until veskRadarNotif --timeout 0.3", 1, "veskRadarNotif didn't come"),
    ("watch --signal veskClintJoin", 2, 'no signal "veskClintJoin"; did you mean "veskClientJoin"'),
    ("watch --station 1", 2, "no MAC address"), ("--socket /nosuch version", 1, "no bus broker at /nosuch"),
    ("version --socket /var/run/ubus.sock", 0, "vesk 1.4.3"), ("support /nosuch/x", 1, "can't write /nosuch/x"),
    ("capability 5", 0, r"rxMcs +MCS 0-9, 0-9, 0-9, 0-9"), ("stations", 0, r"TX Mbit/s RX Mbit/s CONNECTED +WIDTH"),
]


class Commands(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.broker = start_broker()
        cls.device = {"radios": [{}, {"nol": [60], "excluded": [60]}]}
        cls.daemon = start_daemon(3600, cls.device)
        for mac in (PHONE, LAPTOP):
            eventually(lambda: mac in run("stations").stdout)

    @classmethod
    def tearDownClass(cls):
        for process in (cls.daemon, cls.broker):
            process.kill()
            process.wait()

    def test_a_command_tells_what_became_of_it(self):
        for words, status, text in ROWS:
            with self.subTest(words):
                if words.startswith("FAIL "):
                    name = words.split()[1]
                    set_device({**self.device, "functions": {} if name == "none" else {name: {"rc": -1}}})
                    continue
                done = run(*words.split())
                said = done.stdout + done.stderr
                self.assertEqual(done.returncode, status, said)
                self.assertRegex(said, re.compile(text, re.MULTILINE))
                self.assertEqual(bool(done.stderr), status != 0 or "warning" in text, done.stderr)

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
                with open("/tmp/drelm.in", "w") as fifo:
                    fifo.write(f"join ath10 {who}\njoin ath0 {who}\n")
            return watch.poll() is not None
        eventually(has_ended)
        shown = watch.communicate()[0]
        self.assertEqual((watch.returncode, shown.count("\n")), (0, 1), shown)
        self.assertIn(f"veskClientJoin ifName=ath0.v0 mac_addr={NOBODY}", shown)

    def test_an_archive_holds_all_but_the_keys(self):
        path = pathlib.Path("/tmp/support.tar.gz")
        done = run("support", str(path))
        self.assertEqual(done.returncode, 0, done.stderr)
        with tarfile.open(path) as archive:
            files = {member.name[2:]: archive.extractfile(member).read() for member in archive if member.isfile()}
        for name in ("status.txt", "vaps.json", "signals.jsonl", "tmp-vesk.log", "usr-etc-kor-product-cfg.json"):
            self.assertIn(name, files)
        self.assertIn(b"vesk_load_cfg", files["tmp-vesk.log"])
        for name, text in files.items():
            self.assertNotRegex(text, b"am-alten-markt|between-the", name)

    def test_names_of_the_device_are_completed_and_not_expanded(self):
        offered = subprocess.run(["veskctl", "--complete", "kick", "ath1"], capture_output=True, text=True).stdout
        self.assertEqual(offered.split(), ["ath1.v0", "ath10.v0", "ath11.v0"])
        fake = pathlib.Path("/tmp/bin")
        fake.mkdir()
        (fake / "veskctl").write_text("#!/bin/sh\nprintf '%s\\n' 'ath$(touch /tmp/expanded)'\n")
        (fake / "veskctl").chmod(0o755)
        script = f". {pathlib.Path(__file__).parents[2]}/tools/veskctl/veskctl.bash; COMP_WORDS=(veskctl vap ''); " \
            "COMP_CWORD=2; _veskctl; eval \"set -- ${COMPREPLY[0]}\"; printf '%s' \"$1\""
        done = subprocess.run(["bash", "-c", script], capture_output=True, text=True,
                              env={**os.environ, "PATH": f"{fake}:{os.environ['PATH']}"})
        self.assertEqual(done.stdout, "ath$(touch /tmp/expanded)", done.stderr)
        self.assertFalse(os.path.exists("/tmp/expanded"))


class Stopped(unittest.TestCase):
    """The broker greets, or has greeted, and then stops."""
    LIMIT = 5 + 2  # what a command has on the bus, and the machine's own time

    @classmethod
    def setUpClass(cls):
        cls.broker = start_broker()
        cls.daemon = start_daemon(3600)

    @classmethod
    def tearDownClass(cls):
        for process in (cls.daemon, cls.broker):
            process.kill()
            process.wait()

    def test_no_command_outlasts_its_limit(self):
        self.broker.send_signal(signal.SIGSTOP)
        words = ["version", "radios", "vaps", "stations", "scan", "status", "report", "metrics", "kick ath0 " + PHONE,
                 "channel 5 set 36", "scanning on", "log level 6", "object", "call getChannel band=3", "explain scan",
                 "watch", "stats ath0", "--complete vap ath"]
        begin = time.monotonic()
        running = [subprocess.Popen(["veskctl", *line.split()], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                   for line in words]
        for line, process in zip(words, running):
            _, said = process.communicate(timeout=PATIENCE)
            if line.startswith(("explain", "--complete")):
                continue # they go on without the bus
            self.assertEqual(process.returncode, 1, line)
            self.assertIn("doesn't answer", said, line)
        took = time.monotonic() - begin
        self.broker.send_signal(signal.SIGCONT)
        print(f"{len(words)} commands ended within {took:.1f} s of a stopped broker")
        self.assertLess(took, self.LIMIT * 3)  # beside each other, on a busy machine

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
                status = process.wait(PATIENCE)
                took = time.monotonic() - begin
                self.broker.send_signal(signal.SIGCONT)
                self.assertIn(status, (0, 1, -signum))
                self.assertLess(took, 3)
                print(f"{line} ended {took:.2f} s after the signal")
        eventually(lambda: run("version").returncode == 0)


if __name__ == "__main__":
    unittest.main()
