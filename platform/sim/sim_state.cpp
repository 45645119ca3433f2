// The device's one instance, its lock, the description file that it follows, and its log. The state is never
// destroyed: scan threads may still be inside a call when the process ends.
#include "platform/sim/sim.h"

#include <cstdio>
#include <ctime>
#include <mutex>

#include <sys/stat.h>

#include "platform/sim/station_list.h"

namespace
{

constexpr size_t DESCRIPTION_MAX = 4u << 20; // bytes

/** What tells one state of the description file from another. */
struct FileMark {
    ino_t inode = 0;
    off_t size = -1; // no file
    timespec modified = {};
    bool operator==(const FileMark &o) const
    {
        return inode == o.inode && size == o.size && modified.tv_sec == o.modified.tv_sec &&
               modified.tv_nsec == o.modified.tv_nsec;
    }
};

struct SimState {
    std::mutex lock;
    SimDevice device;
    FileMark mark;
    bool described = false;
    std::string descriptionPath = "/tmp/vesk-sim.json";
    std::string logPath = "/tmp/vesk-sim.log";
    std::string stationsPath = SIM_STATION_LIST;
};

SimState &state()
{
    static SimState &instance = *new SimState;
    return instance;
}

FileMark mark_of(const std::string &path)
{
    FileMark mark;
    struct stat info;
    if (stat(path.c_str(), &info) == 0)
        mark = { info.st_ino, info.st_size, info.st_mtim };
    return mark;
}

std::string file_text(const std::string &path)
{
    std::string text;
    FILE *file = fopen(path.c_str(), "re");
    if (!file)
        return text;
    char part[4096];
    size_t got;
    while (text.size() < DESCRIPTION_MAX && (got = fread(part, 1, sizeof part, file)) > 0)
        text.append(part, got);
    fclose(file);
    return text;
}

SimDevice builtin_device()
{
    SimDevice device;
    sim_describe(sim_builtin_description(), device);
    return device;
}

/** A description that can't be read leaves the device as it was. Whether the device began anew. */
bool follow_description(SimState &s)
{
    const FileMark mark = mark_of(s.descriptionPath);
    if (s.described && mark == s.mark)
        return false;
    if (!s.described)
        s.device = builtin_device();
    s.described = true;
    s.mark = mark;

    SimDevice fresh = builtin_device();
    if (mark.size >= 0 && !sim_describe(file_text(s.descriptionPath).c_str(), fresh)) {
        sim_log_note("not a JSON object, the device stays as it was");
        return false;
    }
    s.device = std::move(fresh);
    return true;
}

/** Stations of drelm's stand over those of the description, whichever came later. */
void bring_up_to_date(SimState &s)
{
    if (sim_stations_replaced(s.stationsPath.c_str()))
        s.described = false;
    const bool first = !s.described;
    const bool fresh = follow_description(s) || first;
    sim_follow_stations(s.stationsPath.c_str(), s.device, fresh);
}

void write_line(const std::string &line)
{
    FILE *file = fopen(state().logPath.c_str(), "ae");
    if (!file)
        return;
    fputs(line.c_str(), file);
    fclose(file);
}

} // namespace

void sim_use_files(const char *description, const char *log, const char *stations)
{
    const std::lock_guard<std::mutex> guard(state().lock);
    state().descriptionPath = description;
    state().logPath = log;
    state().stationsPath = stations;
    state().described = false;
}

SimFault sim_enter(const char *function)
{
    SimState &s = state();
    s.lock.lock();
    bring_up_to_date(s);
    const auto row = s.device.functions.find(function);
    const SimFault fault = row == s.device.functions.end() ? SimFault{} : row->second;
    if (fault.delayMs > 0) {
        s.lock.unlock();
        sim_sleep(fault.delayMs);
        s.lock.lock();
    }
    return fault;
}

void sim_leave()
{
    state().lock.unlock();
}

SimDevice &sim_device()
{
    return state().device;
}

void sim_log_command(const char *function, const char *arguments, int rc)
{
    const int64_t now = sim_monotonic_ms();
    std::string line = sim_format("%s%s", function, *arguments ? " " : "") + arguments;
    for (char &c : line)
        c = static_cast<unsigned char>(c) < ' ' ? '?' : c; // an SSID may hold anything
    write_line(line + sim_format(" rc=%d t=%lld.%03d\n", rc, static_cast<long long>(now / 1000),
                                 static_cast<int>(now % 1000)));
}

void sim_log_note(const char *note)
{
    write_line(sim_format("description %s: %s\n", state().descriptionPath.c_str(), note));
}
