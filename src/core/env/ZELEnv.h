// Where the program keeps its files: the user's data directory (XDG_DATA_HOME when it is an absolute path,
// else ~/.local/share) with "Ostrelle" appended. Nothing is created here. Any thread.
#pragma once

#include <filesystem>
#include <vector>

namespace zel {

class ZELEnv {
  public:
    // The user's data directories, most specific first (one entry on this platform; none when the home
    // directory is unknown, and then workingDirectory is empty).
    static std::vector<std::filesystem::path> userDataDirectories();
    static std::filesystem::path workingDirectory();
};

}  // namespace zel
