// Moves a body from a stream (an upstream answer, a file) into the answer of a proxy request, at the pace the
// client reads it: the next piece is read only after the server has written the previous one to the socket,
// so a slow reader holds the source back instead of letting the body pile up in memory.
//
// The answer's status and header fields must be set, and the message paused, before start(). `done` runs
// once: true when the whole body (or `limit` bytes) went out, false when the source failed or the client went
// away; a source that fails after the header was sent closes the client's connection, so a truncated body is
// never taken for a whole one. Destroying the pump stops it without calling `done`. Main thread (the main
// context of the server).
#pragma once

#include "platform/net/AsyncLink.h"
#include "platform/net/GObjectPtr.h"

#include <libsoup/soup.h>

#include <cstdint>
#include <functional>

namespace zel::platform {

class ZELBodyPump {
  public:
    using DoneHandler = std::function<void(bool complete)>;
    static constexpr gsize kPieceSize = 64 * 1024;

    // limit: bytes to send, or -1 for all the source has. msg and source: referenced for the pump's life.
    ZELBodyPump(SoupServerMessage* msg, GInputStream* source, std::int64_t limit, DoneHandler done);
    ~ZELBodyPump();
    ZELBodyPump(const ZELBodyPump&) = delete;
    ZELBodyPump& operator=(const ZELBodyPump&) = delete;

    void start();

  private:
    void readNext();
    void pieceRead(GObject* source, GAsyncResult* result);
    void finish(bool complete);
    static void onWroteChunk(SoupServerMessage*, gpointer self);
    static void onFinished(SoupServerMessage*, gpointer self);

    GObjectPtr<SoupServerMessage> msg_;
    GObjectPtr<GInputStream> source_;
    GObjectPtr<GCancellable> cancellable_;
    std::int64_t remaining_;
    DoneHandler done_;
    AsyncLink<ZELBodyPump>* link_ = nullptr;
    gulong wroteChunk_ = 0, finished_ = 0;
    bool waitingForWrite_ = false;
    bool ended_ = false;
};

}  // namespace zel::platform
