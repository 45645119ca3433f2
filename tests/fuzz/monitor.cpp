// A frame off the air with the header that a monitor interface puts before it.
#include "platform/nl80211/drelm/frame.h"
#include "tests/fuzz/input.h"

using namespace radio;

void fuzz_one(FuzzInput in) {
    const std::vector<uint8_t> bytes = in.take(in.left);
    MonitorFrame heard;
    if (!monitor_read(bytes, heard)) return;
    fuzz_expect(heard.frame.size() <= bytes.size());
    const Frame frame = frame_read(heard.frame);
    fuzz_expect(frame.body.size() <= heard.frame.size());
    if (frame.kind == FrameKind::association || frame.kind == FrameKind::reassociation) frame_abilities(frame);
    if (frame.kind != FrameKind::measurement) return;
    Bytes elements = frame.body.subspan(1), report;
    while (frame_next_report(elements, report)) fuzz_expect(report.size() >= 5 && report.size() <= 257);
    frame_default_vlan(elements);
}
