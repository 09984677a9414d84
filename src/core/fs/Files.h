// Whole-file reads and atomic whole-file writes. Never throw. Any thread.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zel::fs {

std::optional<std::string> readFile(const std::filesystem::path& path);
// Writes to a temporary file beside the target and renames it over the target, creating missing parent
// directories, so an interrupted program leaves either the old or the new content. false on any failure.
bool writeFileAtomically(const std::filesystem::path& path, std::string_view contents);
// Writes all of contents to an open descriptor, retrying short and interrupted writes. false on an error.
bool writeAll(int fd, std::string_view contents);

}  // namespace zel::fs
