// The flag file that tells the rest of the device that the daemon is up. Nobody here ever removes it.
#include "source/vesk_main/vesk_main.h"

#include <cstdlib>

#include "source/vesk_main/log.h"

#define READY_FLAG "/tmp/vesk_ready"

void vesk_create_ready_flag()
{
    VESK_LOG(INFO, " vesk create ready flag %s\n", READY_FLAG);
    [[maybe_unused]] const int status = system("touch " READY_FLAG);
}
