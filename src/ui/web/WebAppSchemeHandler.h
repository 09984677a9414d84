// Answers the web view's requests under the program's URI scheme (ostrelle://<host>/player/mac/www/...).
//
// A request for a file of the web app is answered from the web app folder with status 200, a MIME type from the
// file name and the single header field "X-HY-HASHMAP-CACHE: local". A path that would leave the folder (dot
// segments, encoded separators, symbolic links out) is refused; a file the folder lacks is answered 404. Both
// are logged. Main thread; files are streamed, not read whole.
#pragma once

#include <webkit/webkit.h>

#include <filesystem>

namespace zel {

class WebAppSchemeHandler {
public:
    explicit WebAppSchemeHandler(std::filesystem::path wwwDirectory);

    // Registers the scheme (secure, CORS-enabled) with the context. Call once, before the first load; the
    // handler must outlive the context's use of it.
    void registerWith(WebKitWebContext* context);

    void handle(WebKitURISchemeRequest* request) const;

private:
    std::filesystem::path www_;
};

}  // namespace zel
