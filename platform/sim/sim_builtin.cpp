// The built-in device: a two-radio gateway in the role of an agent, its backhaul stations connected, a
// downstream agent on the 5 GHz backhaul, some stations that come and go, and the networks of the
// neighbours. The phone and the notebook are away together for a good part of the time, so that the periodic
// scan, which stands back for them, gets its turn.
#include "platform/sim/sim.h"

namespace
{

constexpr char BUILTIN[] = R"json({
"role": 2, "country": "DE", "seed": 1905,
"radios": [
  { "name": "wifi0", "chip": "MTK7603", "status": 1, "enabled": 1, "acs": 1,
    "channel": 6, "bw": 0, "bond": "20MHz", "standards": "b,g,n,ax", "power": 20,
    "ccaInbss": 3, "ccaTxUtil": 4, "noise": -92,
    "channels": [1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13],
    "vaps": [
      { "name": "ath0", "bssid": "02:1a:10:00:00:10", "ssid": "Lindenhof", "key": "am-alten-markt-7",
        "auth": 32, "encrypt": 8, "stations": [
          { "mac": "02:5e:70:00:00:01", "rssi": -58, "flutter": 3, "tx": 72, "rx": 65, "time": 412, "11v": true,
            "11k": true, "text1": "phone", "text2": "11n", "value2": -61, "polls": [20, 20] } ] },
      { "name": "ath1", "bssid": "02:1a:10:00:00:11", "ssid": "Lindenhof-bh", "key": "between-the-nodes",
        "attr": 64, "auth": 32, "encrypt": 8 },
      { "name": "apcli0", "mode": "sta", "attr": 128, "bssid": "02:1a:10:00:00:1a", "ssid": "Lindenhof-bh",
        "key": "between-the-nodes", "auth": 32, "encrypt": 8 } ],
    "neighbors": [
      { "channel": 1, "bssid": "02:c0:01:00:00:01", "ssid": "Baeckerei Gast", "rssi": -64, "flutter": 3 },
      { "channel": 1, "bssid": "02:c0:01:00:00:02", "ssid": "Nordlicht", "rssi": -81, "flutter": 4, "visits": [3, 1] },
      { "channel": 3, "bssid": "02:c0:03:00:00:01", "ssid": "printer-7f", "rssi": -77, "flutter": 2, "visits": [2, 2] },
      { "channel": 6, "bssid": "02:c0:06:00:00:01", "ssid": "Familie Petersen", "rssi": -69, "flutter": 3 },
      { "channel": 6, "bssid": "02:c0:06:00:00:02", "ssid": "", "rssi": -83, "flutter": 3, "visits": [4, 1] },
      { "channel": 11, "bssid": "02:c0:11:00:00:01", "ssid": "Kiosk-Gast", "rssi": -59, "flutter": 2 },
      { "channel": 11, "bssid": "02:c0:11:00:00:02", "ssid": "Hafenblick", "rssi": -74, "flutter": 4 },
      { "channel": 11, "bssid": "02:c0:11:00:00:03", "ssid": "tram-wagon-12", "rssi": -85, "flutter": 3, "visits": [1, 4] },
      { "channel": 13, "bssid": "02:c0:13:00:00:01", "ssid": "Dachboden", "rssi": -79, "flutter": 3 } ] },
  { "name": "wifi1", "chip": "MTK7986", "status": 1, "enabled": 1, "acs": 1,
    "channel": 44, "bw": 2, "bond": "80MHz", "standards": "a,n,ac,ax", "power": 23,
    "ccaInbss": 2, "ccaTxUtil": 5, "noise": -97,
    "channels": [36, 40, 44, 48,
      { "ch": 52, "attr": 1 }, { "ch": 56, "attr": 1 }, { "ch": 60, "attr": 1 }, { "ch": 64, "attr": 1 },
      { "ch": 100, "attr": 1 }, { "ch": 104, "attr": 1 }, { "ch": 108, "attr": 1 }, { "ch": 112, "attr": 1 },
      { "ch": 116, "attr": 1 }, { "ch": 120, "attr": 1 }, { "ch": 124, "attr": 1 }, { "ch": 128, "attr": 1 }],
    "vaps": [
      { "name": "ath10", "bssid": "02:1a:10:00:00:20", "ssid": "Lindenhof", "key": "am-alten-markt-7",
        "auth": 32, "encrypt": 8, "stations": [
          { "mac": "02:5e:70:00:00:02", "rssi": -49, "flutter": 2, "tx": 866, "rx": 780, "time": 97, "11v": true,
            "text1": "notebook", "text2": "11ax", "value2": -52, "polls": [12, 28] } ] },
      { "name": "ath11", "bssid": "02:1a:10:00:00:21", "ssid": "Lindenhof-bh", "key": "between-the-nodes",
        "attr": 64, "auth": 32, "encrypt": 8, "stations": [
          { "mac": "02:1a:20:00:00:2a", "rssi": -55, "flutter": 1, "tx": 1200, "rx": 1080, "time": 31,
            "11v": true, "11k": true, "text1": "agent, upper floor", "text2": "11ax", "value2": -56 } ] },
      { "name": "apclii0", "mode": "sta", "attr": 128, "bssid": "02:1a:10:00:00:2a", "ssid": "Lindenhof-bh",
        "key": "between-the-nodes", "auth": 32, "encrypt": 8 } ],
    "neighbors": [
      { "channel": 36, "bssid": "02:c1:36:00:00:01", "ssid": "Familie Petersen", "rssi": -76, "flutter": 3 },
      { "channel": 36, "bssid": "02:c1:36:00:00:02", "ssid": "Hafenblick", "rssi": -82, "flutter": 3, "visits": [2, 1] },
      { "channel": 44, "bssid": "02:c1:44:00:00:01", "ssid": "Kiosk-Gast", "rssi": -71, "flutter": 2 },
      { "channel": 60, "bssid": "02:c1:60:00:00:01", "ssid": "Werkstatt", "rssi": -80, "flutter": 4, "visits": [3, 2] },
      { "channel": 100, "bssid": "02:c1:a0:00:00:01", "ssid": "Nordlicht", "rssi": -84, "flutter": 3 },
      { "channel": 112, "bssid": "02:c1:b2:00:00:01", "ssid": "Praxis Dr. Ahlers", "rssi": -67, "flutter": 2 } ] }
]
})json";

} // namespace

const char *sim_builtin_description()
{
    return BUILTIN;
}
