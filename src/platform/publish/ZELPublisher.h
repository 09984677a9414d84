// Turns a web app folder ("www") into what the static file server serves, so that a refresh can fetch it:
//
//   <out>/player/mac/build/<dir>/<name>_<hash>.<ext>   each file of a kind (js, css, html, and the media
//                                                       files: jpg, png, gif, less, json) under a hashed path
//                                                       that carries a digest of its content
//   <out>/player/mac/config/js_map.json, css_map.json, media_map.json, html_map.json
//                                                       per kind, web-app path -> hashed path
//   <out>/player/mac/config/cache_version               the published version ("yyyy/MM/dd")
//   <out>/player/mac/www/...                            every file as it is, and version.txt with the
//   version:
//                                                       the addresses no map names are fetched from here
//
// Hidden files and symbolic links are left out. Hashed files of earlier publications stay, so a refresh that
// is under way when a new version is published still finds what its maps name. Every file is written
// atomically. Not thread-safe; any thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace zel::platform {

struct ZELPublishResult {
    std::size_t files = 0;   // files copied to the www mirror
    std::size_t hashed = 0;  // of which also published under a hashed path
};

class ZELPublisher {
  public:
    ZELPublisher(std::filesystem::path wwwDirectory, std::filesystem::path outputDirectory,
                 std::string version);

    // nullopt, with error() telling why, when the folder cannot be read or the output written.
    std::optional<ZELPublishResult> publish();
    const std::string& error() const { return error_; }

    // "/js/app.js" with content digest "0123456789ab" -> "/js/app_0123456789ab.js" (each segment
    // percent-encoded where a URL needs it).
    static std::string hashedPath(const std::string& webAppPath, const std::string& digest);
    // The first 12 hexadecimal digits of the SHA-256 digest of data.
    static std::string contentDigest(const std::string& data);

  private:
    bool fail(const std::string& message);

    std::filesystem::path www_;
    std::filesystem::path out_;
    std::string version_;
    std::string error_;
};

}  // namespace zel::platform
