#include "platform/publish/ZELPublisher.h"

#include "core/cache/CacheKinds.h"
#include "core/cache/CacheURL.h"
#include "core/fs/Files.h"
#include "core/value/Value.h"

#include <glib.h>

#include <array>
#include <map>
#include <system_error>
#include <utility>

namespace zel::platform {
namespace {

std::string escapeSegment(const std::string& segment) {
    char* escaped = g_uri_escape_string(segment.c_str(), "!$&'()*+,;=:@", FALSE);
    std::string result = escaped;
    g_free(escaped);
    return result;
}

}  // namespace

ZELPublisher::ZELPublisher(std::filesystem::path wwwDirectory, std::filesystem::path outputDirectory,
                           std::string version)
    : www_(std::move(wwwDirectory)), out_(std::move(outputDirectory)), version_(std::move(version)) {}

bool ZELPublisher::fail(const std::string& message) {
    error_ = message;
    return false;
}

std::string ZELPublisher::contentDigest(const std::string& data) {
    gchar* digest = g_compute_checksum_for_data(G_CHECKSUM_SHA256,
                                                reinterpret_cast<const guchar*>(data.data()), data.size());
    std::string result(digest, 12);
    g_free(digest);
    return result;
}

std::string ZELPublisher::hashedPath(const std::string& webAppPath, const std::string& digest) {
    const std::size_t slash = webAppPath.find_last_of('/');
    const std::string directory = webAppPath.substr(0, slash + 1);
    const std::string name = webAppPath.substr(slash + 1);
    const std::size_t dot = name.find_last_of('.');
    const std::string hashedName = name.substr(0, dot) + "_" + digest + name.substr(dot);
    std::string result;
    std::size_t start = 1;
    const std::string full = directory + hashedName;
    while (start <= full.size()) {
        const std::size_t end = full.find('/', start);
        result += "/" + escapeSegment(
                            full.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return result;
}

std::optional<ZELPublishResult> ZELPublisher::publish() {
    std::error_code ec;
    if (!std::filesystem::is_directory(www_, ec)) {
        fail("not a folder: " + www_.string());
        return std::nullopt;
    }
    // Sorted, so the documents come out the same for the same folder.
    std::map<std::string, std::filesystem::path> files;
    for (auto it = std::filesystem::recursive_directory_iterator(www_, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.starts_with('.')) {
            if (it->is_directory(ec)) it.disable_recursion_pending();
            continue;
        }
        if (!it->is_regular_file(ec) || it->is_symlink(ec)) continue;
        files.emplace("/" + it->path().lexically_relative(www_).generic_string(), it->path());
    }
    if (ec) {
        fail("cannot read " + www_.string() + ": " + ec.message());
        return std::nullopt;
    }

    std::array<Value, cache::kKinds.size()> maps;
    maps.fill(Value::object());
    ZELPublishResult result;
    const std::filesystem::path player = out_ / "player" / "mac";
    for (const auto& [webAppPath, source] : files) {
        const std::optional<std::string> data = fs::readFile(source);
        if (!data) {
            fail("cannot read " + source.string());
            return std::nullopt;
        }
        if (!fs::writeFileAtomically(player / "www" / webAppPath.substr(1), *data)) {
            fail("cannot write under " + (player / "www").string());
            return std::nullopt;
        }
        ++result.files;
        const std::optional<std::string_view> kind =
            cache::kindForExtension(cache::pathExtension(webAppPath));
        if (!kind) continue;
        const std::string hashed = hashedPath(webAppPath, contentDigest(*data));
        const std::optional<std::string> relative = cache::safeRelativePath(hashed);
        if (!relative || !fs::writeFileAtomically(player / "build" / *relative, *data)) {
            fail("cannot publish " + webAppPath);
            return std::nullopt;
        }
        maps[*cache::kindIndex(*kind)][webAppPath] = hashed;
        ++result.hashed;
    }
    for (std::size_t i = 0; i < cache::kKinds.size(); ++i) {
        const std::string document = std::string(cache::mapNameForKind(cache::kKinds[i])) + ".json";
        if (!fs::writeFileAtomically(player / "config" / document, maps[i].dump())) {
            fail("cannot write " + document);
            return std::nullopt;
        }
    }
    if (!fs::writeFileAtomically(player / "config" / "cache_version", version_) ||
        !fs::writeFileAtomically(player / "www" / "version.txt", version_)) {
        fail("cannot write the version");
        return std::nullopt;
    }
    return result;
}

}  // namespace zel::platform
