#include "ui/web/ZELURLHashMapProtocol.h"

#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"

#include <libsoup/soup.h>

#include <optional>
#include <utility>

namespace zel {

ZELURLHashMapProtocol::ZELURLHashMapProtocol(WebKitURISchemeRequest* request, std::string url,
                                             ZELURLProtocolDelegate* delegate, NetworkStarter startNetwork)
    : request_(request), url_(std::move(url)), delegate_(delegate), startNetwork_(std::move(startNetwork)) {}

void ZELURLHashMapProtocol::startLoading() {
    if (delegate_ != nullptr) {
        if (const std::optional<std::filesystem::path> file = delegate_->getLocalData(url_)) {
            if (deliverData(*file)) return;
        }
    }
    const std::optional<std::string> real =
        delegate_ != nullptr ? delegate_->realRequest(url_) : std::nullopt;
    if (!real) {
        zelLog("no answer for %@", url_);
        GError* error = g_error_new(G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "No answer for %s", url_.c_str());
        webkit_uri_scheme_request_finish_error(request_, error);
        g_error_free(error);
        return;
    }
    zelLog("load raw %@", *real);
    startNetwork_(request_, *real);
}

bool ZELURLHashMapProtocol::deliverData(const std::filesystem::path& file) {
    GFile* gfile = g_file_new_for_path(file.c_str());
    GFileInputStream* stream = g_file_read(gfile, nullptr, nullptr);
    g_object_unref(gfile);
    if (stream == nullptr) return false;
    gint64 size = -1;
    if (GFileInfo* info =
            g_file_input_stream_query_info(stream, G_FILE_ATTRIBUTE_STANDARD_SIZE, nullptr, nullptr)) {
        size = g_file_info_get_size(info);
        g_object_unref(info);
    }
    WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(G_INPUT_STREAM(stream), size);
    webkit_uri_scheme_response_set_status(response, 200, "OK");
    webkit_uri_scheme_response_set_content_type(response,
                                                web::mimeTypeForPath(file.filename().string()).c_str());
    SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    soup_message_headers_append(headers, "X-HY-HASHMAP-CACHE", "local");
    webkit_uri_scheme_response_set_http_headers(response, headers);  // takes the headers
    webkit_uri_scheme_request_finish_with_response(request_, response);
    g_object_unref(response);
    g_object_unref(stream);
    return true;
}

}  // namespace zel
