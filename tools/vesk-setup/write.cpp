#include "tools/vesk-setup/write.h"

#include <filesystem>

#include "platform/nl80211/places.h"
#include "tools/client/text.h"
#include "tools/vesk-setup/machine.h"

namespace setup
{

bool write_files(const std::vector<File> &files, bool force, std::string &error)
{
    for (const auto &[path, text] : files) {
        if (force || !path_exists(path))
            continue;
        error = path + " is there already, and nothing was written; --force writes over it";
        return false;
    }
    for (const auto &[path, text] : files) {
        radio::Path to;
        std::error_code failed;
        if (!radio::place(to, "%s", path.c_str()))
            return false;
        std::filesystem::create_directories(std::filesystem::path(to).parent_path(), failed);
        if (!write_by_rename(to, text, error))
            return false;
    }
    return true;
}

} // namespace setup
