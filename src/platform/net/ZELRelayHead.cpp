#include "platform/net/ZELRelayHead.h"

#include <libsoup/soup.h>

#include <memory>

namespace zel::platform {
namespace {

struct HeadersFree {
    void operator()(SoupMessageHeaders* headers) const { soup_message_headers_unref(headers); }
};
using Headers = std::unique_ptr<SoupMessageHeaders, HeadersFree>;

std::optional<std::string_view> field(SoupMessageHeaders* headers, const char* name) {
    const char* value = soup_message_headers_get_list(headers, name);
    if (value == nullptr) return std::nullopt;
    return std::string_view(value);
}

http::ZELFramingFields framingFields(SoupMessageHeaders* headers) {
    return {field(headers, "Transfer-Encoding"), field(headers, "Content-Length")};
}

// libsoup's parser wants the head without its final empty line.
int parsedLength(std::string_view head) {
    std::size_t length = head.size();
    if (length > 0 && head[length - 1] == '\n') --length;
    if (length > 0 && head[length - 1] == '\r') --length;
    return static_cast<int>(length);
}

bool listed(std::string_view names, std::string_view name) {
    while (!names.empty()) {
        const std::size_t comma = names.find(',');
        const std::string_view one = names.substr(0, comma);
        if (one.size() == name.size() && g_ascii_strncasecmp(one.data(), name.data(), name.size()) == 0)
            return true;
        if (comma == std::string_view::npos) break;
        names.remove_prefix(comma + 1);
    }
    return false;
}

}  // namespace

std::optional<std::size_t> headLength(std::string_view bytes) {
    for (std::size_t at = bytes.find('\n'); at != std::string_view::npos; at = bytes.find('\n', at + 1)) {
        if (at + 1 < bytes.size() && bytes[at + 1] == '\n') return at + 2;
        if (at + 2 < bytes.size() && bytes[at + 1] == '\r' && bytes[at + 2] == '\n') return at + 3;
    }
    return std::nullopt;
}

std::optional<ZELRelayRequest> parseRequestHead(std::string_view head) {
    Headers headers(soup_message_headers_new(SOUP_MESSAGE_HEADERS_REQUEST));
    char* method = nullptr;
    char* target = nullptr;
    SoupHTTPVersion version = SOUP_HTTP_1_0;
    const guint status = soup_headers_parse_request(head.data(), parsedLength(head), headers.get(), &method,
                                                    &target, &version);
    std::unique_ptr<char, decltype(&g_free)> ownedMethod(method, &g_free), ownedTarget(target, &g_free);
    if (status != SOUP_STATUS_OK || method == nullptr || target == nullptr) return std::nullopt;

    ZELRelayRequest request;
    request.method = method;
    request.target = target;
    request.http11 = version == SOUP_HTTP_1_1;
    SoupMessageHeaders* h = headers.get();
    request.closeAfter =
        soup_message_headers_header_contains(h, "Connection", "close") ||
        (!request.http11 && !soup_message_headers_header_contains(h, "Connection", "keep-alive"));
    request.expectsContinue = soup_message_headers_get_expectations(h) & SOUP_EXPECTATION_CONTINUE;
    request.upgrade = soup_message_headers_header_contains(h, "Connection", "Upgrade") &&
                      soup_message_headers_get_one(h, "Upgrade") != nullptr;
    if (const char* authorization = soup_message_headers_get_one(h, "Proxy-Authorization"))
        request.proxyAuthorization = authorization;
    request.body = http::requestFraming(framingFields(h));

    GUri* uri = g_uri_parse(
        target, static_cast<GUriFlags>(G_URI_FLAGS_ENCODED | G_URI_FLAGS_SCHEME_NORMALIZE), nullptr);
    if (uri != nullptr && g_uri_get_host(uri) != nullptr && g_uri_get_userinfo(uri) == nullptr) {
        request.scheme = g_uri_get_scheme(uri);
        request.host = g_uri_get_host(uri);
        const gint port = g_uri_get_port(uri);
        request.port = static_cast<std::uint16_t>(port > 0 ? port : (request.scheme == "https" ? 443 : 80));
        const char* path = g_uri_get_path(uri);
        const char* query = g_uri_get_query(uri);
        request.originForm = std::string(path != nullptr && *path != '\0' ? path : "/") +
                             (query != nullptr ? std::string("?") + query : std::string());
    }
    if (uri != nullptr) g_uri_unref(uri);
    return request;
}

std::optional<ZELRelayAnswer> parseAnswerHead(std::string_view head, std::string_view method) {
    Headers headers(soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE));
    SoupHTTPVersion version = SOUP_HTTP_1_0;
    guint status = 0;
    char* reason = nullptr;
    const gboolean parsed = soup_headers_parse_response(head.data(), parsedLength(head), headers.get(),
                                                        &version, &status, &reason);
    g_free(reason);
    if (!parsed) return std::nullopt;
    ZELRelayAnswer answer;
    answer.status = status;
    answer.http11 = version == SOUP_HTTP_1_1;
    SoupMessageHeaders* h = headers.get();
    answer.close = soup_message_headers_header_contains(h, "Connection", "close") ||
                   (!answer.http11 && !soup_message_headers_header_contains(h, "Connection", "keep-alive"));
    const http::ZELFramingFields fields = framingFields(h);
    answer.framed = fields.transferEncoding || fields.contentLength;
    answer.body = http::answerFraming(method, status, fields);
    return answer;
}

std::string rewriteHead(std::string_view head, std::string_view firstLine, std::string_view drop,
                        std::string_view extra) {
    std::string out(firstLine);
    out += "\r\n";
    std::size_t at = head.find('\n');
    bool dropping = false;
    while (at != std::string_view::npos && at + 1 < head.size()) {
        const std::size_t start = at + 1;
        at = head.find('\n', start);
        std::string_view line =
            head.substr(start, at == std::string_view::npos ? head.size() - start : at - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty()) break;
        // A line that starts with white space continues the field before it.
        if (line.front() != ' ' && line.front() != '\t') {
            const std::size_t colon = line.find(':');
            dropping = colon != std::string_view::npos && listed(drop, line.substr(0, colon));
        }
        if (dropping) continue;
        out += line;
        out += "\r\n";
    }
    out += extra;
    out += "\r\n";
    return out;
}

}  // namespace zel::platform
