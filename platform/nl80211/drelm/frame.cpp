#include "platform/nl80211/drelm/frame.h"

#include <cstring>

namespace radio
{

namespace
{

constexpr size_t headerSize = 24;
constexpr uint8_t typeMask = 0x0f; // version and type
constexpr uint8_t typeData = 0x08;
constexpr uint8_t directionMask = 0x03;
constexpr uint8_t toAccessPoint = 0x01;
constexpr uint8_t hasHtControl = 0x80; // of a management frame: 4 bytes more before the body

struct Subtype {
    uint8_t control; // first byte of the frame
    FrameKind kind;
    size_t bodySize; // at least
};

constexpr Subtype subtypes[] = {
    { 0x00, FrameKind::association, 4 },    { 0x20, FrameKind::reassociation, 10 },
    { 0x40, FrameKind::probe, 0 },          { 0xa0, FrameKind::disassociation, 2 },
    { 0xc0, FrameKind::disassociation, 2 },
};

constexpr uint8_t controlAction = 0xd0;

struct Action {
    uint8_t category, action;
    FrameKind kind;
};

constexpr Action actions[] = {
    { 5, 1, FrameKind::measurement },
    { 10, 6, FrameKind::btmQuery },
    { 10, 8, FrameKind::btmResponse },
};

void read_action(Frame &frame)
{
    for (const Action &row : actions) {
        if (frame.body.size() >= 3 && frame.body[0] == row.category && frame.body[1] == row.action) {
            frame.kind = row.kind;
            frame.body = frame.body.subspan(2);
            return;
        }
    }
}

void read_management(uint8_t control, Frame &frame)
{
    if (control == controlAction)
        read_action(frame);
    for (const Subtype &row : subtypes) {
        if (control == row.control && frame.body.size() >= row.bodySize)
            frame.kind = row.kind;
    }
}

bool has_bit(Bytes body, size_t bit)
{
    return bit / 8 < body.size() && (body[bit / 8] >> (bit % 8) & 1) != 0;
}

uint16_t load16(Bytes bytes, size_t at)
{
    return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

constexpr uint8_t measurementBeacon = 5;
constexpr size_t reportHeader = 3; // token, mode, type

constexpr uint8_t multiAp[] = { 0x50, 0x6f, 0x9a, 0x1b };
constexpr uint8_t multiApVlan = 8;

/** Fields of a radiotap header up to the one with the level: bit, alignment, size. */
struct Field {
    uint8_t align, size;
};
constexpr Field fields[] = { { 8, 8 }, { 1, 1 }, { 1, 1 }, { 2, 4 }, { 2, 2 }, { 1, 1 } };
constexpr size_t fieldFlags = 1;
constexpr size_t fieldChannel = 3;
constexpr size_t fieldSignal = 5;
constexpr uint8_t flagBadFcs = 0x40;

/** Behind the words that tell which fields there are; 0 if they don't end inside the header. */
size_t first_field(Bytes header)
{
    size_t at = 4;
    while (at + 4 <= header.size()) {
        const bool more = (header[at + 3] & 0x80) != 0;
        at += 4;
        if (!more)
            return at;
    }
    return 0;
}

} // namespace

Frame frame_read(Bytes bytes)
{
    Frame frame = { FrameKind::other, nullptr, nullptr, {} };
    if (bytes.size() < headerSize)
        return frame;
    frame.to = &bytes[4];
    frame.from = &bytes[10];
    const uint8_t type = bytes[0] & typeMask;
    const size_t header = headerSize + (type == 0 && (bytes[1] & hasHtControl) != 0 ? 4 : 0);
    if (bytes.size() < header)
        return frame;
    frame.body = bytes.subspan(header);
    if (type == 0)
        read_management(bytes[0], frame);
    else if (type == typeData && (bytes[1] & directionMask) == toAccessPoint)
        frame.kind = FrameKind::data;
    return frame;
}

/** A re-association names the present access point before the elements. */
FrameAbilities frame_abilities(const Frame &request)
{
    constexpr size_t bssTransition = 19;
    const Bytes elements = request.body.subspan(request.kind == FrameKind::reassociation ? 10 : 4);
    FrameAbilities abilities = { has_bit(element_find(elements, elementExtendedCapabilities), bssTransition),
                                 false };
    for (const uint8_t byte : element_find(elements, elementRadioMeasurement))
        abilities.is11k |= byte != 0;
    return abilities;
}

bool frame_next_report(Bytes &elements, Bytes &report)
{
    uint8_t id;
    Bytes body;
    for (Bytes from = elements; element_next(elements, id, body); from = elements) {
        if (id == elementMeasurementReport && body.size() >= reportHeader && body[2] == measurementBeacon) {
            report = from.first(2 + body.size());
            return true;
        }
    }
    return false;
}

uint16_t frame_default_vlan(Bytes elements)
{
    uint8_t id;
    Bytes body;
    while (element_next(elements, id, body)) {
        if (id != elementVendor || body.size() < sizeof multiAp ||
            memcmp(body.data(), multiAp, sizeof multiAp) != 0)
            continue;
        const Bytes vlan = element_find(body.subspan(sizeof multiAp), multiApVlan);
        if (vlan.size() >= 2)
            return load16(vlan, 0);
    }
    return 0;
}

bool monitor_read(Bytes bytes, MonitorFrame &heard)
{
    heard = {};
    if (bytes.size() < 8 || bytes[0] != 0 || load16(bytes, 2) > bytes.size())
        return false;
    const Bytes header = bytes.first(load16(bytes, 2));
    size_t at = first_field(header);
    if (at == 0)
        return false;
    for (size_t i = 0; i < sizeof fields / sizeof *fields; i++) {
        if (!has_bit(header.subspan(4), i))
            continue;
        at = (at + fields[i].align - 1) / fields[i].align * fields[i].align;
        if (at + fields[i].size > header.size())
            return false;
        if (i == fieldFlags && (header[at] & flagBadFcs) != 0)
            return false;
        if (i == fieldChannel)
            heard.frequency = load16(header, at);
        if (i == fieldSignal)
            heard.signal = static_cast<int8_t>(header[at]);
        at += fields[i].size;
    }
    heard.frame = bytes.subspan(header.size());
    return true;
}

} // namespace radio
