#include "tools/veskctl/logbook.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/veskctl/text.h"

namespace
{
constexpr std::string_view prefix = "VESK > ";
constexpr size_t stampSize = 19; // "Tue Nov 24 22:58:18"

/** The stamp has no year: the present one, or the one before where that would lie ahead. */
time_t parse_stamp(const std::string &stamp, time_t now)
{
    tm local = {}, parsed = {};
    localtime_r(&now, &local);
    parsed.tm_year = local.tm_year;
    if (!strptime(stamp.c_str(), "%a %b %d %H:%M:%S", &parsed))
        return 0;
    parsed.tm_isdst = -1;
    tm again = parsed;
    time_t when = mktime(&parsed);
    if (when > now + 86400) {
        again.tm_year--;
        again.tm_isdst = -1;
        when = mktime(&again);
    }
    return when;
}

std::string trimmed(std::string_view text)
{
    while (!text.empty() && strchr(" \r\n", text.front()))
        text.remove_prefix(1);
    while (!text.empty() && strchr(" \r\n", text.back()))
        text.remove_suffix(1);
    return std::string(text);
}

/** "stamp | level | module | function:line | message" behind the prefix. A line of a dump has none of it. */
LogLine parse_line(const std::string &text, const std::string &source, int number, time_t now)
{
    const std::string whole = clean_text(trimmed(text));
    LogLine line = { source, number, 0, "", "", whole, whole };
    if (text.compare(0, prefix.size(), prefix) != 0 || text.size() < prefix.size() + stampSize)
        return line;
    std::string_view rest = std::string_view(text).substr(prefix.size() + stampSize);
    std::string columns[4];
    for (std::string &column : columns) {
        const size_t bar = rest.find(" | ");
        if (bar == std::string_view::npos)
            return line;
        column = trimmed(rest.substr(0, bar));
        rest.remove_prefix(bar + 3);
    }
    line.when = parse_stamp(text.substr(prefix.size(), stampSize), now);
    line.level = columns[1];
    line.function = columns[3].substr(0, columns[3].find(':'));
    line.message = clean_text(trimmed(rest));
    return line;
}

void read_lines(FILE *file, const std::string &source, std::vector<LogLine> &lines)
{
    char *text = nullptr;
    size_t capacity = 0;
    int number = 0;
    const time_t now = time(nullptr);
    while (getline(&text, &capacity, file) > 0) {
        number++;
        if (text[0] != '\n' && text[0] != '\r')
            lines.push_back(parse_line(text, source, number, now));
    }
    free(text);
}

/** What gzip unpacks; no shell between, the path may hold anything. */
void read_packed(const std::string &path, std::vector<LogLine> &lines)
{
    int ends[2];
    if (access(path.c_str(), R_OK) != 0 || pipe(ends) != 0)
        return;
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        execlp("gzip", "gzip", "-dc", "--", path.c_str(), nullptr);
        _exit(127);
    }
    close(ends[1]);
    FILE *file = fdopen(ends[0], "r");
    read_lines(file, path, lines);
    fclose(file);
    if (child > 0)
        waitpid(child, nullptr, 0);
}

bool is_start(const LogLine &line)
{
    return line.function == "vesk_load_cfg" && line.message.find("vesk version [") == 0;
}

/** Index of the line of the last start, or the number of lines. */
size_t find_start(const std::vector<LogLine> &lines)
{
    for (size_t i = lines.size(); i-- > 0;)
        if (is_start(lines[i]))
            return i;
    return lines.size();
}
} // namespace

const LogLine *Logbook::last(const char *function, const char *text) const
{
    for (size_t i = lines.size(); i-- > 0;)
        if ((!function || lines[i].function == function) && lines[i].message.find(text) != std::string::npos)
            return &lines[i];
    return nullptr;
}

const LogLine *Logbook::newest_info() const
{
    for (size_t i = lines.size(); i-- > 0;)
        if (lines[i].level == "INFO" || lines[i].level == "DEBUG")
            return &lines[i];
    return nullptr;
}

Logbook read_log(const std::string &path)
{
    Logbook book;
    book.path = path;
    FILE *file = fopen(path.c_str(), "re");
    if (file) {
        read_lines(file, path, book.lines);
        fclose(file);
    } else {
        book.error = path + " can't be read: " + strerror(errno);
    }
    size_t start = find_start(book.lines);
    if (start == book.lines.size()) {
        std::vector<LogLine> older;
        read_packed(path + ".old.gz", older);
        book.lines.insert(book.lines.begin(), older.begin(), older.end());
        start = find_start(book.lines);
    }
    book.knowsStart = start < book.lines.size();
    if (book.knowsStart)
        book.lines.erase(book.lines.begin(), book.lines.begin() + static_cast<std::ptrdiff_t>(start));
    return book;
}

int log_number(const LogLine &line, const char *name, int otherwise)
{
    const std::string key = std::string(name) + "=";
    for (size_t at = line.message.find(key); at != std::string::npos; at = line.message.find(key, at + 1)) {
        const bool isWhole = at == 0 || strchr(" ,.>", line.message[at - 1]);
        if (isWhole)
            return static_cast<int>(strtol(line.message.c_str() + at + key.size(), nullptr, 10));
    }
    return otherwise;
}
