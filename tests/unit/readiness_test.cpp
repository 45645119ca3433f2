#include "tests/unit/fixtures.h"

using Readiness = ScanTest;

TEST_F(Readiness, FlagComesFromTheScansOrAtTheBound) {
    using Row = std::array<int, 4>; // role, radios up, second of the scans' end (99: never), of the flag
    for (auto [role, isUp, endsAt, flagAt] : { Row{ 1, 1, 99, 0 }, Row{ 0, 0, 0, 32 }, Row{ 2, 1, 99, 32 },
                                               Row{ 2, 0, 99, 2 }, Row{ 2, 1, 13, 14 }, Row{ 2, 1, 30, 30 } }) {
        restart();
        fakeDevice.role = role;
        radio[0].status = radio[1].status = static_cast<uint8_t>(isUp);
        vesk_check_all_ready();
        if (role == 2) fakeDevice.role = 1; // read once: a late controller goes on with the timer
        for (int second = 0; second < 60; second++) {
            set_flags(0, 0, second >= endsAt, 0);
            set_flags(1, 0, second >= endsAt, 0);
            fake_advance(second == 0 ? 0s : 1s);
            EXPECT_EQ(fakeLibc.systems, Texts(second >= flagAt, "touch /tmp/vesk_ready")) << second;
        }
        EXPECT_EQ(logged(" Create ready file checkCnt=15\n"), flagAt == 32);
    }
}
