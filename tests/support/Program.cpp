#include "support/Program.h"

#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace zel::test {
namespace {

std::string consume(GError* error) {
    std::string message = error ? error->message : "unknown error";
    g_clear_error(&error);
    return message;
}

std::vector<char*> cArgs(const std::vector<std::string>& argv) {
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    return args;
}

// The index of the first item at or after `from` that matches, once there is one or stop() holds.
template <class T, class Matches>
std::optional<std::size_t> waitForItem(const std::vector<T>& items, std::size_t from, const Matches& matches,
                                       const std::function<bool()>& stop, Clock::duration timeout) {
    std::optional<std::size_t> found;
    waitFor(
        [&] {
            for (; from < items.size() && !found; ++from) found = matches(items[from]) ? from : found;
            return found || stop();
        },
        timeout);
    return found;
}

// The bytes (null: none) as text; unrefs them.
std::string take(GBytes* bytes) {
    gsize size = 0;
    const auto* data = bytes ? static_cast<const char*>(g_bytes_get_data(bytes, &size)) : nullptr;
    std::string text(data ? data : "", size);
    if (bytes) g_bytes_unref(bytes);
    return text;
}

}  // namespace

bool waitFor(const std::function<bool()>& done, Clock::duration timeout) {
    const auto deadline = Clock::now() + timeout;
    const guint tick = g_timeout_add(
        50, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool ok = false;
    while (!(ok = done()) && Clock::now() < deadline) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(tick);
    return ok;
}

std::string run(const std::vector<std::string>& argv, bool mustSucceed) {
    GError* error = nullptr;
    GSubprocess* process = g_subprocess_newv(cArgs(argv).data(), G_SUBPROCESS_FLAGS_STDOUT_PIPE, &error);
    GBytes* out = nullptr;
    if (!process || !g_subprocess_communicate(process, nullptr, nullptr, &out, nullptr, &error))
        throw std::runtime_error(argv[0] + ": " + consume(error));
    const bool ok = g_subprocess_get_successful(process);
    g_object_unref(process);
    if (mustSucceed && !ok) throw std::runtime_error(argv[0] + " " + argv.at(1) + " failed");
    return take(out);
}

TempDir::TempDir(const char* prefix) {
    GError* error = nullptr;
    char* made = g_dir_make_tmp((std::string(prefix) + "-XXXXXX").c_str(), &error);
    if (!made) throw std::runtime_error(consume(error));
    path = made;
    g_free(made);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

Program::Program(const std::vector<std::string>& argv,
                 const std::map<std::string, std::optional<std::string>>& env) {
    GSubprocessLauncher* launcher = g_subprocess_launcher_new(
        GSubprocessFlags(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_MERGE));
    for (const auto& [name, value] : env)
        value ? g_subprocess_launcher_setenv(launcher, name.c_str(), value->c_str(), TRUE)
              : g_subprocess_launcher_unsetenv(launcher, name.c_str());
    g_subprocess_launcher_set_child_setup(
        launcher, [](gpointer) { setpgid(0, 0); }, nullptr, nullptr);
    GError* error = nullptr;
    process_ = g_subprocess_launcher_spawnv(launcher, cArgs(argv).data(), &error);
    g_object_unref(launcher);
    if (!process_) throw std::runtime_error("cannot start " + argv[0] + ": " + consume(error));
    pid_ = std::stoi(g_subprocess_get_identifier(process_));
    // Results of a cancelled call report the cancellation, so these callbacks never reach a destroyed object.
    g_subprocess_wait_async(
        process_, cancel_,
        [](GObject* source, GAsyncResult* result, gpointer self) {
            if (g_subprocess_wait_finish(G_SUBPROCESS(source), result, nullptr))
                static_cast<Program*>(self)->ended_ = true;
        },
        this);
    output_ = g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_));
    g_data_input_stream_set_newline_type(output_, G_DATA_STREAM_NEWLINE_TYPE_LF);
    readNext();
}

Program::~Program() {
    stop();
    g_cancellable_cancel(cancel_);
    g_object_unref(output_);
    g_object_unref(process_);
    g_object_unref(cancel_);
}

void Program::readNext() {
    g_data_input_stream_read_line_async(
        output_, G_PRIORITY_DEFAULT, cancel_,
        [](GObject* source, GAsyncResult* result, gpointer self) {
            gsize length = 0;
            GError* error = nullptr;
            char* line =
                g_data_input_stream_read_line_finish(G_DATA_INPUT_STREAM(source), result, &length, &error);
            if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return g_error_free(error);
            auto* program = static_cast<Program*>(self);
            g_clear_error(&error);
            if (!line) {
                program->outputEnded_ = true;
                return;
            }
            program->lines_.emplace_back(line, length);
            g_free(line);
            program->readNext();
        },
        this);
}

std::size_t Program::expectLine(const std::function<bool(const std::string&)>& matches,
                                const std::string& what, std::size_t from, Clock::duration timeout) {
    const auto found = waitForItem(
        lines_, from, matches, [this] { return outputEnded_; }, timeout);
    if (!found) throw std::runtime_error("no line " + what + "; the output so far:\n" + tail());
    return *found;
}

std::optional<int> Program::wait(Clock::duration timeout) {
    if (!waitFor([this] { return ended_; }, timeout)) return std::nullopt;
    return g_subprocess_get_if_exited(process_) ? g_subprocess_get_exit_status(process_) : -1;
}

void Program::stop() {
    if (!ended_) {
        kill(-pid_, SIGTERM);
        if (!wait(std::chrono::seconds(5))) kill(-pid_, SIGKILL);
        wait(std::chrono::seconds(5));
    }
    kill(-pid_, SIGKILL);
    waitFor([this] { return outputEnded_; }, std::chrono::seconds(5));
}

std::string Program::tail() const {
    std::string text;
    for (std::size_t i = lines_.size() > 40 ? lines_.size() - 40 : 0; i < lines_.size(); ++i)
        text += "  | " + lines_[i].substr(0, 300) + "\n";
    return text;
}

Loopback::Loopback(Handler handler)
    : server_(soup_server_new(nullptr, nullptr)), handler_(std::move(handler)) {
    soup_server_add_handler(
        server_, nullptr,
        [](SoupServer*, SoupServerMessage* msg, const char* path, GHashTable*, gpointer self) {
            auto* loopback = static_cast<Loopback*>(self);
            const char* query = g_uri_get_query(soup_server_message_get_uri(msg));
            const char* cacheControl =
                soup_message_headers_get_one(soup_server_message_get_request_headers(msg), "Cache-Control");
            loopback->requests_.push_back({path + (query ? "?" + std::string(query) : ""),
                                           cacheControl ? cacheControl : "", Clock::now(),
                                           loopback->answered_});
            if (loopback->handler_) return loopback->handler_(msg, path);
            soup_message_headers_append(soup_server_message_get_response_headers(msg),
                                        "Access-Control-Allow-Origin", "*");
            soup_server_message_set_status(msg, 204, nullptr);
        },
        this, nullptr);
    g_signal_connect_swapped(server_, "request-finished", G_CALLBACK(+[](int* n) { ++*n; }), &answered_);
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error))
        throw std::runtime_error("cannot listen on loopback: " + consume(error));
    GSList* uris = soup_server_get_uris(server_);
    port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
}

Loopback::~Loopback() {
    soup_server_disconnect(server_);
    g_object_unref(server_);
}

void Loopback::writeRaw(SoupServerMessage* msg, const std::string& raw) {
    GIOStream* stream = soup_server_message_steal_connection(msg);
    g_output_stream_write_all(g_io_stream_get_output_stream(stream), raw.data(), raw.size(), nullptr, nullptr,
                              nullptr);
    g_io_stream_close(stream, nullptr, nullptr);
    g_object_unref(stream);
}

Loopback::Request Loopback::expectRequest(const std::string& prefix, std::size_t from,
                                          Clock::duration timeout) {
    const auto found = waitForItem(
        requests_, from, [&](const Request& r) { return r.path.starts_with(prefix); }, [] { return false; },
        timeout);
    if (!found) throw std::runtime_error("no request for " + prefix + " reached " + host());
    return requests_[*found];
}

Reply httpRequest(const std::string& method, const std::string& url, const std::string& body,
                  const std::string& proxy) {
    // Always a resolver of our own: a proxy from the environment must not carry loopback traffic.
    GProxyResolver* resolver = g_simple_proxy_resolver_new(proxy.empty() ? nullptr : proxy.c_str(), nullptr);
    SoupSession* session = soup_session_new_with_options("proxy-resolver", resolver, "timeout", 60u, nullptr);
    SoupMessage* msg = soup_message_new(method.c_str(), url.c_str());
    if (!body.empty()) {
        GBytes* bytes = g_bytes_new(body.data(), body.size());
        soup_message_set_request_body_from_bytes(msg, "application/json", bytes);
        g_bytes_unref(bytes);
    }
    // Asynchronous, with the default main context turning, so that servers of the test itself can answer.
    struct Pending {
        GBytes* answer = nullptr;
        bool done = false;
    } pending;
    soup_session_send_and_read_async(
        session, msg, G_PRIORITY_DEFAULT, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto* pending = static_cast<Pending*>(data);
            pending->answer = soup_session_send_and_read_finish(SOUP_SESSION(source), result, nullptr);
            pending->done = true;
        },
        &pending);
    waitFor([&] { return pending.done; }, std::chrono::hours(1));  // the session's own timeout ends it
    Reply reply{soup_message_get_status(msg), take(pending.answer), {}};
    soup_message_headers_foreach(
        soup_message_get_response_headers(msg),
        [](const char* name, const char* value, gpointer headers) {
            (*static_cast<std::map<std::string, std::string>*>(headers))[name] = value;
        },
        &reply.headers);
    g_object_unref(msg);
    g_object_unref(session);
    g_object_unref(resolver);
    return reply;
}

}  // namespace zel::test
