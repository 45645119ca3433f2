// Everything that somebody needs who is to find out what is wrong, in one archive. Each command's output is
// made by this very program, run once more; keys are masked in all of it.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/client/text.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr size_t largestFile = 4u << 20; // the log is rotated above 1 MiB
constexpr int recordedS = 10;

struct Piece {
    const char *file;
    std::vector<const char *> words;
};

const std::vector<Piece> &pieces()
{
    static const std::vector<Piece> all = {
        { "version.txt", { "version" } },
        { "status.txt", { "status" } },
        { "explain-scan.txt", { "explain", "scan" } },
        { "explain-ready.txt", { "explain", "ready" } },
        { "scanning.txt", { "scanning" } },
        { "polling.txt", { "polling" } },
        { "log.txt", { "log" } },
        { "report.html", { "report" } },
        { "metrics.prom", { "metrics" } },
        { "radios.json", { "--json", "radios" } },
        { "vaps.json", { "--json", "vaps" } },
        { "stations.json", { "--json", "stations" } },
        { "scan.json", { "--json", "scan" } },
        { "neighbors.json", { "--json", "neighbors" } },
        { "channels-2.4.json", { "--json", "channels", "2.4" } },
        { "channels-5.json", { "--json", "channels", "5" } },
        { "nol-5.json", { "--json", "nol", "5" } },
        { "capability-2.4.json", { "--json", "capability", "2.4" } },
        { "capability-5.json", { "--json", "capability", "5" } },
        { "interfaces.json", { "--json", "interfaces" } },
        { "backhaul.json", { "--json", "backhaul", "info" } },
        { "vlan.json", { "--json", "vlan" } },
    };
    return all;
}

constexpr const char *copied[] = { "/tmp/vesk.log", "/tmp/vesk_init.log", "/configs/vesk/vesk.conf",
                                   "/usr/etc/kor-product-cfg.json", "/tmp/kor-product-cfg.json" };

/** Runs a program with its output in a file. Its status, -1 if it couldn't be run. */
int run_into(const std::string &path, std::vector<const char *> words)
{
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int out = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        execvp(words[0], const_cast<char *const *>(words.data()));
        _exit(127);
    }
    int status = -1;
    if (child > 0)
        waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/** The text with what stands behind a key's name replaced, up to the next blank, comma or quotation mark. */
std::string masked(std::string text)
{
    static constexpr const char *names[] = { "keyPassphrase", "ssidKey",    "KeyPassphrase",
                                             "PreSharedKey",  "passphrase", "psk" };
    for (const char *name : names)
        for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
            at += strlen(name);
            const size_t value = text.find_first_not_of("\": =\t", at);
            if (value == std::string::npos || value == at)
                continue; // no value behind it, or another word
            const size_t end = text.find_first_of("\", \t\r\n]", value);
            text.replace(value, (end == std::string::npos ? text.size() : end) - value, "********");
        }
    return text;
}

void copy_masked(const std::string &from, const std::string &to)
{
    std::string text, error;
    if (!read_file(from, largestFile, text, error))
        text = error + "\n";
    if (!write_by_rename(to, masked(text), error))
        fail(error);
}

void remove_folder(const std::string &folder)
{
    run_into("/dev/null", { "rm", "-rf", "--", folder.c_str() });
}

std::string make_folder()
{
    char name[] = "/tmp/vesk-support.XXXXXX";
    if (!mkdtemp(name))
        fail(std::string("can't make a folder in /tmp: ") + strerror(errno));
    return name;
}

/** The signals of ten seconds come in beside all the rest. */
pid_t start_recording(const std::string &folder)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(run_into(folder + "/record.txt",
                       { "/proc/self/exe", "record", (folder + "/signals.jsonl").c_str(), "--seconds",
                         std::to_string(recordedS).c_str() }));
    return child;
}
} // namespace

void run_support(const Arguments &arguments)
{
    const std::string &file = arguments.text("FILE");
    const std::string folder = make_folder();
    const pid_t recorder = start_recording(folder);
    for (const Piece &piece : pieces()) {
        std::vector<const char *> words = { "/proc/self/exe" };
        words.insert(words.end(), piece.words.begin(), piece.words.end());
        run_into(folder + "/" + piece.file, std::move(words));
    }
    for (const char *path : copied) {
        std::string name = path + 1;
        std::replace(name.begin(), name.end(), '/', '-');
        copy_masked(path, folder + "/" + name);
    }
    const std::string older = folder + "/tmp-vesk.log.old", complaint = folder + ".said";
    run_into(older, { "gzip", "-dc", "/tmp/vesk.log.old.gz" });
    copy_masked(older, older);
    if (recorder > 0)
        waitpid(recorder, nullptr, 0);
    const int packed = run_into(complaint, { "tar", "-czf", file.c_str(), "-C", folder.c_str(), "." });
    std::string said, error;
    read_file(complaint, largestFile, said, error);
    unlink(complaint.c_str());
    remove_folder(folder);
    if (packed != 0)
        fail("can't write " + file + ": " +
             (said.empty() ? "tar isn't there" : said.substr(0, said.find('\n'))));
    print_done(arguments, file + " holds the daemon's log and configuration, all queries and " +
                              std::to_string(recordedS) + " seconds of signals; keys are masked");
}
