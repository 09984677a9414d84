// A proxy resolver that asks another one (the system's) and remembers its answer for each destination
// (scheme, host and port) for a few seconds.
//
// The system's resolver may hand every lookup to a worker thread and read its configuration anew each time;
// the web proxy opens an upstream connection for each request to a server that closes its connections, so
// that cost would come with nearly every request. The user's proxy settings still decide every answer; a
// change reaches new connections within `lifetime`.
//
// A failed lookup is not remembered. At most a few hundred destinations are kept: past that, all are
// forgotten. Any thread; async lookups complete in the caller's thread-default main context.
#pragma once

#include <gio/gio.h>

namespace zel::platform {

// A new resolver (the caller owns the returned reference) that asks `inner` (referenced for the resolver's
// life) on a miss and keeps each answer for `lifetime` microseconds.
GProxyResolver* newProxyResolverCache(GProxyResolver* inner, gint64 lifetime);

}  // namespace zel::platform
