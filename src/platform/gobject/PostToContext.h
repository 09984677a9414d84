// Hands a job to the thread that iterates a main context.
#pragma once

#include <glib.h>

#include <functional>

namespace zel::platform {

// Runs `job` once in `context`, on whichever thread iterates it, after the jobs posted before it at the same
// priority. Always queued, never run on the spot (g_main_context_invoke would run it on the calling thread
// whenever that thread could acquire the context). A job still queued when the context goes is destroyed
// without running. Any thread.
void postToContext(GMainContext* context, std::function<void()> job);

}  // namespace zel::platform
