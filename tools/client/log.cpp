#include "tools/client/log.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/client/text.h"

namespace
{
constexpr std::string_view linePrefix = std::string_view(VESK_LOG_PREFIX).substr(0, sizeof "VESK > " - 1);
constexpr std::string_view columnEnd = " | ";
constexpr size_t stampSize = 19; // "Tue Nov 24 22:58:18"
constexpr int dayS = 86400;

/** The stamp has no year: the present one, or the one before where that would lie ahead. */
time_t parse_stamp(const char *stamp, time_t now)
{
    tm local = {}, parsed = {};
    localtime_r(&now, &local);
    parsed.tm_year = local.tm_year;
    if (!strptime(stamp, "%a %b %d %H:%M:%S", &parsed))
        return 0;
    parsed.tm_isdst = -1;
    tm again = parsed;
    const time_t when = mktime(&parsed);
    if (when <= now + dayS)
        return when;
    again.tm_year--;
    return mktime(&again);
}

/** The same, but a second's lines cost one conversion. */
time_t stamp_time(std::string_view stamp, time_t now)
{
    static char last[stampSize + 1];
    static time_t lastNow, when;
    if (stamp != std::string_view(last, stampSize) || lastNow != now) {
        memcpy(last, stamp.data(), stampSize);
        lastNow = now;
        when = parse_stamp(last, now);
    }
    return when;
}

std::string_view trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \r\n");
    return first == std::string_view::npos ? ""
                                           : text.substr(first, text.find_last_not_of(" \r\n") - first + 1);
}

/** Place and size of a piece of the text. */
void note(const std::string &text, std::string_view piece, uint16_t &at, uint16_t &size)
{
    at = static_cast<uint16_t>(piece.data() - text.data());
    size = static_cast<uint16_t>(piece.size());
}

/** "stamp | level | module | function:line | message" behind the prefix. False if it's another text. */
bool split_columns(LogLine &line, time_t now)
{
    std::string_view rest = line.text;
    if (rest.size() > UINT16_MAX || rest.substr(0, linePrefix.size()) != linePrefix ||
        rest.size() < linePrefix.size() + stampSize)
        return false;
    const std::string_view stamp = rest.substr(linePrefix.size(), stampSize);
    rest.remove_prefix(linePrefix.size() + stampSize);
    std::string_view columns[4]; // the first is empty: the stamp has been taken
    for (std::string_view &column : columns) {
        const size_t end = rest.find(columnEnd);
        if (end == std::string_view::npos)
            return false;
        column = rest.substr(0, end);
        rest.remove_prefix(end + columnEnd.size());
    }
    uint16_t messageSize;
    note(line.text, columns[1].substr(0, columns[1].find(' ')), line.levelAt, line.levelSize);
    note(line.text, columns[3].substr(0, columns[3].find(':')), line.functionAt, line.functionSize);
    const std::string_view message = trimmed(rest);
    note(line.text, message.empty() ? rest.substr(rest.size()) : message, line.messageAt, messageSize);
    line.when = stamp_time(stamp, now);
    return true;
}

/** Lines from the file's present place on. An unfinished last line is left for the next look. */
void read_lines(FILE *file, bool isPacked, int &number, off_t &offset, std::vector<LogLine> &lines)
{
    char *text = nullptr;
    size_t capacity = 0;
    ssize_t size;
    const time_t now = time(nullptr);
    while ((size = getline(&text, &capacity, file)) > 0 && text[size - 1] == '\n') {
        number++;
        offset += size;
        if (text[0] != '\n' && text[0] != '\r')
            lines.push_back(parse_log_line({ text, static_cast<size_t>(size) }, isPacked, number, now));
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
    int number = 0;
    off_t offset = 0;
    read_lines(file, true, number, offset, lines);
    fclose(file);
    if (child > 0)
        waitpid(child, nullptr, 0);
}

bool is_start(const LogLine &line)
{
    return line.function() == "vesk_load_cfg" && is_message_of(line.message(), VESK_TEXT_VERSION);
}

/** Index of the line of the last start, or the number of lines. */
size_t find_start(const std::vector<LogLine> &lines)
{
    for (size_t i = lines.size(); i-- > 0;)
        if (is_start(lines[i]))
            return i;
    return lines.size();
}

/** The lines before the last start are those of a daemon that is gone. */
void keep_last_start(Logbook &book)
{
    const size_t start = find_start(book.lines);
    if (start == book.lines.size())
        return;
    book.lines.erase(book.lines.begin(), book.lines.begin() + static_cast<std::ptrdiff_t>(start));
    book.knowsStart = true;
}

void begin_anew(Logbook &book, const struct stat &file)
{
    book.lines.clear();
    book.knowsStart = false;
    book.device = file.st_dev;
    book.inode = file.st_ino;
    book.offset = 0;
    book.number = 0;
}

/** Takes the literal piece of the format up to its next conversion, and steps over that. Its letter, 0: none.
 */
char next_piece(std::string_view &format, std::string_view &piece)
{
    const size_t percent = format.find('%');
    piece = format.substr(0, percent);
    const size_t end = percent == std::string_view::npos ? percent : format.find_first_of("dusxc", percent);
    const char letter = end == std::string_view::npos ? '\0' : format[end];
    format.remove_prefix(letter ? end + 1 : format.size());
    return letter;
}

/** Steps over the piece: at the message's beginning or, behind a text of any length, wherever it stands. */
bool take_piece(std::string_view &message, std::string_view piece, bool isBehindText, bool isLast)
{
    if (isBehindText && isLast) {
        if (message.size() < piece.size())
            return false;
        message.remove_prefix(message.size() - piece.size());
    }
    const size_t at = message.find(piece);
    if (at == std::string_view::npos || (at != 0 && (!isBehindText || isLast)))
        return false;
    message.remove_prefix(at + piece.size());
    return true;
}
} // namespace

LogLine parse_log_line(std::string_view text, bool isPacked, int number, time_t now)
{
    LogLine line = { clean_text(trimmed(text)), isPacked, number, 0, 0, 0, 0, 0, 0 };
    if (!split_columns(line, now))
        line.levelAt = line.levelSize = line.functionAt = line.functionSize = line.messageAt = 0;
    return line;
}

const LogLine *Logbook::last(const char *function, const char *format, std::string_view piece) const
{
    for (size_t i = lines.size(); i-- > 0;)
        if ((!function || lines[i].function() == function) && is_message_of(lines[i].message(), format) &&
            lines[i].message().find(piece) != std::string_view::npos)
            return &lines[i];
    return nullptr;
}

const LogLine *Logbook::last_with(const char *function, const char *text) const
{
    for (size_t i = lines.size(); i-- > 0;)
        if ((!function || lines[i].function() == function) &&
            lines[i].message().find(text) != std::string_view::npos)
            return &lines[i];
    return nullptr;
}

const LogLine *Logbook::newest_info() const
{
    for (size_t i = lines.size(); i-- > 0;)
        if (lines[i].level() == "INFO" || lines[i].level() == "DEBUG")
            return &lines[i];
    return nullptr;
}

void follow_log(Logbook &book)
{
    FILE *file = fopen(book.path.c_str(), "re");
    struct stat now;
    if (!file || fstat(fileno(file), &now) != 0) {
        book.error = book.path + " can't be read: " + strerror(errno);
        if (file)
            fclose(file);
        return;
    }
    book.error.clear();
    const bool isFirst = book.inode != now.st_ino || book.device != now.st_dev || book.offset > now.st_size;
    if (isFirst)
        begin_anew(book, now);
    fseeko(file, book.offset, SEEK_SET);
    read_lines(file, false, book.number, book.offset, book.lines);
    fclose(file);
    if (isFirst && find_start(book.lines) == book.lines.size()) {
        std::vector<LogLine> older;
        read_packed(book.path + ".old.gz", older);
        older.insert(older.end(), std::make_move_iterator(book.lines.begin()),
                     std::make_move_iterator(book.lines.end()));
        book.lines = std::move(older);
    }
    keep_last_start(book);
}

Logbook read_log(const std::string &path)
{
    Logbook book;
    book.path = path;
    follow_log(book);
    return book;
}

bool is_message_of(std::string_view message, std::string_view format)
{
    format = trimmed(format);
    std::string_view piece;
    for (bool isBehindText = false;;) {
        const char letter = next_piece(format, piece);
        if (!take_piece(message, piece, isBehindText, letter == '\0'))
            return false;
        if (letter == '\0')
            return message.empty();
        isBehindText = letter == 's';
        if (isBehindText)
            continue;
        const size_t number = message.find_first_not_of("-0123456789abcdef");
        if (number == 0 || message.empty())
            return false;
        message.remove_prefix(number == std::string_view::npos ? message.size() : number);
    }
}

int log_number(const LogLine &line, const char *name, int otherwise)
{
    const std::string key = std::string(name) + "=", message(line.message());
    for (size_t at = message.find(key); at != std::string::npos; at = message.find(key, at + 1)) {
        const bool isWhole = at == 0 || strchr(" ,.>", message[at - 1]);
        if (!isWhole)
            continue;
        const long value = strtol(message.c_str() + at + key.size(), nullptr, 10);
        return value < INT_MIN ? INT_MIN : value > INT_MAX ? INT_MAX : static_cast<int>(value);
    }
    return otherwise;
}
