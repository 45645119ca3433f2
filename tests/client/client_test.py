"""What the client shows of a device: page, screen, metrics, JSON, records, and the reasons it gives."""
import gzip
import json
import os
import pathlib
import re
import resource
import signal
import stat
import subprocess
import time
import unittest

import jsonschema

from world import (EVIL, PATIENCE, PHONE, ROOT, SHY, World, browse, device, drelm, eventually, in_json, run, set_device,
                   start_broker, start_daemon, veskctl)

RECORD = "/tmp/record.jsonl"
early = {}  # what was shown before the 5 GHz radio had been measured


def check_schema(name, value):
    schema = json.loads((ROOT / "docs/schema" / f"{name}.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    jsonschema.validate(value, schema)


def show_device(description, command, text):
    """Waits until what the client shows of the new device holds the text."""
    set_device(description)
    eventually(lambda: text in veskctl(*command.split()))


class Device(World):
    @classmethod
    def setUpClass(cls):
        """First a daemon whose scans are an hour off. The recorder is heard to listen before the next one starts."""
        cls.first_scan = 3600
        super().setUpClass()
        for command in ("metrics", "report", "explain ready", "status", "--json report"):
            early[command] = veskctl(*command.split(), LANG="C", LC_ALL="C")
        cls.recorder = subprocess.Popen(["veskctl", "record", RECORD])
        eventually(lambda: drelm("radar 01") or os.path.exists(RECORD) and os.path.getsize(RECORD) > 0)
        cls.daemon.terminate()
        cls.daemon.wait()
        cls.daemon = start_daemon()
        eventually(lambda: os.path.exists("/tmp/vesk_ready"))

    @classmethod
    def tearDownClass(cls):
        cls.recorder.kill()
        cls.recorder.wait()
        super().tearDownClass()

    def test_what_is_not_measured_is_shown_as_such(self):
        channels = json.loads(early["--json report"])["radios"][1]["channels"]
        self.assertEqual([(c["channel"], c["utilisation"], c["noise"], c["smoothedNoise"]) for c in channels],
                         [(36, None, None, None), (52, None, None, None)])
        self.assertNotIn('vesk_channel_utilisation_ratio{radio="wifi1"', early["metrics"])
        self.assertNotIn("vesk_scan_age_seconds", early["metrics"])
        self.assertIn("vesk_ready 0\n", early["metrics"])
        page = early["report"][early["report"].index('id="band3"'):]
        self.assertIn("No channel has been measured yet.", page)
        self.assertIn("Channel 36, in use by this device: not measured yet", page)
        self.assertEqual(page.count('<td colspan="4"><span class="unknown">not measured yet</span></td>'), 2)
        self.assertIn("  36 [.]. 52", early["status"])
        self.assertIn("0 of 2 channels measured", early["status"])
        self.assertRegex(early["explain ready"], r"5 GHz: its first scan begins at \d\d:\d\d:\d\d\.\n"
                                         r" +/tmp/vesk\.log:\d+: VESK > .*band=1, .*itv=3601")

    def test_json_keeps_to_the_schemas(self):
        for command in ("version", "radios", "radio 5", "vaps", "vap ath0", "stats 2.4", "stations", "scan", "neighbors",
                        "channels 5", "channels 5 --recommend", "station 02:5e:70:00:00:01", "channel 2.4", "interfaces",
                        "nol 5", "vlan", "backhaul info", "capability 5", "report", "status", "scan-trigger 2.4",
                        "explain ready", "explain scan"):
            with self.subTest(command):
                name = {"backhaul info": "backhaul-info", "scan-trigger 2.4": "done",
                        "channels 5 --recommend": "channels-recommend"}.get(command, command.split()[0])
                check_schema(name, in_json(*command.split()))

    def test_absent_figures_are_null_and_left_out(self):
        report = in_json("report")
        radio = report["radios"][0]
        self.assertEqual([c["noise"] for c in radio["channels"]], [-91, -95, None])  # -300 is no noise
        self.assertEqual([c["smoothedNoise"] for c in radio["channels"]], [-85, -89, None])
        self.assertEqual([n["level"] for n in radio["neighbors"]], [-61, None])
        stations = {s["mac"]: s["signal"] for s in report["vaps"][0]["stations"]}
        self.assertEqual(stations, {PHONE["mac"]: -58, SHY["mac"]: None})
        self.assertIn("unknown", veskctl("stations"))
        self.assertIn("NOISE dBm SMOOTHED dBm", veskctl("scan"))

    def test_metrics(self):
        text = veskctl("metrics")
        subprocess.run(["promtool", "check", "metrics"], input=text, text=True, check=True)
        where = 'radio="wifi0",band="2.4 GHz"'
        evil = EVIL.replace('"', '\\"')
        for line in (
                "vesk_up 1", "vesk_ready 1", 'vesk_info{name="vesk",version="1.4.3"} 1',
                f"vesk_radio_channel{{{where}}} 6", f"vesk_radio_frequency_hertz{{{where}}} 2437000000",
                f'vesk_channel_utilisation_ratio{{{where},channel="1"}} 0.72',
                f'vesk_channel_noise_dbm{{{where},channel="6"}} -95',
                f'vesk_channel_smoothed_noise_dbm{{{where},channel="6"}} -89',
                'vesk_channel_non_occupancy{radio="wifi1",band="5 GHz",channel="52"} 1',
                f'vesk_neighbor_signal_dbm{{{where},channel="1",bssid="02:c0:01:00:00:01",ssid="{evil}"}} -61',
                'wifi_stations{ifname="ath0.v0"} 2',
                'wifi_station_signal_dbm{ifname="ath0.v0",mac="02:5e:70:00:00:01"} -58',
                'wifi_station_connected_seconds{ifname="ath0.v0",mac="02:5e:70:00:00:02"} 7300'):
            self.assertIn(line + "\n", text)
        for left_out in (f'signal_dbm{{ifname="ath0.v0",mac="{SHY["mac"]}"', f'noise_dbm{{{where},channel="11"}} -300',
                         'bssid="02:c0:11:00:00:01"'):
            self.assertNotIn(left_out, text)
        dashboard = (ROOT / "contrib/grafana-vesk.json").read_text()
        shown = set(re.findall(r"\b(?:vesk|wifi)_\w+", "".join(
            target["expr"] for panel in json.loads(dashboard)["panels"] for target in panel["targets"])))
        known = set(re.findall(r"# TYPE (\S+)", text)) | {"vesk_scan_age_seconds"}
        self.assertEqual(shown - known, set())

    def test_outputs(self):
        for command, end in (("metrics", "\n"), ("report", "</html>\n")):
            path = pathlib.Path(f"/tmp/replaced.{command}")
            path.write_text("before")
            before = path.stat()
            veskctl(command, "-o", str(path))
            self.assertNotEqual(path.stat().st_ino, before.st_ino)  # in one step
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o644)
            self.assertTrue(path.read_text().endswith(end))
            self.assertEqual(list(path.parent.glob(path.name + ".*")), [])
            self.assertIn("can't write", run(command, "-o", "/nowhere/x").stderr)
        os.mkfifo("/tmp/pipe")  # a device is written to and stays
        reader = subprocess.Popen(["cat", "/tmp/pipe"], stdout=subprocess.PIPE, text=True)
        veskctl("metrics", "-o", "/tmp/pipe")
        self.assertIn("vesk_up 1\n", reader.communicate(timeout=PATIENCE)[0])
        self.assertTrue(stat.S_ISFIFO(os.stat("/tmp/pipe").st_mode))
        for command, name in (("radios", "to standard output"), ("metrics", "-")):
            with open("/dev/full", "w") as full:
                ended = subprocess.run(["veskctl", command], stdout=full, stderr=subprocess.PIPE, text=True)
            self.assertEqual(ended.returncode, 1)
            self.assertIn(f"can't write {name}: No space left", ended.stderr)

    def test_page(self):
        page = veskctl("report")
        self.assertEqual(re.findall(r"""<b>|<script|(?:src|href)=["'](?!#|data:)|url\((?!#)|@import""", page), [])
        self.assertEqual(page.count('class="open"/>'), 2)  # the legends' own: all is measured
        self.assertIn("Channel 52, under non-occupancy after radar: 3 % used, noise −97 dBm, smoothed −91.0 dBm, "
                      "1 neighbour<", page)
        hills = re.findall(r'class="h h\d"><title>([^<]*)', page)
        self.assertEqual(len(hills), 4)  # two widths; a neighbour without a level has none
        self.assertIn("&lt;b&gt;&amp;&quot;Gast&quot;&lt;/b&gt;&#39;, channel 1, −61 dBm", hills)
        backgrounds = set()
        for dark in (False, True):
            for frame, chart in zip(browse(page, dark), ("narrow", "wide")):
                self.assertEqual(frame["charts"], [chart, chart])
                self.assertTrue(frame["named"] and frame["ids"])
                for text in (EVIL, "hidden network", "Café & Co", "The radio's channel 6 is used for 12 % of the time.",
                             "Least used: 6 (12 %), 11 (41 %), 1 (72 %). Most used: 1 (72 %).", "6 min", "−58 dBm",
                             "−91 dBm\t−85.0 dBm", "unknown", "NOL"):
                    self.assertIn(text, frame["text"])
                backgrounds.add(frame["background"])
        self.assertEqual(len(backgrounds), 2)

    def test_status(self):
        for locale, cells, ssid in (("C.UTF-8", "▆[▁]▄", "Café & Co"), ("C", "7[1]4", r"Caf\xc3\xa9 & Co")):
            self.assertIn(ssid, veskctl("vaps", LANG=locale, LC_ALL=locale))
            text = veskctl("status", LANG=locale, LC_ALL=locale)
            self.assertIn(cells, text)
            self.assertIn("role agent (log)", text)
            self.assertIn("First scans are over.", text)
            self.assertNotIn("\x1b", text)
            self.assertLessEqual(max(map(len, text.splitlines())), 80)
        self.assertLessEqual(max(map(len, veskctl("status", COLUMNS="40").splitlines())), 40)
        terminal = ["script", "-qec", "stty cols 80; veskctl status", "/dev/null"]
        for wish in ({}, {"NO_COLOR": "1"}):
            shown = subprocess.run(terminal, capture_output=True, text=True, env={**os.environ, **wish}).stdout
            self.assertEqual("\x1b[" in shown, not wish)
        self.assertIn("veskIfStatusChange ifName=", veskctl("status", "--from", RECORD))

    def test_status_watches(self):
        shown = pathlib.Path("/tmp/screen")
        watch = subprocess.Popen(["veskctl", "status", "--watch"], stdout=shown.open("w"))
        eventually(lambda: "ACCESS POINTS" in shown.read_text())
        joined = f"veskClientJoin ifName=ath0.v0 mac_addr={PHONE['mac']} rssi=-52"
        eventually(lambda: drelm(f"join ath0 {PHONE['mac']} rssi=-52") or joined in shown.read_text())
        eventually(lambda: shown.read_text().count("ACCESS POINTS") > 1)
        watch.terminate()
        watch.wait()

    def test_records_are_read_back_by_the_same_decoder(self):
        eventually(lambda: pathlib.Path(RECORD).read_text().count("\n") > 0)
        lines = pathlib.Path(RECORD).read_text().splitlines()
        for line in lines:
            check_schema("record", json.loads(line))
        shown = veskctl("--json", "watch", "--from", RECORD).splitlines()
        self.assertGreaterEqual(len(shown), len(lines))
        for line, back in zip(map(json.loads, lines), map(json.loads, shown)):
            check_schema("watch", back)
            line.pop("payload")
            self.assertEqual(back, line)
        first = json.loads(lines[0])
        altered = {**first, "data": {"bytes": "00"}}  # only the payload counts
        pathlib.Path("/tmp/altered.jsonl").write_text(json.dumps(altered) + "\n\n")
        self.assertEqual(in_json("watch", "--from", "/tmp/altered.jsonl")["data"], first["data"])
        pathlib.Path("/tmp/broken.jsonl").write_text(lines[0] + "\n" + lines[0][:-4] + "\n")
        broken = run("watch", "--from", "/tmp/broken.jsonl")
        self.assertEqual((broken.returncode, broken.stdout.count("\n")), (1, 1))
        self.assertIn("/tmp/broken.jsonl:2 is no recorded signal", broken.stderr)

    def test_explain_scan_follows_the_device(self):
        eventually(lambda: "a station was connected" in veskctl("explain", "scan", "2.4"))
        self.assertRegex(veskctl("explain", "scan", "2.4"), rf"Connected now: .*{PHONE['mac']} on ath0\.v0")
        show_device(device(stations=[]), "explain scan 2.4", "It scanned channel")
        rested = [s for s in in_json("explain", "scan", "2.4")[0]["statements"] if s["number"]]
        log = pathlib.Path("/tmp/vesk.log").read_text().splitlines()
        self.assertGreaterEqual(len(rested), 3)
        for statement in rested:
            self.assertEqual(statement["line"], log[statement["number"] - 1].strip())
        show_device(device(), "stations", PHONE["mac"])

    def test_many_stations_cost_little(self):
        def cost():
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            veskctl("metrics")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

        few = min(cost() for _ in range(5))
        many = [{"mac": f"02:5e:71:00:00:{i:02x}", "rssi": -40 - i % 50, "time": i} for i in range(256)]
        show_device(device(many), "metrics", 'wifi_stations{ifname="ath0.v0"} 256')
        self.assertLess(min(cost() for _ in range(5)), 5 * few)
        show_device(device(), "stations", PHONE["mac"])


class Crowded(World):
    def test_crowded_page_keeps_its_shape(self):
        wide = device(stations=[])
        wide["radios"][0].update(channels=[], neighbors=[], status=0)
        wide["radios"][0]["vaps"][0]["ssid"] = "M" * 32
        wide["radios"][1]["neighbors"] = [
            {"channel": (36, 52)[i % 2], "bssid": f"02:c1:00:00:00:{i:02x}", "rssi": -25 - i % 70,
             "ssid": ("W" * 32, "日本語ネットワーク", "\u202eabc", "x")[i % 4]} for i in range(90)]
        set_device(wide)
        veskctl("refresh")
        veskctl("scan-trigger", "5")

        def is_shown():
            down, crowded = in_json("report")["radios"]
            return not down["up"] and len(crowded["neighbors"]) == 90
        eventually(is_shown)
        page = veskctl("report")
        self.assertNotIn("\u202e", page)
        self.assertIn("wifi0, down", page)
        browse(page, dark=False)


class Gone(World):
    def test_watch_ends_also_without_a_broker(self):
        shown = pathlib.Path("/tmp/watched")
        watch = subprocess.Popen(["veskctl", "watch"], stdout=shown.open("w"))
        eventually(lambda: drelm("radar 01") or "veskRadarNotif" in shown.read_text())
        self.broker.kill()
        self.broker.wait()
        time.sleep(0.5)  # it notices; if it hasn't, it ends all the same
        watch.send_signal(signal.SIGINT)
        self.assertEqual(watch.wait(PATIENCE), 0)
        type(self).broker = start_broker()

    def test_daemon_gone(self):
        watch = subprocess.Popen(["veskctl", "report", "--watch", "1", "-o", "/tmp/live.html"])
        live = pathlib.Path("/tmp/live.html")
        eventually(lambda: live.exists() and "The radio's channel" in live.read_text())
        self.assertIn('<meta http-equiv="refresh" content="1">', live.read_text())
        self.daemon.terminate()
        self.daemon.wait()
        eventually(lambda: "No answer" in live.read_text())
        watch.terminate()
        watch.wait()
        self.assertEqual(veskctl("metrics", status=1),
                         "# HELP vesk_up 1 if the daemon answered on the bus.\n# TYPE vesk_up gauge\nvesk_up 0\n")
        self.assertIn("The bus tells nothing: vesk isn't on the bus", veskctl("explain", "scan"))
        type(self).daemon = start_daemon()


def log_text(*rows):
    """The log with these rows, (seconds ago, function, message), as the daemon writes them; a text stays as it is."""
    text = ""
    for row in rows:
        if isinstance(row, tuple):
            ago, function, message = row
            stamp = time.strftime("%a %b %e %H:%M:%S", time.localtime(time.time() - ago))
            row = f"VESK > {stamp} | INFO    | source/vesk_scan | {function}:1 |  {message}\n"
        text += row
    return text


START = (100, "vesk_load_cfg", "vesk version [1.4.3] load vesk conf /configs/vesk/vesk.conf, 1054")
PASS = (8, "vesk_update_scan_ubus_handle", "scanEnable=1, scanEnableCfg=1, scanItv=60")
STEP = (7, "vesk_scan_2G_period_ubus_handle", "scanEnable=1, scanEnableCfg=1")
ALLOWED = (7, "vesk_scan_process", "band=[0] is not allowed to scan return!")
BUSY = (7, "vesk_scan_process", "band=0, ccaInbss=25, ccaTxUtil=4, out range return")
SCANNING = (3, "vesk_first_scanning",
            "usleep=500ms, radio[0]=wifi0, name=ath0, idx=1, chIdx=1, channel=2, alyScanCnt=2")


def step(*rows):
    return [START, PASS, STEP, *rows]


def ready(*rows):
    begin = "vesk_start_check_all_ready_ubus_timer"
    return [(10, *START[1:]), (9, begin, begin), *rows]


def is_end(message):
    return (3, "vesk_first_scanning_is_end", message)


def check(message):
    return (2, "vesk_check_all_ready_ubus_handle", message)


LIMITS = "    scanCfg[0]->txThd           = 10\n    scanCfg[0]->rxThd           = 20\n"
REASONS = {  # by question: rows of the log, what has to be said, what mustn't
    "scan 2.4": [
        (step((7, "vesk_is_allowed_scan", "The node is UNSELECTED AP - exit"), ALLOWED),
         "role isn't decided yet", "switched off"),
        (step(ALLOWED), "scanning was switched off", "role"),
        (step((7, "vesk_is_allowed_scan", "offScan->scanCfg[1].bstaAuto.enableAuto=1, scan return")),
         "on auto-connect", "switched off"),
        (step(BUSY), "25 % traffic of its own BSS and 4 % transmit utilisation; one of them", "scans below"),
        ([START, LIMITS, PASS, STEP, BUSY], "it scans below 20 % and 10 %", "one of them"),
        (step((7, "vesk_scan_process", "radioInfo[0].isAcsEnabled = 0, scan return")),
         "automatic channel selection is off", "busy"),
        (step((5, "vesk_scan_5GA_period_ubus_handle", "scanEnable=1, scanEnableCfg=1"),  # the other radio's
              (5, "vesk_scan_process", "Has station connected , band=1 do not scan")),
         "the log gives no reason", "station was connected"),
        (step((7, "vesk_start_scan_result_ubus_timer", "scanEnable=1, scanEnableCfg=1, itv=1"),
              (6, "vesk_scan_2G_result_ubus_handle",
               "band=0, radio=wifi0, scanning=11, chanIdx=2, offChListNum=13, alreadyScanCount=2")),
         "It scanned channel 11: 2 of 13", "didn't scan"),
        ([START, (50, *PASS[1:])], "No pass opens while the daemon isn't there", "should have opened"),
        ([START, PASS, (5, "vesk_setScanEnableSignal", "Set scanning status=0"),
          (5, "vesk_set_scan_status", "set offScan->scanEnable = 0")],
         "Scanning is off: switched off by `veskctl scanning off`", "next pass"),
        (step((5, "vesk_applyBackhaulCredentialToBsta", "vesk_applyBackhaulCredentialToBsta:"),
              (5, "vesk_set_scan_status", "set offScan->scanEnable = 0")),
         "Scanning is off: a backhaul credential was given", "auto-connect"),
        ([(900, *START[1:]), (800, *PASS[1:])], "log level is below 6", "missing"),
        (step(ALLOWED, (0, *START[1:])), "The log holds no pass yet", "switched off"),  # a former start's
        ([PASS, STEP, ALLOWED], "start isn't in /tmp/case.log any more", "holds no pass"),
        ([], "log level is too low to tell", "didn't scan"),
    ],
    "scan 5": [
        ([START, PASS,
          (8, "vesk_update_scan_ubus_handle", "Scan channel metric polling not enabled ---- continue")],
         "skipped for both radios", "still to come"),
        ([START, (90, "vesk_start_scan_ubus_timer", "Scan channel metric polling not enabled ----exit")],
         "No pass ever opens", "next pass"),
        ([START, (1, *PASS[1:])], "step of it is still to come, 3 s behind", "late"),
    ],
    "ready": [
        (None, "/tmp/case.log can't be read: No such file", "level"),
        (ready(SCANNING, is_end("isend[0]=0, isFirstScan=0"), is_end("isend[1]=1, isFirstScan=0"),
               check("Not ready continue checkCnt = 2")),
         "Check 3 of 15", "unselected"),
        (ready(SCANNING, is_end("isend[0]=0, isFirstScan=0")),
         "2.4 GHz: its first scan is under way, at channel 2.", "is over"),
        (ready((4, "vesk_scan_2G_first_ubus_handle", "scanEnable=1, scanEnableCfg=1"),
               (4, "vesk_first_scanning", "offScan->scanCfg[0].bstaAuto.enableAuto=1, scan return"),
               is_end("isend[0]=0, isFirstScan=1")),
         "2.4 GHz: its first scan was refused", "under way"),
        (ready(is_end("The node is UNSELECTED AP ,scan not reay")),
         "never ready before the longest wait", "2.4 GHz"),
    ],
    "ready ": [  # with the flag there
        (ready(check("Create ready file checkCnt=15")), "the longest wait, 32 s, was over", "found both"),
        (ready(check("Create ready file checkCnt=4")), "found both first scans over, after 4 earlier ones", "longest"),
        (ready(), "may be a former start's", "found both"),
    ],
}


class Logs(unittest.TestCase):
    """Reasons from written logs; there is no bus."""

    def test_reasons(self):
        path, flag = pathlib.Path("/tmp/case.log"), pathlib.Path("/tmp/vesk_ready")
        for question, cases in REASONS.items():
            flag.touch() if question == "ready " else flag.unlink(missing_ok=True)
            for log, said, unsaid in cases:
                with self.subTest(said):
                    path.write_text(log_text(*log)) if log is not None else path.unlink(missing_ok=True)
                    text = veskctl("explain", *question.split(), "--log", str(path))
                    self.assertIn(said, text)
                    self.assertNotIn(unsaid, text)

    def test_packed_predecessor_is_read(self):
        with gzip.open("/tmp/rotated.log.old.gz", "wt") as packed:
            packed.write(log_text(START, PASS))
        pathlib.Path("/tmp/rotated.log").write_text(log_text(STEP, ALLOWED))
        text = veskctl("explain", "scan", "2.4", "--log", "/tmp/rotated.log")
        self.assertIn("scanning was switched off", text)
        self.assertIn("/tmp/rotated.log.old.gz:2: ", text)
        self.assertNotIn("isn't in /tmp/rotated.log any more", text)


if __name__ == "__main__":
    unittest.main()
