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
#include "tests/bytes.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/test_files.h"

using Texts = std::vector<std::string>;

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
