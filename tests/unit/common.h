// What unit tests share: the daemon's headers, records as bytes, texts, what was logged.
#pragma once

#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <set>
#include <sstream>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bus/vesk_api/vesk_api.h"
#include "foundation/csrv_timer.h"
#include "foundation/kvhmgr.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_drelm/drelm_private.h"
#include "source/vesk_handler/vesk_handler.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/timer_service.h"
#include "source/vesk_main/vesk_main.h"
#include "source/vesk_scan/scan_private.h"
#include "source/vesk_station/vesk_station.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/test_files.h"

using Texts = std::vector<std::string>;

/** A record put together by offset; everything not mentioned is zero. */
struct Bytes : std::vector<uint8_t> {
    using vector::vector;
    Bytes(const vector &bytes) : vector(bytes) {}

    Bytes &put(size_t at, const vector &bytes) {
        EXPECT_LE(at + bytes.size(), size());
        std::copy(bytes.begin(), bytes.end(), begin() + static_cast<long>(at));
        return *this;
    }
    /** Values one behind the other. */
    template <class T, class... V>
    Bytes &row(size_t at, V... values) {
        const T list[] = { static_cast<T>(values)... };
        return put(at, bytes_of(list));
    }
    // clang-format off
    template <class... V> Bytes &u8(size_t at, V... values) { return row<uint8_t>(at, values...); }
    template <class... V> Bytes &u16(size_t at, V... values) { return row<uint16_t>(at, values...); }
    template <class... V> Bytes &i32(size_t at, V... values) { return row<int32_t>(at, values...); }
    // clang-format on
    Bytes &u64(size_t at, uint64_t v) { return put(at, bytes_of(v)); }
    Bytes &f32(size_t at, float v) { return put(at, bytes_of(v)); }
    Bytes &f64(size_t at, double v) { return put(at, bytes_of(v)); }
    Bytes &mac(size_t at, int last) { return u8(at, 2).u8(at + 5, last); } // 02:00:00:00:00:LAST
    Bytes &text(size_t at, const std::string &s) { return put(at, Bytes(s.begin(), s.end())); }
    /** A name and the zeros behind it. */
    Bytes &name(size_t at, const std::string &s, size_t field = 16) { return put(at, Bytes(field)).text(at, s); }
    /** So many bytes that count up. */
    Bytes &count(size_t at, int first, int n) {
        for (int i = 0; i < n; i++) u8(at + static_cast<size_t>(i), first + i);
        return *this;
    }
};

/** A driver event as the sibling sends it. */
inline Bytes datagram(uint32_t id, const std::string &ifName, const Bytes &body) {
    return Bytes(41 + body.size()).i32(0, id).text(4, ifName).put(41, body);
}

/** The messages that were logged at this level, in order; "": at any. */
inline Texts messages(const std::string &level = "") {
    Texts found;
    for (const FakeLogLine &line : fake_log_lines())
        if (level.empty() || line.level == level) found.push_back(line.message);
    return found;
}
