// The folder of cached web-app files ("Cache" in the working directory).
//
// No request and no later start may ever see part of a file: each file is written whole into a staging folder
// inside the cache (".incoming", which no request path can reach: the cache's first level holds only host
// names) and then renamed into place. An interrupted program can leave only staging files behind, and the
// next refresh discards them. Durability is batched rather than paid per file: sync() puts everything written
// so far on disk with one file-system sync, which a refresh does before it stores the maps that name the new
// files.
//
// Never throws; failures are reported as false and leave the target as it was. One thread at a time (the
// cache controller's disk worker).
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>

namespace zel {

class ZELCacheFileStore {
  public:
    explicit ZELCacheFileStore(std::filesystem::path basePath);

    const std::filesystem::path& basePath() const { return base_; }

    // Replaces target (a path inside the base; the caller has checked that) with data, creating directories.
    // false when a folder on the way is not a real folder (a link leading out of the cache).
    bool writeFile(const std::filesystem::path& target, std::string_view data);
    // Waits until every file written so far is on disk.
    void sync() const;
    // Removes what an interrupted write left in the staging folder.
    void discardStaging();
    // Removes the whole folder; errors are ignored.
    void removeAll();

  private:
    bool ensureDirectory(const std::filesystem::path& directory);

    std::filesystem::path base_;
    std::filesystem::path staging_;
    // Folders made or seen by this store, so that writing a thousand files does not look them up a thousand
    // times; forgotten when the store removes folders.
    std::unordered_set<std::string> knownDirectories_;
};

}  // namespace zel
