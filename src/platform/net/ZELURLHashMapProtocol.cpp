#include "platform/net/ZELURLHashMapProtocol.h"

#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace zel::platform {

ZELLocalAnswer ZELURLHashMapProtocol::lookUp(ZELURLProtocolDelegate* delegate, const std::string& url) {
    ZELLocalAnswer answer;
    if (delegate == nullptr) return answer;
    if (const std::optional<std::filesystem::path> file = delegate->getLocalData(url)) {
        GObjectPtr<GFile> gfile(g_file_new_for_path(file->c_str()));
        answer.file.reset(G_INPUT_STREAM(g_file_read(gfile.get(), nullptr, nullptr)));
        answer.fileName = file->filename().string();
    }
    // Asked always (a hash-map lookup): the file may still fail where a range starts.
    answer.real = delegate->realRequest(url);
    return answer;
}

ZELURLHashMapProtocol::ZELURLHashMapProtocol(SoupServerMessage* msg, std::string url,
                                             NetworkStarter startNetwork, FileStarter startFile)
    : msg_(msg),
      url_(std::move(url)),
      startNetwork_(std::move(startNetwork)),
      startFile_(std::move(startFile)) {}

void ZELURLHashMapProtocol::startLoading(ZELLocalAnswer answer) {
    if (answer.file && deliverData(answer.file.get(), answer.fileName)) return;
    if (!answer.real) {
        zelLog("no answer for %@", url_);
        soup_server_message_set_status(msg_, SOUP_STATUS_BAD_GATEWAY, nullptr);
        return;
    }
    zelLog("load raw %@", *answer.real);
    startNetwork_(msg_, *answer.real);
}

bool ZELURLHashMapProtocol::deliverData(GInputStream* stream, const std::string& fileName) {
    GObjectPtr<GFileInfo> info(g_file_input_stream_query_info(
        G_FILE_INPUT_STREAM(stream), G_FILE_ATTRIBUTE_STANDARD_SIZE, nullptr, nullptr));
    const goffset size = info ? g_file_info_get_size(info.get()) : 0;

    // The range first: a file that cannot be read from its start still leaves the answer untouched.
    SoupMessageHeaders* request = soup_server_message_get_request_headers(msg_);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(msg_);
    const bool ranged = soup_message_headers_get_one(request, "Range") != nullptr;
    goffset start = 0, length = size;
    if (ranged) {
        // One range is what media players ask for; of several, the first is sent.
        SoupRange* ranges = nullptr;
        int count = 0;
        // The library takes a range that starts past the end as valid (its start after its end): no byte of
        // it exists all the same.
        const bool satisfiable = soup_message_headers_get_ranges(request, size, &ranges, &count) && count > 0;
        if (satisfiable) {
            start = ranges[0].start;
            length = std::min<goffset>(ranges[0].end, size - 1) - start + 1;
            soup_message_headers_free_ranges(request, ranges);
        }
        if (!satisfiable || start >= size || length < 1) {
            soup_server_message_set_status(msg_, SOUP_STATUS_REQUESTED_RANGE_NOT_SATISFIABLE, nullptr);
            const std::string unsatisfied = "bytes */" + std::to_string(size);
            soup_message_headers_replace(headers, "Content-Range", unsatisfied.c_str());
            return true;
        }
        if (start > 0 && !g_seekable_seek(G_SEEKABLE(stream), start, G_SEEK_SET, nullptr, nullptr)) {
            return false;
        }
    }
    soup_server_message_set_status(msg_, ranged ? SOUP_STATUS_PARTIAL_CONTENT : SOUP_STATUS_OK, nullptr);
    // Only the mark and the body's own description: not even the date the server adds on its own.
    soup_message_headers_remove(headers, "Date");
    soup_message_headers_set_content_type(headers, web::mimeTypeForPath(fileName).c_str(), nullptr);
    soup_message_headers_append(headers, "X-HY-HASHMAP-CACHE", "local");
    if (ranged) soup_message_headers_set_content_range(headers, start, start + length - 1, size);
    soup_message_headers_set_content_length(headers, length);
    startFile_(msg_, stream, length);
    return true;
}

}  // namespace zel::platform
