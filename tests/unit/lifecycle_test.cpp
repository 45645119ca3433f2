// The way from a signal to the end of the process.
#include <csignal>

#include "tests/unit/common.h"

namespace {
/** In a child: the signal comes before its handler is there, and once more before the loop runs; then the loop serves
 * what is readable. */
[[noreturn]] void end_by(int signum) {
    stderr = fdopen(STDERR_FILENO, "w");
    vesk_log_redirect(nullptr), vesk_hold_signals();
    if (signum != SIGABRT) {
        signal(signum, SIG_IGN); // the loop library has a handler of its own meanwhile, which would lose it
        raise(signum);
    }
    vesk_init_signals();
    raise(signum);
    char byte;
    uloop_fd *watch = fakeLoop.fds.at(0);
    if (read(watch->fd, &byte, 1) == 1) watch->cb(watch, ULOOP_READ);
    _exit(7); // not asked to end
}

TEST(Lifecycle, SignalsEndTheProcessFromTheMainLoop) {
    fake_reset();
    for (const int signum : { SIGINT, SIGQUIT, SIGTERM }) {
        const std::string line = "\\[vesk\\] Signal received \\[" + std::to_string(signum) + "\\]. Exiting ...\r\n";
        const char *chain = ".*vesk_stop_check_all_ready.*vesk_stop_intf_timer.*wl driver deinit"; // as its members log
        EXPECT_EXIT(end_by(signum), testing::ExitedWithCode(0), "^" + line + line + chain);
    }
    EXPECT_EXIT(end_by(SIGCHLD), testing::ExitedWithCode(7), "^$");                  // blocked
    EXPECT_EXIT(end_by(SIGABRT), testing::KilledBySignal(SIGABRT), "^(qemu: .*)?$"); // default action
}
} // namespace
