// Files that are written all or not at all.
#pragma once

#include <string>
#include <vector>

namespace setup
{

struct File {
    std::string path, text;
};

/** Writes each in one step, its folder with it. Unless `force`, none of them if one is there already. False,
 * with the reason. */
bool write_files(const std::vector<File> &files, bool force, std::string &error);

} // namespace setup
