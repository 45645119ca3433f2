#include "tools/radiocheck/output.h"

#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
[[noreturn]] void become(std::vector<std::string> &words, int out)
{
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nowhere, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    unsetenv("LD_PRELOAD"); // what is preloaded here is none of the other's
    unsetenv("LD_LIBRARY_PATH");
    execvp(arguments[0], arguments.data());
    _exit(127);
}
} // namespace

bool run_program(std::vector<std::string> words, std::string &output)
{
    int ends[2];
    output.clear();
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0)
        become(words, ends[1]);
    close(ends[1]);
    char part[4096];
    for (ssize_t length; child > 0 && (length = read(ends[0], part, sizeof part)) > 0;)
        output.append(part, static_cast<size_t>(length));
    close(ends[0]);
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

bool has_program(const char *name)
{
    std::string output;
    return run_program({ "sh", "-c", std::string("command -v ") + name }, output);
}

std::string first_line(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        lines.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

std::string behind(const std::string &text, const char *key)
{
    constexpr const char *blanks = " \t";
    const size_t length = std::char_traits<char>::length(key);
    for (const std::string &line : lines_of(text)) {
        const size_t begin = line.find_first_not_of(blanks);
        if (begin == std::string::npos || line.compare(begin, length, key) != 0)
            continue;
        const size_t value = line.find_first_not_of(blanks, begin + length);
        return value == std::string::npos ? "" : line.substr(value);
    }
    return "";
}

std::string word_behind(const std::string &text, const char *key)
{
    const std::string rest = behind(text, key);
    return rest.substr(0, rest.find_first_of(" \t,"));
}
