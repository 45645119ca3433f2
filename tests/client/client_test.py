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

from world import (EVIL, HERE, PATIENCE, PHONE, ROOT, Rows, World, browse, device, drelm, eventually, in_json, run,
                   set_device, start_broker, start_daemon, veskctl)

FLAG = pathlib.Path("/tmp/vesk_ready")


def check_schema(name, value):
    schema = json.loads((ROOT / "docs/schema" / f"{name}.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    jsonschema.validate(value, schema)


def show_device(description, command, text):
    """Waits until what the client shows of the new device holds the text."""
    set_device(description)
    eventually(lambda: text in veskctl(*command.split()))


def take_flag_away():
    eventually(FLAG.exists)
    FLAG.unlink()


class Unmeasured(World):
    first_scan = 3600

    def test_rows(self):
        self.check_rows("unmeasured.rows")


class Device(World):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        eventually(FLAG.exists)

    def test_rows(self):
        self.check_rows("device.rows")

    def test_json_keeps_to_the_schemas(self):
        for line in (HERE / "schemas.rows").read_text().splitlines():
            words, _, schema = line.partition(" | ")
            with self.subTest(words):
                check_schema(schema or words.split()[0], in_json(*words.split()))

    def test_metrics_are_those_of_the_dashboard(self):
        text = veskctl("metrics")
        subprocess.run(["promtool", "check", "metrics"], input=text, text=True, check=True)
        panels = json.loads((ROOT / "contrib/grafana-vesk.json").read_text())["panels"]
        shown = re.findall(r"\b(?:vesk|wifi)_\w+", " ".join(t["expr"] for panel in panels for t in panel["targets"]))
        self.assertEqual(set(shown) - {"vesk_scan_age_seconds", *re.findall(r"# TYPE (\S+)", text)}, set())

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
        backgrounds = set()
        for dark in (False, True):
            for frame, chart in zip(browse(page, dark), ("narrow", "wide")):
                self.assertEqual(frame["charts"], [chart, chart])
                self.assertTrue(frame["named"] and frame["ids"])
                for text in (EVIL, "hidden network", "Café & Co", "−91 dBm\t−85.0 dBm"):
                    self.assertIn(text, frame["text"])
                backgrounds.add(frame["background"])
        self.assertEqual(len(backgrounds), 2)

    def test_status_is_coloured_on_a_terminal(self):
        for columns in (40, 80):
            self.assertLessEqual(max(map(len, veskctl("status", COLUMNS=str(columns)).splitlines())), columns)
        terminal = ["script", "-qec", "stty cols 80; veskctl status", "/dev/null"]
        for wish in ({}, {"NO_COLOR": "1"}):
            shown = subprocess.run(terminal, capture_output=True, text=True, env={**os.environ, **wish}).stdout
            self.assertEqual("\x1b[" in shown, not wish)


class Moving(World):
    def test_reasons_follow_the_device(self):
        eventually(lambda: "a station was connected" in veskctl("explain", "scan", "2.4"))
        self.check_rows("connected.rows")
        show_device(device(stations=[]), "explain scan 2.4", "It scanned channel")
        rested = [s for s in in_json("explain", "scan", "2.4")[0]["statements"] if s["number"]]
        log = pathlib.Path("/tmp/vesk.log").read_text().splitlines()
        self.assertGreaterEqual(len(rested), 3)
        for statement in rested:
            self.assertEqual(statement["line"], log[statement["number"] - 1].strip())
        eventually(lambda: "vesk_scan_age_seconds" in veskctl("metrics"))
        take_flag_away()
        self.check_rows("scanned.rows")
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
        eventually(lambda: "and 248 more" in veskctl("explain", "scan", "2.4"))
        show_device(device(many[:8]), "metrics", 'wifi_stations{ifname="ath0.v0"} 8')
        self.assertNotIn(" more", veskctl("explain", "scan", "2.4"))
        show_device(device(), "stations", PHONE["mac"])


class Crowded(World):
    def test_crowded_page_keeps_its_shape(self):
        wide = device(stations=[])
        wide["radios"][0].update(channels=[], neighbors=[], status=0, acs=0)
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
        take_flag_away()
        self.check_rows("crowd.rows")
        page = veskctl("report")
        self.assertNotIn("\u202e", page)
        browse(page, dark=False)


class Gone(World):
    """What runs on while daemon and broker go and come again."""

    def setUp(self):
        eventually(lambda: run("version").returncode == 0)

    def test_who_listens_outlives_both(self):
        path = {name: pathlib.Path(f"/tmp/{name}") for name in ("watch", "record", "screen", "growth")}
        lines = {"watch": "watch", "record": "record /tmp/record", "screen": "status --watch",
                 "growth": "stats ath0 --watch --interval 4"}
        path["record"].write_text("before\n")
        running = {}
        for name, line in lines.items():
            with open("/dev/null" if name == "record" else path[name], "w") as shown:
                running[name] = subprocess.Popen(["veskctl", *line.split()], stdout=shown)

        def hears(radar):
            """Whether each listener has shown this radar event by now."""
            drelm(f"radar {radar}")
            return f'"payload":"{radar}"' in path["record"].read_text() and all(
                f"veskRadarNotif data={radar}" in path[name].read_text() for name in ("watch", "screen"))
        eventually(lambda: hears("010000000000") and "COUNTER" in path["growth"].read_text())
        running["growth"].send_signal(signal.SIGSTOP)  # it finds another daemon where it left one
        self.daemon.terminate()
        self.daemon.wait()
        type(self).daemon = start_daemon()
        path["growth"].write_text("")
        running["growth"].send_signal(signal.SIGCONT)
        eventually(lambda: hears("020000000000") and re.search(r"counters\d\[\d\] +\d+ +\d", path["growth"].read_text()))
        running["growth"].kill()
        self.broker.kill()
        self.broker.wait()
        type(self).broker = start_broker()
        eventually(lambda: run("scanning", "on").returncode == 0)  # a signal of our own, which is none of the daemon's
        eventually(lambda: hears("030000000000"))
        for process in running.values():
            process.send_signal(signal.SIGINT)
        self.assertEqual([process.wait(PATIENCE) for process in running.values()], [0, 0, 0, -signal.SIGKILL])
        self.assertNotIn("etScan", path["watch"].read_text() + path["record"].read_text())
        lines = path["record"].read_text().splitlines()
        self.assertEqual(lines.pop(0), "before")
        for line in lines:
            check_schema("record", json.loads(line))
            check_schema("watch", {k: v for k, v in json.loads(line).items() if k != "payload"})
        path["record"].write_text("\n".join(lines) + "\n")
        shown = map(json.loads, veskctl("--json", "watch", "--from", "/tmp/record").splitlines())
        self.assertEqual([{**json.loads(line), "payload": None} for line in lines], [{**s, "payload": None} for s in shown])

    def test_watch_ends_also_without_a_broker(self):
        shown = pathlib.Path("/tmp/watched")
        watch = subprocess.Popen(["veskctl", "watch"], stdout=shown.open("w"))
        full = subprocess.Popen(["veskctl", "record", "/dev/full"], stderr=subprocess.DEVNULL)
        eventually(lambda: drelm("radar 01") or "veskRadarNotif" in shown.read_text() and full.poll() is not None)
        self.assertEqual(full.returncode, 1)
        self.broker.kill()
        self.broker.wait()
        time.sleep(0.5)  # it notices; if it hasn't, it ends all the same
        watch.send_signal(signal.SIGINT)
        self.assertEqual(watch.wait(PATIENCE), 0)
        type(self).broker = start_broker()

    def test_a_page_tells_that_the_daemon_is_gone(self):
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


class Logs(Rows):
    """Reasons from written logs, and signals from a record; there is no bus."""

    def test_records(self):
        self.check_rows("records.rows")

    def test_reasons(self):
        """Cases of reasons.rows: lines of a log with seconds ago, and what is said of them or mustn't be."""
        log, known, now = pathlib.Path("/tmp/case.log"), {}, time.time()

        def clock(form, ago):
            return time.strftime(form, time.localtime(now - int(ago)))

        def written(line):
            line = re.sub(r"^(\d*) *<(.*)>$", lambda m: f"{m[1] or known[m[2]][0]} {known[m[2]][1]}", line)
            if not (parts := re.match(r"(\d+) (\w+): (.*)", line)):
                return line + "\n"
            return f"VESK > {clock('%a %b %e %H:%M:%S', parts[1])} | INFO    | source/vesk_scan | {parts[2]}:1 |  {parts[3]}\n"
        for case in (HERE / "reasons.rows").read_text().split("\n\n"):
            question, *lines = [line for line in case.splitlines() if not line.startswith("#")] or [""]
            if question.startswith("="):
                known.update((m[1], (m[2], m[3])) for m in (re.match(r"= (\w+) +(\d+) (.*)", d) for d in [question, *lines]))
                continue
            words, ready, _ = question.partition(", ready")
            FLAG.touch() if ready else FLAG.unlink(missing_ok=True)
            rows = [line[2:] for line in lines if line[:2] == "  "]
            older = rows[:rows.index("packed")] if "packed" in rows else []
            with gzip.open(f"{log}.old.gz", "wt") as packed:
                packed.writelines(map(written, older))
            log.write_text("".join(map(written, rows[len(older) + bool(older):]))) if rows != ["no log"] else log.unlink()
            text = run("explain", *words.split(), "--log", str(log)).stdout
            for line in lines:
                expected = re.sub(r"@(-?\d+)", lambda m: clock("%H:%M:%S", -int(m[1])), line[2:])
                with self.subTest(f"{question}: {line}"):
                    if line[:2] in ("+ ", "- "):
                        (self.assertIn if line[0] == "+" else self.assertNotIn)(expected, text)


if __name__ == "__main__":
    unittest.main()
