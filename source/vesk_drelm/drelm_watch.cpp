// The watchdog of the sibling daemon that collects driver events: looked for in the process list 2 seconds
// after start and every 30 seconds from then on, and started when it isn't there. The shell holds up the main
// loop meanwhile.
#include "source/vesk_drelm/drelm_private.h"

#include <cstdio>
#include <cstdlib>

#include "source/vesk_main/log.h"

namespace
{

constexpr int first_check = 2000; // milliseconds
constexpr int check_period = 30000;

uloop_timeout appMonTimer;

} // namespace

void vesk_start_app_mon_timer()
{
    appMonTimer.cb = vesk_related_app_check;
    VESK_LOG(ERROR, " vesk_related_app_check，wait 2 seconds.\n");
    uloop_timeout_set(&appMonTimer, first_check);
}

void vesk_stop_app_mon_timer()
{
    uloop_timeout_cancel(&appMonTimer);
}

void vesk_related_app_check(uloop_timeout *)
{
    // Close-on-exec: the sibling that may be started below must not keep the pipe.
    FILE *list = popen("ps -w|grep drelm|grep -v grep", "re");
    if (list != nullptr) {
        char line[512] = {};
        if (fgets(line, sizeof line, list) != nullptr && line[0] != '\0') {
            VESK_LOG(DEBUG, " drelm is working\n");
        } else {
            VESK_LOG(ERROR, " drelm is not exist, start it\n");
            [[maybe_unused]] const int status = system("run_drelm.sh &");
        }
        pclose(list);
    }
    uloop_timeout_set(&appMonTimer, check_period);
}
