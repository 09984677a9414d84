#include "ui/web/WebAppSchemeHandler.h"

#include "core/log/ZELLog.h"
#include "core/web/WebAppAddress.h"

#include <libsoup/soup.h>

#include <string>

namespace zel {
namespace {

void finishWithStatus(WebKitURISchemeRequest* request, int status, const char* reason) {
    GInputStream* empty = g_memory_input_stream_new();
    WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(empty, 0);
    webkit_uri_scheme_response_set_status(response, status, reason);
    webkit_uri_scheme_response_set_content_type(response, "text/plain");
    webkit_uri_scheme_request_finish_with_response(request, response);
    g_object_unref(response);
    g_object_unref(empty);
}

// The path of a request's address as it was sent (still percent-encoded), or empty.
std::string encodedPath(const char* uri) {
    GUri* parsed = g_uri_parse(uri, G_URI_FLAGS_ENCODED, nullptr);
    if (!parsed) return {};
    std::string path = g_uri_get_path(parsed);
    g_uri_unref(parsed);
    return path;
}

}  // namespace

WebAppSchemeHandler::WebAppSchemeHandler(std::filesystem::path wwwDirectory) : www_(std::move(wwwDirectory)) {}

void WebAppSchemeHandler::registerWith(WebKitWebContext* context) {
    const std::string scheme(web::kScheme);
    webkit_web_context_register_uri_scheme(
        context, scheme.c_str(),
        [](WebKitURISchemeRequest* request, gpointer self) {
            static_cast<const WebAppSchemeHandler*>(self)->handle(request);
        },
        this, nullptr);
    WebKitSecurityManager* security = webkit_web_context_get_security_manager(context);
    webkit_security_manager_register_uri_scheme_as_secure(security, scheme.c_str());
    webkit_security_manager_register_uri_scheme_as_cors_enabled(security, scheme.c_str());
}

void WebAppSchemeHandler::handle(WebKitURISchemeRequest* request) const {
    const char* uri = webkit_uri_scheme_request_get_uri(request);
    const std::optional<std::string> relative = web::webAppRelativePath(encodedPath(uri));
    if (!relative) {
        zelLog("refused web app request %@", uri);
        finishWithStatus(request, 403, "Forbidden");
        return;
    }
    const std::optional<std::filesystem::path> file = web::resolveInside(www_, *relative);
    if (!file) {
        zelLog("no local file for %@", uri);
        finishWithStatus(request, 404, "Not Found");
        return;
    }

    GFile* gfile = g_file_new_for_path(file->c_str());
    GError* error = nullptr;
    GFileInputStream* stream = g_file_read(gfile, nullptr, &error);
    g_object_unref(gfile);
    if (!stream) {
        zelLog("cannot read %@: %@", file->string(), error->message);
        g_clear_error(&error);
        finishWithStatus(request, 404, "Not Found");
        return;
    }
    gint64 size = -1;
    if (GFileInfo* info = g_file_input_stream_query_info(stream, G_FILE_ATTRIBUTE_STANDARD_SIZE, nullptr, nullptr)) {
        size = g_file_info_get_size(info);
        g_object_unref(info);
    }

    WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(G_INPUT_STREAM(stream), size);
    webkit_uri_scheme_response_set_status(response, 200, "OK");
    webkit_uri_scheme_response_set_content_type(response, web::mimeTypeForPath(*relative).c_str());
    SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    soup_message_headers_append(headers, "X-HY-HASHMAP-CACHE", "local");
    webkit_uri_scheme_response_set_http_headers(response, headers);  // takes ownership
    webkit_uri_scheme_request_finish_with_response(request, response);
    g_object_unref(response);
    g_object_unref(stream);
}

}  // namespace zel
