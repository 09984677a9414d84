#include "platform/net/ZELLoopbackPeer.h"

#include "core/fs/Files.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string>
#include <unordered_map>

namespace zel::platform {
namespace {

// "01" is TCP_ESTABLISHED in the kernel's tables.
constexpr unsigned kEstablished = 0x01;
const char* const kMarkKey = "ostrelle-loopback-peer";
enum Mark : std::intptr_t { kUnknown = 0, kOurs = 1, kForeign = 2 };

std::string readText(const std::string& path) {
    return fs::readFile(path).value_or(std::string());
}

// The parent of `pid` from /proc/PID/stat, or 0. The command name in parentheses may hold any character, so
// the fields are read after its last ')'.
int parentOf(int pid) {
    const std::string stat = readText("/proc/" + std::to_string(pid) + "/stat");
    const std::size_t close = stat.rfind(')');
    if (close == std::string::npos || close + 4 >= stat.size()) return 0;
    // ") S PPID ..."
    int parent = 0;
    const char* first = stat.data() + close + 4;
    std::from_chars(first, stat.data() + stat.size(), parent);
    return parent;
}

bool isBelow(int pid, int root) {
    // A chain of parents is short; the bound only guards against a table changing under the walk.
    for (int step = 0; step < 64 && pid > 1; ++step) {
        pid = parentOf(pid);
        if (pid == root) return true;
    }
    return false;
}

bool holds(int pid, const std::string& link) {
    const std::string dir = "/proc/" + std::to_string(pid) + "/fd";
    GDir* fds = g_dir_open(dir.c_str(), 0, nullptr);
    if (fds == nullptr) return false;
    bool found = false;
    while (const char* name = g_dir_read_name(fds)) {
        gchar* target = g_file_read_link((dir + "/" + name).c_str(), nullptr);
        found = target != nullptr && link == target;
        g_free(target);
        if (found) break;
    }
    g_dir_close(fds);
    return found;
}

std::vector<int> descendantsOf(int root) {
    std::unordered_multimap<int, int> children;
    if (GDir* proc = g_dir_open("/proc", 0, nullptr)) {
        while (const char* name = g_dir_read_name(proc)) {
            int pid = 0;
            const auto [end, error] = std::from_chars(name, name + std::char_traits<char>::length(name), pid);
            if (error != std::errc() || *end != '\0') continue;
            if (const int parent = parentOf(pid)) children.emplace(parent, pid);
        }
        g_dir_close(proc);
    }
    std::vector<int> found;
    std::vector<int> pending{root};
    while (!pending.empty() && found.size() < 4096) {
        const int pid = pending.back();
        pending.pop_back();
        const auto [first, last] = children.equal_range(pid);
        for (auto it = first; it != last; ++it) {
            found.push_back(it->second);
            pending.push_back(it->second);
        }
    }
    return found;
}

bool readHex(std::string_view& text, unsigned long& value) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

}  // namespace

unsigned long ZELLoopbackPeer::socketInode(std::string_view table, std::uint16_t peerPort,
                                           std::uint16_t ourPort) {
    // "  sl  local_address rem_address   st tx_queue:rx_queue tr:tm->when retrnsmt   uid  timeout inode"
    // "   0: 0100007F:A1B2 0100007F:1F90 01 00000000:00000000 00:00000000 00000000     0        0 12345 ..."
    while (!table.empty()) {
        const std::size_t end = table.find('\n');
        std::string_view line = table.substr(0, end);
        table.remove_prefix(end == std::string_view::npos ? table.size() : end + 1);
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) continue;
        line.remove_prefix(colon + 1);
        unsigned long localAddress = 0, localPort = 0, remoteAddress = 0, remotePort = 0, state = 0;
        if (!readHex(line, localAddress) || line.empty() || line.front() != ':') continue;
        line.remove_prefix(1);
        if (!readHex(line, localPort) || !readHex(line, remoteAddress) || line.empty() || line.front() != ':')
            continue;
        line.remove_prefix(1);
        if (!readHex(line, remotePort) || !readHex(line, state)) continue;
        if (localPort != peerPort || remotePort != ourPort || state != kEstablished) continue;
        // After the state: queues, timer, retransmits, uid, timeout, then the inode.
        std::string_view field;
        for (int index = 0; index <= 5; ++index) {
            while (!line.empty() && line.front() == ' ') line.remove_prefix(1);
            const std::size_t space = std::min(line.find(' '), line.size());
            field = line.substr(0, space);
            line.remove_prefix(space);
        }
        unsigned long inode = 0;
        const auto [last, error] = std::from_chars(field.data(), field.data() + field.size(), inode);
        return error == std::errc() ? inode : 0;
    }
    return 0;
}

bool ZELLoopbackPeer::isOwnChild(GSocket* connection) {
    if (connection == nullptr) return false;
    const auto mark = reinterpret_cast<std::intptr_t>(g_object_get_data(G_OBJECT(connection), kMarkKey));
    if (mark != kUnknown) return mark == kOurs;
    const bool ours = lookUp(connection);
    g_object_set_data(G_OBJECT(connection), kMarkKey, reinterpret_cast<gpointer>(ours ? kOurs : kForeign));
    return ours;
}

bool ZELLoopbackPeer::lookUp(GSocket* connection) {
    const auto port = [](GSocketAddress* address) -> std::uint16_t {
        if (address == nullptr) return 0;
        const std::uint16_t value = G_IS_INET_SOCKET_ADDRESS(address)
                                        ? g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(address))
                                        : 0;
        g_object_unref(address);
        return value;
    };
    const std::uint16_t peerPort = port(g_socket_get_remote_address(connection, nullptr));
    const std::uint16_t ourPort = port(g_socket_get_local_address(connection, nullptr));
    if (peerPort == 0 || ourPort == 0) return false;
    const unsigned long inode = socketInode(readText("/proc/net/tcp"), peerPort, ourPort);
    return inode != 0 && holderOf(inode) != 0;
}

int ZELLoopbackPeer::holderOf(unsigned long inode) {
    const std::string link = "socket:[" + std::to_string(inode) + "]";
    const int self = static_cast<int>(getpid());
    // A known process is asked again whether it is still below us: its number may have been reused since.
    for (const int pid : known_) {
        if (holds(pid, link) && isBelow(pid, self)) return pid;
    }
    for (const int pid : descendantsOf(self)) {
        if (std::find(known_.begin(), known_.end(), pid) == known_.end() && holds(pid, link)) {
            known_.push_back(pid);
            if (known_.size() > 8) known_.erase(known_.begin());
            return pid;
        }
    }
    return 0;
}

}  // namespace zel::platform
