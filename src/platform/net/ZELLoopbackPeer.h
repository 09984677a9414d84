// Tells whether the other end of a loopback TCP connection belongs to a process this one started (its
// children, their children, ...), from the kernel's own tables under /proc. The web proxy lets the web view's
// network process in this way without a challenge on every new connection.
//
// Linux only. Every failure (no /proc, a process gone meanwhile, a table it cannot read, a peer that has
// already hung up) answers "not ours", so the caller falls back to its challenge. One thread (the web
// proxy relay's); reads small /proc files synchronously (they live in memory, not on disk).
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace zel::platform {

class ZELLoopbackPeer {
  public:
    // Whether the peer of `connection` (a socket accepted on 127.0.0.1) is held by a process below this one.
    // A connection is looked up once; later calls for the same socket answer from a mark on it.
    bool isOwnChild(GSocket* connection);

    // The inode of the socket in `table` (the text of /proc/net/tcp) whose local port is `peerPort` and whose
    // remote port is `ourPort`, in the established state; 0 when there is none or a line cannot be read.
    static unsigned long socketInode(std::string_view table, std::uint16_t peerPort, std::uint16_t ourPort);

  private:
    bool lookUp(GSocket* connection);
    // The process below this one that holds the socket `inode`, or 0.
    int holderOf(unsigned long inode);

    // Processes that held a peer before: looked at first, since the web view keeps one network process.
    std::vector<int> known_;
};

}  // namespace zel::platform
