// The check of the driver libraries is a program of its own, which needs them; a gateway may do without it.
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "tools/veskctl/output.h"

void run_radio_check(const Arguments &arguments)
{
    constexpr const char *program = "vesk-radio-check";
    std::vector<const char *> words = { program };
    if (arguments.json)
        words.push_back("--json");
    if (arguments.has("--capture")) {
        words.push_back("--capture");
        words.push_back(arguments.text("--capture").c_str());
    }
    words.push_back(nullptr);
    execvp(program, const_cast<char *const *>(words.data()));
    fail(errno == ENOENT ? "vesk-radio-check isn't installed; it belongs to the libraries for real radios"
                         : std::string("vesk-radio-check: ") + strerror(errno));
}
