"""The world of the client's tests: the real programs in a private root, a small device whose scans are short and
whose figures stand still, and headless Chromium."""
import html
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
PATIENCE = 60  # seconds for what has to happen, however slow the machine is
CONFIG = """VESK_SCAN_24G_INTERVAL={0}
VESK_SCAN_5GA_INTERVAL={0}
VESK_SCAN_FIRST_INTERVAL={1}
VESK_SCAN_CONFIG=1
VESK_LOG_LEVEL=6
VESK_UPDATE_CLIENTS_INTERVAL=1
VESK_CH_CHANGE_INTERVAL=1
"""
EVIL = "<b>&\"Gast\"</b>'"
PHONE = {"mac": "02:5e:70:00:00:01", "rssi": -58, "tx": 72, "rx": 65, "time": 412, "11k": True}
SHY = {"mac": "02:5e:70:00:00:02", "rssi": 0, "time": 7300}  # its level isn't known
MESH = {"mac": "02:1a:20:00:00:2a", "rssi": -65, "tx": 1200, "rx": 1080, "time": 31, "11v": True}


def figures(channel, util, noise):
    return {"ch": channel, "util": util, "noise": noise, "inC": 1, "cac": 0}


def device(stations=(PHONE, SHY)):
    """What the files of the folder shown/ and device.rows are about. Nothing of it moves."""
    workshop = {"channel": 52, "bssid": "02:c1:52:00:00:01", "ssid": "Werk\\statt", "rssi": -80}
    return {"radios": [
        {"channel": 6, "channels": [figures(1, 72, -91), figures(6, 12, -95), figures(11, 41, -300), figures(14, 0, -98)],
         "excluded": [11],
         "counters": list(range(10, 26)),
         "neighbors": [{"channel": 1, "bssid": "02:c0:01:00:00:01", "ssid": EVIL, "rssi": -61},
                       {"channel": 11, "bssid": "02:c0:11:00:00:01", "ssid": "", "rssi": 0}],
         "vaps": [{"name": "ath0", "ssid": "Café & Co", "stations": list(stations), "counters": list(range(30, 46))},
                  {"name": "ath1", "status": 0}]},
        {"channel": 36, "channels": [figures(36, 15, -90), figures(52, 3, -97)], "nol": [52], "noise": 0,
         "neighbors": [workshop, workshop],  # the driver lists it twice
         "vaps": [{"name": "ath10", "stations": []}, {"name": "ath11", "stations": [MESH]}]}]}


def set_device(description):
    path = pathlib.Path("/tmp/vesk-sim.json")
    beside = path.with_suffix(".new")
    beside.write_text(json.dumps(description))
    beside.rename(path)


def run(*args, **environment):
    return subprocess.run(["veskctl", *args], capture_output=True, text=True, timeout=PATIENCE,
                          env={**os.environ, **environment})


def veskctl(*args, status=0, **environment):
    done = run(*args, **environment)
    if done.returncode != status:
        raise AssertionError(f"veskctl {args} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout


def in_json(*args):
    return json.loads(veskctl("--json", *args))


def eventually(question):
    deadline = time.monotonic() + PATIENCE
    while not question():
        if time.monotonic() > deadline:
            raise AssertionError("it didn't happen in time")
        time.sleep(0.1)


def drelm(line):
    """The daemon starts it, and it makes its FIFO, when they come to it; a file in its place would stay one."""
    path = pathlib.Path("/tmp/drelm.in")
    eventually(path.is_fifo)
    with path.open("w") as fifo:
        fifo.write(line + "\n")


def start_broker():
    broker = subprocess.Popen(["vesk-busd"])
    eventually(lambda: os.path.exists("/var/run/ubus.sock"))
    return broker


def start_daemon(first_scan=3, description=None):
    """Its 5 GHz radio is scanned so many seconds behind the 2.4 GHz one; passes follow 2 seconds later."""
    shutil.copy(ROOT / "platform/sim/kor-product-cfg.json", "/usr/etc/")
    os.makedirs("/configs/vesk", exist_ok=True)
    pathlib.Path("/configs/vesk/vesk_debug_flag").touch()  # keeps the daemon from renewing its configuration
    pathlib.Path("/configs/vesk/vesk.conf").write_text(CONFIG.format(min(first_scan + 2, 3600), first_scan))
    set_device(description or device())
    with open("/tmp/vesk.err", "w") as traces:
        daemon = subprocess.Popen(["vesk"], stderr=traces)
    eventually(lambda: run("version").returncode == 0)
    return daemon


def still(text):
    """The text without what differs from run to run: times, the style sheet, counters that nobody gave."""
    text = re.sub(r"<style>.*?</style>|vesk_\w+_statistic_total\{(?!radio=.wifi0|ifname=.ath0)[^\n]*\n", "", text, flags=re.S)
    text = re.sub(r"(?<![\w:])(\d{4}-\d\d-\d\d )?\d\d:\d\d:\d\d(?![\w:])|\b1\d{9}(\.\d+)?\b", "TIME", text)
    return text.replace("><", ">\n<")


class Rows(unittest.TestCase):
    maxDiff = None

    def check_rows(self, name, fail=None):
        """Runs a file of rows: words behind veskctl (and what is to stand in the environment), exit status, and what has
        to be found in what it prints: a regular expression, after ! one that mustn't be, after = the file it is."""
        for words, status, text in re.findall(r"^(?!#)(.+?) \| (\d) \| ?(.*)$", (HERE / name).read_text(), re.MULTILINE):
            if words.startswith("FAIL:"):
                fail(words[5:])
                continue
            with self.subTest(f"{name}: {words}"):
                settings = dict(word.split("=") for word in words.split() if re.match("[A-Z_]+=", word))
                done = run(*words.split()[len(settings):], **settings)
                said = done.stdout + done.stderr
                self.assertEqual(done.returncode, int(status), said)
                self.assertEqual(bool(done.stderr), status != "0" or "warning" in text, done.stderr)
                if text.startswith("="):
                    path = HERE / "shown" / text[1:]
                    if "RENEW" in os.environ:
                        path.write_text(still(said))
                    self.assertEqual(still(said), path.read_text())
                elif text.startswith("!"):
                    self.assertNotRegex(said, re.compile(text[1:], re.MULTILINE))
                else:
                    self.assertRegex(said, re.compile(text, re.MULTILINE))


class World(Rows):
    """Broker and daemon for all tests of a class."""
    first_scan, description = 3, None

    @classmethod
    def setUpClass(cls):
        cls.broker = start_broker()
        cls.daemon = start_daemon(cls.first_scan, cls.description)

    @classmethod
    def tearDownClass(cls):
        for process in (cls.daemon, cls.broker):
            process.kill()
            process.wait()


def browse(page, dark):
    """What a check page finds in the page at both widths: nothing that overflows, is cut off or lies outside."""
    folder = pathlib.Path(tempfile.mkdtemp())
    (folder / "page.html").write_text(page)
    shutil.copy(HERE / "check.html", folder)
    done = subprocess.run(
        ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--allow-file-access-from-files", "--enable-logging=stderr", f"--user-data-dir={folder}/profile",
         f"--blink-settings=preferredColorScheme={0 if dark else 1}", "--dump-dom", f"file://{folder}/check.html"],
        capture_output=True, text=True, timeout=5 * PATIENCE)  # a browser's start costs more than all else
    # The browser's own pages (chrome://) grumble about a slow machine. One message is the check page's own.
    console = [line for line in done.stderr.splitlines() if "CONSOLE" in line and "chrome://" not in line]
    assert len(console) == 1, console
    seen = json.loads(html.unescape(re.search('<pre id="seen">(.*?)</pre>', done.stdout, re.DOTALL)[1]))
    assert [(f["overflow"], f["cut"], f["outside"]) for f in seen] == [(0, [], [])] * 2, seen
    return seen
