#include "platform/net/ZELDevServer.h"

#include "core/cache/CacheURL.h"
#include "core/web/WebAppAddress.h"

#include <cstring>
#include <utility>

namespace zel::platform {
namespace {

void answerText(SoupServerMessage* message, int status, const char* text) {
    soup_server_message_set_status(message, static_cast<guint>(status), nullptr);
    soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_STATIC, text, std::strlen(text));
}

}  // namespace

ZELDevServer::ZELDevServer(std::filesystem::path root)
    : root_(std::move(root)), server_(soup_server_new("server-header", "ostrelle-devserver", nullptr)) {
    soup_server_add_handler(server_, nullptr, &ZELDevServer::handle, this, nullptr);
}

ZELDevServer::~ZELDevServer() {
    soup_server_remove_handler(server_, nullptr);
    soup_server_disconnect(server_);
    g_object_unref(server_);
}

bool ZELDevServer::listen(std::uint16_t port) {
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, port, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
        error_ = error->message;
        g_error_free(error);
        return false;
    }
    GSList* uris = soup_server_get_uris(server_);
    port_ = uris != nullptr ? static_cast<std::uint16_t>(g_uri_get_port(static_cast<GUri*>(uris->data))) : 0;
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    return true;
}

void ZELDevServer::handle(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer data) {
    auto* self = static_cast<ZELDevServer*>(data);
    const int status = self->answer(message);
    if (self->logger_) {
        self->logger_(soup_server_message_get_method(message),
                      g_uri_get_path(soup_server_message_get_uri(message)), status);
    }
}

int ZELDevServer::answer(SoupServerMessage* message) {
    const char* method = soup_server_message_get_method(message);
    if (method != SOUP_METHOD_GET && method != SOUP_METHOD_HEAD) {
        answerText(message, 405, "Method Not Allowed\n");
        return 405;
    }
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_replace(headers, "Access-Control-Allow-Origin", "*");
    soup_message_headers_replace(headers, "Cache-Control", "no-cache");

    // The path as sent: an encoded separator must not pass for a real one.
    const std::optional<std::string> relative =
        cache::safeRelativePath(g_uri_get_path(soup_server_message_get_uri(message)));
    if (!relative) {
        answerText(message, 403, "Forbidden\n");
        return 403;
    }
    const std::optional<std::filesystem::path> file = web::resolveInside(root_, *relative);
    GMappedFile* mapped = file ? g_mapped_file_new(file->c_str(), FALSE, nullptr) : nullptr;
    if (mapped == nullptr) {
        answerText(message, 404, "Not Found\n");
        return 404;
    }
    GBytes* bytes = g_mapped_file_get_bytes(mapped);
    g_mapped_file_unref(mapped);
    soup_server_message_set_status(message, 200, nullptr);
    soup_message_headers_set_content_type(headers, web::mimeTypeForPath(file->filename().string()).c_str(),
                                          nullptr);
    soup_message_body_append_bytes(soup_server_message_get_response_body(message), bytes);
    g_bytes_unref(bytes);
    return 200;
}

}  // namespace zel::platform
