// Files of the private root as whole texts, and values as words.
#pragma once

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

/** The file's bytes; empty if there is none. */
inline std::string file_text(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

inline void put_file(const char *path, const std::string &text) { std::ofstream(path, std::ios::binary) << text; }

/** The values' texts, a blank behind each. */
template <class... T>
std::string words(const T &...values) {
    std::ostringstream text;
    ((text << values << ' '), ...);
    return text.str();
}
